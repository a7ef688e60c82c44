#include "platform/StandardOutput.h"

#include <unistd.h>

namespace tarn::platform {

std::FILE* takeStandardOutput() {
    std::fflush(stdout);
    const int data = ::dup(STDOUT_FILENO);
    if (data < 0 || ::dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        return nullptr;
    std::FILE* stream = ::fdopen(data, "wb");
    if (stream != nullptr)
        std::setvbuf(stream, nullptr, _IONBF, 0);
    return stream;
}

}  // namespace tarn::platform
