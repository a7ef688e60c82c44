#include "platform/StandardOutput.h"

#include <fcntl.h>
#include <io.h>

namespace tarn::platform {

std::FILE* takeStandardOutput() {
    std::fflush(stdout);
    const int data = ::_dup(::_fileno(stdout));
    if (data < 0 || ::_dup2(::_fileno(stderr), ::_fileno(stdout)) < 0)
        return nullptr;
    ::_setmode(data, _O_BINARY);
    std::FILE* stream = ::_fdopen(data, "wb");
    if (stream != nullptr)
        std::setvbuf(stream, nullptr, _IONBF, 0);
    return stream;
}

}  // namespace tarn::platform
