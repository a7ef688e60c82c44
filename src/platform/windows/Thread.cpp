#include "platform/Thread.h"

#include <windows.h>

namespace tarn::platform {

std::uintptr_t currentThreadId() noexcept {
    return ::GetCurrentThreadId();  // a multiple of 4
}

}  // namespace tarn::platform
