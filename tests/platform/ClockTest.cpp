#include "platform/Clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

namespace tarn::platform {
namespace {

constexpr double Rounding = 1e-6;  // of seconds since the machine started

double steadySeconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

// Fault: seconds of another length or origin than those of the programs at the other end.
TEST(Clock, TellsTheTimesThatTheStandardLibraryTells) {
    const double steady = steadySeconds();
    const double seconds = highResolutionSeconds();
    EXPECT_TRUE(steady - Rounding <= seconds && seconds <= steadySeconds() + Rounding);
    const std::int64_t calendar = std::time(nullptr);
    const std::int64_t stamp = calendarSeconds();
    EXPECT_TRUE(calendar <= stamp && stamp <= std::time(nullptr)) << stamp;
}

}  // namespace
}  // namespace tarn::platform
