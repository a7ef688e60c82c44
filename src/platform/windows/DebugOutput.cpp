#include "platform/DebugOutput.h"

#include "platform/windows/Text.h"

#include <windows.h>

namespace tarn::platform {

void debugOutput(const char* text) noexcept {
    try {
        ::OutputDebugStringW(wide(text).c_str());
    } catch (...) {  // NOLINT(bugprone-empty-catch): without memory there is nothing to say
    }
}

}  // namespace tarn::platform
