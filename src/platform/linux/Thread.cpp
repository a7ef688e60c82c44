#include "platform/Thread.h"

#include <pthread.h>

namespace tarn::platform {

std::uintptr_t currentThreadId() noexcept {
    return ::pthread_self();  // the address of the thread's own record
}

}  // namespace tarn::platform
