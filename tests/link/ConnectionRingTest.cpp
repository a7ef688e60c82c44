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

// Faults: a span that is off by one at the ring's end, counters that part from the format's loop.
TEST(ConnectionRing, CopiesOfWholeSpansDoWhatTheLoopDoes) {
    std::mt19937 random(1);
    const auto upTo = [&random](std::uint32_t highest) {
        return std::uniform_int_distribution<std::uint32_t>(0, highest)(random);
    };
    const auto fast = std::make_unique<ConnectionRing>(), slow = std::make_unique<ConnectionRing>();
    std::uint32_t fastPosition = 0, slowPosition = 0;
    for (int step = 0; step < 3000; ++step) {
        // Small blocks as a rule, sometimes none, about a ring's worth, or any number.
        const std::uint32_t others[] = {0, ConnectionRingSamples - 1 + upTo(2), upTo(100'000)};
        const std::uint32_t choice = upTo(9);
        const std::uint32_t frames = choice < 3 ? others[choice] : upTo(2048);
        std::vector<float> fastBlock(frames);
        std::iota(fastBlock.begin(), fastBlock.end(), static_cast<float>(step));
        std::vector<float> slowBlock = fastBlock;
        if (upTo(1) == 0) {
            fast->put(fastBlock.data(), frames);
            test::putSampleBySample(*slow, slowBlock.data(), frames);
        } else {
            ASSERT_EQ(fast->get(fastBlock.data(), frames, fastPosition),
                      test::getSampleBySample(*slow, slowBlock.data(), frames, slowPosition));
            ASSERT_EQ(fastBlock, slowBlock);
            ASSERT_EQ(fastPosition & 0x7FFF, slowPosition);
        }
        ASSERT_EQ(std::memcmp(fast.get(), slow.get(), sizeof *fast), 0) << step;
        if (upTo(19) == 0)  // what a resync leaves: wrapped, empty, or something between
            fast->count = slow->count = upTo(1) == 0 ? 0xFFFFC000u : upTo(40'000);
        if (upTo(19) == 0)  // what others may have written there: the ring's bits count
            slowPosition = (fastPosition = static_cast<std::uint32_t>(random())) & 0x7FFF;
    }
}

}  // namespace
}  // namespace tarn
