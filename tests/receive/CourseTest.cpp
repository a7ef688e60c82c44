#include "Course.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace tarn::receive {
namespace {

// The fault it would catch: a sender that is told to be gone while it only pauses, or to pause for
// ever when it is gone.
TEST(Course, WhatIsSeenDecidesTheState) {
    const auto sight = [](bool isEnded, bool isGone, bool isLost, bool isLive) {
        return Sight{true, isEnded, isGone, isLost, isLive};
    };
    const std::pair<Sight, State> cases[] = {
        {{}, State::Searching},
        {sight(false, false, false, true), State::Receiving},
        {sight(false, false, false, false), State::Silent},
        {sight(false, false, true, false), State::Lost},
        {sight(false, true, false, true), State::Abandoned},
        {sight(true, false, false, true), State::Ended},
        {sight(true, true, true, false), State::Ended},
    };
    for (const auto& [seen, state] : cases)
        EXPECT_EQ(nextState(seen), state);
}

class CourseTest : public testing::Test {
protected:
    Delivery see(Sight sight, std::uint64_t start = 0) {
        Delivery delivery;
        sight.isThere = true;
        course.see(sight, start, delivery);
        return delivery;
    }

    /// Takes what a ring of 100 samples still has of those up to `end`.
    Delivery take(std::uint64_t end, double rate = 0.0, std::uint64_t rateFrom = 0) {
        TakenSamples taken;
        taken.result = TakenSamples::Result::Taken;
        taken.end = end;
        taken.samples = std::span(ring).first(static_cast<std::size_t>(
            std::min<std::uint64_t>(ring.size(), end - course.position())));
        taken.rate = rate;
        taken.rateFrom = rateFrom;
        Delivery delivery;
        course.take(taken, delivery);
        return delivery;
    }

    static Sight session(std::uint64_t number) {
        Sight sight;
        sight.session = number;
        return sight;
    }
    Course course;
    std::vector<float> ring = std::vector<float>(100);
};

// The fault it would catch: samples of one rate in a file of another.
TEST_F(CourseTest, ADeliveryHasOneRate) {
    const auto facts = [](const Delivery& delivery) {
        return std::tuple(delivery.samples.size(), delivery.rate, delivery.isBeginning);
    };
    see(session(1));
    EXPECT_EQ(facts(take(0, 44100.0)), std::tuple(0u, 44100.0, false));
    EXPECT_EQ(facts(take(10, 44100.0)), std::tuple(10u, 44100.0, true));
    EXPECT_EQ(facts(take(30, 48000.0, 30)), std::tuple(20u, 44100.0, false));
    EXPECT_EQ(facts(take(50, 48000.0, 30)), std::tuple(20u, 48000.0, false));
    EXPECT_EQ(facts(take(90, 96000.0, 60)), std::tuple(10u, 48000.0, false));
    EXPECT_EQ(facts(take(90, 96000.0, 60)), std::tuple(30u, 96000.0, false));
    EXPECT_EQ(facts(take(500, 8000.0, 200)), std::tuple(100u, 8000.0, false));  // after a loss
    see(session(2));
    EXPECT_EQ(facts(take(20, 32000.0, 10)), std::tuple(10u, 0.0, true));  // told too late
    EXPECT_EQ(facts(take(20, 32000.0, 10)), std::tuple(10u, 32000.0, false));
    EXPECT_EQ(facts(take(30, 0.0, ConnectionRateChanges)), std::tuple(10u, 32000.0, false));
}

}  // namespace
}  // namespace tarn::receive
