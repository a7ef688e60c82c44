// A folder of a test's own, under a name that no code page holds; it goes with the object.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tarn::test {

class ScratchFolder {
public:
    ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();

    /// Its path, or that of a file in it, in UTF-8 and with the system's separators.
    std::string path() const;
    std::string path(std::string_view file) const;

    // By the standard library, as a peer of our own files; names are UTF-8.

    void write(std::string_view file, std::string_view bytes) const;
    std::string read(std::string_view file) const;

    /// How many files and folders stand in it.
    std::ptrdiff_t entries() const;

private:
    std::filesystem::path at(std::string_view file) const;

    std::filesystem::path folder_;
};

}  // namespace tarn::test
