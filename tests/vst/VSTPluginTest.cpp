#include "audio/Module.h"
#include "link/BrimtideEngine.h"
#include "link/BrimtidePluginInfo.h"
#include "link/ConnectionInfo.h"
#include "parameters/ParameterEditor.h"
#include "platform/Clock.h"
#include "plugin/Mission.h"
#include "support/AllocationCount.h"
#include "support/Connections.h"
#include "support/Hearer.h"
#include "support/Product.h"
#include "support/ScratchFolder.h"
#include "vst/DefaultProgram.h"
#include "vst/VSTPlugin.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <future>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace tarn {
namespace {

// What the host does when a block asks it for its latency, on the block's thread.
std::function<void()> duringBlock;

// What the host was told, with the value, or else with the parameter's number less that of Mute.
std::vector<std::pair<VstInt32, float>> told;
const VstTimeInfo* transport = nullptr;

VstIntPtr VSTCALLBACK host(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr, void* ptr,
                           float opt) {
    // Many look at once, or set what they were told.
    if (opcode == audioMasterAutomate) {
        char text[kVstMaxParamStrLen];
        effect->dispatcher(effect, effGetParamDisplay, index, 0, text, 0.0f);
        effect->setParameter(effect, index, opt);
        EXPECT_EQ(effect->getParameter(effect, index), opt);
    }
    if (opcode == audioMasterAutomate || opcode == audioMasterBeginEdit ||
        opcode == audioMasterEndEdit)
        told.emplace_back(opcode, opt + static_cast<float>(index - 1));
    if (opcode == audioMasterIOChanged)
        told.emplace_back(opcode, 0.0f);
    if (opcode == audioMasterGetTime)
        return reinterpret_cast<VstIntPtr>(transport);
    if (opcode == audioMasterGetProductString)
        std::memset(ptr, 'x', 256);  // longer than the interface allows, and without an end
    if (opcode == audioMasterGetInputLatency && duringBlock)
        duringBlock();
    return 0;
}

IOConfig stereo() {
    return {IOPinConfig(2, 1), IOPinConfig(2, 1)};
}

constexpr float NotANumber = std::numeric_limits<float>::quiet_NaN();

using Channel = std::vector<float>;
using Buffers = std::array<float*, 2>;

// An instance as a host has it: the record alone.
class Instance {
public:
    explicit Instance(const std::string& folder = PRODUCT_FOLDER)
        : product(test::Product::of<BrimtidePluginInfo>(folder)),
          record((Mission::get().start(), new VSTPlugin(0, host, stereo()))->getAeffect()) {}
    ~Instance() {
        EXPECT_EQ(call(effClose), 1);
        EXPECT_FALSE(inspectConnection(0)) << "it keeps its connection";
    }

    VstIntPtr call(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr,
                   float opt = 0.0f) {
        return record->dispatcher(record, opcode, index, value, ptr, opt);
    }
    VSTPlugin& effect() {
        return *static_cast<VSTPlugin*>(static_cast<AudioEffect*>(record->object));
    }
    void resume() { call(effMainsChanged, 0, 1); }
    bool setChannels(int inputs, int outputs) {
        VstSpeakerArrangement in{}, out{};
        in.numChannels = inputs;
        out.numChannels = outputs;
        return call(effSetSpeakerArrangement, 0, reinterpret_cast<VstIntPtr>(&in), &out) == 1;
    }
    void process(Buffers inputs, Buffers outputs, int frames) {
        record->processReplacing(record, inputs.data(), outputs.data(), frames);
    }
    /// What comes out on the first output for the same on both inputs; it was full of sevens.
    Channel play(Channel in) {
        Channel left(in.size(), 7.0f), right = left;
        process({in.data(), in.data()}, {left.data(), right.data()}, static_cast<int>(in.size()));
        return left;
    }

    const std::unique_ptr<test::Product> product;
    AEffect* const record;
};

enum ParameterIndex { Name, Mute };

// A product with parameters of the test's choice.
void writeProduct(const test::ScratchFolder& folder, const std::string& parameters) {
    const std::string head = R"(<dict><info creator="Brimtide" version="1.2.0"/>)";
    folder.write("Resources.xml", head + "</dict>\n");
    folder.write("Settings.xml", head + R"(<file-format value="0.7"/><parameters>)" + parameters +
                                     "</parameters></dict>\n");
}

// Faults: an identity that saved projects don't know, an exception that runs into the host, a
// number that the host isn't told.
TEST(VSTPlugin, AnswersWhatHostsAsk) {
    Instance instance;
    AEffect& record = *instance.record;
    EXPECT_EQ(std::tuple(record.magic, record.flags, record.uniqueID, record.version),
              std::tuple(kEffectMagic, effFlagsCanReplacing | effFlagsProgramChunks,
                         fourCharacters("QrlA"), 1));
    EXPECT_EQ(std::tuple(record.numParams, record.numPrograms, record.numInputs, record.numOutputs),
              std::tuple(2, 1, 2, 2));
    const auto text = [&](VstInt32 opcode, VstInt32 index) {
        char buffer[kVstMaxProductStrLen] = "";
        instance.call(opcode, index, 0, buffer);
        return std::string(buffer);
    };
    instance.record->setParameter(instance.record, Mute, 1.0f);
    const std::tuple<VstInt32, VstInt32, const char*> texts[] = {
        {effGetParamName, Name, "Name"},   {effGetParamName, Mute, "Mute"},
        {effGetParamName, 2, ""},          {effGetParamDisplay, Mute, "On"},
        {effGetProgramName, 0, "Default"}, {effGetProgramNameIndexed, 0, "Default"},
        {effGetEffectName, 0, "Brimtide"}, {effGetProductString, 0, "Brimtide"},
    };
    for (const auto& [opcode, index, expected] : texts)
        EXPECT_EQ(text(opcode, index), expected) << opcode << ", " << index;
    const std::tuple<VstInt32, VstInt32, VstIntPtr> numbers[] = {
        {effIdentify, 0, fourCharacters("NvEf")},
        {effGetVstVersion, 0, 2400},
        {effGetVendorVersion, 0, 1200},
        {effGetPlugCategory, 0, kPlugCategUnknown},
        {effCanBeAutomated, Mute, 1},
        {effCanBeAutomated, 2, 0},
    };
    for (const auto& [opcode, index, expected] : numbers)
        EXPECT_EQ(instance.call(opcode, index), expected) << opcode;
    const std::pair<const char*, VstIntPtr> abilities[] = {{"plugAsSend", 1},
                                                           {"receiveVstEvents", 1},
                                                           {"receiveVstMidiEvent", -1},
                                                           {"sizeWindow", 1},
                                                           {"bypass", -1}};
    for (const auto& [ability, answer] : abilities)
        EXPECT_EQ(instance.call(effCanDo, 0, 0, const_cast<char*>(ability)), answer) << ability;

    struct Faulty : AudioEffectX {
        using AudioEffectX::AudioEffectX;
        VstInt32 getVendorVersion() override { throw std::bad_alloc(); }
        void processReplacing(float**, float**, VstInt32) noexcept override {}
    } faulty(nullptr, 0, 0);
    EXPECT_EQ(record.dispatcher(faulty.getAeffect(), effGetVendorVersion, 0, 0, nullptr, 0.0f), 0);
}

// Faults: an echo to the host of what it has set, a change or an edit of the user's that it isn't
// told of or takes for another parameter's.
TEST(VSTPlugin, TellsTheHostWhatTheUserDoes) {
    Instance instance;
    auto& plugin = dynamic_cast<Plugin&>(*instance.effect().getPlugin());
    const Settings& settings = plugin.moduleAt(0)->settings();
    Parameter& mute = *settings.find(MuteOutputName, 0);
    struct Knob : Radio, ParameterEditor {
        explicit Knob(Parameter* edited) : Radio(nullptr), parameter(edited) {}
        Parameter* getParameter() const override { return parameter; }
        Parameter* parameter;
    } knob(settings.find(BrimtideIDName, 0)), meter(settings.find(OutputLevelName, 0)),
        none(nullptr);
    told.clear();
    instance.record->setParameter(instance.record, Mute, 1.0f);
    mute.setNormalised(0.0f, FromInternal);
    EXPECT_TRUE(told.empty());
    mute.setNormalised(1.0f, FromUser);
    for (Knob* const edited : {&knob, &meter, &none})
        for (const auto code :
             {ControlMessage::EditBegin, ControlMessage::EditEnd, ControlMessage::FocusLost}) {
            ControlMessage message(edited, code);
            EXPECT_EQ(instance.effect().radio().receive(message),
                      edited == &knob && code != ControlMessage::FocusLost);
        }
    instance.effect().setLatency(64);
    EXPECT_EQ(instance.record->initialDelay, 64);
    EXPECT_THAT(told, testing::ElementsAre(std::pair(audioMasterAutomate, 1.0f),
                                           std::pair(audioMasterBeginEdit, -1.0f),
                                           std::pair(audioMasterEndEdit, -1.0f),
                                           std::pair(audioMasterIOChanged, 0.0f)));
}

// Faults: a transport that is read where the host has none, flags taken for one another.
TEST(VSTPlugin, AsksTheHostForItsTransport) {
    Instance instance;
    HostInterface& asked = instance.effect();
    EXPECT_EQ(std::tuple(asked.getTempo(), asked.getBeatPosition(), asked.isPlaying()),
              std::tuple(120.0, 0.0, false));
    VstTimeInfo time{};
    time.tempo = 90.0;
    time.ppqPos = 9.5;
    time.barStartPos = 8.0;
    time.flags = kVstTransportPlaying;
    transport = &time;
    EXPECT_EQ(std::tuple(asked.getTempo(), asked.getBeatPosition(), asked.isPlaying()),
              std::tuple(90.0, 1.5, true));
    time.flags = kVstTransportChanged;
    EXPECT_FALSE(asked.isPlaying());
    transport = nullptr;
}

// Faults: a long block for which the audio thread makes room, or which nobody does; a pause after
// which engines sound on, or a block that is taken for a pause.
TEST(VSTPlugin, NoticesLongBlocksAndPauses) {
    Instance instance;
    static double seconds;
    seconds = 100.0;
    platform::setHighResolutionClock([]() noexcept { return seconds; });
    int resets = 0;
    const Hearer hearer(*instance.effect().getPlugin(), [&](Message& message) {
        resets += message.type == MessageType::Window && message.code == WindowMessage::Repaint;
    });
    instance.resume();
    const auto resetsAfter = [&](double pause, int frames) {
        seconds += pause;
        const int before = resets;
        instance.play(Channel(static_cast<std::size_t>(frames)));
        return resets - before;
    };
    instance.call(effSetBlockSize, 0, 512);
    EXPECT_EQ(resetsAfter(0.0, 512), 1) << "the first block ever";
    const std::tuple<double, int, int> blocks[] = {
        {0.99, 512, 512}, {0.0, 513, 1024}, {0.0, 1024, 1024}, {0.0, 1025, 2048}};
    for (const auto& [pause, frames, blockSize] : blocks) {
        EXPECT_EQ(resetsAfter(pause, frames), 0);
        EXPECT_EQ(instance.effect().getBlockSize(), blockSize) << frames;
    }
    EXPECT_EQ(inspectConnection(0)->sender->announcedBlock, 512u);
    instance.call(effEditIdle);
    instance.play({0.0f});
    EXPECT_EQ(inspectConnection(0)->sender->announcedBlock, 2048u);
    EXPECT_EQ(resetsAfter(1.0, 64), 1);
    instance.call(effSetBlockSize, 0, 16384);
    instance.call(effSetSampleRate, 0, 0, nullptr, 8000.0f);
    EXPECT_EQ(resetsAfter(16.3, 64), 0);
    EXPECT_EQ(resetsAfter(16.4, 64), 1);
}

// Faults: numbers of the host's that reach receivers as nonsense, a text of its that has no end.
TEST(VSTPlugin, TellsReceiversWhatTheHostTells) {
    Instance instance;
    EXPECT_EQ(inspectConnection(0)->sender->host, std::string(63, 'x'));
    instance.resume();
    const std::pair<float, int> rates[] = {{96e3f, 96'000}, {NotANumber, 0}, {48000.5f, 48'000}};
    float silence = 0.0f;
    for (const auto& [announced, heard] : rates) {
        instance.call(effSetSampleRate, 0, 0, nullptr, announced);
        instance.process({&silence, &silence}, {&silence, &silence}, 0);
        EXPECT_EQ(inspectConnection(0)->sender->rate, heard) << announced;
    }
    for (const auto& [announced, heard] : {std::pair(0x7FFFFFFF, 1u << 20), {-1, 0u}}) {
        instance.call(effSetBlockSize, 0, announced);
        instance.process({&silence, &silence}, {&silence, &silence}, 0);
        EXPECT_EQ(inspectConnection(0)->sender->announcedBlock, heard) << announced;
    }
}

// Faults: a size that is believed, or a program of another effect.
TEST(VSTPlugin, ReadsADefaultProgram) {
    const test::ScratchFolder folder;
    const std::string words(9 * 4, '\1');
    const std::string head = "Ccnk....FPCh....QrlM" + words;
    const auto read = [&](const std::string& bytes) {
        folder.write("default.fxp", bytes);
        return readDefaultProgram(File(folder.path() + "/default.fxp"));
    };
    const std::string whole = head + std::string("\0\0\1\2", 4) + std::string(258, 'x');
    EXPECT_EQ(read(whole + "more"), std::string(258, 'x'));
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_EQ(read(whole.substr(0, size)), std::nullopt) << size;
    for (const std::size_t at : {3, 8, 16}) {
        std::string other = whole;
        other[at] = 'K';
        EXPECT_EQ(read(other), std::nullopt) << at;
    }
}

// Faults: a switch that hosts draw as a knob, steps of one parameter at another, a description that
// leaves something of the host's memory.
TEST(VSTPlugin, DescribesItsParameters) {
    const test::ScratchFolder folder("tarn parameters ");
    writeProduct(
        folder,
        R"(<Long class="ParameterValue" type="integer" name="A number of many words" minval="-5"
            maxval="95" automatable="true" scope="plugin"><display/></Long>
        <Steps class="ParameterValue" type="float" name="Steps" minval="0" maxval="2" automatable="true"
            scope="plugin"><steps value="5"/><display/></Steps>
        <Free class="ParameterValue" type="float" name="Free" minval="0" maxval="2" automatable="true"
            scope="plugin"><display/></Free>
        <MuteOutput class="ParameterValue" type="bool" name="Mute" automatable="true" scope="plugin">
            <display/></MuteOutput>)");
    Instance instance(folder.path());
    ASSERT_EQ(instance.record->numParams, 4);
    std::string description;
    for (VstInt32 index = 0; index < 5; ++index) {
        VstParameterProperties its;
        std::memset(&its, 'x', sizeof its);
        description += std::to_string(instance.call(effGetParameterProperties, index, 0, &its)) +
                       " " + its.label + " " + its.shortLabel;
        for (const auto number : {its.flags, its.minInteger, its.maxInteger, its.stepInteger,
                                  its.largeStepInteger, static_cast<VstInt32>(8 * its.stepFloat)})
            description += " " + std::to_string(number);
        description += "\n";
    }
    EXPECT_EQ(description,
              "1 A number of many words A numbe 10 -5 95 1 10 0\n"
              "1 Steps Steps 4 0 0 0 0 2\n"
              "1 Free Free 0 0 0 0 0 0\n"
              "1 Mute Mute 1 0 0 0 0 0\n"
              "0   0 0 0 0 0 0\n");
}

// Faults: a parameter of one module that is taken for another one's.
TEST(VSTPlugin, CountsParametersThroughItsModules) {
    struct TwoModules : BrimtidePluginInfo {
        int getModuleCount() const override { return 2; }
    };
    const test::ScratchFolder folder("tarn modules ");
    writeProduct(folder, R"(<One class="ParameterValue" type="float" name="One" automatable="true"
            scope="module"><display/></One>
        <Mute class="ParameterValue" type="bool" name="Mute" automatable="true" scope="module">
            <display/></Mute>)");
    const auto product = test::Product::of<TwoModules>(folder.path());
    Mission::get().start();
    VSTPlugin effect(0, host, stereo());
    AEffect* const record = effect.getAeffect();
    std::string names;
    for (VstInt32 index = -1; index < 5; ++index) {
        char name[kVstMaxParamStrLen];
        record->dispatcher(record, effGetParamName, index, 0, name, 0.0f);
        names += std::string(name) + ",";
    }
    EXPECT_EQ(std::to_string(record->numParams) + names, "4,A One,A Mute,B One,B Mute,,");
    const auto& plugin = dynamic_cast<const Plugin&>(*effect.getPlugin());
    for (const int module : {0, 1})
        EXPECT_EQ(effect.indexOf(plugin.moduleAt(module)->settings().getAutomatable()[Mute]),
                  2 * module + Mute);
    EXPECT_EQ(effect.indexOf(nullptr), -1);
}

// Faults: a pin that is known by another number than hosts count, or has no end of the list.
TEST(VSTPlugin, DescribesItsPins) {
    Instance instance;
    const auto pin = [&](VstInt32 opcode, VstInt32 index) {
        VstPinProperties its;
        std::memset(&its, 0, sizeof its);
        const VstIntPtr isThere = instance.call(opcode, index, 0, &its);
        return std::to_string(isThere) + " " + its.label + " " + std::to_string(its.flags) + " " +
               std::to_string(its.arrangementType);
    };
    EXPECT_EQ(pin(effGetInputProperties, 0), "1 Brimtide 0 3 1");
    EXPECT_EQ(pin(effGetInputProperties, 1), "0  0 0");
    for (const VstInt32 channel : {0, 1})
        EXPECT_EQ(pin(effGetOutputProperties, channel), "1 Brimtide ST1 3 1");
    for (const VstInt32 none : {-1, 2})
        EXPECT_EQ(pin(effGetOutputProperties, none), "0  0 -1");
    ASSERT_TRUE(instance.setChannels(1, 1));
    EXPECT_EQ(pin(effGetOutputProperties, 0), "1 Brimtide M1 1 0");
}

// Faults: a name that a host can't set, a state that doesn't come back or, when it is damaged,
// comes back by halves, a pointer or size of the host's that is believed.
TEST(VSTPlugin, KeepsItsStateInChunks) {
    Instance instance;
    const auto chunk = [&] {
        const char* data = nullptr;
        const VstIntPtr size = instance.call(effGetChunk, 0, 0, &data);
        EXPECT_EQ(std::strlen(data) + 1, static_cast<std::size_t>(size));
        return std::string(data);
    };
    const auto restore = [&](std::string text) {
        EXPECT_EQ(instance.call(effSetChunk, 0, static_cast<VstIntPtr>(text.size()), text.data()),
                  0);
    };
    char name[] = "Lead vocal", none[] = "";
    EXPECT_EQ(instance.call(effString2Parameter, Name, 0, none), 1);
    EXPECT_EQ(inspectConnection(0)->name, "Connection #1");
    EXPECT_EQ(instance.call(effString2Parameter, -1), 1);
    EXPECT_EQ(instance.call(effString2Parameter, 2, 0, name), 0);
    EXPECT_EQ(instance.call(effString2Parameter, Name, 0, name), 1);
    char on[] = "On";
    EXPECT_EQ(instance.call(effString2Parameter, Mute, 0, on), 1);
    EXPECT_EQ(inspectConnection(0)->name, name);
    const std::string state = chunk();
    instance.record->setParameter(instance.record, Mute, 0.0f);
    const std::string present = chunk();
    for (std::size_t size = 0; size < state.size() - 8; size += 13)
        restore(state.substr(0, size));
    instance.call(effSetChunk, 0, 100, nullptr);
    instance.call(effSetChunk, 0, -1, name);
    EXPECT_FALSE(instance.product->messages.empty());
    EXPECT_EQ(chunk(), present);
    restore(state);
    EXPECT_EQ(chunk(), state);
    EXPECT_EQ(instance.record->getParameter(instance.record, Mute), 1.0f);

    // As a host of the other width stored it.
    restore(
        "<dict><info creator=\"Brimtide\" version=\"1.2.0\" /><file-format value=\"1.2.0\" />"
        "<parameters><BrimtideID><value value=\"Bass\" /></BrimtideID>"
        "<MuteOutput value=\"false\" /></parameters></dict>\n");
    EXPECT_EQ(inspectConnection(0)->name, "Bass");
    EXPECT_EQ(instance.record->getParameter(instance.record, Mute), 0.0f);
}

// What a host may expect of an instance, while it calls at random.
class RandomHost : Instance {
public:
    void changeSomething() {
        if (below(8) == 0)
            call(effMainsChanged, 0, isRunning_ = below(4) != 0);
        if (below(8) == 0) {
            isMuted_ = below(2) == 0;
            record->setParameter(record, Mute, NotANumber);
            record->setParameter(record, Mute, isMuted_ ? 0.5f : 0.49f);
            ASSERT_EQ(record->getParameter(record, Mute), isMuted_ ? 1.0f : 0.0f);
        }
        if (below(8) == 0)
            changeChannels();
    }

    // The buffers lie anywhere in one piece of memory, but for outputs over each other. In a block
    // that is longer than announced no output begins inside an input.
    void playBlock() {
        const int frames = below(20) == 0 ? below(30'000) : below(600) - 1;
        const bool isAnnounced = below(2) == 0;
        if (isAnnounced)
            call(effSetBlockSize, 0, frames);
        Channel memory = test::ramp(static_cast<std::uint32_t>(4 * (frames + 64) + 128));
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

        const long allocations = test::allocationsOfThisThread();
        process(from, to, frames);
        ASSERT_EQ(test::allocationsOfThisThread(), allocations);
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
        const int counts[] = {1, 1, 2, 2, -1, 0, 3, 1'000'000};
        const int inputs = counts[below(8)], outputs = counts[below(8)];
        const bool isOffered = inputs >= 1 && inputs <= outputs && outputs <= 2;
        ASSERT_EQ(setChannels(inputs, outputs), isOffered) << inputs << ", " << outputs;
        if (isOffered) {
            ASSERT_EQ(record->numInputs, inputs_ = inputs);
            ASSERT_EQ(record->numOutputs, outputs_ = outputs);
        }
    }

    std::mt19937 random_{1};
    const test::RawBlock block_{0};
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
    instance.resume();
    const Channel left = test::ramp(64), right = test::ramp(64, 100);
    const auto processWith = [&](const std::function<void()>& action) {
        Channel a = left, b = right;
        duringBlock = action;
        instance.process({a.data(), b.data()}, {b.data(), a.data()}, 64);
        duringBlock = nullptr;
        EXPECT_EQ(a, right);
        EXPECT_EQ(b, left);
    };
    const auto expectRefusals = [&] {
        EXPECT_FALSE(instance.setChannels(1, 1));
        instance.call(effSetBlockSize, 0, 100'000);
        EXPECT_EQ(instance.play(left), Channel(64, 7.0f));
    };
    platform::setHighResolutionClock([]() noexcept {
        static std::atomic<int> looks;
        return 1.0 * ++looks;
    });
    processWith([&] { std::async(std::launch::async, expectRefusals).get(); });
    platform::setHighResolutionClock([]() noexcept { return 0.0; });
    processWith(expectRefusals);
}

}  // namespace
}  // namespace tarn
