#include "platform/Clock.h"

namespace tarn::platform {

namespace detail {
constinit std::atomic<CalendarClock> calendarClock{systemCalendarSeconds};
constinit std::atomic<HighResolutionClock> highResolutionClock{systemHighResolutionSeconds};
}  // namespace detail

void setCalendarClock(CalendarClock clock) noexcept {
    detail::calendarClock.store(clock != nullptr ? clock : systemCalendarSeconds,
                                std::memory_order_relaxed);
}

void setHighResolutionClock(HighResolutionClock clock) noexcept {
    detail::highResolutionClock.store(clock != nullptr ? clock : systemHighResolutionSeconds,
                                      std::memory_order_relaxed);
}

}  // namespace tarn::platform
