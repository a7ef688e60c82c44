// A nameless product in a folder of its own, with one image.
#pragma once

#include "support/ScratchStore.h"

#include <string>
#include <string_view>

namespace tarn::fuzz {

class Product {
public:
    Product() {
        machine_.setString("InstallPath", store.path());
        machine_.setString("ResourcesDir", "R");
        Preferences::setStores(&machine_, nullptr);
        store.write("R/Images/a.png", std::string(Image));
    }
    test::ScratchStore store;

private:
    // 8 x 8 pixels, grey with alpha.
    static constexpr std::string_view Image = {
        "\211PNG\015\012\032\012\000\000\000\015IHDR\000\000\000\010\000\000\000\010"
        "\010\004\000\000\000n\006v\000\000\000\000\017IDATx\332ch@\003\014\003#\000"
        "\000\001\207@\001l:\021\350\000\000\000\000IEND\256B`\202",
        72};

    Preferences machine_ = store.open(platform::PreferencesRoot::LocalMachine);
};

}  // namespace tarn::fuzz
