#include "audio/IOPinConfig.h"
#include "audio/Mixer.h"
#include "support/AllocationCount.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarn {
namespace {

using testing::NanSensitiveFloatEq;
using testing::Pointwise;

// Faults: sides exchanged, a law applied where it isn't due, samples beyond the valid ones mixed.
TEST(Mixer, PinsAreMixedAsTheirTypesAndThePanSay) {
    struct Way {
        int out, in;
        float pan, left, right;
    };
    constexpr float K = 0.5857864f;
    // Targets have 1 and 2 in their channels, sources 8 and 64; the gain is a half.
    const Way ways[] = {
        {1, 1, 0.9f, 5, 0},
        {1, 2, 0.5f, 1 + K * 36, 0},
        {1, 2, 0.75f, 1 + K * 34, 0},
        {2, 1, 0.5f, 1 + K * 4, 2 + K * 4},
        {2, 1, 0.25f, 1 + K * 4, 2 + K * 2},
        {2, 2, 0.5f, 5, 34},
        {2, 2, 0.75f, 3, 34},
        {2, 2, 0.0f, 5, 2},
        {2, 2, 1.0f, 1, 34},
        {2, 4, 0.5f, 1, 2},
        {6, 2, 0.5f, 1, 2},
        {1, 6, 0.5f, 1, 0},
        {2, 2, NAN, NAN, NAN},
    };
    const Mixer mixer(nullptr);
    for (const Way& way : ways) {
        IOPinConfig target(way.out, 1), source(way.in, 1);
        IOPin &out = *target.getPin(0), &in = *source.getPin(0);
        target.setSize(16);
        source.setSize(16);
        for (const int i : {0, 1}) {
            if (IOChannel<float>* to = out.getChannel(i))
                std::fill_n(to->getData(), 3, i == 0 ? 1.0f : 2.0f);
            if (IOChannel<float>* from = in.getChannel(i))
                std::fill_n(from->getData(), 3, i == 0 ? 8.0f : 64.0f);
        }
        in.setCount(2);
        const long allocations = test::allocationsOfThisThread();
        mixer.mix(out, in, 0.5f, way.pan);
        EXPECT_EQ(test::allocationsOfThisThread(), allocations);
        for (int i = 0; i < std::min(way.out, 2); ++i) {
            const IOChannel<float>& mixed = *out.getChannel(i);
            const float start = i == 0 ? 1.0f : 2.0f, sum = i == 0 ? way.left : way.right;
            const float* const samples = mixed.getData();
            EXPECT_THAT(std::vector(samples, samples + 3),
                        Pointwise(NanSensitiveFloatEq(), {sum, sum, start}))
                << way.out << " from " << way.in << ", " << way.pan;
            EXPECT_EQ(mixed.getCount(), way.out + way.in > 4 ? 0 : 2);
        }
    }
}

// Faults: a term with the wrong sign or factor, a NaN that spreads or is lost, a count beyond the
// target's size, or one that shrinks.
TEST(Mixer, AModeMixesEachSampleOfAChannel) {
    constexpr float Infinite = std::numeric_limits<float>::infinity();
    const std::tuple<Mixer::Mode, float, float> modes[] = {
        {Mixer::Mode::Add, 0.0f, Infinite},
        {Mixer::Mode::Screen, -0.375f, NAN},
        {Mixer::Mode::Duck, -0.125f, -Infinite},
    };
    Mixer mixer(nullptr);
    mixer.strength = 0.5f;
    for (const auto& [mode, mixed, infinite] : modes) {
        mixer.mode = mode;
        std::vector<float> to(38, -0.5f), from(40, 0.25f), expected(37, mixed);
        from[5] = NAN;
        from[36] = Infinite;
        to[36] = 3.0f;
        expected[5] = NAN;
        expected[36] = infinite;
        expected.push_back(-0.5f);
        IOChannel<float> target(37, to.data()), source(40, from.data());
        target.setCount(2);
        mixer.mixChannel(target, source, 2.0f);
        EXPECT_THAT(to, Pointwise(NanSensitiveFloatEq(), expected));
        EXPECT_EQ(target.getCount(), 37);
        source.setCount(0);
        mixer.mixChannel(target, source, 2.0f);
        EXPECT_EQ(target.getCount(), 37);
    }
}

}  // namespace
}  // namespace tarn
