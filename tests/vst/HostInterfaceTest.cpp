#include "link/StandInHost.h"
#include "plugin/HostInterface.h"

#include <gtest/gtest.h>

#include <tuple>

namespace tarn {
namespace {

// Faults: a host that is taken for another one, or is asked again and again.
TEST(HostInterface, KnowsHostsByTheirNames) {
    const std::tuple<const char*, HostType, const char*> hosts[] = {
        {"Fruity Wrapper", HostType::FLStudio, "FL Studio"},
        {"Nuendo and Cubase", HostType::Cubase, "Cubase"},
        {"REAPERx64", HostType::Reaper, "REAPER"},
        {"reaper", HostType::Other, "your host (reaper)"},
    };
    for (const auto& [name, type, typeName] : hosts) {
        test::StandInHost host(name);
        EXPECT_EQ(host.getHostType(), type) << name;
        EXPECT_EQ(host.getHostTypeName(), typeName);
        host.name = "Live";
        EXPECT_EQ(host.getHostType(), type) << "asked once";
    }
}

}  // namespace
}  // namespace tarn
