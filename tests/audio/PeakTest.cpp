#include "audio/Peak.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace tarn {
namespace {

// The fault it would catch: a lane, or a sample of the remainder, that is left out.
TEST(Peak, TheLargestSampleIsFoundWhereverItStands) {
    for (int frames = 0; frames <= 70; ++frames)
        for (int start = 0; start < 4; ++start)
            for (int at = 0; at < frames; ++at) {
                std::vector<float> samples(static_cast<std::size_t>(start + frames), 0.25f);
                samples[static_cast<std::size_t>(start + at)] = at % 2 == 0 ? -0.75f : 0.75f;
                ASSERT_EQ(peakOf(samples.data() + start, frames), 0.75f) << frames << ", " << at;
            }
    EXPECT_EQ(peakOf(nullptr, 0), 0.0f);
}

TEST(Peak, NaNIsPassedOverAndInfinityIsAPeak) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    for (std::size_t at = 0; at < 40; ++at) {
        std::vector<float> samples(40, 0.5f);
        samples[at] = at % 2 == 0 ? nan : -nan;
        EXPECT_EQ(peakOf(samples.data(), 40), 0.5f);
        samples[at] = -infinity;
        EXPECT_EQ(peakOf(samples.data(), 40), infinity);
    }
    const std::vector<float> all(40, nan);
    EXPECT_EQ(peakOf(all.data(), 40), 0.0f);
}

}  // namespace
}  // namespace tarn
