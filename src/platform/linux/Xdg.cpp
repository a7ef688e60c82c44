#include "platform/linux/Xdg.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

namespace tarn::platform {

namespace {

// Read while the program starts and its tests set up; nothing of ours changes the environment.
std::string_view environment(const char* variable) {
    const char* value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe)
    return value != nullptr ? value : "";
}

bool isAbsolute(std::string_view path) {
    return path.substr(0, 1) == "/";
}

std::string withoutEndSlash(std::string_view path) {
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    return std::string(path);
}

}  // namespace

std::string homeFolder() {
    const std::string_view home = environment("HOME");
    if (isAbsolute(home))
        return withoutEndSlash(home);
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 4096> texts{};
    if (::getpwuid_r(::getuid(), &entry, texts.data(), texts.size(), &found) != 0 || !found)
        return {};
    return withoutEndSlash(entry.pw_dir);
}

std::string xdgHome(const char* variable, const std::string& fallback) {
    const std::string_view value = environment(variable);
    if (isAbsolute(value))
        return withoutEndSlash(value);
    const std::string home = homeFolder();
    return home.empty() ? home : home + "/" + fallback;
}

std::string xdgFirstOf(const char* variable, const std::string& fallback) {
    std::string_view list = environment(variable);
    while (!list.empty()) {
        const std::string_view path = list.substr(0, list.find(':'));
        if (isAbsolute(path))
            return withoutEndSlash(path);
        list.remove_prefix(std::min(path.size() + 1, list.size()));
    }
    return fallback;
}

}  // namespace tarn::platform
