#include "host/Files.h"

#include "common/Text.h"
#include "host/Failure.h"

#include <fstream>

namespace tarn::host {

namespace {

using tools::pathOf;

constexpr std::uintmax_t kMostBytes = 1u << 30;

}  // namespace

std::string folderOf(const std::string& path) {
    const std::u8string folder = pathOf(path).parent_path().u8string();
    return {folder.begin(), folder.end()};
}

std::vector<std::byte> readFile(const std::string& path) {
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(pathOf(path), error);
    if (error || bytes > kMostBytes)
        throw Failure(ExitBadUse, "can't read " + path);
    std::ifstream stream(pathOf(path), std::ios::binary);
    std::vector<std::byte> content(static_cast<std::size_t>(bytes));
    stream.read(reinterpret_cast<char*>(content.data()),
                static_cast<std::streamsize>(content.size()));
    if (!stream)
        throw Failure(ExitBadUse, "can't read " + path);
    return content;
}

void writeFile(const std::string& path, std::span<const std::byte> content) {
    std::ofstream stream(pathOf(path), std::ios::binary);
    stream.write(reinterpret_cast<const char*>(content.data()),
                 static_cast<std::streamsize>(content.size()));
    if (!stream.flush())
        throw Failure(ExitBadUse, "can't write " + path);
}

}  // namespace tarn::host
