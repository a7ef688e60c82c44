#include "audio/IOConfig.h"
#include "audio/Mixer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace tarn {
namespace {

void fill(IOPin& pin, float value, float factor, int valid) {
    pin.setSize(16);
    for (int i = 0; auto* channel = pin.getChannel(i); ++i, value *= factor)
        std::fill_n(channel->getData(), 16, value);
    pin.setCount(valid);
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
                                                              {2, 4, 0.5f, 1, 2}};
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

}  // namespace
}  // namespace tarn
