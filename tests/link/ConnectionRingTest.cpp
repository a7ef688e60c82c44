#include "link/ConnectionBlock.h"
#include "support/SampleBySample.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <numeric>
#include <random>
#include <thread>
#include <vector>

namespace tarn {
namespace {

using Random = std::mt19937;

std::uint32_t upTo(Random& random, std::uint32_t highest) {
    return std::uniform_int_distribution<std::uint32_t>(0, highest)(random);
}

// Small blocks as a rule, sometimes none, about a ring's worth, or any number.
std::uint32_t someFrames(Random& random) {
    const std::uint32_t others[] = {0, ConnectionRingSamples - 1 + upTo(random, 2),
                                    upTo(random, 100'000)};
    const std::uint32_t choice = upTo(random, 9);
    return choice < std::size(others) ? others[choice] : upTo(random, 2048);
}

// Faults: a span that is off by one at the ring's end, counters that part from the format's loop.
TEST(ConnectionRing, CopiesOfWholeSpansDoWhatTheLoopDoes) {
    Random random(1);
    const auto fast = std::make_unique<ConnectionRing>(),
               model = std::make_unique<ConnectionRing>();
    std::uint32_t fastPosition = 0, modelPosition = 0;
    for (int step = 0; step < 3000; ++step) {
        const std::uint32_t frames = someFrames(random);
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
            ASSERT_EQ(fastPosition, modelPosition);
        }
        ASSERT_EQ(std::memcmp(fast.get(), model.get(), sizeof *fast), 0) << step;
        if (upTo(random, 19) == 0)  // what a resync leaves: wrapped, empty, or something between
            fast->count = model->count = upTo(random, 1) == 0 ? 0xFFFFC000u : upTo(random, 40'000);
    }
}

// The fault it would catch: a write head that is seen before the samples it stands for.
TEST(ConnectionRing, AReaderBehindTheWriteHeadSeesEverySampleInOrder) {
    constexpr std::uint32_t Samples = 1'000'000;
    const auto ring = std::make_unique<ConnectionRing>();
    std::atomic<std::uint32_t> taken{0};
    std::thread writer([&] {
        std::vector<float> block(400);
        for (std::uint32_t sent = 0; sent < Samples; sent += 400) {
            std::iota(block.begin(), block.end(), static_cast<float>(sent));
            while (sent + 400 - taken.load() > ConnectionRingSamples)
                std::this_thread::yield();
            ring->put(block.data(), 400);
        }
    });
    std::vector<float> block(ConnectionRingSamples);
    std::uint32_t position = 0, wrong = 0;
    while (taken.load() < Samples) {
        const std::uint32_t head =
            std::atomic_ref(ring->writeIndex).load(std::memory_order_acquire);
        const std::uint32_t unread = (head - position) & ConnectionRingMask;
        const std::uint32_t got = ring->get(block.data(), unread, position);
        for (std::uint32_t i = 0; i < got; ++i)
            wrong += block[i] != static_cast<float>(taken.load() + i);
        taken.fetch_add(got);
    }
    writer.join();
    EXPECT_EQ(wrong, 0u);
}

}  // namespace
}  // namespace tarn
