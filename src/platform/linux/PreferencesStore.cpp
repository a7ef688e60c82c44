#include "platform/PreferencesStore.h"

#include "platform/FileSystem.h"
#include "platform/linux/Xdg.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace tarn::platform {

struct PreferencesKey::State {
    std::string folder;
};

namespace {

constexpr std::string_view ValueSuffix = ".value";
constexpr std::string_view TextMark = "text\n";
constexpr std::string_view DataMark = "data\n";  // as long as the other
constexpr std::string_view HexDigits = "0123456789ABCDEF";

// Dots are written too, so that neither "..", nor a hidden file, nor a value's file is a key.
std::string encoded(std::string_view name) {
    std::string text;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || c == '/' || c == '.' || c == '%')
            text.append({'%', HexDigits[byte >> 4], HexDigits[byte & 15]});
        else
            text.push_back(c);
    }
    return text;
}

std::string decoded(std::string_view text) {
    std::string name;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == '%' && i + 2 < text.size();
        const std::size_t high = isEscape ? HexDigits.find(text[i + 1]) : std::string_view::npos;
        const std::size_t low = isEscape ? HexDigits.find(text[i + 2]) : std::string_view::npos;
        if (high == std::string_view::npos || low == std::string_view::npos) {
            name.push_back(text[i]);
            continue;
        }
        name.push_back(static_cast<char>(high * HexDigits.size() + low));
        i += 2;
    }
    return name;
}

std::string rootFolder(PreferencesRoot root) {
    return root == PreferencesRoot::CurrentUser ? xdgHome("XDG_CONFIG_HOME", ".config")
                                                : xdgFirstOf("XDG_CONFIG_DIRS", "/etc/xdg");
}

// Empty levels lead nowhere further, as they do in the registry.
std::string folderBelow(std::string folder, std::string_view path) {
    while (!path.empty()) {
        const std::string_view level = path.substr(0, path.find('\\'));
        if (!level.empty())
            folder += "/" + encoded(level);
        path.remove_prefix(std::min(level.size() + 1, path.size()));
    }
    return folder;
}

bool openFolder(const std::string& folder, bool writable, std::string& error) {
    std::error_code failure;
    if (writable)
        std::filesystem::create_directories(folder, failure);
    else if (!folderExists(folder))
        failure = std::make_error_code(std::errc::no_such_file_or_directory);
    if (failure)
        error = failure.message();
    return !failure;
}

std::string valuePath(const std::string& folder, const std::string& name) {
    std::string path = folder;
    return path.append("/").append(encoded(name)).append(ValueSuffix);
}

}  // namespace

PreferencesKey::PreferencesKey() noexcept = default;
PreferencesKey::PreferencesKey(PreferencesKey&& other) noexcept = default;
PreferencesKey& PreferencesKey::operator=(PreferencesKey&& other) noexcept = default;
PreferencesKey::~PreferencesKey() = default;
PreferencesKey::PreferencesKey(std::unique_ptr<State> state) noexcept : state_(std::move(state)) {}

PreferencesKey PreferencesKey::open(PreferencesRoot root, const std::string& path, bool writable,
                                    std::string& error) {
    constexpr std::string_view WindowsCustom = "Software\\";
    const std::string_view below = path.starts_with(WindowsCustom)
                                       ? std::string_view(path).substr(WindowsCustom.size())
                                       : path;
    const std::string folder = rootFolder(root);
    if (folder.empty()) {
        error = "the user has no home folder";
        return {};
    }
    return PreferencesKey(std::make_unique<State>(State{folder}))
        .open(std::string(below), writable, error);
}

PreferencesKey PreferencesKey::open(const std::string& path, bool writable,
                                    std::string& error) const {
    const std::string folder = folderBelow(state_->folder, path);
    if (!openFolder(folder, writable, error))
        return {};
    return PreferencesKey(std::make_unique<State>(State{folder}));
}

bool PreferencesKey::hasKey(const std::string& path) const {
    return folderExists(folderBelow(state_->folder, path));
}

bool PreferencesKey::hasValue(const std::string& name) const {
    return fileExists(valuePath(state_->folder, name));
}

std::optional<PreferenceValue> PreferencesKey::read(const std::string& name) const {
    const std::string path = valuePath(state_->folder, name);
    const auto status = fileStatus(path);
    const std::size_t markSize = TextMark.size();
    if (!status || status->bytes > static_cast<std::int64_t>(LargestPreference + markSize))
        return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    std::string content(static_cast<std::size_t>(status->bytes), '\0');
    file.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(file.gcount()));
    const bool isText = content.starts_with(TextMark);
    if (!isText && !content.starts_with(DataMark))
        return std::nullopt;
    content.erase(0, markSize);
    return PreferenceValue{isText ? PreferenceType::Text : PreferenceType::Number, content};
}

bool PreferencesKey::write(const std::string& name, PreferenceType type, std::string_view bytes) {
    if (bytes.size() > LargestPreference)
        return false;
    std::string content(type == PreferenceType::Number ? DataMark : TextMark);
    content += bytes;
    return replaceFile(valuePath(state_->folder, name), content);
}

std::vector<std::string> PreferencesKey::keyNames() const {
    std::vector<std::string> names;
    FolderEntries entries;
    listFolder(state_->folder, entries);
    for (const std::string& folder : entries.folders)
        names.push_back(decoded(folder));
    return names;
}

std::vector<std::string> PreferencesKey::valueNames() const {
    std::vector<std::string> names;
    FolderEntries entries;
    listFolder(state_->folder, entries);
    for (const std::string& file : entries.files)
        if (file.ends_with(ValueSuffix))
            names.push_back(decoded(file.substr(0, file.size() - ValueSuffix.size())));
    return names;
}

}  // namespace tarn::platform
