#include "Course.h"

#include <gmock/gmock.h>

#include <vector>

namespace tarn::receive {
namespace {

// The fault it would catch: samples of one rate in a file of another.
TEST(Course, ADeliveryHasOneRate) {
    const struct {
        std::uint64_t session, published;
        double rate;
        std::uint64_t rateFrom;
        std::size_t samples;  // that come, all at one rate
        double theirRate;
        bool isBeginning;
    } looks[] = {
        {1, 0, 44100.0, 0, 0, 44100.0, false},
        {1, 10, 44100.0, 0, 10, 44100.0, true},
        {1, 30, 48000.0, 30, 20, 44100.0, false},
        {1, 50, 48000.0, 30, 20, 48000.0, false},
        {1, 90, 96000.0, 60, 10, 48000.0, false},
        {1, 90, 96000.0, 60, 30, 96000.0, false},
        {1, 500, 8000.0, 200, 100, 8000.0, false},  // after a loss
        {2, 20, 32000.0, 10, 10, 0.0, true},        // told too late
        {2, 20, 32000.0, 10, 10, 32000.0, false},
        {2, 30, 0.0, ConnectionRateChanges, 10, 32000.0, false},
    };
    const std::vector<float> ring(100);
    Course course;
    for (const auto& [session, published, rate, rateFrom, samples, theirRate, isBeginning] :
         looks) {
        Sight sight;
        sight.isThere = true;
        sight.session = session;
        Delivery delivery;
        course.see(sight, 0, delivery);
        const auto taken = std::min<std::uint64_t>(ring.size(), published - course.position());
        course.take({TakenSamples::Result::Taken, published,
                     std::span(ring).first(static_cast<std::size_t>(taken)), rate, rateFrom},
                    delivery);
        EXPECT_EQ(delivery.samples.size(), samples) << published;
        EXPECT_EQ(delivery.rate, theirRate) << published;
        EXPECT_EQ(delivery.isBeginning, isBeginning) << published;
    }
}

}  // namespace
}  // namespace tarn::receive
