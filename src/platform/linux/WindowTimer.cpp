#include "platform/WindowTimer.h"

#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

namespace tarn::platform {

std::intptr_t startWindowTimer(void* /*window*/, std::uintptr_t /*identifier*/,
                               std::uint32_t periodMs) {
    const int descriptor = ::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
    if (descriptor < 0)
        return 0;
    const timespec period{static_cast<time_t>(periodMs / 1000),
                          static_cast<long>(periodMs % 1000) * 1'000'000};
    const itimerspec times{period, period};
    if (::timerfd_settime(descriptor, 0, &times, nullptr) == 0)
        return descriptor;
    ::close(descriptor);
    return 0;
}

void stopWindowTimer(void* /*window*/, std::intptr_t timer) {
    if (timer > 0)
        ::close(static_cast<int>(timer));
}

}  // namespace tarn::platform
