#include "audio/IOConfig.h"
#include "audio/Mixer.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <tuple>

namespace tarn {
namespace {

using Type = IOPin::Type;
using Outcome = std::tuple<float, float, int>;  // a channel's first sample, its fifth, its count

void fill(IOPin& pin, float value, float factor, int valid) {
    pin.setSize(16);
    for (int i = 0; auto* channel = pin.getChannel(i); ++i, value *= factor)
        std::fill_n(channel->getData(), 16, value);
    pin.setCount(valid);
}

// By type of a pin and of its source, in the order of `Type`, and by assign, add and append: where
// each channel is taken from, "." if from nowhere, "-" if it is silent, "s" if it is the sum of
// both. Pins have two samples, all 100; sources have three, 1, 2, 4... by channel.
TEST(IOPin, EachClassTakesFromEachOtherWhatTheTypesSay) {
    enum { Assign, Add, Append };
    const std::string ways[4][4] = {
        {"0 0 0", "s 0 0", ". . .", ". . ."},
        {"00 00 00", "01 01 01", ".. .. ..", ".. .. .."},
        {"------ 000000 000000", "-0-1-- 01.... 01....", "012345 ...... ......",
         "...... ...... ......"},
        {".... 0... ....", ".... 01.. ....", ".... 0123 ....", ".... 0123 ...."},
    };
    for (int way = 0; way < 16; ++way)
        for (const int operation : {Assign, Add, Append}) {
            const Type to{way / 4 + 1}, from{way % 4 + 1};
            IOPinConfig target(to, 1), other(from, 1);
            IOPin &pin = *target.getPin(0), &source = *other.getPin(0);
            const std::string& takes = ways[way / 4][way % 4];
            fill(pin, 100.0f, 1.0f, 2);
            fill(source, 1.0f, 2.0f, 3);
            const auto clone = pin.clone();  // shows what happens to the pin
            operation == Assign ? pin.assign(source)
            : operation == Add  ? pin.add(source)
                                : void(pin.append(source));
            for (int i = 0; const auto* channel = pin.getChannel(i); ++i) {
                const char take = takes[operation * (pin.getChannelCount() + 1) + i];
                const auto value = static_cast<float>(1 << (take & 7));
                const Outcome taken[] = {
                    {value, 100.0f, 3}, {100 + value, 100 + value, 16}, {100.0f, value, 5}};
                const auto* samples = (clone ? clone->getChannel(i) : channel)->getData();
                EXPECT_EQ(Outcome(samples[0], samples[4], channel->getCount()),
                          take == '-'   ? Outcome(0.0f, 0.0f, 16)
                          : take == 's' ? Outcome(3.0f, 102.0f, 16)
                          : take == '.' ? Outcome(100.0f, 100.0f, 2)
                                        : taken[operation])
                    << pin.getName() << ", " << source.getName() << ", " << operation << ", " << i;
            }
            pin.setCount(10);
            EXPECT_EQ(pin.append(source), to != Type::Quadro);
            pin.getChannel(0)->setCount(16);
            EXPECT_EQ(pin.append(source), to != Type::Quadro && from > Type::Stereo);
        }
}

// Faults: pins that die with the first of their lists, or that outlive the last.
TEST(IOPin, ListsShareTheirPins) {
    const int channels = IOChannel<float>::liveChannels();
    {
        IOConfig host(IOPinConfig(2, 1), {}), product(IOPinConfig(1, 2), {});
        product.setOutputs(host.getInputs());
        host.setInputs(IOPinConfig());
        EXPECT_TRUE(product.setSize(20));
        EXPECT_GE(product.getOutputs().getChannel(1)->getSize(), 20);
    }
    EXPECT_EQ(IOChannel<float>::liveChannels(), channels);
}

// Faults: sides exchanged, a law where it isn't due, an unknown type taken for a known one. Targets
// have 1 and 2 in their channels, sources 8 and 64; the gain is a half.
TEST(Mixer, PinsAreMixedAsTheirTypesAndThePanSay) {
    constexpr float K = 0.5857864f;
    const std::tuple<int, int, float, float, float> ways[] = {{1, 1, 0.9f, 5, 5},
                                                              {1, 2, 0.75f, 1 + K * 34, 1 + K * 34},
                                                              {2, 1, 0.25f, 1 + K * 4, 2 + K * 2},
                                                              {2, 2, 0.5f, 5, 34},
                                                              {2, 2, 0.75f, 3, 34},
                                                              {2, 2, 0.0f, 5, 2},
                                                              {2, 4, 0.5f, 1, 2},
                                                              {4, 2, 0.5f, 1, 2},
                                                              {1, 6, 0.5f, 1, 1},
                                                              {6, 1, 0.5f, 1, 2}};
    for (const auto& [outputs, inputs, pan, first, last] : ways) {
        IOPinConfig out(outputs, 1), in(inputs, 1);
        fill(*out.getPin(0), 1.0f, 2.0f, 2);
        fill(*in.getPin(0), 8.0f, 8.0f, 3);
        Mixer(nullptr).mix(*out.getPin(0), *in.getPin(0), 0.5f, pan);
        EXPECT_FLOAT_EQ(out.getChannel(0)->getData()[2], first) << outputs << " from " << inputs;
        EXPECT_FLOAT_EQ(out.getChannel(outputs > 1)->getData()[2], last) << outputs << inputs;
        EXPECT_EQ(out.getChannel(0)->getData()[3], 1.0f);
    }
}

// Faults: a wrong sign or factor, a NaN that spreads or is lost, samples beyond the target, a count
// that doesn't follow or that shrinks.
TEST(Mixer, AModeMixesEachValidSampleOfAChannel) {
    const std::tuple<Mixer::Mode, float, float> modes[] = {{Mixer::Mode::Add, 0.0f, INFINITY},
                                                           {Mixer::Mode::Screen, -0.375f, NAN},
                                                           {Mixer::Mode::Duck, -0.125f, -INFINITY}};
    for (const auto& [mode, mixed, infinite] : modes) {
        Mixer mixer(nullptr);
        mixer.mode = mode;
        mixer.strength = 0.5f;
        float to[] = {-0.5f, -0.5f, 3.0f, -0.5f}, from[] = {0.25f, NAN, INFINITY, 0.25f};
        IOChannel<float> target(3, to), source(4, from);
        target.setCount(1);
        for (const int valid : {4, 0}) {
            source.setCount(valid);
            mixer.mixChannel(target, source, 2.0f);
            EXPECT_EQ(target.getCount(), 3);
            EXPECT_THAT(to, testing::Pointwise(testing::NanSensitiveFloatEq(),
                                               {mixed, NAN, infinite, -0.5f}));
        }
    }
}

}  // namespace
}  // namespace tarn
