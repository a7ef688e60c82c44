#include "platform/CommandLine.h"

namespace tarn::platform {

std::vector<std::string> commandLineArguments(int argc, char** argv) {
    return argc > 1 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

}  // namespace tarn::platform
