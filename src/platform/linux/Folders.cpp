#include "platform/Folders.h"

#include "platform/linux/Xdg.h"

#include <filesystem>
#include <fstream>
#include <string_view>

namespace tarn::platform {

namespace {

// What xdg-user-dirs keeps in a file of lines such as XDG_DOCUMENTS_DIR="$HOME/Dokumente".
std::string documentsFolder() {
    constexpr std::string_view Key = "XDG_DOCUMENTS_DIR=\"";
    constexpr std::string_view Home = "$HOME/";
    const std::string home = homeFolder();
    std::ifstream file(xdgHome("XDG_CONFIG_HOME", ".config") + "/user-dirs.dirs");
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with(Key))
            continue;
        std::string value = line.substr(Key.size(), line.find('"', Key.size()) - Key.size());
        if (value.starts_with(Home) && value.size() > Home.size())
            return home + "/" + value.substr(Home.size());
        if (value.starts_with("/"))
            return value;
    }
    return home.empty() ? home : home + "/Documents";
}

std::string path(KnownFolder folder) {
    switch (folder) {
        case KnownFolder::ProgramFiles:
            return "/opt";
        case KnownFolder::CommonApplicationData:
            return xdgFirstOf("XDG_DATA_DIRS", "/usr/local/share");
        case KnownFolder::LocalApplicationData:
            return xdgHome("XDG_STATE_HOME", ".local/state");
        case KnownFolder::Documents:
            return documentsFolder();
    }
    return {};
}

}  // namespace

std::string knownFolderPath(KnownFolder folder, bool create) {
    std::string found = path(folder);
    if (create && !found.empty()) {
        std::error_code failure;  // shows when the folder is used
        std::filesystem::create_directories(found, failure);
    }
    return found;
}

}  // namespace tarn::platform
