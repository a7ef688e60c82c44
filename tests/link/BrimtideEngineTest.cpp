#include "link/BrimtideEngine.h"
#include "plugin/HostInterface.h"
#include "support/Connections.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarn {
namespace {

struct Host : HostInterface {
    std::int32_t getInputLatency() noexcept override { return 7; }
};

struct BrimtideEngineTest : testing::Test {
    Host host;
    BrimtideEngine engine{host};
};

// A parameter's radio, as far as its listeners can tell.
struct Parameter : Radio {
    Parameter() : Radio(nullptr) {}

    void change(const char* name, std::uint64_t payload) {
        ParameterMessage message(this, ParameterMessage::ValueChanged, name, 0, payload, 0.0f, 2);
        transmit(message);
    }
};

// Faults: a message taken for another one, a sender that is heard after it went.
TEST_F(BrimtideEngineTest, HearsOfItsNameAndOfMuting) {
    Parameter parameter;
    engine.tuneIn(&parameter);
    parameter.change("BrimtideID", toPayload("Zo\u00eb's guitar"));
    parameter.change("BrimtideID", 0);
    parameter.change("brimtideid", toPayload("other"));
    EXPECT_EQ(inspectConnection(0)->name, "Zo\u00eb's guitar");

    parameter.change("MuteOutput", toPayload(true));
    EXPECT_TRUE(engine.isMuted());
    parameter.change("MuteOutput", 0xFF00);  // the low byte counts
    EXPECT_FALSE(engine.isMuted());

    PluginMessage goodbye(&parameter, PluginMessage::SenderGoes, 0);
    parameter.transmit(goodbye);
    parameter.change("MuteOutput", toPayload(true));
    EXPECT_FALSE(engine.isMuted());
}

// Faults: a level above 1 or from before, a host without channels that is written for.
TEST_F(BrimtideEngineTest, TheLevelIsTheFirstChannelsPeakAndOneAtMost) {
    std::vector<float> left(64, -0.5f), right(64, 0.9f);
    IOPinConfig inputs(2, 1), outputs(2, 1);
    inputs.setChannel(0, IOChannel<float>(64, left.data()));
    inputs.setChannel(1, IOChannel<float>(64, right.data()));
    outputs.setSize(64);
    engine.process(inputs, outputs, 64);
    EXPECT_EQ(engine.outputLevel(), 0.5f);
    left[3] = 4.0f;
    engine.process(inputs, outputs, 64);
    EXPECT_EQ(engine.outputLevel(), 1.0f);
    inputs.getPin(0)->setCount(0);
    engine.process(inputs, outputs, 0);
    EXPECT_EQ(engine.outputLevel(), 0.0f);
    const test::RawBlock block(0);
    EXPECT_EQ(block->audio.ring[67], 4.0f);
    IOPinConfig none;
    engine.process(none, outputs, 64);
    engine.process(inputs, none, 64);
    EXPECT_EQ(block->audio.writeIndex, 128u);
}

}  // namespace
}  // namespace tarn
