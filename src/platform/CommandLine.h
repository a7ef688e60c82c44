// The words of the command line, whatever letters they hold.
#pragma once

#include <string>
#include <vector>

namespace tarn::platform {

/// The arguments of `main` in UTF-8, without the program's name. On Windows they are read from the
/// system, because `argv` has lost what the code page lacks.
std::vector<std::string> commandLineArguments(int argc, char** argv);

}  // namespace tarn::platform
