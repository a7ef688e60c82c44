#include "platform/WindowTimer.h"

#include <windows.h>

namespace tarn::platform {

std::intptr_t startWindowTimer(void* window, std::uintptr_t identifier, std::uint32_t periodMs) {
    return static_cast<std::intptr_t>(
        ::SetTimer(static_cast<HWND>(window), identifier, periodMs, nullptr));
}

void stopWindowTimer(void* window, std::intptr_t timer) {
    ::KillTimer(static_cast<HWND>(window), static_cast<UINT_PTR>(timer));
}

}  // namespace tarn::platform
