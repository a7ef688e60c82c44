#include "plugin/Mission.h"
#include "plugin/Sampler.h"
#include "support/Product.h"

#include <gmock/gmock.h>

#include <list>
#include <random>
#include <thread>

namespace tarn {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Faults: a broken installation that goes unnoticed, is told once an instance, or takes the host
// down.
TEST(Mission, ABrokenInstallationIsToldOnceAndNothingStarts) {
    const std::string good = test::ResourcesText;
    const std::string missing = "support files are missing";
    const std::string broken = "Error loading resources, unable to continue.\nPlease reinstall ";
    const std::tuple<std::string, std::string, std::string> installations[] = {
        {"absent", "", missing},
        {"", "", broken},
        {"", " ", broken},
        {"", good.substr(0, good.size() / 2), broken},
        {"", "<dict><info creator='Other' version='1'/><file-format value='1'/></dict>", broken},
        {"", "<dict><info creator='Sampler' version='2'/><file-format value='2'/></dict>", broken},
        {"", good, ""},
    };
    for (const auto& [folder, resources, message] : installations) {
        const test::ScratchFolder files;
        if (!resources.empty())
            files.write("Resources.xml", resources);
        const auto product = test::Product::of<test::SamplerInfo>(files.path(folder));
        Mission mission;
        EXPECT_FALSE(mission.isReady());
        std::thread second([&] { mission.start(); });
        mission.start();
        second.join();
        mission.start();
        EXPECT_EQ(mission.isReady(), message.empty()) << resources;
        if (message.empty())
            EXPECT_THAT(product->messages, ElementsAre());
        else
            EXPECT_THAT(product->messages, ElementsAre(HasSubstr(message))) << resources;
    }
}

// Faults: resources of an instance that is gone, of two at once, or of none while there is one.
TEST(Mission, ResourcesBelongToTheOldestInstance) {
    const test::SamplerProduct product;
    std::mt19937 random(1);
    std::list<test::SamplerPlugin> plugins;
    for (int i = 0; i < 300; ++i) {
        if (random() % 2 == 0 || plugins.empty()) {
            Mission::get().signIn(&plugins.emplace_back(nullptr, 0));
        } else {
            const auto gone =
                std::next(plugins.begin(), static_cast<long>(random() % plugins.size()));
            Mission::get().signOut(&*gone);
            EXPECT_FALSE(gone->isActive);
            plugins.erase(gone);
        }
        test::SamplerPlugin* const oldest = plugins.empty() ? nullptr : &plugins.front();
        ASSERT_EQ(Mission::get().getCurrentPlugin(), oldest);
        for (const test::SamplerPlugin& plugin : plugins)
            ASSERT_EQ(plugin.isActive, &plugin == oldest);
    }
    while (!plugins.empty()) {
        Mission::get().signOut(&plugins.back());
        plugins.pop_back();
    }
}

TEST(PluginInfo, WhatFollowsFromAProductsAnswers) {
    const auto product = test::Product::of<test::SamplerInfo>("");
    PluginInfo& info = PluginInfo::get();
    EXPECT_EQ(info.PluginInfo::getRegistryKey(), "Software\\Maker\\Sampler");
    EXPECT_EQ(info.getSupportURL() + info.getForumURL(),
              "https://maker.example/supporthttps://maker.example/forum");
    EXPECT_EQ(info.getVersionValue(), Version("1.2.0"));
    EXPECT_EQ(static_cast<std::uint32_t>(info.getRegistryRoot(true)), 0x80000001u);
    EXPECT_EQ(static_cast<std::uint32_t>(info.getRegistryRoot(false)), 0x80000002u);
    EXPECT_EQ(std::pair(info.getMaxInputs(), info.getMaxOutputs()), std::pair(2, 3));
    const IOConfig widest = info.getWidestIOConfig();
    EXPECT_EQ(std::pair(widest.getInputChannels(), widest.getOutputChannels()), std::pair(4, 6));
    EXPECT_TRUE(info.isIOConfigSupported({IOPinConfig(1, 4), IOPinConfig(1, 1)}));
    EXPECT_FALSE(info.isIOConfigSupported({IOPinConfig(1, 4), IOPinConfig(2, 1)}));
    EXPECT_THAT(info.getSystemReport(),
                testing::MatchesRegex("Build type: Release .*\n.*\nCPU: .*\n"));
    info.initialise();
    const std::string texts = info.getTexts().supportFilesMissing;
    info.initialise();
    EXPECT_THAT(info.getTexts().supportFilesMissing,
                testing::AllOf(texts, HasSubstr("the Sampler installer. ")));
    PluginInfo::set(nullptr);
}

}  // namespace
}  // namespace tarn
