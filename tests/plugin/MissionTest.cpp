#include "plugin/Mission.h"
#include "plugin/Sampler.h"
#include "support/Product.h"

#include <gmock/gmock.h>

#include <list>
#include <random>
#include <thread>

namespace tarn {
namespace {

using testing::HasSubstr;

// Faults: a broken installation that goes unnoticed, is told once an instance, or takes the host
// down.
TEST(Mission, ABrokenInstallationIsToldOnceAndNothingStarts) {
    const std::string good = test::ResourcesText;
    const std::string broken = "Error loading resources, unable to continue.\nPlease reinstall ";
    const std::tuple<std::string, std::string, std::string> installations[] = {
        {"absent", good, "support files are missing"},
        {"", "", broken},
        {"", good.substr(0, good.size() / 2), broken},
        {"", "<dict><info creator='Other' version='1'/><file-format value='1'/></dict>", broken},
        {"", "<dict><info creator='Sampler' version='2'/><file-format value='2'/></dict>", broken},
    };
    for (const auto& [folder, resources, message] : installations) {
        const test::ScratchFolder files;
        files.write("Resources.xml", resources);
        const auto product = test::Product::of<test::SamplerInfo>(files.path(folder));
        Mission mission;
        std::thread second([&] { mission.start(); });
        mission.start();
        second.join();
        mission.start();
        EXPECT_FALSE(mission.isReady() || mission.getResources()) << resources;
        EXPECT_THAT(product->messages, testing::ElementsAre(HasSubstr(message))) << resources;
    }
}

// Faults: resources of an instance that is gone, of two at once, or of none while there is one.
TEST(Mission, ResourcesBelongToTheOldestInstance) {
    const test::SamplerProduct product;
    EXPECT_TRUE(Mission::get().isReady());
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
}

TEST(PluginInfo, WhatFollowsFromAProductsAnswers) {
    const test::SamplerProduct product;
    const PluginInfo& info = PluginInfo::get();
    EXPECT_EQ(info.PluginInfo::getRegistryKey(), "Software\\Maker\\Sampler");
    EXPECT_EQ(info.getVersionValue(), Version("1.2.0"));
    EXPECT_EQ(info.getAboutText(), "Sampler 1.2.0 skin: default by A.");
    EXPECT_EQ(std::pair(info.getMaxInputs(), info.getMaxOutputs()), std::pair(2, 3));
    const IOConfig widest = info.getWidestIOConfig();
    EXPECT_EQ(std::pair(widest.getInputChannels(), widest.getOutputChannels()), std::pair(4, 6));
    EXPECT_TRUE(info.isIOConfigSupported({IOPinConfig(1, 4), IOPinConfig(1, 1)}));
    EXPECT_FALSE(info.isIOConfigSupported({IOPinConfig(1, 4), IOPinConfig(2, 1)}));
    const PluginInfo::Texts& texts = info.getTexts();
    for (const std::string& text : {texts.controlsFailed, texts.ioFailedTitle, texts.ioFailed,
                                    texts.ioChangedTitle, texts.ioChanged})
        EXPECT_NE(text, "");
    EXPECT_THAT(info.getSystemReport(),
                testing::MatchesRegex("Build type: Release .*\n.*\nCPU: .*\n"));
}

}  // namespace
}  // namespace tarn
