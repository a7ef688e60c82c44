// Files by their UTF-8 names.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace tarn::host {

/// The folder that the file of a path lies in, empty if the path doesn't tell.
std::string folderOf(const std::string& path);

/// A whole file, of at most a gigabyte. Errors are a `Failure`.
std::vector<std::byte> readFile(const std::string& path);
void writeFile(const std::string& path, std::span<const std::byte> content);

}  // namespace tarn::host
