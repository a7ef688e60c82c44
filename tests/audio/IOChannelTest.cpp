#include "audio/IOChannel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <vector>

namespace tarn {
namespace {

using Channel = IOChannel<float>;

// Faults: a buffer freed under a view, or never; a size beyond the memory.
TEST(IOChannel, BuffersLiveAsLongAsTheirHoldersInWhateverOrderTheyGo) {
    const int buffers = Channel::liveBuffers();
    std::mt19937 random(1);
    float host[40] = {};
    const std::function<void(Channel&, const Channel&, int)> changes[] = {
        [](Channel& one, const Channel&, int n) { one.allocate(n); },
        [&](Channel& one, const Channel&, int n) { one.attach(n % 3 ? host : nullptr, n % 41); },
        [](Channel& one, const Channel&, int n) { one.setSize(n); },
        [](Channel& one, const Channel&, int n) { one.setCount(n); },
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
            one.reset(other ? new Channel(*other, n, n / 2) : new Channel(n));
        else
            changes[random() % std::size(changes)](*one, *other, n);
        for (const auto& each : all)
            if (each) {
                ASSERT_FALSE(each->getData() == host && each->isOwned());
                ASSERT_TRUE(each->getCount() >= 0 && each->getCount() <= each->getSize());
                std::fill_n(each->getData(), each->getSize(), 1.0f);
            }
    }
    std::fill(std::begin(all), std::end(all), nullptr);
    EXPECT_EQ(Channel::liveBuffers(), buffers);
}

// Faults: a remainder left out, sums in another order, samples that are read after they changed,
// samples that are not valid taken for audio.
TEST(IOChannel, SamplesComeOutAsOneByOneWhereverTheBuffersLie) {
    enum { Append, Assign, AddValid, Add, Screen };
    std::mt19937 random(2);
    const auto below = [&](unsigned end) { return static_cast<int>(random() % end); };
    for (int step = 0; step < 5'000; ++step) {
        std::vector<float> memory(1'000);
        for (float& sample : memory)
            sample = static_cast<float>(below(1'000)) * 0.003f - 1.5f;
        std::vector<float> expected = memory;
        const int to = below(600), from = below(600), size = below(400), length = below(400);
        const int what = below(5), valid = below(size + 1), count = below(length + 1);
        Channel target(size, memory.data() + to), source(length, memory.data() + from);
        target.setCount(valid);
        source.setCount(count);
        const int n = std::min(what < Add ? count : length, what == Append ? size - valid : size);
        const int after[] = {valid + n, to == from ? valid : count, std::max(valid, n), n, n};
        const float factor = what == AddValid ? 0.7f : 1.0f;
        float *a = expected.data() + to, *b = expected.data() + from;
        const std::vector<float> audio(b, b + n);
        if (what == Append) {
            std::copy(audio.begin(), audio.end(), a + valid);
            EXPECT_EQ(target.append(source), after[Append] < size);
        } else if (what == Assign) {
            std::copy(audio.begin(), count <= size ? audio.end() : audio.begin(), a);
            target.assign(source);
        } else {
            for (const float* end = a + n; a < end; ++a, ++b)
                *a = what == Screen ? *a + *b - *a * *b : *a + *b * factor;
            what == AddValid ? target.addValid(source, factor) : target.mix(source, what == Add);
        }
        ASSERT_EQ(target.getCount(), after[what]) << what;
        ASSERT_EQ(memory, expected) << what << ", " << to << ", " << from << ", " << size;
    }
}

}  // namespace
}  // namespace tarn
