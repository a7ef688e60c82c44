// Texts from outside: names for the screen, and paths.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace tarn::tools {

/// A text for the screen: what could steer a terminal, or is no UTF-8, becomes "?".
std::string printable(const std::string& text);

/// How many columns of a terminal a printable text takes.
std::size_t columnsOf(const std::string& printable);

/// The path that a UTF-8 text means.
std::filesystem::path pathOf(const std::string& utf8);

/// Whether two paths lead to one existing file, however they are spelled.
bool isSameFile(const std::string& one, const std::string& other);

}  // namespace tarn::tools
