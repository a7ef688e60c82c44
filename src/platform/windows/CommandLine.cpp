#include "platform/CommandLine.h"

#include "platform/windows/Text.h"

#include <windows.h>

#include <shellapi.h>

namespace tarn::platform {

std::vector<std::string> commandLineArguments(int /*argc*/, char** /*argv*/) {
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t** words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    for (int i = 1; words != nullptr && i < count; ++i)
        arguments.push_back(utf8(words[i]));
    ::LocalFree(words);
    return arguments;
}

}  // namespace tarn::platform
