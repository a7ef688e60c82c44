#include "audio/Module.h"
#include "link/BrimtideEngine.h"
#include "link/BrimtidePlugin.h"
#include "link/BrimtidePluginInfo.h"
#include "link/ConnectionInfo.h"
#include "link/StandInHost.h"
#include "parameters/ParameterEditor.h"
#include "platform/SystemWindow.h"
#include "plugin/Mission.h"
#include "support/AllocationCount.h"
#include "support/Connections.h"
#include "support/Hearer.h"
#include "support/HostedEffect.h"
#include "support/Product.h"
#include "support/TestClock.h"
#include "vst/DefaultProgram.h"
#include "vst/VSTPlugin.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <future>
#include <thread>
#include <tuple>

namespace tarn {
namespace {

using namespace test;
using namespace testing;

// What the host does when it is asked something, such as its latency by a block, on that thread,
// and while it is told of a change.
std::function<void()> duringBlock, duringAutomate;
VstInt32 asked = audioMasterGetInputLatency;

// What the host was told, with the value, or else with the parameter's number less that of Mute.
std::vector<std::pair<VstInt32, float>> told;

VstIntPtr VSTCALLBACK host(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr, void* ptr,
                           float opt) {
    // Many look at once, or set what they were told.
    if (opcode == audioMasterAutomate) {
        char text[kVstMaxParamStrLen];
        effect->dispatcher(effect, effGetParamDisplay, index, 0, text, 0.0f);
        effect->setParameter(effect, index, opt);
        EXPECT_EQ(effect->getParameter(effect, index), opt);
        if (duringAutomate)
            duringAutomate();
    }
    const bool isOfParameter = opcode == audioMasterAutomate || opcode == audioMasterBeginEdit ||
                               opcode == audioMasterEndEdit;
    if (isOfParameter || opcode == audioMasterIOChanged || opcode == audioMasterWantMidi)
        told.emplace_back(opcode, isOfParameter ? opt + static_cast<float>(index - 1) : 0.0f);
    if (opcode == audioMasterGetProductString)
        std::memset(ptr, 'x', 256);  // longer than the interface allows, and without an end
    if (opcode == asked && duringBlock)
        duringBlock();
    return 0;
}

// Before its instance.
struct Brimtide {
    Brimtide() { Mission::get().start(); }
    const std::unique_ptr<Product> product = Product::of<BrimtidePluginInfo>(BUILT_PRODUCT);
    static HostedEffect makeEffect() {
        const IOConfig stereo{IOPinConfig(2, 1), IOPinConfig(2, 1)};
        return HostedEffect((new VSTPlugin(0, host, stereo))->getAeffect());
    }
};

class Instance : public Brimtide, public HostedEffect {
public:
    Instance() : HostedEffect(makeEffect()) {}
    ~Instance() {
        const bool isAlone = !inspectConnection(1);  // a second one keeps the slot that was taken
        EXPECT_EQ(call(effClose), 1);
        EXPECT_FALSE(isAlone && inspectConnection(0)) << "it keeps its connection";
    }
    VSTPlugin& effect() const {
        return *static_cast<VSTPlugin*>(static_cast<AudioEffect*>(record->object));
    }
    Plugin& plugin() const { return dynamic_cast<Plugin&>(*effect().getPlugin()); }
};

enum ParameterIndex { Name, Mute };

// Each look at the clock takes a second.
void letTimeFly() {
    platform::setHighResolutionClock([]() noexcept {
        static std::atomic<int> looks;
        return 1.0 * ++looks;
    });
}

// Faults: an identity that saved projects don't know, a number that the host isn't told.
TEST(VSTPlugin, AnswersWhatHostsAsk) {
    Instance instance;
    AEffect& record = *instance.record;
    const int editor = platform::hasWindows() ? effFlagsHasEditor : 0;
    EXPECT_THAT(
        std::tuple(record.magic, record.flags, record.uniqueID, record.version, record.ioRatio),
        FieldsAre(kEffectMagic, effFlagsCanReplacing | effFlagsProgramChunks | editor,
                  fourCharacters("QrlA"), 1, 1.0f));
    EXPECT_THAT(
        (std::array{record.numParams, record.numPrograms, record.numInputs, record.numOutputs}),
        Each(2));
    instance.set(Mute, 1.0f);
    const std::tuple<VstInt32, VstInt32, VstIntPtr, const char*> rows[] = {
        {effGetParamName, Mute, 0, "Mute"},
        {effGetParamName, 2, 0, ""},
        {effGetParamDisplay, Mute, 0, "On"},
        {effGetProgramNameIndexed, 0, 1, "Send and monitor"},
        {effGetProgramNameIndexed, 2, 0, ""},
        {effGetEffectName, 0, 1, "Brimtide"},
        {effGetVendorString, 0, 1, "Quorl"},
        {effGetProductString, 0, 1, "Brimtide"},
        {effIdentify, 0, fourCharacters("NvEf"), ""},
        {effGetVendorVersion, 0, 1200, ""},
        {effGetPlugCategory, 0, kPlugCategUnknown, ""},
        {effCanBeAutomated, Name, 0, ""},
        {effCanBeAutomated, Mute, 1, ""}};
    for (const auto& [opcode, index, answer, expected] : rows) {
        char text[kVstMaxProductStrLen] = "";
        EXPECT_EQ(instance.call(opcode, index, 0, text), answer) << opcode << ", " << index;
        EXPECT_STREQ(text, expected) << opcode << ", " << index;
    }
    const std::pair<const char*, VstIntPtr> abilities[] = {
        {"plugAsSend", 1}, {"receiveVstEvents", 1}, {"receiveVstMidiEvent", -1}, {"bypass", -1}};
    for (const auto& [ability, answer] : abilities)
        EXPECT_EQ(instance.call(effCanDo, 0, 0, const_cast<char*>(ability)), answer) << ability;
}

// Faults: an echo to the host of what it has set, a change or an edit of the user's that it isn't
// told of or takes for another parameter's; a deadlock where its own lock keeps it in the call
// until its audio thread has set the same parameter.
TEST(VSTPlugin, TellsTheHostWhatTheUserDoes) {
    Instance instance;
    const Settings& settings = instance.plugin().moduleAt(0)->settings();
    Parameter& mute = *settings.find(MuteOutputName, 0);
    struct Knob : Radio, ParameterEditor {
        explicit Knob(Parameter* edited) : Radio(nullptr), parameter(edited) {}
        Parameter* getParameter() const override { return parameter; }
        Parameter* parameter;
    } knob(settings.find(BrimtideIDName, 0)), led(settings.find(OutputLevelName, 0)), none(nullptr);
    told.clear();
    instance.set(Mute, 1.0f);
    mute.setNormalised(0.0f, FromInternal);
    instance.effect().parameterChanged(knob.parameter, 0.0f);  // hosts can't record a text
    EXPECT_TRUE(told.empty());
    duringAutomate = [&] { std::thread([&] { instance.set(Mute, 0.0f); }).join(); };
    mute.setNormalised(1.0f, FromUser);
    duringAutomate = nullptr;
    EXPECT_EQ(mute.getNormalised(), 0.0f);
    for (Knob* const edited : {&knob, &led, &none})
        for (const auto code :
             {ControlMessage::EditBegin, ControlMessage::EditEnd, ControlMessage::FocusLost}) {
            ControlMessage message(edited, code);
            EXPECT_EQ(instance.effect().radio().receive(message),
                      edited == &knob && code != ControlMessage::FocusLost);
        }
    instance.effect().setLatency(64);
    EXPECT_EQ(instance.record->initialDelay, 64);
    instance.run();
    EXPECT_EQ(instance.record->initialDelay, 0);
    EXPECT_THAT(told, ElementsAre(Pair(audioMasterAutomate, 1), Pair(audioMasterBeginEdit, -1),
                                  Pair(audioMasterEndEdit, -1), Pair(audioMasterIOChanged, 0),
                                  Pair(audioMasterWantMidi, 0)));
}

// Faults: a long block for which the audio thread makes room, or which is forgotten when there is
// no room at once; a pause after which engines sound on, or a block that is taken for a pause.
TEST(VSTPlugin, NoticesLongBlocksAndPauses) {
    Instance instance;
    const TestClock clock(100.0);
    int resets = 0;
    const Hearer hearer(instance.plugin(), [&](Message& message) {
        resets += message.type == MessageType::Window && message.code == WindowMessage::Repaint;
    });
    instance.run();
    const auto resetsAfter = [&](double pause, int frames) {
        TestClock::pass(pause);
        const int before = resets;
        instance.play(Channel(static_cast<std::size_t>(frames)));
        return resets - before;
    };
    instance.call(effSetBlockSize, 0, 512);
    EXPECT_EQ(resetsAfter(0.0, 512), 1) << "the first block ever";
    const std::tuple<double, int, int> blocks[] = {
        {0.9375, 512, 512}, {0.0, 513, 1024}, {0.0, 20000, 32768}};
    for (const auto& [pause, frames, blockSize] : blocks) {
        EXPECT_EQ(resetsAfter(pause, frames), 0);
        EXPECT_EQ(instance.effect().getBlockSize(), blockSize) << frames;
    }
    duringBlock = [&] {
        const AllocationLimit limit(32768);
        EXPECT_EQ(instance.call(effGetVstVersion), 2400);
    };
    instance.play({0.0f});
    std::exchange(duringBlock, nullptr)();
    instance.call(effStartProcess);
    instance.play({0.0f});
    EXPECT_EQ(inspectConnection(0)->sender->announcedBlock, 512u);
    instance.call(effEditIdle);
    instance.play({0.0f});
    EXPECT_EQ(inspectConnection(0)->sender->announcedBlock, 32768u);
    instance.call(effSetBlockSize, 0, 512);
    EXPECT_EQ(resetsAfter(1.0, 64), 1);

    const Hearer busy(instance.plugin(), [&](Message& message) {
        if (message.type == MessageType::Plugin)
            std::async(std::launch::async, resetsAfter, 1.0, 64).get();
    });
    resets = 0;
    instance.plugin().setModified(true);
    EXPECT_EQ(resets, 1) << "told by the thread for which the block didn't wait";
}

// Faults: numbers of the host's that reach receivers as nonsense, a text of its that has no end.
TEST(VSTPlugin, TellsReceiversWhatTheHostTells) {
    Instance instance;
    EXPECT_EQ(inspectConnection(0)->sender->host, std::string(63, 'x'));
    instance.run();
    const std::pair<float, int> rates[] = {
        {96e3f, 96'000}, {NotANumber, 0}, {48000.5f, 48'000}, {1e30f, 0}, {-96e3f, 0}};
    for (const auto& [announced, heard] : rates) {
        instance.call(effSetSampleRate, 0, 0, nullptr, announced);
        instance.play({0.0f});
        EXPECT_EQ(inspectConnection(0)->sender->rate, heard) << announced;
    }
    instance.call(effSetBlockSize, 0, Largest);
    instance.play({0.0f});
    EXPECT_EQ(inspectConnection(0)->sender->announcedBlock, 1u << 20);
}

// Faults: a size that is believed, or a program of another effect.
TEST(VSTPlugin, ReadsADefaultProgram) {
    const ScratchFolder folder;
    const std::string words(9 * 4, '\1');
    const std::string head = "Ccnk....FPCh....QrlM" + words;
    const auto read = [&](const std::string& bytes) {
        folder.write("default.fxp", bytes);
        return readDefaultProgram(File(folder.path() + "/default.fxp"));
    };
    const std::string whole = head + std::string("\0\0\1\2", 4) + std::string(258, 'x');
    for (const char* const rest : {"", "more"})
        EXPECT_EQ(read(whole + rest), std::string(258, 'x'));
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_EQ(read(whole.substr(0, size)), std::nullopt) << size;
    for (const std::size_t at : {3, 8, 16}) {
        std::string other = whole;
        other[at] = 'K';
        EXPECT_EQ(read(other), std::nullopt) << at;
    }
}

// Faults: a switch that hosts draw as a knob, a pin that is taken for another one, a description
// that leaves something of the host's memory.
TEST(VSTPlugin, DescribesItsParametersAndPins) {
    const Instance instance;
    std::string description;
    for (VstInt32 index = 0; index < 3; ++index) {
        VstParameterProperties its;
        std::memset(&its, 'x', sizeof its);
        description += std::to_string(instance.call(effGetParameterProperties, index, 0, &its)) +
                       " " + its.label + " " + its.shortLabel;
        for (const auto number : {its.flags, its.minInteger, its.maxInteger, its.stepInteger,
                                  its.largeStepInteger, static_cast<VstInt32>(8 * its.stepFloat)})
            description += " " + std::to_string(number);
        description += "\n";
    }
    for (const int outputs : {2, 1}) {
        instance.setChannels(1, outputs);
        for (const auto& [opcode, index] : {std::pair(effGetInputProperties, 0),
                                            {effGetInputProperties, 1},
                                            {effGetOutputProperties, outputs - 1},
                                            {effGetOutputProperties, outputs}}) {
            VstPinProperties its{};
            const VstIntPtr answer = instance.call(opcode, index, 0, &its);
            description += std::to_string(answer) + " " + its.label + " " +
                           std::to_string(10 * its.flags + its.arrangementType) + ", ";
        }
    }
    EXPECT_EQ(description,
              "1 Connection name Name 0 0 0 0 0 0\n"
              "1 Mute output Mute 1 0 0 0 0 0\n"
              "0   0 0 0 0 0 0\n"
              "1 Brimtide 0 31, 0  0, 1 Brimtide ST1 31, 0  -1, "
              "1 Brimtide 0 31, 0  0, 1 Brimtide M1 10, 0  -1, ");
}

// Fault: a list of events that is followed beyond its end.
TEST(VSTPlugin, HandsOnMidiEvents) {
    const Instance instance;
    VstMidiEvent midi{kVstMidiType, 32, Largest, 0, 9, -1, {'\x90', 60, 127, 0}, -128, 255, 0, 0};
    VstEvents list{0, 0, {nullptr, reinterpret_cast<VstEvent*>(&midi)}};
    for (const bool isRunning : {false, true}) {
        instance.run(isRunning);
        for (const VstInt32 count : {2, 0, -1, Smallest, Largest}) {
            list.numEvents = count;
            EXPECT_EQ(instance.call(effProcessEvents, 0, 0, &list), 1) << count;
        }
    }
}

// Faults: a name that a host can't set, a state that doesn't come back or, when it is damaged,
// comes back by halves, a pointer or size of the host's that is believed.
TEST(VSTPlugin, KeepsItsStateInChunks) {
    Instance instance;
    char name[] = "Lead vocal", none[] = "", on[] = "On";
    EXPECT_EQ(instance.call(effString2Parameter, Name, 0, none), 1);
    EXPECT_EQ(inspectConnection(0)->name, "Connection #1");
    for (const auto& [index, text] : {std::pair(Mute + 1, name), {Name, name}, {Mute, on}})
        EXPECT_EQ(instance.call(effString2Parameter, index, 0, text), index <= Mute);
    EXPECT_EQ(inspectConnection(0)->name, name);
    char program[] = "A program of a name longer than hosts may have";
    instance.call(effSetProgramName, 0, 0, program);
    const std::string state = instance.chunk();
    EXPECT_THAT(state, HasSubstr("\"A program of a name long\""));
    EXPECT_EQ(std::strlen(state.c_str()) + 1, state.size());
    instance.set(Mute, 0.0f);
    const std::string present = instance.chunk();
    for (std::size_t size = 0; size < state.size() - 8; size += 13)
        instance.restore(state.substr(0, size));
    instance.call(effSetChunk, 0, 100, nullptr);
    instance.call(effSetChunk, 0, -1, name);
    EXPECT_FALSE(instance.product->messages.empty());
    EXPECT_EQ(instance.chunk(), present);
    instance.restore(state, Largest);  // as of an older one, which was longer
    EXPECT_EQ(std::tuple(instance.chunk(), instance.get(Mute)), std::tuple(state, 1.0f));

    // As a host of the other width stored it.
    instance.restore(
        "<dict><info creator=\"Brimtide\" version=\"1.2.0\" /><file-format value=\"1.2.0\" />"
        "<parameters><BrimtideID><value value=\"Bass\" /></BrimtideID>"
        "<MuteOutput value=\"false\" /></parameters></dict>\n");
    EXPECT_EQ(std::tuple(inspectConnection(0)->name, instance.get(Mute)), std::tuple("Bass", 0.0f));
}

// What a host may expect of an instance, while it calls at random.
class RandomHost : Instance {
public:
    void changeSomething() {
        if (below(8) == 0)
            run(isRunning_ = below(4) != 0);
        if (below(8) == 0) {
            isMuted_ = below(2) == 0;
            set(Mute, NotANumber);
            set(Mute, isMuted_ ? 0.5f : 0.49f);
            ASSERT_EQ(get(Mute), isMuted_ ? 1.0f : 0.0f);
        }
        if (below(8) == 0)
            changeChannels();
        if (below(32) == 0)
            call(effSetBlockSize, 0, below(2) == 0 ? 0 : Largest);
    }

    // The buffers lie anywhere in one piece of memory, but for outputs over each other. In a block
    // that is longer than announced no output begins inside an input.
    void playBlock() {
        const int frames = below(20) == 0 ? below(70'000) : below(600) - 1;
        const bool isAnnounced = below(2) == 0;
        if (isAnnounced)
            call(effSetBlockSize, 0, frames);
        Channel memory = ramp(static_cast<std::uint32_t>(4 * (frames + 64) + 128));
        const auto place = [&] { return memory.data() + 64 + below(4) * (frames + 64); };
        Buffers from{place(), place()}, to{};
        do {
            for (float*& output : to)
                output = place() + below(2) * (isAnnounced ? below(128) - 64 : -below(64));
        } while (outputs_ == 2 && std::abs(to[0] - to[1]) < frames);

        const float last = from[0][frames - 1];
        const Channel silence(memory.size());
        Channel expected = memory;
        const bool isPlayed = isRunning_ && below(10) != 0;
        for (int i = 0; isPlayed && i < outputs_; ++i)
            std::copy_n(isMuted_ ? silence.data() : from[std::min(i, inputs_ - 1)], frames,
                        expected.data() + (to[i] - memory.data()));
        if (isRunning_ && !isPlayed)
            (below(2) == 0 ? from[inputs_ - 1] : to[outputs_ - 1]) = nullptr;

        ASSERT_EQ(allocationsOf([&] { process(from, to, static_cast<std::size_t>(frames)); }), 0);
        ASSERT_TRUE(memory == expected);
        if (!isPlayed || frames <= 0)
            return;
        sent_ += frames;
        ASSERT_EQ(block_->audio.writeIndex, sent_ & ConnectionRingMask);
        ASSERT_EQ(block_->audio.ring[(sent_ - 1) & ConnectionRingMask], last);
    }

private:
    int below(int end) { return static_cast<int>(random_() % static_cast<unsigned>(end)); }

    void changeChannels() {
        const int inputs = below(5) - 1, outputs = below(5) - 1;
        const bool isOffered = inputs >= 1 && inputs <= outputs && outputs <= 2;
        ASSERT_EQ(setChannels(inputs, outputs), isOffered) << inputs << ", " << outputs;
        if (isOffered) {
            ASSERT_EQ(record->numInputs, inputs_ = inputs);
            ASSERT_EQ(record->numOutputs, outputs_ = outputs);
        }
    }

    std::mt19937 random_{1};
    const RawBlock block_{0};
    bool isRunning_ = false, isMuted_ = false;
    int inputs_ = 2, outputs_ = 2, sent_ = 0;
};

// Faults: a channel that is overwritten before it is read, audio before a start or after a stop, a
// connection that falls silent with a muted output, channels that the engine doesn't have, a null
// pointer that is followed, an allocation.
TEST(VSTPlugin, IsAWireWhateverTheBuffers) {
    RandomHost host;
    for (int i = 0; i < 3000 && !HasFatalFailure(); ++i) {
        SCOPED_TRACE(i);
        host.changeSomething();
        host.playBlock();
    }
}

// Faults: a host that hangs, because a block waits for its own end; what a block uses is freed
// under it when the host has lost its patience.
TEST(VSTPlugin, ChangesDontWaitForEverForTheBlockUnderWay) {
    Instance instance;
    instance.run();
    const Channel left = ramp(64), right = ramp(64, 100);
    const auto processWith = [&](const std::function<void()>& action) {
        Channel a = left, b = right;
        duringBlock = action;
        instance.process({a.data(), b.data()}, {b.data(), a.data()}, 64);
        duringBlock = nullptr;
        EXPECT_EQ(std::pair(a, b), std::pair(right, left));
    };
    const auto expectRefusals = [&] {
        EXPECT_FALSE(instance.setChannels(1, 1));
        instance.call(effSetBlockSize, 0, 100'000);
        EXPECT_EQ(instance.play(left), Channel(64, 7.0f));
    };
    letTimeFly();
    processWith([&] { std::async(std::launch::async, expectRefusals).get(); });
    platform::setHighResolutionClock([]() noexcept { return 0.0; });
    processWith(expectRefusals);
}

// Faults: an instance that is deleted under its own feet, or under a block that hangs in the host;
// one that stays for ever.
TEST(VSTPlugin, AnEndFromInsideACallWaitsForIt) {
    const Brimtide product;
    for (const VstInt32 opcode :
         {audioMasterWantMidi, audioMasterGetCurrentProcessLevel, audioMasterGetInputLatency}) {
        const HostedEffect effect = product.makeEffect();
        const bool isInBlock = opcode == audioMasterGetInputLatency;
        bool isEnded = false;
        asked = opcode;
        effect.run(isInBlock);
        duringBlock = [&] {
            EXPECT_TRUE(std::exchange(isEnded, true) || effect.call(effClose) == 1);
        };
        if (isInBlock)
            effect.play(Channel(64));
        else
            effect.run();
        duringBlock = nullptr;
        EXPECT_TRUE(isEnded && !inspectConnection(0));
    }
    letTimeFly();
    const HostedEffect effect = product.makeEffect();
    const std::unique_ptr<AudioEffect> left(static_cast<AudioEffect*>(effect.record->object));
    effect.run();
    duringBlock = [&] {
        std::async(std::launch::async, [&] { EXPECT_EQ(effect.call(effClose), 1); }).get();
    };
    effect.play(Channel(64));
    duringBlock = nullptr;
}

// Faults: a host that is taken for another one, or is asked again and again.
TEST(HostInterface, KnowsHostsByTheirNames) {
    const std::tuple<const char*, HostType, const char*> hosts[] = {
        {"Fruity Wrapper", HostType::FLStudio, "FL Studio"},
        {"Nuendo and Cubase", HostType::Cubase, "Cubase"},
        {"REAPERx64", HostType::Reaper, "REAPER"},
        {"reaper", HostType::Other, "your host (reaper)"},
    };
    for (const auto& [name, type, typeName] : hosts) {
        StandInHost host(name);
        EXPECT_EQ(host.getHostType(), type) << name;
        EXPECT_EQ(host.getHostTypeName(), typeName);
        host.name = "Live";
        EXPECT_EQ(host.getHostType(), type) << "asked once";
    }
}

}  // namespace
}  // namespace tarn
