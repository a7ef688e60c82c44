#include "plugin/Sampler.h"

#include <gmock/gmock.h>

#include <thread>

namespace tarn {
namespace {

using namespace test;
using namespace testing;

// Faults: a broken installation that goes unnoticed, is told once an instance, or takes the host
// down.
TEST(Mission, ABrokenInstallationIsToldOnceAndNothingStarts) {
    const std::string good = ResourcesText;
    const std::string broken = "Error loading resources, unable to continue.\nPlease reinstall ";
    const std::tuple<std::string, std::string, std::string> installations[] = {
        {"absent", good, "support files are missing"},
        {"", "", broken},
        {"", good.substr(0, good.size() / 2), broken},
        {"", "<dict><info creator='Other' version='1'/><file-format value='1'/></dict>", broken},
        {"", "<dict><info creator='Sampler' version='2'/><file-format value='2'/></dict>", broken},
    };
    for (const auto& [folder, resources, message] : installations) {
        const ScratchFolder files;
        files.write("Resources.xml", resources);
        const auto product = Product::of<SamplerInfo>(files.path(folder));
        Mission mission;
        std::thread second([&] { mission.start(); });
        mission.start();
        second.join();
        mission.start();
        EXPECT_FALSE(mission.isReady() || mission.getResources()) << resources;
        EXPECT_THAT(product->messages, ElementsAre(HasSubstr(message))) << resources;
    }
}

// Faults: resources of an instance that is gone, of two at once, or of none while there is one.
TEST(Mission, ResourcesBelongToTheOldestInstance) {
    const SamplerProduct product;
    EXPECT_TRUE(Mission::get().isReady());
    SamplerPlugin a(nullptr, 0), b(nullptr, 0), c(nullptr, 0);
    // An instance signs in at its first step and out at its second, then in again.
    const std::pair<SamplerPlugin*, SamplerPlugin*> steps[] = {
        {&a, &a}, {&b, &a}, {&c, &a}, {&b, &a}, {&a, &c}, {&a, &c}, {&c, &a}, {&a, nullptr}};
    std::set<Plugin*> here;
    for (const auto& [plugin, oldest] : steps) {
        if (here.insert(plugin).second) {
            Mission::get().signIn(plugin);
        } else {
            here.erase(plugin);
            Mission::get().signOut(plugin);
        }
        EXPECT_EQ(Mission::get().getCurrentPlugin(), oldest);
        for (const SamplerPlugin* each : {&a, &b, &c})
            EXPECT_EQ(each->isActive, each == oldest);
    }
}

TEST(PluginInfo, WhatFollowsFromAProductsAnswers) {
    const SamplerProduct product;
    const PluginInfo& info = PluginInfo::get();
    EXPECT_EQ(info.PluginInfo::getRegistryKey(), "Software\\Maker\\Sampler");
    EXPECT_EQ(info.getVersionValue(), Version("1.2.0"));
    EXPECT_EQ(info.getAboutText(), "Sampler 1.2.0 skin: default by A");
    EXPECT_EQ(std::pair(info.getMaxInputs(), info.getMaxOutputs()), std::pair(2, 3));
    const IOConfig widest = info.getWidestIOConfig();
    EXPECT_EQ(std::pair(widest.getInputChannels(), widest.getOutputChannels()), std::pair(4, 6));
    EXPECT_TRUE(info.isIOConfigSupported({IOPinConfig(1, 4), IOPinConfig(1, 1)}));
    EXPECT_FALSE(info.isIOConfigSupported({IOPinConfig(1, 4), IOPinConfig(2, 1)}));
    const std::string width = sizeof(void*) == 8 ? " (x86_64)" : " (i386)";
    EXPECT_THAT(info.getSystemReport(),
                StartsWith("Build type: (unknown)" + width + "\nOperating system: "));
}

}  // namespace
}  // namespace tarn
