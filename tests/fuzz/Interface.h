// The product with images of every kind and a second skin, in a folder of its own; its windows are
// in memory.
#pragma once

#include "drawing/PngFile.h"
#include "link/BrimtidePluginInfo.h"
#include "platform/SystemWindow.h"
#include "plugin/Mission.h"
#include "support/Product.h"
#include "support/ScratchFolder.h"

#include <filesystem>
#include <memory>
#include <string>

namespace tarn::fuzz {

class Interface {
public:
    /// Of the process; started.
    static Interface& get() {
        static Interface one;
        return one;
    }

    void writeControls(const std::string& text) const {
        folder.write("Brimtide Resources/Controls.xml", text);
    }
    std::string controlsPath() const { return folder.path("Brimtide Resources/Controls.xml"); }

    test::ScratchFolder folder;
    std::string controls;  // of all classes; "%" stands for what changes when the file is saved
    std::unique_ptr<test::Product> product;
    platform::OffscreenDesktop desktop;

private:
    Interface() {
        std::filesystem::copy(FUZZ_FOLDER "/product", folder.path(),
                              std::filesystem::copy_options::recursive);
        for (const char* const file : {"/Settings.xml", "/Brimtide Resources/Factory Presets.xml"})
            std::filesystem::copy_file(std::string(PRODUCT_FOLDER) + file, folder.path() + file);
        folder.write("Brimtide Resources/Images/a.png",
                     test::pngFile(16, 8, std::string(256, '\x7F') + std::string(256, '\0')));
        std::filesystem::create_directory_symlink(std::filesystem::path(INTER_FONTS),
                                                  folder.path("Brimtide Resources/Fonts"));
        controls = folder.read("Brimtide Resources/Controls.xml");
        writeControls({});
        product = test::Product::of<BrimtidePluginInfo>(folder.path());
        Mission::get().start();
    }
};

}  // namespace tarn::fuzz
