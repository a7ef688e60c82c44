// The product with images of every kind and a second skin, in a folder of its own; its windows are
// in memory.
#pragma once

#include "drawing/PngFile.h"
#include "link/BrimtidePluginInfo.h"
#include "platform/SystemWindow.h"
#include "plugin/Mission.h"
#include "support/Product.h"
#include "support/ScratchFolder.h"

#include <cmath>
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
    std::unique_ptr<test::Product> product;
    platform::OffscreenDesktop desktop;

private:
    void write(const std::string& file, const std::string& content) const {
        folder.write(file,
                     "<dict><info creator='Brimtide' version='1.2.0'/>"
                     "<file-format value='0.7'/>" +
                         content + "</dict>");
    }

    Interface() {
        const std::filesystem::path settings(PRODUCT_FOLDER "/Settings.xml"), fonts(INTER_FONTS);
        std::filesystem::copy_file(settings, folder.path("Settings.xml"));
        write("Resources.xml",
              "<bitmaps><image filename='a.png'/>"
              "<strip filename='a.png' frames='4'/><none filename='a.png' frames='0'/>"
              "<font filename='a.png' frames='8x2' alphabet='0123456789ABCDEF'/>"
              "<lost filename='b.png'/></bitmaps>");
        folder.write("Brimtide Resources/Images/a.png",
                     test::pngFile(16, 8, std::string(256, '\x7F') + std::string(256, '\0')));
        const std::string presets = "Brimtide Resources/Factory Presets.xml";
        std::filesystem::copy_file(std::filesystem::path(PRODUCT_FOLDER) / presets,
                                   folder.path(presets));
        write("Brimtide Resources/Skins/Night/info.xml", "<name value='Night'/>");
        write("Brimtide Resources/Skins/Night/Controls.xml",
              "<controls><a class='Background' id='special::background' "
              "width='40' height='40'/></controls>");
        writeControls({});
        std::filesystem::create_directory_symlink(fonts, folder.path("Brimtide Resources/Fonts"));
        product = test::Product::of<BrimtidePluginInfo>(folder.path());
        Mission::get().start();
    }
};

}  // namespace tarn::fuzz
