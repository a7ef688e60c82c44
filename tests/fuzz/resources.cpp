// A product's list from anywhere: its images and samples are loaded, and it is read as a state and
// written too. One that is refused leaves the former list.
#include "resources/Resources.h"

#include "Require.h"
#include "drawing/PngFile.h"
#include "support/ScratchStore.h"

using namespace tarn;
using fuzz::require;

namespace {

// A nameless one in a folder of its own, with one image.
struct Product {
    Product() {
        machine.setString("InstallPath", store.path());
        machine.setString("ResourcesDir", "R");
        Preferences::setStores(&machine, nullptr);
        store.write("R/Images/a.png", test::plainPng(8, 8));
    }
    test::ScratchStore store;
    Preferences machine = store.open(platform::PreferencesRoot::LocalMachine);
};

void requireInside(const Bitmap& bitmap) {
    const Rect whole = bitmap.getRect();
    const std::int32_t frames = bitmap.getFrameCount();
    require(frames >= 1 && frames <= whole.right * whole.bottom);
    for (std::int32_t i = 0; i < frames; ++i) {
        const Rect frame = bitmap.getFrameRect(i);
        require(!frame.isEmpty() && frame.unitedWith(whole) == whole);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Product product;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto load = [](Resources& resources, const std::string& list) {
        product.store.write("list", list);
        return resources.load(File(product.store.path("list"))).isOk();
    };
    Resources resources;
    require(load(resources,
                 "<dict><info creator='tarn' version=''/><file-format value='0.7'/>"
                 "<bitmaps><former filename='a.png'/></bitmaps></dict>"));
    const bool isLoaded = load(resources, text);
    require(isLoaded || resources.getBitmap("former") != nullptr);
    Dictionary list(text);
    for (const char* key : {"bitmaps", "samples"}) {
        const auto entries = list.getArray(key);
        for (std::int32_t i = 0; entries && i < entries->count(""); ++i)
            if (const auto bitmap = resources.getBitmap(entries->getEntry(i)->getName()))
                requireInside(*bitmap);
    }
    resources.retainAllSamples();
    resources.readSamples(list);
    resources.writeSamples(list);
    resources.releaseAllSamples();
    resources.setCurrentSkin("none");
    return 0;
}
