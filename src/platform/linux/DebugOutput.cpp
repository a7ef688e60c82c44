#include "platform/DebugOutput.h"

#include <cstdio>

namespace tarn::platform {

void debugOutput(const char* text) noexcept {
    std::fputs(text, stderr);
}

}  // namespace tarn::platform
