#include "platform/DynamicLibrary.h"
#include "vst/VstInterface.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace tarn {
namespace {

template <VstIntPtr Version>
VstIntPtr VSTCALLBACK host(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void*,
                           float) {
    const bool isAsked = opcode == audioMasterVersion && effect == nullptr;
    return isAsked && index == 0 && value == 0 ? Version : 0;
}

class Entry : public testing::Test {
protected:
    VstPluginEntry entryNamed(const char* name) const {
        return library_.function<std::remove_pointer_t<VstPluginEntry>>(name);
    }
    static void close(AEffect* effect) {
        EXPECT_EQ(effect->dispatcher(effect, effClose, 0, 0, nullptr, 0.0f), 1);
    }

    platform::DynamicLibrary library_{PROGRAM_Brimtide};
};

// Faults: an entry that old hosts miss, an instance for what is no host.
TEST_F(Entry, BothNamesMakeAnInstanceForAHostWithAVersion) {
    for (const char* name : {"VSTPluginMain", "main"}) {
        const VstPluginEntry entry = entryNamed(name);
        ASSERT_NE(entry, nullptr) << library_.error();
        close(entry(host<kVstVersion>));
        close(entry(host<2300>));
        EXPECT_EQ(entry(host<0>), nullptr);
        EXPECT_EQ(entry(nullptr), nullptr);
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
TEST_F(Entry, TheStackIsRealigned) {
    AEffect* const effect = entryNamed("VSTPluginMain")(measuringHost);
    effect->dispatcher(effect, effMainsChanged, 0, 1, nullptr, 0.0f);
    std::vector<float> block(515);
    float* buffers[] = {block.data(), block.data()};
    for (int shift = 0; shift < 16; shift += 4) {
        distance = 1;
        // The call spoils eax, ecx and edx.
        AEffectProcessProc eax = effect->processReplacing;
        AEffect* ecx = effect;
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
    close(effect);
}
#endif

}  // namespace
}  // namespace tarn
