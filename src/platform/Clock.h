// The two clocks of the system: calendar seconds, which connections are stamped with, and
// high-resolution seconds, which intervals are measured with. All code reads the time here, so that
// a test can set it.
#pragma once

#include <atomic>
#include <cstdint>

namespace tarn::platform {

/// Whole seconds since 1 January 1970 UTC.
using CalendarClock = std::int64_t (*)() noexcept;

/// Seconds since an arbitrary moment, never running backwards.
using HighResolutionClock = double (*)() noexcept;

/// The operating system's clocks. The calendar one is the cheapest call that gives seconds on each
/// system.
std::int64_t systemCalendarSeconds() noexcept;
double systemHighResolutionSeconds() noexcept;

namespace detail {
extern std::atomic<CalendarClock> calendarClock;
extern std::atomic<HighResolutionClock> highResolutionClock;
}  // namespace detail

/// Whole seconds since 1 January 1970 UTC. Any thread, the audio thread included.
inline std::int64_t calendarSeconds() noexcept {
    return detail::calendarClock.load(std::memory_order_relaxed)();
}

/// Seconds since an arbitrary moment, in steps well below a microsecond. Any thread, the audio
/// thread included.
inline double highResolutionSeconds() noexcept {
    return detail::highResolutionClock.load(std::memory_order_relaxed)();
}

/// For tests: puts another clock in place for this process; null brings the system's back. Any
/// thread.
void setCalendarClock(CalendarClock clock) noexcept;
void setHighResolutionClock(HighResolutionClock clock) noexcept;

}  // namespace tarn::platform
