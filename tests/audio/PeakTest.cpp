#include "audio/Peak.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace tarn {
namespace {

// Faults: a lane, or a sample of the remainder, that is left out; NaN that hides a peak.
TEST(Peak, TheLargestSampleIsFoundWhereverItStands) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    for (std::size_t frames = 1; frames <= 70; ++frames)
        for (std::size_t start = 0; start < 4; ++start)
            for (std::size_t at = 0; at < frames; ++at) {
                std::vector<float> samples(start + frames, 0.25f);
                samples[start + (at + 1) % frames] = at % 3 == 0 ? nan : -nan;
                for (const float peak : {0.75f, -0.75f, -infinity}) {
                    samples[start + at] = peak;
                    ASSERT_EQ(peakOf(samples.data() + start, static_cast<int>(frames)),
                              std::fabs(peak))
                        << frames << ", " << at;
                }
            }
    const std::vector<float> all(40, nan);
    EXPECT_EQ(peakOf(all.data(), 40), 0.0f);
    EXPECT_EQ(peakOf(nullptr, 0), 0.0f);
}

}  // namespace
}  // namespace tarn
