// A skin's "info.xml" from anywhere.
#include "Product.h"
#include "Require.h"
#include "resources/Resources.h"

#include <cstdint>

using namespace tarn;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::Product product;
    product.store.write("R/Skins/s/info.xml",
                        std::string(reinterpret_cast<const char*>(data), size));
    Resources resources;
    require(resources.getSkins().size() == 2);
    const Skin& skin = resources.getSkins().back();
    require(!skin.getName().empty() && !skin.getUid().empty());
    static_cast<void>(skin.getAuthor() + skin.getUrl());
    resources.setCurrentSkin(skin.getUid());
    require(resources.getCurrentSkin() == skin.getUid());
    const Skin& found = resources.getSkin(skin.getUid());
    require(&found == &skin || skin.getUid() == "default");
    return 0;
}
