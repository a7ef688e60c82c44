#include "host/GuardedBuffers.h"
#include "platform/DynamicLibrary.h"
#include "support/HostedEffect.h"
#include "support/OpenHandles.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <future>
#include <map>
#include <random>

// The library as hosts of every temper use it, through its exported entry alone.
namespace tarn {
namespace {

using namespace test;

template <VstIntPtr Version>
VstIntPtr VSTCALLBACK host(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void*,
                           float) {
    const bool isAsked = opcode == audioMasterVersion && effect == nullptr;
    return isAsked && index == 0 && value == 0 ? Version : 0;
}

VstPluginEntry entryNamed(const char* name) {
    static platform::DynamicLibrary library(PROGRAM_Brimtide);
    return library.function<std::remove_pointer_t<VstPluginEntry>>(name);
}

struct Instance : HostedEffect {
    explicit Instance(audioMasterCallback callback = host<kVstVersion>,
                      const char* entry = "VSTPluginMain")
        : HostedEffect(entryNamed(entry)(callback)) {
        call(effOpen);
    }
    ~Instance() { EXPECT_EQ(call(effClose), 1); }
};

// Faults: an entry that old hosts miss, an instance for what is no host, or that plays unasked.
TEST(StrictHost, FindsBothEntries) {
    for (const char* name : {"VSTPluginMain", "main"}) {
        for (const audioMasterCallback known : {host<kVstVersion>, host<2300>})
            EXPECT_FALSE(Instance(known, name).passesAudio());
        for (const audioMasterCallback none : {host<0>, audioMasterCallback{}})
            EXPECT_EQ(entryNamed(name)(none), nullptr);
    }
}

#if defined(__i386__)
// How far the stack was from a 16-byte boundary when the host was last asked.
std::uintptr_t distance;

VstIntPtr VSTCALLBACK measuringHost(AEffect*, VstInt32, VstInt32, VstIntPtr, void*, float) {
    distance = reinterpret_cast<std::uintptr_t>(__builtin_dwarf_cfa()) % 16;
    return 1;
}

// Fault: SSE instructions that fault in a 32-bit host, whose stack is aligned to 4 bytes only.
TEST(StrictHost, FindsTheStackRealigned) {
    const Instance instance(measuringHost);
    instance.run();
    std::vector<float> block(515);
    float* buffers[] = {block.data(), block.data()};
    for (int shift = 0; shift < 16; shift += 4) {
        distance = 1;
        // The call spoils eax, ecx and edx.
        AEffectProcessProc eax = instance.record->processReplacing;
        AEffect* ecx = instance.record;
        int edx = shift;
        asm volatile(
            "movl %%esp, %%esi\n\t"
            "andl $-16, %%esp\n\t"
            "subl %%edx, %%esp\n\t"
            "pushl $515\n\t"
            "pushl %%ebx\n\t"
            "pushl %%ebx\n\t"
            "pushl %%ecx\n\t"
            "call *%%eax\n\t"
            "movl %%esi, %%esp"
            : "+a"(eax), "+c"(ecx), "+d"(edx)
            : "b"(buffers)
            : "esi", "memory", "cc");
        EXPECT_EQ(distance, 0u) << shift;
    }
}
#endif

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
    EXPECT_TRUE(instance.passesAudio());
}

// Faults: an instance that gets in another one's way, a file, a timer or a view that each leaves
// open, until the host can open no more. The block of a slot that an instance found taken stays
// open, one a slot.
TEST(StrictHost, InstancesComeAndGo) {
    const auto comeAndGo = [](int times, int atOnce = 1) {
        for (int i = 0; i < times; ++i) {
            const std::vector<Instance> instances(static_cast<std::size_t>(atOnce));
            for (const Instance& instance : instances)
                instance.run();
            for (const Instance& instance : instances)
                EXPECT_TRUE(instance.passesAudio());
        }
    };
    comeAndGo(1, 40);
    const Instance first;
    comeAndGo(2);
    const int before = openHandles();
    comeAndGo(INSTANCES);
    EXPECT_LE(openHandles(), before);
    auto other = std::async(std::launch::async, comeAndGo, 50, 1);
    comeAndGo(50);
    other.get();
}

// Faults: a control call that touches what a block uses, an audio thread that waits.
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
        const float value = static_cast<float>(8 + i % 1000);
        const auto frames = static_cast<std::size_t>(1 + i * 37 % 3000);
        const Channel out = instance.play(Channel(frames, value));
        // Whole or, during a change, not at all; silence while muted.
        EXPECT_TRUE(out[0] == value || out[0] == 7.0f || out[0] == 0.0f);
        EXPECT_EQ(out, Channel(frames, out[0])) << "a block is in pieces";
        VstEvents none{};
        instance.call(effProcessEvents, 0, 0, &none);
    });
    auto automation = untilTheEnd([&](int i) {
        instance.set(1, static_cast<float>(i % 2));
        instance.get(1);
    });
    const std::function<void(int)> calls[] = {
        [&](int i) { instance.setChannels(1 + i % 2, 2); },
        [&](int i) {
            instance.call(effSetSampleRate, 0, 0, nullptr, i % 2 == 0 ? 44100.0f : 88200.0f);
        },
        [&](int i) { instance.call(effSetBlockSize, 0, 1 << i % 16); },
        [&](int) { instance.restore(state); },
        [&](int i) { instance.call(effSetProgram, 0, i % 3); },
        [&](int i) { instance.run(i % 4 != 0); },
        [&](int) { instance.chunk(); },
    };
    std::mt19937 random(1);
    for (int i = 0; i < 400; ++i)
        calls[random() % std::size(calls)](i);
    isOver = true;
    audio.get();
    automation.get();
    instance.restore(state);
    instance.setChannels(2, 2);
    instance.run();
    EXPECT_TRUE(instance.passesAudio());
}

}  // namespace
}  // namespace tarn
