#include "audio/IOConfig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
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

// By channel of a pin: from which of the source's channels it is taken, "." if from none, "-" if it
// is silent, "s" if it is the sum of both. Pins have two samples, all 100; sources have three, 1,
// 2, 4... by channel.
TEST(IOPin, EachClassTakesFromEachOtherWhatTheTypesSay) {
    enum { Assign, Add, Append };
    const std::tuple<Type, Type, std::array<std::string, 3>> ways[] = {
        {Type::Mono, Type::Mono, {"0", "0", "0"}},
        {Type::Mono, Type::Stereo, {"s", "0", "0"}},
        {Type::Mono, Type::Surround51, {".", ".", "."}},
        {Type::Mono, Type::Quadro, {".", ".", "."}},
        {Type::Stereo, Type::Mono, {"00", "00", "00"}},
        {Type::Stereo, Type::Stereo, {"01", "01", "01"}},
        {Type::Stereo, Type::Quadro, {"..", "..", ".."}},
        {Type::Stereo, Type::Surround51, {"..", "..", ".."}},
        {Type::Surround51, Type::Mono, {"------", "000000", "000000"}},
        {Type::Surround51, Type::Stereo, {"-0-1--", "01....", "01...."}},
        {Type::Surround51, Type::Surround51, {"012345", "......", "......"}},
        {Type::Surround51, Type::Quadro, {"......", "......", "......"}},
        {Type::Quadro, Type::Mono, {"....", "0...", "...."}},
        {Type::Quadro, Type::Stereo, {"....", "01..", "...."}},
        {Type::Quadro, Type::Quadro, {"....", "0123", "...."}},
        {Type::Quadro, Type::Surround51, {"....", "0123", "...."}},
    };
    for (const auto& [to, from, takes] : ways)
        for (const int operation : {Assign, Add, Append}) {
            IOPinConfig target(to, 1), other(from, 1);
            IOPin &pin = *target.getPin(0), &source = *other.getPin(0);
            fill(pin, 100.0f, 1.0f, 2);
            fill(source, 1.0f, 2.0f, 3);
            const auto clone = pin.clone();  // shows what happens to the pin
            operation == Assign ? pin.assign(source)
            : operation == Add  ? pin.add(source)
                                : void(pin.append(source));
            for (int i = 0; const auto* channel = pin.getChannel(i); ++i) {
                const char take = takes[operation][static_cast<std::size_t>(i)];
                const auto value = static_cast<float>(1 << (take & 7));
                const Outcome silent(0.0f, 0.0f, 16), both(3.0f, 102.0f, 16);
                const Outcome same(100.0f, 100.0f, 2),
                    taken[] = {
                        {value, 100.0f, 3}, {100 + value, 100 + value, 16}, {100.0f, value, 5}};
                const auto* samples = (clone ? clone->getChannel(i) : channel)->getData();
                EXPECT_EQ(Outcome(samples[0], samples[4], channel->getCount()),
                          take == '-'   ? silent
                          : take == 's' ? both
                          : take == '.' ? same
                                        : taken[operation])
                    << pin.getName() << ", " << source.getName() << ", " << operation << ", " << i;
            }
            pin.setCount(10);
            EXPECT_EQ(pin.append(source), to != Type::Quadro);
            pin.getChannel(0)->setCount(16);
            EXPECT_EQ(pin.append(source), to != Type::Quadro && takes[Append][0] == '.');
        }
}

TEST(IOPin, ConfigsCountChannelsThroughAllTheirPins) {
    // By configuration: its name, how many channels it has, and the roles of its first pin.
    const std::tuple<IOPinConfig, std::string, int, std::string> cases[] = {
        {{1, 3}, "mono/mono/mono", 3, "000000000"},
        {{2, 2}, "stereo/stereo", 4, "000100010"},
        {{4, 2}, "/", 8, "000000000"},
        {{6, 1}, "5.1", 6, "302145010"},
        {{Type::Quadro, 1}, "", 4, "000000000"},
        {{3, 1}, "", 0, ""},
        {{Type{7}, 1}, "", 0, ""},
        {{2, -1}, "", 0, ""},
    };
    for (const auto& [config, names, channels, roles] : cases) {
        EXPECT_EQ(config.toString(), names);
        EXPECT_EQ(config.getChannelCount(), channels);
        for (int i = 0, flat = 0; i < config.getPinCount(); ++i)
            for (int j = 0; auto* channel = config.getPin(i)->getChannel(j); ++j)
                EXPECT_EQ(config.getChannel(flat++), channel);
        EXPECT_EQ(config.getChannel(channels), nullptr);
        EXPECT_EQ(config.getChannel(-1), nullptr);
        for (int role = 0; const char channel : roles)
            EXPECT_EQ(config.getPin(0)->getRoleChannel(role++), channel - '0');
    }
}

// Faults: pins that die with the first of their lists, or that outlive the last.
TEST(IOPin, ListsShareTheirPins) {
    const int channels = IOChannel<float>::liveChannels();
    {
        IOConfig host(IOPinConfig(2, 1), {}), product(IOPinConfig(1, 2), {});
        EXPECT_EQ(host, product);
        product.setOutputs(host.getInputs());
        EXPECT_NE(host, product);
        host.setInputs(IOPinConfig());
        product.setSize(20);
        const IOChannel<float> five(5);
        EXPECT_TRUE(product.getOutputs().setChannel(1, five));
        EXPECT_FALSE(product.getOutputs().setChannel(2, five));
        product.getOutputs().clear();
        const IOPinStereo fewest(product.getOutputs().getChannel(0), &five);
        EXPECT_EQ(fewest.getChannel(0)->getCount(), five.getCount());
    }
    EXPECT_EQ(IOChannel<float>::liveChannels(), channels);
}

}  // namespace
}  // namespace tarn
