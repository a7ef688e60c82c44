// The meters of levels, with a clock that the test sets.
#include "audio/IOChannel.h"
#include "audio/VUMeter.h"
#include "support/AllocationCount.h"
#include "support/TestClock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tarn {
namespace {

struct MeterTest : testing::Test {
    float after(double seconds, VUMeter& meter, float input) {
        clock.pass(seconds);
        meter.update(input);
        return meter.getLevel();
    }
    const test::TestClock clock{1000.0};
};

// Faults: a meter with another inertia than its mode's, or whose pace depends on the block size.
TEST_F(MeterTest, MovesAsItsModeSays) {
    const std::tuple<int, double, float, double, float> modes[] = {
        {0, 0.005, 0.8f, 1.5, 0.1f},
        {2, 0.010, 0.2f, 2.8, 0.063095734f},
        {4, 0.3, 0.99f, 0.3, 0.01f},
        {5, 0.0, 1.0f, 0.2, 0.01f},
    };
    for (const auto& [mode, riseSeconds, risen, fallSeconds, fallen] : modes)
        for (const int blocks : {1, 10}) {
            VUMeterPeak meter(nullptr);
            clock.pass(5.0);
            meter.setMode(mode);
            for (int i = 0; i < blocks; ++i)
                after(riseSeconds / blocks, meter, 1.0f);
            EXPECT_NEAR(meter.getLevel(), risen, 2e-7f) << mode;
            after(100.0, meter, 1.0f);
            for (int i = 0; i < blocks; ++i)
                after(fallSeconds / blocks, meter, 0.0f);
            EXPECT_NEAR(meter.getLevel(), fallen, 2e-7f) << mode;
        }
}

// Faults: input that is beyond, below or no number, and that the meter never recovers from.
TEST_F(MeterTest, StaysANumberWhateverComes) {
    constexpr float Denormal = std::numeric_limits<float>::denorm_min();
    for (int mode = 0; mode <= 5; ++mode) {
        VUMeterPeak meter(nullptr);
        meter.setMode(mode);
        EXPECT_NEAR(after(100.0, meter, 10.0f), 1.9952623f, 1e-7f);
        EXPECT_FLOAT_EQ(meter.getPeak(), VUMeter::Ceiling);
        for (const float input : {NAN, -1.0f, 0.0f, -INFINITY, Denormal})
            EXPECT_NEAR(after(1000.0, meter, input), 0.0f, 1e-30f) << input;
        EXPECT_EQ(meter.getPeak(), Denormal);
        EXPECT_EQ(after(100.0, meter, INFINITY), VUMeter::Ceiling);
        after(-500.0, meter, 0.5f);
        EXPECT_NEAR(after(100.0, meter, 0.5f), 0.5f, 1e-6f);
    }
}

// Faults: a peak that falls too early, to nothing, or by another time than that of the updates.
TEST_F(MeterTest, HoldsAPeakAndThenTakesWhatIsThere) {
    VUMeterPeak meter(nullptr);
    const std::tuple<double, float, float> steps[] = {
        {0.0, 0.2f, 0.2f},  // at once: nothing is held yet
        {0.5, 0.8f, 0.8f},   {0.75, 0.5f, 0.8f}, {0.25, 0.4f, 0.8f},
        {0.125, 0.3f, 0.3f}, {0.5, 0.6f, 0.6f},  {0.625, 0.1f, 0.1f}};
    for (const auto& [seconds, input, peak] : steps) {
        after(seconds, meter, input);
        EXPECT_EQ(meter.getPeak(), peak);
    }
    meter.setHoldTime(5.0f);
    after(1.125, meter, 0.9f);
    after(4.5, meter, 0.1f);
    EXPECT_EQ(meter.getPeak(), 0.9f);
    meter.reset();
    EXPECT_EQ(std::pair(meter.getPeak(), meter.getLevel()), std::pair(0.0f, 0.0f));
}

// Faults: a meter that hears other samples than the valid ones, or changes or allocates any.
TEST_F(MeterTest, HearsAChannelAndLetsItPass) {
    IOChannel<float> channel(64), copy(64);
    for (int i = 0; i < 64; ++i)
        channel.getData()[i] = i == 40 ? 1.0f : i == 11 ? -0.5f : i == 12 ? NAN : 0.25f;
    channel.setCount(40);
    VUMeterPeak meter(nullptr);
    const long allocations = test::allocationsOfThisThread();
    EXPECT_EQ(meter.processChannelTo(channel, copy), 40);
    EXPECT_EQ(copy.getCount(), 40);
    EXPECT_EQ(copy.getData()[11], -0.5f);
    EXPECT_EQ(meter.getLevel(), 0.5f);
    channel.setCount(41);
    EXPECT_EQ(meter.processChannel(channel), 41);
    EXPECT_EQ(meter.getLevel(), 1.0f);
    EXPECT_EQ(meter.clearChannel(channel), 0);
    EXPECT_EQ(channel.getCount(), 0);
    EXPECT_EQ(test::allocationsOfThisThread(), allocations);
}

}  // namespace
}  // namespace tarn
