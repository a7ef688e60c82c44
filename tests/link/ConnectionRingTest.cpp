#include "link/ConnectionBlock.h"
#include "support/SampleBySample.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

namespace tarn {
namespace {

std::uint32_t upTo(std::mt19937& random, std::uint32_t highest) {
    return std::uniform_int_distribution<std::uint32_t>(0, highest)(random);
}

// Faults: a span that is off by one at the ring's end, counters that part from the format's loop.
TEST(ConnectionRing, CopiesOfWholeSpansDoWhatTheLoopDoes) {
    std::mt19937 random(1);
    const auto fast = std::make_unique<ConnectionRing>(),
               model = std::make_unique<ConnectionRing>();
    std::uint32_t fastPosition = 0, modelPosition = 0;
    for (int step = 0; step < 3000; ++step) {
        // Small blocks as a rule, sometimes none, about a ring's worth, or any number.
        const std::uint32_t others[] = {0, ConnectionRingSamples - 1 + upTo(random, 2),
                                        upTo(random, 100'000)};
        const std::uint32_t choice = upTo(random, 9);
        const std::uint32_t frames = choice < 3 ? others[choice] : upTo(random, 2048);
        std::vector<float> fastBlock(frames);
        std::iota(fastBlock.begin(), fastBlock.end(), static_cast<float>(step));
        std::vector<float> modelBlock = fastBlock;
        if (upTo(random, 1) == 0) {
            fast->put(fastBlock.data(), frames);
            test::putSampleBySample(*model, modelBlock.data(), frames);
        } else {
            ASSERT_EQ(fast->get(fastBlock.data(), frames, fastPosition),
                      test::getSampleBySample(*model, modelBlock.data(), frames, modelPosition));
            ASSERT_EQ(fastBlock, modelBlock);
            ASSERT_EQ(fastPosition & 0x7FFF, modelPosition);
        }
        ASSERT_EQ(std::memcmp(fast.get(), model.get(), sizeof *fast), 0) << step;
        if (upTo(random, 19) == 0)  // what a resync leaves: wrapped, empty, or something between
            fast->count = model->count = upTo(random, 1) == 0 ? 0xFFFFC000u : upTo(random, 40'000);
        if (upTo(random, 19) == 0)  // what others may have written there: the ring's bits count
            modelPosition = (fastPosition = static_cast<std::uint32_t>(random())) & 0x7FFF;
    }
}

}  // namespace
}  // namespace tarn
