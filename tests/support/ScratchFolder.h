// A folder of a test's own, under a name that no code page holds; it goes with the object.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace tarn::test {

class ScratchFolder {
public:
    explicit ScratchFolder(const std::string& name = "tarn Zoë 山田 ")
        : folder_(std::filesystem::temp_directory_path() /
                  fromUtf8(name + std::to_string(std::random_device{}()))) {
        std::filesystem::create_directory(folder_);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() {
        std::error_code failure;
        std::filesystem::remove_all(folder_, failure);
    }

    /// Its path, or that of a file in it, in UTF-8 and with the system's separators.
    std::string path(const std::string& file = {}) const {
        const std::u8string text = at(file).u8string();
        return {text.begin(), text.end()};
    }

    // By the standard library, as a peer of our own files; a missing folder is made.

    void write(const std::string& file, const std::string& bytes) const {
        std::filesystem::create_directories(at(file).parent_path());
        std::ofstream(at(file), std::ios::binary) << bytes;
    }
    std::string read(const std::string& file) const {
        std::ifstream stream(at(file), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// How many files and folders stand in it.
    std::ptrdiff_t entries() const {
        return std::distance(std::filesystem::directory_iterator(folder_), {});
    }

private:
    static std::filesystem::path fromUtf8(const std::string& text) {
        return std::u8string(text.begin(), text.end());
    }
    std::filesystem::path at(const std::string& file) const {
        auto path = file.empty() ? folder_ : folder_ / fromUtf8(file);
        return path.make_preferred();
    }

    std::filesystem::path folder_;
};

}  // namespace tarn::test
