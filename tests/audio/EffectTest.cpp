// Effects, the meters of levels and of load, with a clock that the test sets.
#include "audio/CPUMeter.h"
#include "audio/IOPin.h"
#include "audio/VUMeter.h"
#include "foundation/Message.h"
#include "platform/Clock.h"
#include "support/AllocationCount.h"
#include "support/Hearer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <deque>
#include <limits>
#include <numeric>
#include <random>
#include <thread>

namespace tarn {
namespace {

std::atomic<double> clockNow{0.0};

struct MeterTest : testing::Test {
    MeterTest() {
        clockNow = 1000.0;
        platform::setHighResolutionClock([]() noexcept { return clockNow.load(); });
    }
    ~MeterTest() override { platform::setHighResolutionClock(nullptr); }

    static float after(double seconds, VUMeter& meter, float input) {
        clockNow = clockNow + seconds;
        meter.update(input);
        return meter.getLevel();
    }
};

// Answers the next of the numbers that it was given.
struct Answering : Effect {
    using Effect::Effect;
    int processChannelTo(const IOChannel<float>& in, IOChannel<float>& out) override {
        out.assign(in);
        return answers[static_cast<std::size_t>(calls++)];
    }
    void onReset() override { calls = 0; }
    float gains() const { return inputGain_ * 10.0f + outputGain_; }
    int sizes() const { return sampleRate_ + blockSize_; }
    std::vector<int> answers;
    int calls = 0;
};

// Faults: a change that nobody hears, or that is told without one; a pin whose trouble is lost.
TEST(Effect, TellsOfChangesAndAnswersTheLeastOfAPin) {
    Answering effect(nullptr);
    int told = 0;
    const Hearer hearer(effect, [&](Message& message) {
        told += message.type == MessageType::Plugin &&
                message.code == PluginMessage::EffectChanged && message.sender == &effect;
    });
    EXPECT_EQ(effect.sizes(), 44'100 + 1'024);
    const std::function<void()> changes[] = {
        [&] { effect.setSampleRate(48'000); }, [&] { effect.setBlockSize(64); },
        [&] { effect.setInputGain(0.5f); },    [&] { effect.setOutputGain(2.0f); },
        [&] { effect.setFlag(6, true); },      [&] { effect.setFlag(3, false); }};
    int expected = 0;
    for (const auto& change : changes) {
        change();
        EXPECT_EQ(told, ++expected);
        change();
        EXPECT_EQ(told, expected);
    }
    EXPECT_EQ(effect.sizes(), 48'064);
    EXPECT_EQ(effect.gains(), 7.0f);
    EXPECT_EQ(effect.getFlags(), 4u);

    IOPinStereo in, out;
    in.setSize(16);
    in.setCount(5);
    IOPinMono mono;
    effect.answers = {3, -2, -1, 5, 7, 9};
    EXPECT_EQ(effect.processPinTo(in, out), -2);
    EXPECT_EQ(out.getChannel(1)->getCount(), 5);
    EXPECT_EQ(effect.processPinTo(in, mono), -1);
    EXPECT_EQ(effect.processPin(in), 0);
    effect.reset();
    EXPECT_EQ(effect.processChannel(*in.getChannel(0)), 3);
}

// Faults: a meter with another inertia than its mode's, or whose pace depends on the block size.
TEST_F(MeterTest, MovesAsItsModeSays) {
    struct Row {
        int mode;
        double riseSeconds;
        float risen;
        double fallSeconds;
        float fallen;
    };
    const Row rows[] = {
        {0, 0.005, 0.8f, 1.5, 0.1f},         {1, 0.005, 0.8f, 1.7, 0.1f},
        {2, 0.010, 0.2f, 2.8, 0.063095734f}, {3, 0.010, 0.2f, 2.8, 0.063095734f},
        {4, 0.3, 0.99f, 0.3, 0.01f},         {5, 0.0, 1.0f, 0.2, 0.01f},
        {9, 0.0, 1.0f, 0.2, 0.01f},          {-1, 0.0, 1.0f, 0.2, 0.01f},
    };
    for (const Row& row : rows)
        for (const int blocks : {1, 10}) {
            VUMeterPeak meter(nullptr);
            clockNow = clockNow + 5.0;
            meter.setMode(row.mode);
            for (int i = 0; i < blocks; ++i)
                after(row.riseSeconds / blocks, meter, 1.0f);
            EXPECT_NEAR(meter.getLevel(), row.risen, 2e-7f) << row.mode;
            after(100.0, meter, 1.0f);
            for (int i = 0; i < blocks; ++i)
                after(row.fallSeconds / blocks, meter, 0.0f);
            EXPECT_NEAR(meter.getLevel(), row.fallen, 2e-7f) << row.mode;
        }
}

// Faults: a product of other precision than is told, here where that shows in the last bits.
TEST_F(MeterTest, RoundsWhereAPlainMeterDoes) {
    struct Fall {
        int mode;
        double base;
        double (*exponent)(float);
    };
    const Fall falls[] = {
        {0, std::pow(10.0, -1.0), [](float dt) { return double{dt * 0.6666667f}; }},
        {1, std::pow(10.0, -1.0), [](float dt) { return dt * 0.5882352941176471; }},
        {2, std::pow(10.0, -1.2), [](float dt) { return dt * 0.35714285714285715; }},
        {4, 1.0 - 0.99, [](float dt) { return dt * 3.3333333333333335; }},
        {5, 1.0 - 0.99, [](float dt) { return double{dt * 5.0f}; }},
    };
    for (const Fall& fall : falls) {
        VUMeterPeak meter(nullptr);
        meter.setMode(fall.mode);
        float level = after(100.0, meter, 1.0f);
        for (int i = 1; i < 200; ++i) {
            const double before = clockNow;
            const float input = static_cast<float>(200 - i) / 1000.0f;
            after(0.0013 * i, meter, input);
            const auto dt = static_cast<float>(clockNow - before);
            const double part = (1.0 - std::pow(fall.base, fall.exponent(dt))) * (input - level);
            level += static_cast<float>(part);
            ASSERT_EQ(meter.getLevel(), level) << fall.mode << ", " << i;
        }
    }
}

// Faults: input that is beyond, below or no number, and that the meter never recovers from.
TEST_F(MeterTest, StaysANumberWhateverComes) {
    constexpr float Infinity = std::numeric_limits<float>::infinity();
    constexpr float Denormal = std::numeric_limits<float>::denorm_min();
    for (int mode = 0; mode <= 5; ++mode) {
        VUMeterPeak meter(nullptr);
        meter.setHoldTime(NAN);
        meter.setHoldTime(0.5f);
        meter.setMode(mode);
        EXPECT_NEAR(after(100.0, meter, 10.0f), 1.9952623f, 1e-7f);
        EXPECT_FLOAT_EQ(meter.getPeak(), VUMeter::Ceiling);
        for (const float input : {NAN, -1.0f, 0.0f, -Infinity, Denormal})
            EXPECT_NEAR(after(1000.0, meter, input), 0.0f, 1e-30f) << input;
        EXPECT_EQ(meter.getPeak(), Denormal);
        EXPECT_EQ(after(100.0, meter, Infinity), VUMeter::Ceiling);
        after(-500.0, meter, 0.5f);
        EXPECT_NEAR(after(100.0, meter, 0.5f), 0.5f, 1e-6f);
    }
}

// Faults: a peak that falls too early, to nothing, or by another time than that of the updates.
TEST_F(MeterTest, HoldsAPeakAndThenTakesWhatIsThere) {
    VUMeterPeak meter(nullptr);
    struct Step {
        double seconds;
        float input, peak;
    };
    meter.update(0.2f);  // at once: nothing is held yet
    EXPECT_EQ(meter.getPeak(), 0.2f);
    for (const Step& step : {Step{0.5, 0.8f, 0.8f},
                             {0.75, 0.5f, 0.8f},
                             {0.25, 0.4f, 0.8f},
                             {0.125, 0.3f, 0.3f},
                             {0.5, 0.6f, 0.6f},
                             {0.625, 0.1f, 0.1f}}) {
        after(step.seconds, meter, step.input);
        EXPECT_EQ(meter.getPeak(), step.peak);
    }
    meter.setHoldTime(5.0f);
    after(1.125, meter, 0.9f);
    after(4.5, meter, 0.1f);
    EXPECT_EQ(meter.getPeak(), 0.9f);
    meter.reset();
    EXPECT_EQ(meter.getPeak(), 0.0f);
    EXPECT_EQ(meter.getLevel(), 0.0f);
    after(0.125, meter, 0.7f);
    after(4.5, meter, 0.1f);
    EXPECT_EQ(meter.getPeak(), 0.7f);
    clockNow = clockNow + 100.0;
    meter.setMode(VUMeter::Average);
    EXPECT_EQ(meter.getPeak(), 0.0f);
    EXPECT_NEAR(after(0.3, meter, 1.0f), 0.99f, 1e-6f);
}

// Faults: a meter that hears other samples than the valid ones, or changes or allocates any.
TEST_F(MeterTest, HearsAChannelAndLetsItPass) {
    struct Sum : VUMeter {
        using VUMeter::VUMeter;
        float detect(float accumulator, float sample) const noexcept override {
            return accumulator + sample * 0.25f;
        }
    };
    IOChannel<float> channel(64), copy(64);
    for (int i = 0; i < 64; ++i)
        channel.getData()[i] = i == 40 ? 1.0f : i == 11 ? -0.5f : i == 12 ? NAN : 0.25f;
    channel.setCount(40);
    VUMeterPeak meter(nullptr);
    Sum sum(nullptr);
    const long allocations = test::allocationsOfThisThread();
    EXPECT_EQ(meter.processChannelTo(channel, copy), 40);
    EXPECT_EQ(copy.getCount(), 40);
    EXPECT_EQ(copy.getData()[11], -0.5f);
    EXPECT_EQ(meter.getLevel(), 0.5f);
    channel.setCount(41);
    EXPECT_EQ(meter.processChannel(channel), 41);
    EXPECT_EQ(meter.getLevel(), 1.0f);
    channel.setCount(8);
    sum.processChannel(channel);
    EXPECT_EQ(sum.getLevel(), 0.5f);
    EXPECT_EQ(meter.clearChannel(channel), 0);
    EXPECT_EQ(channel.getCount(), 0);
    EXPECT_EQ(test::allocationsOfThisThread(), allocations);
    for (const float sample : {0.25f, -0.75f, NAN})
        EXPECT_EQ(meter.detect(0.5f, sample), sample == -0.75f ? 0.75f : 0.5f);
}

// Faults: a mean or maximum of other values than the last ones, a maximum that stays for ever.
TEST(SeriesStats, AreThoseOfTheLastValues) {
    std::mt19937 random(7);
    for (const int length : {1, 2, 5, 16})
        for (const int stride : {1, 3}) {
            SeriesStats stats(length, stride);
            const auto size = static_cast<std::size_t>(length * stride);
            std::deque<double> last(size, 0.0);
            EXPECT_EQ(stats.getLength(), length);
            for (int i = 0; i < 200; ++i) {
                const double value = static_cast<double>(random() % 64) / 8.0;
                stats.add(i % 50 == 9 ? NAN : value);
                if (i % 50 != 9) {
                    last.pop_front();
                    last.push_back(value);
                }
                ASSERT_EQ(stats.getMean(), std::accumulate(last.begin(), last.end(), 0.0) /
                                               static_cast<double>(size));
                ASSERT_EQ(stats.getMaximum(), *std::max_element(last.begin(), last.end()));
                for (int span = -1; span <= length; ++span) {
                    const auto begin = last.begin() + (span + length) % length * stride;
                    ASSERT_EQ(stats.getSpanMaximum(span), *std::max_element(begin, begin + stride));
                }
            }
        }
    SeriesStats stats(4, 0);
    stats.add(2.0);
    EXPECT_EQ(stats.getMean(), 0.5);
    stats.setLength(2);
    EXPECT_EQ(stats.getMaximum(), 0.0);
    EXPECT_EQ(stats.getMean(), 1.0);
    for (const double below : {-3.0, -5.0, -4.0})
        stats.add(below);
    EXPECT_EQ(stats.getMaximum(), -4.0);
    EXPECT_EQ(stats.getSpanMaximum(0), 0.0);
    stats.setLength(-1);
    stats.add(1.0);
    EXPECT_EQ(stats.getLength(), 0);
    EXPECT_EQ(stats.getMean() + stats.getMaximum() + stats.getSpanMaximum(3), 0.0);
}

// Faults: a load of another time than the one that has passed, the first one included; a section
// that counts as a period.
TEST_F(MeterTest, LoadIsTheSectionsShareOfTheTime) {
    CPUMeter meter(nullptr, 4);
    int told = 0;
    const Hearer hearer(meter, [&](Message&) { ++told; });
    TimerMessage tick(nullptr, TimerMessage::Tick, fourCharacterCode("CPUx"), 0);
    const auto runs = [](double seconds, auto begin, auto end) {
        clockNow = clockNow + 0.5;
        begin();
        clockNow = clockNow + seconds;
        end();
    };
    const auto period = [&](double seconds) {
        runs(
            seconds, [&] { meter.begin(); }, [&] { meter.end(); });
    };
    const auto section = [&](double seconds) {
        runs(
            seconds, [&] { meter.beginSection(); }, [&] { meter.endSection(); });
    };
    period(0.25);
    EXPECT_DOUBLE_EQ(meter.getPeriod(), 1000.5 * 0.01 + 0.99);
    EXPECT_TRUE(meter.receive(tick));
    EXPECT_EQ(meter.getMean(), 0.0);
    period(0.5);
    const double smoothed = (1000.5 * 0.01 + 0.99) * 0.99 + 0.75 * 0.01;
    EXPECT_DOUBLE_EQ(meter.getPeriod(), smoothed);
    meter.receive(tick);
    meter.receive(tick);  // no time has passed
    EXPECT_DOUBLE_EQ(meter.getPeak(), 0.5);
    section(0.125);
    section(0.125);
    EXPECT_DOUBLE_EQ(meter.getPeriod(), smoothed);
    meter.receive(tick);
    EXPECT_DOUBLE_EQ(meter.getLoad(2), 0.5);
    EXPECT_DOUBLE_EQ(meter.getLoad(3), 0.2);
    EXPECT_DOUBLE_EQ(meter.getMean(), 0.175);
    EXPECT_EQ(meter.getLength(), 4);
    EXPECT_EQ(told, 4);
    TimerMessage other(nullptr, TimerMessage::Tick + 1, fourCharacterCode("CPUx"), 0);
    EXPECT_FALSE(meter.receive(other));
}

// Faults: a meter without a timer of its own, one that goes on, or that counts the pause.
TEST_F(MeterTest, LoadComesByItselfWhileStarted) {
    CPUMeter meter(nullptr, 1);
    std::atomic<int> told{0};
    const Hearer hearer(meter, [&](Message& message) {
        EXPECT_EQ(static_cast<TimerMessage&>(message).intervalMs, 100.0);
        meter.beginSection();
        clockNow = clockNow + 1.0;
        meter.endSection();
        ++told;
    });
    const auto await = [&](int more) {
        for (const int before = told; told < before + more;)
            std::this_thread::yield();
    };
    meter.stop();
    meter.start();
    await(2);
    EXPECT_EQ(meter.getPeak(), 1.0);
    meter.stop();
    clockNow = clockNow + 100.0;
    meter.start();
    await(1);
    EXPECT_EQ(meter.getPeak(), 1.0);
}

}  // namespace
}  // namespace tarn
