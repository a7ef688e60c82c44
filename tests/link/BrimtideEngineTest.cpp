#include "audio/Engine.h"
#include "audio/Module.h"
#include "foundation/TextOf.h"
#include "link/BrimtidePlugin.h"
#include "link/BrimtidePluginInfo.h"
#include "link/ConnectionInfo.h"
#include "link/StandInHost.h"
#include "parameters/Settings.h"
#include "plugin/Mission.h"
#include "support/AllocationCount.h"
#include "support/Connections.h"
#include "support/Hearer.h"
#include "support/Product.h"
#include "support/TestClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>

namespace tarn {
namespace {

using namespace test;
using Samples = std::vector<float>;

// An instance of the product, as its format's boundary has it.
struct Instance {
    explicit Instance(HostInterface* host = nullptr) : plugin(host, 0) { plugin.start(); }
    ~Instance() { plugin.stop(); }

    Parameter& parameter(const char* id) { return *plugin.moduleAt(0)->settings().find(id, 0); }
    float value(const char* id) { return parameter(id).getFloat(); }
    std::string text(const char* id) { return parameter(id).getText(); }
    void set(const char* id, float value) { parameter(id).setNormalised(value, FromUser); }
    void rename(const char* name) { parameter("BrimtideID").setText(name, FromUser); }
    void idle() { plugin.moduleAt(0)->getEngine()->idle(); }

    std::string state() {
        Dictionary tree;
        EXPECT_TRUE(plugin.writeState(tree, 0));
        return textOf(tree);
    }
    bool restore(const std::string& text) {
        Dictionary tree(text);
        return plugin.readState(tree);
    }

    // Plays what is on both inputs; what comes out on the left.
    Samples play(Samples samples) {
        const int frames = static_cast<int>(samples.size());
        samples.reserve(1);  // an empty block has buffers too
        Samples left(samples.capacity(), 7.0f), right = left;
        float* const inputs[] = {samples.data(), samples.data()};
        float* const outputs[] = {left.data(), right.data()};
        const auto process = [&] {
            in.attach(inputs, frames);
            out.attach(outputs, frames);
            plugin.process(in, out, frames);
        };
        EXPECT_EQ(allocationsOf(process), 0);
        left.resize(samples.size());
        return left;
    }

    Brimtide::Plugin plugin;
    IOPinConfig in{2, 1}, out{2, 1};
};

// The product with its own files.
struct BrimtideEngine : testing::Test {
    BrimtideEngine() { Mission::get().start(); }
    const std::unique_ptr<Product> product = Product::of<BrimtidePluginInfo>(PRODUCT_FOLDER);
};

std::string nameOfSlot(std::uint32_t slot) {
    return RawBlock(slot)->name;
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
        again.rename(name);
        EXPECT_EQ(nameOfSlot(0), name);
        EXPECT_TRUE(second->restore(again.state()));
        EXPECT_EQ(nameOfSlot(1) + second->text("BrimtideID"), std::string(name) + name);
    }
    EXPECT_TRUE(
        second->restore("<dict><info creator='Brimtide' version='1'/><file-format value='1'/>"
                        "<parameters><BrimtideID/></parameters></dict>"));
    EXPECT_EQ(nameOfSlot(1), "Connection #2");
    again.rename("Connection #2");
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
    wire.rename("kept");
    EXPECT_EQ(wire.text("BrimtideID"), "kept");
    EXPECT_EQ(wire.play(ramp(64)), ramp(64));
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
    const auto bits = [](float sample) { return std::bit_cast<std::uint32_t>(sample); };
    int told = 0;
    const Hearer hearer(instance.parameter("OutputLevel"), [&](Message&) { ++told; });
    const std::tuple<Samples, float, float> blocks[] = {
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
            const Samples heard = instance.play(samples);
            const Samples expected = isMuted ? Samples(samples.size()) : samples;
            const std::span sent(block->audio.ring + begin, samples.size());
            EXPECT_TRUE(std::ranges::equal(heard, expected, {}, bits, bits));
            EXPECT_TRUE(std::ranges::equal(sent, samples, {}, bits, bits));
            EXPECT_EQ(instance.value("OutputLevel"), level);
            EXPECT_NEAR(instance.value("InputPeak"), peak, 1e-3f);
        }
    }
    EXPECT_EQ(told, 10);  // the first one, and every change

    for (const std::int32_t latency : {7, -1}) {
        host.latency = latency;
        instance.play({0.0f});
        EXPECT_EQ(instance.value("InputLatency"), latency > 0 ? 7.0f : 0.0f);
        EXPECT_EQ(block->inputLatency, latency);
    }
}

// Faults: receivers that the interface never hears of, or of whose end it doesn't, a number of the
// host's that doesn't reach them; words that don't fit what happens, a meter that stands where the
// last block left it, a clip that is forgotten, or can't be.
TEST_F(BrimtideEngine, TellsHowThingsStandAtBothEnds) {
    const TestClock clock(100.0, TestClock::CalendarToo);
    StandInHost host;
    Instance instance(&host);
    instance.idle();
    EXPECT_EQ(instance.text("LatencyText"), "The host tells no latency");
    EXPECT_EQ(instance.value("Connected"), 1.0f);
    host.latency = 321;
    instance.plugin.setSampleRate(48'000);
    instance.plugin.setBlockSize(256);
    instance.plugin.resume();
    std::vector<std::unique_ptr<ConnectionListener>> receivers;
    // Seconds, a block, receivers; then the words, the highest level, whether it clipped, the
    // level.
    const std::tuple<double, Samples, std::size_t, const char*, const char*, float, float> steps[] =
        {{0, {}, 0, "The host sends no audio", "-\u221e", 0, 0},
         {0, {0.7f}, 0, "Ready, no receiver", "-3.1", 0, 0.7f},
         {0, {1.0f}, 1, "Sending, 1 receiver", "0.0", 0, 1},
         {0, {1.23f}, 2, "Sending, 2 receivers", "+1.8", 1, 1},
         {0, {0.5f}, 2, "Sending, 2 receivers", "+1.8", 1, 0.5f},
         {0.49, {}, 2, "Sending, 2 receivers", "+1.8", 1, 0.5f},
         {0.02, {}, 2, "No audio, 2 receivers", "+1.8", 1, 0}};
    for (const auto& [pause, block, count, state, peak, clipped, level] : steps) {
        clock.pass(pause);
        if (receivers.size() < count)
            receivers.push_back(std::make_unique<ConnectionListener>(0));
        for (const auto& receiver : receivers)
            receiver->beat();
        if (!block.empty())
            instance.play(block);
        instance.idle();
        EXPECT_EQ(instance.text("LinkState") + instance.text("PeakText"),
                  state + std::string(peak));
        EXPECT_EQ(instance.value("ReceiverCount"), static_cast<float>(count)) << state;
        EXPECT_EQ(instance.value("Receiving"), count > 0 ? 1.0f : 0.0f) << state;
        EXPECT_EQ(instance.value("Clipped"), clipped) << state;
        EXPECT_EQ(instance.value("OutputLevel"), level) << state;
    }
    EXPECT_EQ(instance.text("LatencyText"), "Host latency 321 samples, 6.7 ms");
    const auto sender = inspectConnection(0)->sender;
    EXPECT_EQ(std::tuple(sender->rate, sender->announcedBlock, sender->host, sender->product),
              std::tuple(48'000.0, 256u, "A host", "Brimtide 1.2.0"));
    receivers.clear();
    clock.pass(1.0);
    instance.play({0.0f});
    EXPECT_EQ(instance.value("ReceiverCount"), 0.0f) << "told once a second while audio runs";
    instance.set("ResetPeak", 1.0f);
    instance.idle();
    EXPECT_EQ(instance.text("PeakText"), "-\u221e");
    EXPECT_EQ(instance.value("Clipped"), 0.0f);
    instance.play({0.1f});
    instance.set("ResetPeak", 0.0f);
    instance.idle();
    EXPECT_EQ(instance.text("PeakText"), "-20.0");
}

// Faults: another plug-in's codes, so that no project finds its own; channels that hosts ask for
// and don't get.
TEST(BrimtidePluginInfo, AnswersWhatHostsAndFilesRelyOn) {
    BrimtidePluginInfo info;
    EXPECT_EQ(info.getProductName() + info.getVersionText() + info.getRegistryKey(),
              "Brimtide1.2.0Software\\Quorl\\Brimtide");
    EXPECT_EQ(info.getProductCode(), 'B' << 24 | 'r' << 16 | 'i' << 8 | 'm');
    EXPECT_EQ(info.getVendorCode(), 'Q' << 24 | 'r' << 16 | 'l' << 8 | 'd');
    // Inputs and outputs that are asked for, whether they are supported, and what comes of them.
    const std::tuple<int, int, bool, int, int> requests[] = {
        {1, 1, true, 0, 1}, {1, 2, true, 0, 2},  {2, 1, false, 2, 1},
        {2, 2, true, 2, 2}, {1, 6, false, 0, 8}, {0, 0, false, 2, 8}};
    for (const auto& [in, out, isSupported, ins, outs] : requests) {
        const IOConfig asked(IOPinConfig(in, 1), IOPinConfig(out, 1));
        EXPECT_EQ(info.isIOConfigSupported(asked), isSupported);
        const IOConfig got = info.sanitiseIOConfig(asked);
        EXPECT_EQ(std::pair(got.getInputChannels(), got.getOutputChannels()), std::pair(ins, outs));
    }
    info.setFont(3, info.getFont(7));
    EXPECT_EQ(info.getFont(3).size, 12.0f);
    EXPECT_EQ(info.getFont(8), info.getFont(-1));
}

}  // namespace
}  // namespace tarn
