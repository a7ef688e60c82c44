#include "link/ConnectionBlock.h"
#include "support/SampleBySample.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace tarn {
namespace {

using Random = std::mt19937;

std::uint32_t upTo(Random& random, std::uint32_t highest) {
    return std::uniform_int_distribution<std::uint32_t>(0, highest)(random);
}

// Small blocks as a rule, sometimes more than the ring holds.
std::uint32_t someFrames(Random& random) {
    switch (upTo(random, 9)) {
        case 0:
            return 0;
        case 1:
            return upTo(random, 100'000);
        case 2:
            return ConnectionRingSamples + upTo(random, 2) - 1;
        default:
            return upTo(random, 2048);
    }
}

bool equal(const ConnectionRing& a, const ConnectionRing& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// The fault it would catch: a span that is off by one at the ring's end, or counters that part from
// the format's own loop when `count` wraps or is pinned.
TEST(ConnectionRing, CopiesOfWholeSpansDoWhatTheLoopDoes) {
    for (unsigned seed = 0; seed < 8; ++seed) {
        Random random(seed);
        auto fast = std::make_unique<ConnectionRing>();
        auto model = std::make_unique<ConnectionRing>();
        std::uint32_t fastPosition = 0;
        std::uint32_t modelPosition = 0;
        float next = 1.0f;
        for (int step = 0; step < 400; ++step) {
            const std::uint32_t frames = someFrames(random);
            std::vector<float> fastBlock(frames, -1.0f);
            if (upTo(random, 1) == 0) {
                for (float& sample : fastBlock)
                    sample = next += 1.0f;
                fast->put(fastBlock.data(), frames);
                test::putSampleBySample(*model, fastBlock.data(), frames);
            } else {
                std::vector<float> modelBlock(frames, -1.0f);
                ASSERT_EQ(
                    fast->get(fastBlock.data(), frames, fastPosition),
                    test::getSampleBySample(*model, modelBlock.data(), frames, modelPosition));
                ASSERT_EQ(fastBlock, modelBlock);
                ASSERT_EQ(fastPosition, modelPosition);
            }
            ASSERT_TRUE(equal(*fast, *model)) << "seed " << seed << ", step " << step;
            if (upTo(random, 19) ==
                0)  // what a resync leaves: wrapped, empty, or something between
                fast->count = model->count =
                    upTo(random, 1) == 0 ? 0xFFFFC000u : upTo(random, 40'000);
        }
    }
}

// The fault it would catch: an index from the block that is used as it stands. The ring lies alone
// on the heap, so that the sanitizer sees every step beside it.
TEST(ConnectionRing, AnyBytesAreHarmless) {
    Random random(7);
    auto ring = std::make_unique<ConnectionRing>();
    std::vector<float> block(100'000);
    for (int round = 0; round < 300; ++round) {
        for (std::uint32_t* word : {&ring->writeIndex, &ring->readIndex, &ring->count})
            *word = static_cast<std::uint32_t>(random());
        std::uint32_t position = static_cast<std::uint32_t>(random());
        const std::uint32_t frames = someFrames(random);
        ring->put(block.data(), frames);
        EXPECT_LT(ring->writeIndex, ConnectionRingSamples);
        EXPECT_LE(ring->count, ConnectionRingSamples);
        ring->count = static_cast<std::uint32_t>(random());
        EXPECT_LE(ring->get(block.data(), frames, position), frames);
    }
}

// The fault it would catch: a write head that is seen before the samples it stands for.
TEST(ConnectionRing, AReaderBehindTheWriteHeadSeesEverySampleInOrder) {
    constexpr std::uint32_t Samples = 1'000'000;
    auto ring = std::make_unique<ConnectionRing>();
    std::atomic<std::uint32_t> taken{0};
    std::thread writer([&] {
        float block[333];
        for (std::uint32_t sent = 0; sent < Samples;) {
            const std::uint32_t frames = std::min<std::uint32_t>(std::size(block), Samples - sent);
            for (std::uint32_t i = 0; i < frames; ++i)
                block[i] = static_cast<float>(sent + i);
            while (sent + frames - taken.load() > ConnectionRingSamples)
                std::this_thread::yield();
            ring->put(block, frames);
            sent += frames;
        }
    });
    std::vector<float> block(ConnectionRingSamples);
    std::uint32_t position = 0;
    std::uint32_t wrong = 0;
    while (taken.load() < Samples) {
        const std::uint32_t head =
            std::atomic_ref(ring->writeIndex).load(std::memory_order_acquire);
        const std::uint32_t got =
            ring->get(block.data(), (head - position) & ConnectionRingMask, position);
        for (std::uint32_t i = 0; i < got; ++i)
            wrong += block[i] != static_cast<float>(taken.load() + i);
        taken.fetch_add(got);
    }
    writer.join();
    EXPECT_EQ(wrong, 0u);
}

}  // namespace
}  // namespace tarn
