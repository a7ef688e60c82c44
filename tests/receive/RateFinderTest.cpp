#include "RateFinder.h"

#include <gtest/gtest.h>

#include <tuple>
#include <utility>
#include <vector>

namespace tarn::receive {
namespace {

using Source = RateFinder::Source;

std::vector<float> audio(1 << 16);

Delivery delivery(std::size_t frames, double rate = 0.0) {
    Delivery made;
    made.samples = std::span(audio).first(frames);
    made.rate = rate;
    return made;
}

std::pair<std::uint32_t, Source> answer(const RateFinder& finder) {
    return {finder.rate(), finder.source()};
}

// The fault it would catch: a rate that is wrong because blocks are long, because the first
// delivery holds what was sent before, or because the sender paused.
TEST(RateFinder, MeasuresASenderThatDoesntTell) {
    const std::tuple<double, std::size_t, std::uint32_t, Source> cases[] = {
        {44100, 64, 44100, Source::Measured},       {48000, 4096, 48000, Source::Measured},
        {96000, 16384, 96000, Source::Measured},    {46600, 480, 48000, Source::Measured},
        {60000, 480, AssumedRate, Source::Assumed}, {5e6, 32768, AssumedRate, Source::Assumed},
    };
    for (const auto& [sent, block, found, source] : cases) {
        RateFinder finder(std::nullopt);
        double now = 1000.0;
        finder.see(delivery(16384), now);
        for (const double pauseEnd = now += 0.7; now < pauseEnd + 9.0;) {
            EXPECT_TRUE(finder.source() == source || finder.source() == Source::Unknown);
            now += static_cast<double>(block) / sent;
            Delivery next = delivery(block / 2);
            next.missed = block - block / 2;
            finder.see(next, now);
        }
        EXPECT_EQ(answer(finder), std::pair(found, source)) << sent;
    }
}

TEST(RateFinder, BelievesTheSenderBeforeTheUser) {
    RateFinder finder(8000);
    const std::tuple<double, bool, std::uint32_t, Source> steps[] = {
        {0.0, false, 8000, Source::Given},
        {44100.0, true, 44100, Source::Told},
        {44100.2, false, 44100, Source::Told},
        {0.0, false, 44100, Source::Kept}};
    EXPECT_FALSE(finder.isChange(delivery(1, 44100.0)));  // none is known yet
    for (const auto& [told, isChange, rate, source] : steps) {
        EXPECT_EQ(finder.isChange(delivery(1, told)), isChange) << told;
        finder.see(delivery(1, told), 0.0);
        EXPECT_EQ(answer(finder), std::pair(rate, source)) << told;
    }
}

}  // namespace
}  // namespace tarn::receive
