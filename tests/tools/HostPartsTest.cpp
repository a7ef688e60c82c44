// The parts of the host by themselves.
#include "host/AudioFile.h"
#include "host/Failure.h"
#include "host/Schedule.h"
#include "host/Signal.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <set>

namespace tarn::host {
namespace {

using testing::HasSubstr;
using testing::Not;
using Samples = std::vector<float>;

Samples samplesOf(const SignalSettings& settings, int channel, std::int64_t position,
                  std::size_t frames) {
    Samples samples(frames);
    fillSignal(settings, channel, position, samples);
    return samples;
}

// Faults: a sample of the ramp that comes twice, or is rounded; noise that channels share, or that
// depends on where it is begun; a wrong pitch.
TEST(HostSignal, TellsPositionsAndHasItsPitchAnywhere) {
    constexpr int period = 1 << 24;
    const SignalSettings ramp{.kind = SignalKind::Ramp};
    const Samples ramped = samplesOf(ramp, 0, 0, period + 1);
    for (int i = 0; i <= period; ++i)
        ASSERT_EQ(std::ldexp(ramped[i], 24), i % period);
    EXPECT_EQ(samplesOf(ramp, 1, 5, 1).front(), ramped[period / 2 + 5]);

    EXPECT_EQ(mixedBits(0, 1), 0xe220a8397b1dcdafu);  // as splitmix64's first step from 0
    const SignalSettings noise{.kind = SignalKind::Noise, .seed = 7};
    const Samples left = samplesOf(noise, 0, 0, 2000);
    EXPECT_NE(samplesOf(noise, 1, 0, 2000), left);
    EXPECT_NE(samplesOf({.kind = SignalKind::Noise, .seed = 8}, 0, 0, 2000), left);
    EXPECT_EQ(samplesOf(noise, 0, 1000, 1).front(), left[1000]);
    const auto [least, most] = std::minmax_element(left.begin(), left.end());
    EXPECT_NEAR(*least, -1.0f, 0.01f);
    EXPECT_NEAR(*most, 1.0f, 0.01f);

    const SignalSettings sine{
        .kind = SignalKind::Sine, .frequency = 1000.0, .level = 0.5, .rate = 48000.0};
    EXPECT_FLOAT_EQ(samplesOf(sine, 0, 48000LL * 3600 + 12, 1).front(), 0.5f);  // after an hour
    EXPECT_FLOAT_EQ(samplesOf(sine, 1, 0, 1).front(), 0.5f);  // a quarter turn ahead
    const SignalSettings sweep{.kind = SignalKind::Sweep, .rate = 48000.0, .seconds = 10.0};
    const Samples swept = samplesOf(sweep, 0, 0, 480'000);
    int crossings = 0;
    for (std::size_t i = 1; i < swept.size(); ++i)
        crossings += std::signbit(swept[i]) != std::signbit(swept[i - 1]);
    EXPECT_NEAR(crossings, 61'792, 2);  // from 20 Hz to 21.6 kHz, each octave as long
}

// What the file's format could change: infinities, payloads of NaN, denormals, names, lengths.
TEST(HostAudioFile, FloatsComeBackBitForBitUnderAnyName) {
    const test::ScratchFolder folder;
    const std::string path = folder.path("mö日.wav");
    const Samples left = {0.1f, std::numeric_limits<float>::infinity(), 1e-42f, -0.0f, 0, 0},
                  right = {-0.0f,
                           3.5f,
                           std::bit_cast<float>(0x7fc12345),
                           std::bit_cast<float>(0xffc54321),
                           0,
                           0};
    AudioWriter writer(path, 2, 96000.0);
    writer.write(std::array{std::span(left).first(4), std::span(right).first(4)});
    writer.finish();
    EXPECT_THAT(folder.read("mö日.wav"), Not(HasSubstr("PEAK")));  // with the time of day

    AudioReader reader(path);
    EXPECT_TRUE(reader.rate() == 96000.0 && reader.frames() == 4);
    Channels read(3);
    reader.read(read, 6);
    for (const auto& [channel, expected] : {std::pair(0, left), {1, right}, {2, right}})
        EXPECT_EQ(std::memcmp(read[channel].data(), expected.data(), 24), 0) << channel;
}

TEST(HostSchedule, TextsThatAreNoSettingAreRefusedAndBlocksAreOfAllSizes) {
    const Setting setting = parseSetting("a=b=0.25@0");
    EXPECT_EQ(setting.parameter, "a=b");
    EXPECT_TRUE(setting.value == 0.25f && setting.seconds == 0.0);
    for (const char* text : {"", "=1", "0", "0=", "0=1.1", "0=-1", "0=nan", "0=1@", "0=1@-2",
                             "0=1@inf", "0=1 ", "0=1x"})
        EXPECT_THROW(parseSetting(text), Failure) << text;
    for (const char* text : {"", "0", "-1", "8:4", "1:", ":1", "1:2:3", "4194305", "99999999999"})
        EXPECT_THROW(parseBlockSizes(text), Failure) << text;

    Schedule schedule(100000, {1, 300}, 3, {});
    std::set<int> sizes;
    while (!schedule.isDone())
        sizes.insert(schedule.next().frames);
    EXPECT_TRUE(sizes.size() > 200 && *sizes.begin() == 1 && *sizes.rbegin() == 300);
}

}  // namespace
}  // namespace tarn::host
