#include "link/BrimtideEngine.h"
#include "link/ConnectionInfo.h"
#include "plugin/HostInterface.h"
#include "support/Connections.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarn {
namespace {

struct Host : HostInterface {
    std::int32_t getInputLatency() noexcept override { return 7; }
    std::string getHostName() override { return "A host"; }
    bool isOffline() noexcept override {
        ++questions;
        return isRendering;
    }

    bool isRendering = false;
    int questions = 0;
};

struct BrimtideEngineTest : testing::Test {
    BrimtideEngineTest() {
        inputs.setChannel(0, IOChannel<float>(64, left.data()));
        inputs.setChannel(1, IOChannel<float>(64, right.data()));
        outputs.setSize(64);
    }

    Host host;
    BrimtideEngine engine{host};
    std::vector<float> left = std::vector(64, -0.5f), right = std::vector(64, 0.9f);
    IOPinConfig inputs{2, 1}, outputs{2, 1};
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
    const std::string name = "Her bass";
    ParameterMessage renamed(&parameter, ParameterMessage::ValueChanged, "BrimtideID", 0, name, 2);
    parameter.transmit(renamed);
    EXPECT_EQ(inspectConnection(0)->name, name);

    parameter.change("MuteOutput", toPayload(true));
    EXPECT_TRUE(engine.isMuted() && inspectConnection(0)->sender->isMuted);
    parameter.change("MuteOutput", 0xFF00);  // the low byte counts
    EXPECT_FALSE(engine.isMuted());

    PluginMessage goodbye(&parameter, PluginMessage::SenderGoes, 0);
    parameter.transmit(goodbye);
    parameter.change("MuteOutput", toPayload(true));
    EXPECT_FALSE(engine.isMuted());
}

// Faults: a receiver that isn't told what the host does, a host that is asked in every block.
TEST_F(BrimtideEngineTest, TellsReceiversAboutTheHost) {
    test::setCalendar(1'790'000'000);
    const auto sender = [] { return *inspectConnection(0)->sender; };
    EXPECT_EQ(sender().host, "A host");
    EXPECT_EQ(sender().product, "Brimtide 1.2.0");
    engine.setSampleRate(96'000);
    engine.setBlockSize(512);
    host.isRendering = true;
    engine.resume();
    EXPECT_TRUE(sender().isOffline);
    host.isRendering = false;
    for (int i = 0; i < 100; ++i)
        engine.process(inputs, outputs, 64);
    EXPECT_EQ(host.questions, 2);
    EXPECT_FALSE(sender().isOffline);
    EXPECT_EQ(sender().rate, 96'000.0);
    EXPECT_EQ(sender().announcedBlock, 512u);
}

// Faults: a level above 1 or from before, a host without channels that is written for.
TEST_F(BrimtideEngineTest, TheLevelIsTheFirstChannelsPeakAndOneAtMost) {
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
