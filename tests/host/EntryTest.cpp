#include "link/ConnectionInfo.h"
#include "link/IOBridge.h"
#include "platform/DynamicLibrary.h"
#include "vst/VstInterface.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarn {
namespace {

VstIntPtr hostVersion = kVstVersion;

VstIntPtr VSTCALLBACK host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    return opcode == audioMasterVersion ? hostVersion : 0;
}

class Entry : public testing::Test {
protected:
    Entry() {
        EXPECT_EQ(library_.error(), "");
        hostVersion = kVstVersion;
    }

    VstPluginEntry entryNamed(const char* name) const {
        return library_.function<std::remove_pointer_t<VstPluginEntry>>(name);
    }
    static void close(AEffect* effect) {
        EXPECT_EQ(effect->dispatcher(effect, effClose, 0, 0, nullptr, 0.0f), 1);
    }

    platform::DynamicLibrary library_{PROGRAM_Brimtide};
    VstPluginEntry entry_ = entryNamed("VSTPluginMain");
};

// Faults: an entry that old hosts miss, an instance for what is no host.
TEST_F(Entry, BothNamesMakeAnInstanceForAHostWithAVersion) {
    for (const VstPluginEntry entry : {entry_, entryNamed("main")}) {
        ASSERT_NE(entry, nullptr);
        for (const VstIntPtr version : {kVstVersion, 2300}) {
            hostVersion = version;
            AEffect* effect = entry(host);
            ASSERT_NE(effect, nullptr);
            close(effect);
        }
        hostVersion = 0;
        EXPECT_EQ(entry(host), nullptr);
        EXPECT_EQ(entry(nullptr), nullptr);
    }
}

// The faults it would catch: a slot that isn't given back, or an instance that fails without one.
TEST_F(Entry, A100InstancesLiveTogetherAnd32OfThemAreConnected) {
    std::vector<float> block(512, 0.5f), out(512);
    float* inputs[] = {block.data(), block.data()};
    float* outputs[] = {out.data(), out.data()};
    std::vector<AEffect*> effects(100);
    for (AEffect*& effect : effects) {
        effect = entry_(host);
        ASSERT_NE(effect, nullptr);
        effect->dispatcher(effect, effMainsChanged, 0, 1, nullptr, 0.0f);
        effect->processReplacing(effect, inputs, outputs, 512);
    }
    for (std::uint32_t slot = 0; slot < ConnectionSlots; ++slot) {
        const auto info = inspectConnection(slot);
        ASSERT_TRUE(info);
        EXPECT_FALSE(info->sender->isEnded);
        EXPECT_EQ(info->sender->published, 512u);
        EXPECT_EQ(info->name, "Connection #" + std::to_string(slot + 1));
    }
    for (AEffect* effect : effects)
        close(effect);
    for (std::uint32_t slot = 0; slot < ConnectionSlots; ++slot)
        EXPECT_EQ(connectionStatus(slot) & ConnectionInUse, 0u);
}

#if defined(__i386__)
// Calls the audio function with the stack at each distance from a 16-byte boundary that a 32-bit
// host may have.
TEST_F(Entry, TheStackIsRealigned) {
    static AEffect* effect;  // static, so that the assembler code reaches it without the stack
    static AEffectProcessProc function;
    static float* inputs[2];
    static float* outputs[2];
    effect = entry_(host);
    ASSERT_NE(effect, nullptr);
    effect->dispatcher(effect, effMainsChanged, 0, 1, nullptr, 0.0f);
    function = effect->processReplacing;
    std::vector<float> block(515, -0.5f), out(515);
    inputs[0] = inputs[1] = block.data();
    outputs[0] = outputs[1] = out.data();
    for (int shift = 0; shift < 16; shift += 4) {
        out.assign(out.size(), 0.0f);
        asm volatile(
            "movl %%esp, %%esi\n\t"
            "andl $-16, %%esp\n\t"
            "subl %[shift], %%esp\n\t"
            "pushl $515\n\t"
            "pushl %[outputs]\n\t"
            "pushl %[inputs]\n\t"
            "pushl %[effect]\n\t"
            "call *%[function]\n\t"
            "movl %%esi, %%esp"
            :
            : [shift] "b"(shift), [outputs] "i"(outputs), [inputs] "i"(inputs),
              [effect] "m"(effect), [function] "m"(function)
            : "esi", "eax", "ecx", "edx", "memory", "cc");
        EXPECT_EQ(out, block) << shift;
    }
    close(effect);
}
#endif

}  // namespace
}  // namespace tarn
