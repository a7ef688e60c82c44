#include "host/GuardedBuffers.h"
#include "platform/DynamicLibrary.h"
#include "support/OpenHandles.h"
#include "vst/VstInterface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <future>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

// The library as hosts of every temper use it, through its exported entry alone.
namespace tarn {
namespace {

using Channel = std::vector<float>;

constexpr float NotANumber = std::numeric_limits<float>::quiet_NaN();
constexpr VstInt32 Largest = std::numeric_limits<VstInt32>::max();
constexpr VstInt32 Smallest = std::numeric_limits<VstInt32>::min();
constexpr VstInt32 Mute = 1;

template <VstIntPtr Version>
VstIntPtr VSTCALLBACK host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    return opcode == audioMasterVersion ? Version : 0;
}

class Instance {
public:
    explicit Instance(audioMasterCallback callback = host<kVstVersion>)
        : record(library().function<std::remove_pointer_t<VstPluginEntry>>("VSTPluginMain")(
              callback)) {
        call(effOpen);
    }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance() { EXPECT_EQ(call(effClose), 1); }

    VstIntPtr call(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr,
                   float opt = 0.0f) const {
        return record->dispatcher(record, opcode, index, value, ptr, opt);
    }
    void run(bool isRunning = true) const { call(effMainsChanged, 0, isRunning); }
    void process(float* left, float* right, float* out0, float* out1, int frames) const {
        float *inputs[] = {left, right}, *outputs[] = {out0, out1};
        record->processReplacing(record, inputs, outputs, frames);
    }
    bool setChannels(int inputs, int outputs) const {
        VstSpeakerArrangement in{}, out{};
        in.numChannels = inputs;
        out.numChannels = outputs;
        return call(effSetSpeakerArrangement, 0, reinterpret_cast<VstIntPtr>(&in), &out) == 1;
    }
    std::string chunk() const {
        const char* data = nullptr;
        const VstIntPtr size = call(effGetChunk, 0, 0, &data);
        return {data, static_cast<std::size_t>(size)};
    }
    void restore(std::string chunk) const {
        call(effSetChunk, 0, static_cast<VstIntPtr>(chunk.size()), chunk.data());
    }
    /// Whether a block goes through as it is.
    bool isWire(int frames = 64) const {
        Channel in = wave(frames), left(in.size()), right(in.size());
        process(in.data(), in.data(), left.data(), right.data(), frames);
        return left == in && right == in;
    }
    static Channel wave(int frames) {
        Channel samples(static_cast<std::size_t>(frames));
        std::generate(samples.begin(), samples.end(), [n = 1.0f]() mutable { return n++; });
        return samples;
    }

    AEffect* const record;

private:
    static platform::DynamicLibrary& library() {
        static platform::DynamicLibrary one(PROGRAM_Brimtide);
        return one;
    }
};

// Faults: a text or a record that is longer than the interface allows, a null pointer or a number
// out of range that is believed, a record that the host finds changed.
TEST(StrictHost, EveryOpcodeTakesEveryArgument) {
    const std::map<VstInt32, std::size_t> limits = {
        {effGetProgramName, kVstMaxProgNameLen},
        {effGetProgramNameIndexed, kVstMaxProgNameLen},
        {effGetParamLabel, kVstMaxParamStrLen},
        {effGetParamDisplay, kVstMaxParamStrLen},
        {effGetParamName, kVstMaxParamStrLen},
        {effGetEffectName, kVstMaxEffectNameLen},
        {effGetVendorString, kVstMaxVendorStrLen},
        {effGetProductString, kVstMaxProductStrLen},
        {effGetInputProperties, sizeof(VstPinProperties)},
        {effGetOutputProperties, sizeof(VstPinProperties)},
        {effGetParameterProperties, sizeof(VstParameterProperties)},
    };
    constexpr std::size_t Room = 4096;
    const Instance instance;
    // Texts of the user's that fit nowhere, and have a character where they are cut.
    std::string name = "äöüäöüäöüäöüäöüäöüäöüäöüäöüäöü";
    instance.call(effString2Parameter, 0, 0, name.data());
    instance.call(effSetProgramName, 0, 0, name.data());
    for (const bool isRunning : {false, true, false}) {
        instance.run(isRunning);
        AEffect before;
        std::memcpy(&before, instance.record, sizeof before);
        for (VstInt32 opcode = -2; opcode < 100; ++opcode) {
            if (opcode == effClose || opcode == effMainsChanged)
                continue;
            const bool hasPointerValue =
                opcode == effSetSpeakerArrangement || opcode == effGetSpeakerArrangement;
            for (const VstInt32 index : {0, 1, 2, 1000, -1, Largest, Smallest})
                for (const VstInt32 value : {0, 1, -1, Largest, Smallest}) {
                    SCOPED_TRACE(opcode);
                    const auto limit = limits.find(opcode);
                    host::GuardedBytes bytes(limit != limits.end() ? limit->second : Room);
                    host::GuardedBytes more(Room);
                    instance.call(opcode, index, hasPointerValue ? 0 : value, nullptr, NotANumber);
                    VstIntPtr second = value;
                    if (hasPointerValue)
                        second = reinterpret_cast<VstIntPtr>(more.data());
                    else if (opcode == effSetChunk)
                        second = std::min(value, 0);  // others show a box, which waits for a user
                    instance.call(opcode, index, second, bytes.data());
                    ASSERT_TRUE(bytes.isIntact() && more.isIntact());
                    if (limit != limits.end() && limit->second <= kVstMaxProductStrLen) {
                        ASSERT_NE(std::memchr(bytes.data(), 0, limit->second), nullptr);
                        const std::string text = bytes.data();
                        ASSERT_TRUE(text.empty() || text.back() != '\xC3') << "half a character";
                    }
                }
        }
        EXPECT_EQ(std::memcmp(&before, instance.record, sizeof before), 0);
    }
    instance.run();
    EXPECT_TRUE(instance.isWire());
}

// Faults: a frame that is written outside of a block or changed in it, whatever the rate and size
// and however they change while the instance runs.
TEST(StrictHost, RatesAndSizesChangeWhileItRuns) {
    constexpr int Sizes[] = {1,   10,   17,   32,   64,   100,  128,   256,   441,
                             512, 1024, 1536, 2027, 4096, 8192, 16384, 32768, 65536};
    constexpr int Longest = 65536;
    const Instance instance;
    instance.run();
    const host::Channels input{Instance::wave(Longest), Instance::wave(Longest)};
    std::vector<host::GuardedBuffers> buffers;
    for (const bool isInPlace : {false, true})
        buffers.emplace_back(2, 2, Longest, isInPlace);
    host::Findings findings;
    for (const float rate : {44100.0f, 1234.5678f, 8000.0f, 96000.0f, 768000.0f, NotANumber}) {
        instance.call(effSetSampleRate, 0, 0, nullptr, rate);
        for (const int announced : {512, 1, 0, Largest})
            for (const int size : Sizes) {
                instance.call(effSetBlockSize, 0, announced);
                const auto frames = static_cast<std::size_t>(size);
                for (host::GuardedBuffers& block : buffers) {
                    block.load(input, frames);
                    instance.record->processReplacing(instance.record, block.inputs(),
                                                      block.outputs(), size);
                    block.check(input, frames, std::to_string(size), findings);
                    for (const std::size_t channel : {0, 1})
                        ASSERT_TRUE(std::ranges::equal(block.output(channel, frames),
                                                       std::span(input[channel]).first(frames)));
                }
            }
    }
    EXPECT_TRUE(findings.empty());
}

// Faults: what hosts have been seen to do brings the instance down, or is obeyed.
TEST(StrictHost, Misuses) {
    const std::pair<const char*, void (*)(const Instance&)> misuses[] = {
        {"a block before the start",
         [](const Instance& instance) {
             instance.run(false);
             EXPECT_FALSE(instance.isWire());
         }},
        {"started twice, stopped twice", [](const Instance& instance) { instance.run(); }},
        {"a bypass that was refused",
         [](const Instance& instance) { EXPECT_EQ(instance.call(effSetBypass, 0, 1), 0); }},
        {"no output",
         [](const Instance& instance) {
             Channel in(64);
             instance.process(in.data(), in.data(), in.data(), nullptr, 64);
             instance.process(nullptr, in.data(), in.data(), in.data(), 64);
         }},
        {"a chunk of nothing",
         [](const Instance& instance) {
             const std::string state = instance.chunk();
             instance.restore("");
             instance.call(effSetChunk, 0, 1000, nullptr);
             EXPECT_EQ(instance.chunk(), state);
         }},
        {"the size of an older chunk",
         [](const Instance& instance) {
             std::string state = instance.chunk();
             const auto bytes = std::make_unique<char[]>(state.size());
             std::memcpy(bytes.get(), state.data(), state.size());
             instance.record->setParameter(instance.record, Mute, 1.0f);
             instance.call(effSetChunk, 0, Largest, bytes.get());
             EXPECT_EQ(instance.chunk(), state);
         }},
        {"events that nobody has",
         [](const Instance& instance) {
             struct {
                 VstEvents events;
                 VstEvent* more[2];
             } list{};
             VstMidiEvent midi{kVstMidiType,         32,   Largest, 0, -1, -1,
                               {'\x90', 60, 127, 0}, -128, 255,     0, 0};
             VstEvent other{kVstSysExType, -1, Smallest, 0, {}};
             list.events.events[1] = reinterpret_cast<VstEvent*>(&midi);
             list.more[0] = &other;
             for (const VstInt32 count : {4, 0, -1, Smallest, Largest}) {
                 list.events.numEvents = count;
                 EXPECT_EQ(instance.call(effProcessEvents, 0, 0, &list), 1);
             }
         }},
        {"channels that the product doesn't have",
         [](const Instance& instance) {
             EXPECT_FALSE(instance.setChannels(6, 6) || instance.setChannels(-1, Largest));
         }},
        {"a block a thousand times as long as announced",
         [](const Instance& instance) {
             instance.call(effSetBlockSize, 0, 128);
             EXPECT_TRUE(instance.isWire(128'000));
         }},
        {"opened again", [](const Instance& instance) { instance.call(effOpen); }},
        {"stopped and started by the audio thread",
         [](const Instance& instance) {
             std::async(std::launch::async, [&] {
                 instance.run(false);
                 instance.run();
             }).get();
         }},
    };
    for (const auto& [name, misuse] : misuses) {
        SCOPED_TRACE(name);
        const Instance instance;
        instance.run();
        misuse(instance);
        instance.run();
        EXPECT_TRUE(instance.isWire());
        // Closed without a stop.
    }
    EXPECT_TRUE(Instance(host<2>).isWire() == false && Instance(host<2300>).record != nullptr);
}

// Faults: an instance that gets in another one's way, a file, a timer or a view that each leaves
// open, until the host can open no more. The block of a slot that an instance found taken stays
// open, one a slot.
TEST(StrictHost, InstancesComeAndGo) {
    const auto comeAndGo = [](int times) {
        for (int i = 0; i < times; ++i) {
            const Instance instance;
            instance.run();
            EXPECT_TRUE(instance.isWire());
        }
    };
    {
        std::vector<std::unique_ptr<Instance>> many;
        for (int i = 0; i < 40; ++i)
            many.emplace_back(std::make_unique<Instance>())->run();
        for (const auto& instance : many)
            EXPECT_TRUE(instance->isWire());
    }
    const Instance first;
    comeAndGo(2);
    const int before = test::openHandles();
    comeAndGo(INSTANCES);
    EXPECT_LE(test::openHandles(), before);
    auto other = std::async(std::launch::async, comeAndGo, 50);
    comeAndGo(50);
    other.get();
}

// Faults: a control call that touches what a block uses, an audio thread that waits, a value of the
// host's that comes back as one of the user's.
TEST(StrictHost, ControlCallsWhileAudioRuns) {
    const Instance instance;
    instance.run();
    const std::string state = instance.chunk();
    std::atomic<bool> isOver{false};
    const auto untilTheEnd = [&](const auto& work) {
        return std::async(std::launch::async, [&isOver, work] {
            for (int i = 0; !isOver; ++i)
                work(i);
        });
    };
    auto audio = untilTheEnd([&](int i) {
        Channel in = Instance::wave(1 + i * 37 % 3000), left(in.size(), -1.0f), right = left;
        instance.process(in.data(), in.data(), left.data(), right.data(),
                         static_cast<int>(in.size()));
        // Whole or, during a change, not at all; silence while muted.
        const bool isWhole = left == in || left == Channel(in.size()) || left.back() == -1.0f;
        if (!isWhole)
            ADD_FAILURE() << "a block is in pieces";
        VstEvents none{};
        instance.call(effProcessEvents, 0, 0, &none);
    });
    auto automation = untilTheEnd([&](int i) {
        instance.record->setParameter(instance.record, Mute, static_cast<float>(i % 2));
        instance.record->getParameter(instance.record, Mute);
    });
    std::mt19937 random(1);
    for (int i = 0; i < 400; ++i) {
        const int choice = static_cast<int>(random() % 7);
        if (choice == 0)
            instance.setChannels(1 + i % 2, 2);
        else if (choice == 1)
            instance.call(effSetSampleRate, 0, 0, nullptr, i % 2 != 0 ? 44100.0f : 96000.0f);
        else if (choice == 2)
            instance.call(effSetBlockSize, 0, 1 << i % 16);
        else if (choice == 3)
            instance.restore(state);
        else if (choice == 4)
            instance.call(effSetProgram, 0, i % 3);
        else if (choice == 5)
            instance.run(i % 4 != 0);
        else
            instance.chunk();
    }
    isOver = true;
    audio.get();
    automation.get();
    instance.restore(state);
    instance.setChannels(2, 2);
    instance.run();
    EXPECT_TRUE(instance.isWire());
}

}  // namespace
}  // namespace tarn
