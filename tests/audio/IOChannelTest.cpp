#include "audio/IOChannel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <memory>
#include <new>
#include <random>
#include <vector>

namespace tarn {
namespace {

using Channel = IOChannel<float>;

// Faults: a buffer freed under a view, or never; a size beyond the memory.
TEST(IOChannel, BuffersLiveAsLongAsTheirHoldersInWhateverOrderTheyGo) {
    const int channels = Channel::liveChannels(), buffers = Channel::liveBuffers();
    std::mt19937 random(1);
    float external[40] = {};
    const std::function<void(Channel&, const Channel&, int)> changes[] = {
        [](Channel& one, const Channel&, int n) { one.allocate(n); },
        [&](Channel& one, const Channel&, int n) {
            one.attach(n % 3 ? external : nullptr, n % 41);
        },
        [](Channel& one, const Channel&, int n) { one.setSize(n); },
        [](Channel& one, const Channel&, int n) { one.clear(n, n / 2); },
        [](Channel& one, const Channel& other, int) { one.assign(other); },
        [](Channel& one, const Channel& other, int) { one.replace(other); },
    };
    std::unique_ptr<Channel> all[6];
    for (int step = 0; step < 50'000; ++step) {
        auto& one = all[random() % 6];
        const auto& other = all[random() % 6];
        const int n = static_cast<int>(random() % 80) - 10;
        if (!one || !other || random() % 4 == 0)
            one =
                other ? std::make_unique<Channel>(*other, n, n / 2) : std::make_unique<Channel>(n);
        else if (random() % 8 == 0)
            one.reset();
        else
            changes[random() % std::size(changes)](*one, *other, n);
        for (const auto& each : all)
            if (each) {
                ASSERT_FALSE(each->getData() == external && each->isOwned());
                ASSERT_TRUE(each->getCount() >= 0 && each->getCount() <= each->getSize());
                std::fill_n(each->getData(), each->getSize(), 1.0f);
            }
    }
    EXPECT_GT(Channel::liveBuffers(), buffers);
    std::fill(std::begin(all), std::end(all), nullptr);
    EXPECT_EQ(Channel::liveChannels(), channels);
    EXPECT_EQ(Channel::liveBuffers(), buffers);
}

TEST(IOChannel, SizesAreRoundedUpAndCutToWhatThereIs) {
    Channel channel(100);
    EXPECT_EQ(channel.getCapacity(), 112);
    EXPECT_EQ(reinterpret_cast<std::size_t>(channel.getData()) % 16, 0u);
    for (const auto& [offset, length, size] : {std::array{50, 20, 20}, {110, 0, 2}, {500, 9, 0}}) {
        const Channel view(channel, offset, length);
        EXPECT_EQ(view.getSize(), size);
        EXPECT_TRUE(channel.isShared() && !view.isOwned());
    }
    EXPECT_FALSE(channel.isShared());
    const int clears[][3] = {{0, -1, 112},  {10, 20, 60}, {50, 30, 80},      {112, -1, 112},
                             {113, -1, 60}, {-9, 5, 60},  {1, INT_MAX, 112}, {INT_MAX, 1, 60}};
    for (const auto& [start, length, count] : clears) {
        channel.setCount(60);
        channel.clear(start, length);
        EXPECT_EQ(channel.getCount(), count) << start << ", " << length;
    }
    channel.getData()[0] = 5.0f;
    EXPECT_THROW(channel.setSize(INT_MAX), std::bad_alloc);
    EXPECT_EQ(channel.getData()[0], 5.0f);
    channel.setSize(113);
    EXPECT_EQ(channel.getData()[0], 0.0f);
}

// Faults: a remainder left out, sums in another order, samples that are read after they changed.
TEST(IOChannel, SamplesComeOutAsOneByOneWhereverTheBuffersLie) {
    std::mt19937 random(2);
    for (int step = 0; step < 20'000; ++step) {
        std::vector<float> memory(100);
        for (float& sample : memory)
            sample = std::uniform_real_distribution<float>(-2.0f, 2.0f)(random);
        std::vector<float> expected = memory;
        const std::size_t to = random() % 50, from = random() % 50;
        const int size = static_cast<int>(random() % 50), count = static_cast<int>(random() % 50);
        Channel target(size, memory.data() + to), source(count, memory.data() + from);
        const int valid = random() % 2 == 0 ? size / 2 : 0, n = std::min(count, size - valid);
        target.setCount(valid);
        if (random() % 2 == 0) {
            std::copy_n(memory.data() + from, n, expected.data() + to + valid);
            EXPECT_EQ(target.append(source), valid + n < size);
            EXPECT_EQ(target.getCount(), valid + n);
        } else if (random() % 2 == 0) {
            std::copy_n(memory.data() + from, count <= size ? count : 0, expected.data() + to);
            target.assign(source);
            EXPECT_EQ(target.getCount(), to == from ? valid : count);
            EXPECT_EQ(target.isOwned(), to != from && count > size);
        } else {
            const bool add = random() % 2 == 0;
            float *a = expected.data() + to, *b = expected.data() + from;
            for (const float* end = a + std::min(size, count); a < end; ++a, ++b)
                *a = add ? *a + *b : *a + *b - *a * *b;
            target.mix(source, add);
            EXPECT_EQ(target.getCount(), std::min(size, count));
        }
        ASSERT_EQ(memory, expected) << to << ", " << from << ", " << size << ", " << count;
    }
}

}  // namespace
}  // namespace tarn
