// The program that an installation may bring for new instances, as a host would save it.
#pragma once

#include <optional>
#include <string>

namespace tarn {

class File;

/// The chunk of a program file, which begins with "Ccnk", "FPCh" and the code "QrlM" and numbers
/// its bytes in front of them, highest byte first; none for every other file. Control thread.
std::optional<std::string> readDefaultProgram(const File& file);

}  // namespace tarn
