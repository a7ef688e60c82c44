#include "audio/IOConfig.h"

#include <gtest/gtest.h>

#include <algorithm>
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

}  // namespace
}  // namespace tarn
