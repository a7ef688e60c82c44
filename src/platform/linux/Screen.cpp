#include "platform/Screen.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace tarn::platform {

Screen::Screen() {
    const char* kind = std::getenv("TERM");  // NOLINT(concurrency-mt-unsafe)
    canRedraw_ = ::isatty(STDOUT_FILENO) != 0 && kind != nullptr && std::strcmp(kind, "dumb") != 0;
}

Screen::~Screen() = default;

}  // namespace tarn::platform
