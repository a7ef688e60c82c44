#include "audio/Module.h"
#include "foundation/Dictionary.h"
#include "link/BrimtideEngine.h"
#include "link/BrimtidePlugin.h"
#include "link/BrimtidePluginInfo.h"
#include "link/ConnectionInfo.h"
#include "link/ConnectionListener.h"
#include "parameters/Settings.h"
#include "plugin/HostInterface.h"
#include "plugin/Mission.h"
#include "support/AllocationCount.h"
#include "support/Connections.h"
#include "support/Hearer.h"
#include "support/Product.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace tarn {
namespace {

struct Host : HostInterface {
    std::int32_t getInputLatency() noexcept override { return latency; }
    std::string getHostName() override { return "A host"; }
    Radio* getPlugin() const override { return nullptr; }
    std::int32_t getLatency() const override { return 0; }
    void setLatency(std::int32_t) override {}
    double getTempo() noexcept override { return 120.0; }
    double getBeatPosition() noexcept override { return 0.0; }
    bool isPlaying() noexcept override { return false; }
    bool isOffline() noexcept override { return false; }

    std::int32_t latency = 7;
};

// The product with its own files, and an instance's pins beside it.
class BrimtideEngine : public testing::Test {
protected:
    BrimtideEngine() { Mission::get().start(); }

    struct Instance {
        explicit Instance(Host* host = nullptr) : plugin(host, 0) { plugin.start(); }

        Parameter& parameter(const char* id) { return *plugin.moduleAt(0)->settings().find(id, 0); }
        float value(const char* id) { return parameter(id).getFloat(); }
        std::string state() {
            Dictionary tree;
            plugin.writeState(tree, 0);
            std::string text;
            tree.toString(text);
            return text;
        }
        bool restore(const std::string& text) {
            Dictionary tree;
            return tree.parse(text) && plugin.readState(tree);
        }

        /// Plays what is on both inputs; what comes out on the left.
        std::vector<float> play(std::vector<float> samples) {
            const int frames = static_cast<int>(samples.size());
            samples.reserve(1);  // an empty block has buffers too
            std::vector<float> left(samples.capacity(), 7.0f), right = left;
            float* const inputs[] = {samples.data(), samples.data()};
            float* const outputs[] = {left.data(), right.data()};
            in.attach(inputs, frames);
            out.attach(outputs, frames);
            const long allocations = test::allocationsOfThisThread();
            plugin.process(in, out, frames);
            EXPECT_EQ(test::allocationsOfThisThread(), allocations);
            left.resize(static_cast<std::size_t>(frames));
            return left;
        }

        Brimtide::Plugin plugin;
        IOPinConfig in{2, 1}, out{2, 1};
    };

    std::unique_ptr<test::Product> product_ = test::Product::of<BrimtidePluginInfo>(PRODUCT_FOLDER);
};

std::string nameOfSlot(std::uint32_t slot) {
    const auto info = inspectConnection(slot);
    return info ? info->name : "none";
}

// Faults: a connection that bears another slot's number after a project was loaded, one that loses
// the name that the user gave, a name that is shown and not told.
TEST_F(BrimtideEngine, ANameFollowsTheSlotUnlessTheUserGaveIt) {
    auto first = std::make_unique<Instance>(), second = std::make_unique<Instance>();
    EXPECT_EQ(second->parameter("BrimtideID").getText(), "Connection #2");
    EXPECT_EQ(second->value("BrimtideChannel"), 2.0f);
    const std::string defaults = second->state();
    first.reset();
    Instance again;
    EXPECT_TRUE(again.restore(defaults));
    EXPECT_EQ(again.parameter("BrimtideID").getText(), "Connection #1");
    for (const char* name : {"Zo\u00eb's guitar", "Connection #0", "Connection #33",
                             "Connection #01", "connection #2", "Connection #2 "}) {
        again.parameter("BrimtideID").setText(name, FromUser);
        EXPECT_EQ(nameOfSlot(0), name);
        EXPECT_TRUE(second->restore(again.state()));
        EXPECT_EQ(nameOfSlot(1), name);
        EXPECT_EQ(second->parameter("BrimtideID").getText(), name);
    }
    EXPECT_TRUE(
        second->restore("<dict><info creator='Brimtide' version='1'/><file-format value='1'/>"
                        "<parameters><BrimtideID/></parameters></dict>"));
    EXPECT_EQ(nameOfSlot(1), "Connection #2");
    again.parameter("BrimtideID").setText("Connection #2", FromUser);
    EXPECT_EQ(nameOfSlot(0), "Connection #2");
}

// Faults: two instances on one slot, a crash or a lost name where there is none, a slot that is
// never given back, something that each instance leaves behind.
TEST_F(BrimtideEngine, ThirtyTwoInstancesHoldASlotEach) {
    std::vector<std::unique_ptr<Instance>> instances;
    for (int i = 0; i < 33; ++i)
        instances.push_back(std::make_unique<Instance>());
    for (std::uint32_t slot = 0; slot < ConnectionSlots; ++slot)
        EXPECT_EQ(nameOfSlot(slot), "Connection #" + std::to_string(slot + 1));
    Instance& wire = *instances.back();
    EXPECT_EQ(wire.value("BrimtideChannel"), 0.0f);
    EXPECT_EQ(wire.parameter("BrimtideID").getText(), "");
    EXPECT_TRUE(wire.restore(instances.front()->state()));
    EXPECT_EQ(wire.parameter("BrimtideID").getText(), "");
    wire.parameter("BrimtideID").setText("kept", FromUser);
    EXPECT_EQ(wire.parameter("BrimtideID").getText(), "kept");
    EXPECT_EQ(wire.play(test::ramp(64)), test::ramp(64));
    instances.clear();
    Instance fresh;
    EXPECT_EQ(nameOfSlot(0), "Connection #1");
}

// Faults: audio that is changed on its way, a meter that sticks at a NaN or stands still while
// muted, a peak that can't be reset, a listener that costs the audio thread an allocation.
TEST_F(BrimtideEngine, AudioPassesAndIsMeasured) {
    Host host;
    Instance instance(&host);
    const test::RawBlock block(0);
    std::vector<float> told;
    told.reserve(100);
    Hearer hearer(instance.parameter("OutputLevel"), [&](Message& message) {
        told.push_back(static_cast<ParameterMessage&>(message).value);
    });
    using Limits = std::numeric_limits<float>;
    const float nothing = Limits::quiet_NaN(), infinite = Limits::infinity();
    const std::tuple<std::vector<float>, float, float> blocks[] = {
        {{}, 0.0f, -120.0f},
        {{0.25f, -0.5f}, 0.5f, 20.0f * std::log10(0.5f)},
        {{nothing, 0.25f, Limits::denorm_min()}, 0.25f, 20.0f * std::log10(0.5f)},
        {{nothing}, 0.0f, 20.0f * std::log10(0.5f)},
        {{-4.0f}, 1.0f, 20.0f * std::log10(4.0f)},
        {{Limits::max()}, 1.0f, 20.0f * std::log10(Limits::max())},
        {{-infinite, 1.0f}, 1.0f, 771.0f},
    };
    for (const bool isMuted : {false, true}) {
        instance.parameter("MuteOutput").setNormalised(isMuted ? 1.0f : 0.0f, FromUser);
        EXPECT_EQ(inspectConnection(0)->sender->isMuted, isMuted);
        ParameterMessage reset(nullptr, ParameterMessage::ResetToDefault, "InputPeak", 0, 0, 0.0f,
                               2);
        instance.parameter("InputPeak").receive(reset);
        for (const auto& [samples, level, peak] : blocks) {
            const std::uint32_t begin = block->audio.writeIndex;
            const auto heard = instance.play(samples);
            for (std::size_t i = 0; i < samples.size(); ++i) {
                const float expected = isMuted ? 0.0f : samples[i];
                const float sent = block->audio.ring[(begin + i) & ConnectionRingMask];
                EXPECT_EQ(std::memcmp(&heard[i], &expected, sizeof expected), 0) << i;
                EXPECT_EQ(std::memcmp(&sent, &samples[i], sizeof sent), 0) << i;
            }
            EXPECT_EQ(instance.value("OutputLevel"), level);
            EXPECT_NEAR(instance.value("InputPeak"), peak, 1e-3f);
        }
    }
    EXPECT_THAT(told, testing::Each(testing::AllOf(testing::Ge(0.0f), testing::Le(1.0f))));
    EXPECT_EQ(told.size(), 10u);  // the first one, and every change

    instance.play({0.0f});
    EXPECT_EQ(instance.value("InputLatency"), 7.0f);
    EXPECT_EQ(block->inputLatency, 7);
    host.latency = -1;
    instance.play({0.0f});
    EXPECT_EQ(instance.value("InputLatency"), 0.0f);
    EXPECT_EQ(block->inputLatency, -1);
}

// Faults: receivers that the interface never hears of, or of whose end it doesn't, a number of the
// host's that doesn't reach them.
TEST_F(BrimtideEngine, BothEndsKnowOfEachOther) {
    Host host;
    Instance instance(&host);
    instance.plugin.setSampleRate(96'000);
    instance.plugin.setBlockSize(256);
    instance.plugin.resume();
    test::setCalendar(1'000);
    instance.play({0.0f});
    const auto sender = inspectConnection(0)->sender;
    EXPECT_EQ(std::tuple(sender->rate, sender->announcedBlock, sender->host, sender->product),
              std::tuple(96'000.0, 256u, "A host", "Brimtide 1.2.0"));
    {
        ConnectionListener listener(0);
        listener.beat();
        test::setCalendar(1'001);
        instance.play({0.0f});
        EXPECT_EQ(instance.value("ReceiverCount"), 1.0f);
    }
    instance.plugin.moduleAt(0)->getEngine()->idle();
    EXPECT_EQ(instance.value("ReceiverCount"), 0.0f);
}

TEST(BrimtidePluginInfo, AnswersWhatHostsAndFilesRelyOn) {
    const BrimtidePluginInfo info;
    EXPECT_EQ(info.getProductName() + info.getVersionText() + info.getRegistryKey(),
              "Brimtide1.2.0Software\\Quorl\\Brimtide");
    EXPECT_EQ(info.getProductCode(), 'B' << 24 | 'r' << 16 | 'i' << 8 | 'm');
    EXPECT_EQ(info.getVendorCode(), 'Q' << 24 | 'r' << 16 | 'l' << 8 | 'd');
    for (int in = 1; in <= 2; ++in)
        for (int out = 1; out <= 2; ++out)
            EXPECT_EQ(info.isIOConfigSupported({IOPinConfig(in, 1), IOPinConfig(out, 1)}),
                      in <= out);
    const std::tuple<int, int, int, int> requests[] = {{1, 1, 0, 1}, {1, 2, 0, 2}, {2, 1, 2, 1},
                                                       {2, 2, 2, 2}, {1, 6, 0, 8}, {0, 0, 2, 8}};
    for (const auto& [in, out, givenIn, givenOut] : requests) {
        const IOConfig given = info.sanitiseIOConfig({IOPinConfig(in, 1), IOPinConfig(out, 1)});
        EXPECT_EQ(std::pair(given.getInputChannels(), given.getOutputChannels()),
                  std::pair(givenIn, givenOut));
    }
    BrimtidePluginInfo changed;
    changed.setFont(3, changed.getFont(7));
    EXPECT_EQ(info.getFont(3).name + info.getFont(-1).name, "uni 05_53Verdana");
    EXPECT_EQ(info.getFont(3).lineHeight, 9.0f);
    EXPECT_EQ(changed.getFont(3), info.getFont(7));
    EXPECT_EQ(info.getFont(8), info.getFont(1));
}

}  // namespace
}  // namespace tarn
