#include "platform/Clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

namespace tarn::platform {
namespace {

// Fault: seconds of another length or origin than those of the programs at the other end.
TEST(Clock, TellsTheTimesThatTheStandardLibraryTells) {
    const auto steady = [] {
        const std::chrono::duration<double> now =
            std::chrono::steady_clock::now().time_since_epoch();
        return now.count();
    };
    const double before = steady(), seconds = highResolutionSeconds();
    EXPECT_TRUE(before - 1e-6 <= seconds && seconds <= steady() + 1e-6) << seconds;
    const std::int64_t calendar = std::time(nullptr), stamp = calendarSeconds();
    EXPECT_TRUE(calendar <= stamp && stamp <= std::time(nullptr)) << stamp;
}

}  // namespace
}  // namespace tarn::platform
