#include "link/StandInHost.h"
#include "plugin/HostInterface.h"
#include "support/Hearer.h"

#include <gtest/gtest.h>

#include <string>

namespace tarn {
namespace {

// Faults: a host that is taken for another one, or is asked again and again.
TEST(HostInterface, KnowsHostsByTheirNames) {
    const std::tuple<const char*, HostType, const char*> hosts[] = {
        {"Fruity Wrapper", HostType::FLStudio, "FL Studio"},
        {"FLStudio", HostType::FLStudio, "FL Studio"},
        {"Nuendo and Cubase", HostType::Cubase, "Cubase"},
        {"Vst2Rtas2", HostType::ProTools, "ProTools"},
        {"REAPERx64", HostType::Reaper, "REAPER"},
        {"Sound Forge Pro", HostType::SoundForge, "Sound Forge"},
        {"reaper", HostType::Other, "your host (reaper)"},
        {"", HostType::Other, "your host ()"},
    };
    for (const auto& [name, type, typeName] : hosts) {
        test::StandInHost host(name);
        EXPECT_EQ(host.getHostType(), type) << name;
        EXPECT_EQ(host.getHostTypeName(), typeName);
        host.name = "Live";
        EXPECT_EQ(host.getHostType(), type) << "asked once";
    }
}

// Faults: a rate that is none, listeners that don't hear of a new one.
TEST(HostInterface, KeepsTheRateThatTheHostAnnounces) {
    test::StandInHost host;
    int heard = 0;
    const Hearer hearer(host.radio(), [&](Message& message) {
        EXPECT_EQ(message.code, SystemMessage::SampleRateChanged);
        heard = fromPayload<std::int32_t>(message.payload);
    });
    for (const auto& [hz, kept] : {std::pair(0, 44100), {-1, 44100}, {96000, 96000}}) {
        host.setSampleRate(hz);
        EXPECT_EQ(host.getSampleRate(), kept);
    }
    EXPECT_EQ(heard, 96000);
}

}  // namespace
}  // namespace tarn
