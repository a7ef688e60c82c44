#include "link/BrimtidePluginInfo.h"
#include "link/ConnectionInfo.h"
#include "link/ConnectionListener.h"
#include "link/Instance.h"
#include "link/StandInHost.h"
#include "plugin/Mission.h"
#include "support/AllocationCount.h"
#include "support/Connections.h"
#include "support/Hearer.h"
#include "support/Product.h"
#include "support/TestClock.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>

namespace tarn {
namespace {

using namespace test;

// Plays what is on both inputs; what comes out on the left.
std::vector<float> play(Instance& instance, std::vector<float> samples) {
    const std::size_t frames = samples.size();
    samples.reserve(1);  // an empty block has buffers too
    std::vector<float> left(samples.capacity(), 7.0f), right = left;
    const long allocations = allocationsOfThisThread();
    instance.process(samples.data(), left.data(), right.data(), static_cast<int>(frames));
    EXPECT_EQ(allocationsOfThisThread(), allocations);
    left.resize(frames);
    return left;
}

// The product with its own files.
struct BrimtideEngine : testing::Test {
    BrimtideEngine() { Mission::get().start(); }
    const std::unique_ptr<Product> product = Product::of<BrimtidePluginInfo>(PRODUCT_FOLDER);
};

std::string nameOfSlot(std::uint32_t slot) {
    const auto info = inspectConnection(slot);
    return info ? info->name : "none";
}

// Faults: a connection that bears another slot's number after a project was loaded, one that loses
// the name that the user gave, a name that is shown and not told.
TEST_F(BrimtideEngine, ANameFollowsTheSlotUnlessTheUserGaveIt) {
    auto first = std::make_unique<Instance>(), second = std::make_unique<Instance>();
    EXPECT_EQ(second->text("BrimtideID"), "Connection #2");
    EXPECT_EQ(second->value("BrimtideChannel"), 2.0f);
    const std::string defaults = second->state();
    first.reset();
    Instance again;
    EXPECT_TRUE(again.restore(defaults));
    EXPECT_EQ(again.text("BrimtideID"), "Connection #1");
    for (const char* name : {"Zo\u00eb's guitar", "Connection #0", "Connection #33",
                             "Connection #01", "connection #2", "Connection #2 "}) {
        again.parameter("BrimtideID").setText(name, FromUser);
        EXPECT_EQ(nameOfSlot(0), name);
        EXPECT_TRUE(second->restore(again.state()));
        EXPECT_EQ(nameOfSlot(1) + second->text("BrimtideID"), std::string(name) + name);
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
    EXPECT_EQ(nameOfSlot(31), "Connection #32");
    Instance& wire = *instances.back();
    EXPECT_EQ(wire.value("BrimtideChannel") + wire.value("Connected"), 0.0f);
    wire.idle();
    EXPECT_EQ(wire.text("LinkState") + wire.text("BrimtideID"), "All 32 are taken");
    EXPECT_TRUE(wire.restore(instances.front()->state()));
    EXPECT_EQ(wire.text("BrimtideID"), "");
    wire.parameter("BrimtideID").setText("kept", FromUser);
    EXPECT_EQ(wire.text("BrimtideID"), "kept");
    EXPECT_EQ(play(wire, ramp(64)), ramp(64));
    instances.clear();
    EXPECT_EQ(Mission::get().getCurrentPlugin(), nullptr);
    const Instance fresh;
    EXPECT_EQ(nameOfSlot(0), "Connection #1");
}

// Faults: audio that is changed on its way, a meter that sticks at a NaN or stands still while
// muted, a peak that can't be reset, a listener that costs the audio thread an allocation.
TEST_F(BrimtideEngine, AudioPassesAndIsMeasured) {
    StandInHost host;
    Instance instance(&host);
    const RawBlock block(0);
    int told = 0;
    const Hearer hearer(instance.parameter("OutputLevel"), [&](Message&) { ++told; });
    const std::tuple<std::vector<float>, float, float> blocks[] = {
        {{}, 0.0f, -120.0f},
        {{0.25f, -0.5f}, 0.5f, 20.0f * std::log10(0.5f)},
        {{NAN, 0.25f, FLT_TRUE_MIN}, 0.25f, 20.0f * std::log10(0.5f)},
        {{NAN}, 0.0f, 20.0f * std::log10(0.5f)},
        {{-4.0f}, 1.0f, 20.0f * std::log10(4.0f)},
        {{FLT_MAX}, 1.0f, 20.0f * std::log10(FLT_MAX)},
        {{-INFINITY, 1.0f}, 1.0f, 771.0f},
    };
    for (const bool isMuted : {false, true}) {
        instance.set("MuteOutput", isMuted ? 1.0f : 0.0f);
        EXPECT_EQ(inspectConnection(0)->sender->isMuted, isMuted);
        instance.set("InputPeak", 0.0f);
        for (const auto& [samples, level, peak] : blocks) {
            const std::uint32_t begin = block->audio.writeIndex;
            const auto heard = play(instance, samples);
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
    EXPECT_EQ(told, 10);  // the first one, and every change

    for (const std::int32_t latency : {7, -1}) {
        host.latency = latency;
        play(instance, {0.0f});
        EXPECT_EQ(instance.value("InputLatency"), latency > 0 ? 7.0f : 0.0f);
        EXPECT_EQ(block->inputLatency, latency);
    }
}

// Faults: receivers that the interface never hears of, or of whose end it doesn't, a number of the
// host's that doesn't reach them; words that don't fit what happens, a meter that stands where the
// last block left it, a clip that is forgotten, or can't be.
TEST_F(BrimtideEngine, TellsHowThingsStandAtBothEnds) {
    const TestClock clock(100.0);
    StandInHost host;
    Instance instance(&host);
    const auto text = [&](const char* id) {
        instance.idle();
        return instance.text(id);
    };
    EXPECT_EQ(text("LinkState"), "The host sends no audio");
    EXPECT_EQ(text("LatencyText"), "The host tells no latency");
    EXPECT_EQ(text("PeakText"), "-\u221e");
    EXPECT_EQ(instance.value("Connected"), 1.0f);
    host.latency = 321;
    instance.plugin.setSampleRate(48'000);
    instance.plugin.setBlockSize(256);
    instance.plugin.resume();
    std::unique_ptr<ConnectionListener> first, second;
    const std::tuple<float, const char*, const char*, float> blocks[] = {
        {0.7f, "Ready, no receiver", "-3.1", 0.0f},
        {1.0f, "Sending, 1 receiver", "0.0", 0.0f},
        {1.23f, "Sending, 2 receivers", "+1.8", 1.0f},
        {0.5f, "Sending, 2 receivers", "+1.8", 1.0f}};
    for (const auto& [sample, state, peak, clipped] : blocks) {
        play(instance, {sample});
        EXPECT_EQ(std::tuple(text("LinkState"), text("PeakText")), std::tuple(state, peak));
        EXPECT_EQ(instance.value("Clipped"), clipped);
        auto& listener = first ? second : first;
        if (!listener) {
            listener = std::make_unique<ConnectionListener>(0);
            listener->beat();
        }
    }
    EXPECT_EQ(text("LatencyText"), "Host latency 321 samples, 6.7 ms");
    EXPECT_EQ(instance.value("Receiving"), 1.0f);
    EXPECT_EQ(instance.value("ReceiverCount"), 2.0f);
    const auto sender = inspectConnection(0)->sender;
    EXPECT_EQ(std::tuple(sender->rate, sender->announcedBlock, sender->host, sender->product),
              std::tuple(48'000.0, 256u, "A host", "Brimtide 1.2.0"));
    for (const auto& [pause, state, level] :
         {std::tuple(0.49, "Sending, 2 receivers", 0.5f), {0.02, "No audio, 2 receivers", 0.0f}}) {
        clock.pass(pause);
        EXPECT_EQ(text("LinkState"), state);
        EXPECT_EQ(instance.value("OutputLevel"), level);
    }
    for (const float pressed : {1.0f, 0.0f})
        instance.set("ResetPeak", pressed);
    EXPECT_EQ(text("PeakText"), "-\u221e");
    EXPECT_EQ(instance.value("Clipped"), 0.0f);
    play(instance, {0.1f});
    EXPECT_EQ(text("PeakText"), "-20.0");
    first.reset();
    second.reset();
    instance.idle();
    EXPECT_EQ(instance.value("ReceiverCount"), 0.0f);
}

TEST(BrimtidePluginInfo, AnswersWhatHostsAndFilesRelyOn) {
    BrimtidePluginInfo info;
    EXPECT_EQ(info.getProductName() + info.getVersionText() + info.getRegistryKey(),
              "Brimtide1.2.0Software\\Quorl\\Brimtide");
    EXPECT_EQ(info.getProductCode(), 'B' << 24 | 'r' << 16 | 'i' << 8 | 'm');
    EXPECT_EQ(info.getVendorCode(), 'Q' << 24 | 'r' << 16 | 'l' << 8 | 'd');
    const auto configOf = [](int in, int out) {
        return IOConfig(IOPinConfig(in, 1), IOPinConfig(out, 1));
    };
    for (int pins = 0; pins < 4; ++pins)
        EXPECT_EQ(info.isIOConfigSupported(configOf(1 + pins / 2, 1 + pins % 2)), pins != 2);
    const std::tuple<int, int, int, int> requests[] = {{1, 1, 0, 1}, {1, 2, 0, 2}, {2, 1, 2, 1},
                                                       {2, 2, 2, 2}, {1, 6, 0, 8}, {0, 0, 2, 8}};
    for (const auto& [in, out, ins, outs] : requests) {
        const IOConfig got = info.sanitiseIOConfig(configOf(in, out));
        EXPECT_EQ(std::pair(got.getInputChannels(), got.getOutputChannels()), std::pair(ins, outs));
    }
    info.setFont(3, info.getFont(7));
    EXPECT_EQ(info.getFont(3).size, 12.0f);
    EXPECT_EQ(info.getFont(8), info.getFont(-1));
}

}  // namespace
}  // namespace tarn
