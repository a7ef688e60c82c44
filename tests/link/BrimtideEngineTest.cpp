#include "link/BrimtideEngine.h"
#include "link/ConnectionInfo.h"
#include "plugin/HostInterface.h"

#include <gtest/gtest.h>

#include <string>

namespace tarn {
namespace {

struct Host : HostInterface {
    std::int32_t getInputLatency() noexcept override { return 7; }
    std::string getHostName() override { return "A host"; }
    bool isOffline() noexcept override { return false; }
};

// A parameter's radio, as far as its listeners can tell.
struct Parameter : Radio {
    Parameter() : Radio(nullptr) {}

    void change(const char* name, std::uint64_t payload) {
        ParameterMessage message(this, ParameterMessage::ValueChanged, name, 0, payload, 0.0f, 2);
        transmit(message);
    }
};

// The fault it would catch: a message taken for another one.
TEST(BrimtideEngine, HearsOfItsNameAndOfMuting) {
    Host host;
    BrimtideEngine engine(host);
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
}

}  // namespace
}  // namespace tarn
