#include "support/ScratchFolder.h"

#include <fstream>
#include <iterator>
#include <random>

namespace tarn::test {

namespace {

std::string utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::filesystem::path fromUtf8(std::string_view text) {
    return std::u8string(text.begin(), text.end());
}

}  // namespace

ScratchFolder::ScratchFolder()
    : folder_(std::filesystem::temp_directory_path() /
              fromUtf8("tarn Zoë 山田 " + std::to_string(std::random_device{}()))) {
    std::filesystem::create_directory(folder_);
    folder_.make_preferred();
}

ScratchFolder::~ScratchFolder() {
    std::error_code failure;
    std::filesystem::remove_all(folder_, failure);
}

std::string ScratchFolder::path() const {
    return utf8(folder_);
}

std::string ScratchFolder::path(std::string_view file) const {
    return utf8(at(file));
}

void ScratchFolder::write(std::string_view file, std::string_view bytes) const {
    std::ofstream(at(file), std::ios::binary) << bytes;
}

std::string ScratchFolder::read(std::string_view file) const {
    std::ifstream stream(at(file), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::ptrdiff_t ScratchFolder::entries() const {
    return std::distance(std::filesystem::directory_iterator(folder_), {});
}

std::filesystem::path ScratchFolder::at(std::string_view file) const {
    return (folder_ / fromUtf8(file)).make_preferred();
}

}  // namespace tarn::test
