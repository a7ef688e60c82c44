// The clocks in a test's hands.
#pragma once

#include "platform/Clock.h"

#include <atomic>

namespace tarn::test {

/// While it lives, the clock tells `now`, in seconds; timers of the process read it too. The
/// calendar's clock, if it does as well, stays so: every case has a process of its own.
struct TestClock {
    enum Which { HighResolution, CalendarToo };
    explicit TestClock(double seconds, Which which = HighResolution) {
        now = seconds;
        platform::setHighResolutionClock([]() noexcept { return now.load(); });
        if (which == CalendarToo)
            platform::setCalendarClock([]() noexcept { return static_cast<std::int64_t>(now); });
    }
    ~TestClock() { platform::setHighResolutionClock(nullptr); }

    static void pass(double seconds) { now = now + seconds; }

    static inline std::atomic<double> now;
};

}  // namespace tarn::test
