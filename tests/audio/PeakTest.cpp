#include "audio/Peak.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace tarn {
namespace {

// Faults: a lane, or a sample of the remainder, that is left out; NaN that hides a peak.
TEST(Peak, TheLargestSampleIsFoundWhereverItStands) {
    for (int frames = 1; frames <= 70; ++frames)
        for (int at = 0; at < frames; ++at)
            for (int start = 0; start < 4; ++start) {
                std::vector<float> samples(static_cast<std::size_t>(start + frames), 0.25f);
                float* const run = samples.data() + start;
                run[(at + 1) % frames] = at % 3 == 0 ? NAN : -NAN;
                for (const float peak : {0.75f, -0.75f, -INFINITY}) {
                    run[at] = peak;
                    ASSERT_EQ(peakOf(run, frames), std::fabs(peak)) << frames << ", " << at;
                }
            }
    EXPECT_EQ(peakOf(std::vector<float>(40, NAN).data(), 40), 0.0f);
    EXPECT_EQ(peakOf(nullptr, 0), 0.0f);
}

}  // namespace
}  // namespace tarn
