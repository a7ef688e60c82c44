// An hour of audio through the library, as a host has it: stereo, 48,000 Hz, blocks of 256 frames.
// Beside it a host's own copy of the same blocks, and the heap after the first minute and the last.
//   bench-hour LIBRARY
#include "HeapBytes.h"
#include "platform/Clock.h"
#include "platform/CommandLine.h"
#include "platform/DynamicLibrary.h"
#include "vst/VstInterface.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace tarn;

constexpr int Frames = 256;
constexpr int Rate = 48000;
constexpr int BlocksPerMinute = 60 * Rate / Frames;
constexpr int Minutes = 60;

VstIntPtr VSTCALLBACK host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    return opcode == audioMasterVersion ? kVstVersion : 0;
}

class Buffers {
public:
    // As a host's track has them: each block comes from elsewhere.
    Buffers() : track_(BlocksPerTrack * Frames), channels_(4 * Frames) {
        for (std::size_t i = 0; i < track_.size(); ++i)
            track_[i] = static_cast<float>(i % 997) / 997.0f;
    }
    void fill(int block) {
        const float* const source = track_.data() + block % BlocksPerTrack * Frames;
        for (float* input : inputs)
            std::memcpy(input, source, Frames * sizeof(float));
    }
    float* channel(int index) { return channels_.data() + index * Frames; }

private:
    static constexpr int BlocksPerTrack = 1024;
    std::vector<float> track_, channels_;

public:
    float* inputs[2] = {channel(0), channel(1)};
    float* outputs[2] = {channel(2), channel(3)};
};

template <typename Process>
double secondsOf(int firstMinute, int endMinute, Buffers& buffers, const Process& process) {
    const double begin = platform::highResolutionSeconds();
    for (int block = firstMinute * BlocksPerMinute; block < endMinute * BlocksPerMinute; ++block) {
        buffers.fill(block);
        process();
    }
    return platform::highResolutionSeconds() - begin;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments = platform::commandLineArguments(argc, argv);
    if (arguments.size() != 1) {
        std::puts("bench-hour LIBRARY: times an hour of audio through a plug-in");
        return 2;
    }
    platform::DynamicLibrary library(arguments.front());
    const auto entry = library.function<std::remove_pointer_t<VstPluginEntry>>("VSTPluginMain");
    AEffect* const effect = entry != nullptr ? entry(host) : nullptr;
    if (effect == nullptr) {
        std::printf("no plug-in: %s\n", library.error().c_str());
        return 1;
    }
    const auto call = [&](VstInt32 opcode, VstIntPtr value, float opt) {
        effect->dispatcher(effect, opcode, 0, value, nullptr, opt);
    };
    call(effOpen, 0, 0.0f);
    call(effSetSampleRate, 0, static_cast<float>(Rate));
    call(effSetBlockSize, Frames, 0.0f);
    call(effMainsChanged, 1, 0.0f);

    Buffers buffers;
    const auto plugin = [&] {
        effect->processReplacing(effect, buffers.inputs, buffers.outputs, Frames);
    };
    const auto copy = [&] {
        for (int i = 0; i < 2; ++i)
            std::memcpy(buffers.outputs[i], buffers.inputs[i], Frames * sizeof(float));
        asm volatile("" ::: "memory");
    };
    const auto silence = [] { asm volatile("" ::: "memory"); };
    double through = secondsOf(0, 1, buffers, plugin);
    const std::size_t afterMinute = bench::heapBytes();
    through += secondsOf(1, Minutes, buffers, plugin);
    const std::size_t afterHour = bench::heapBytes();
    const double copying = secondsOf(0, Minutes, buffers, copy);
    const double filling = secondsOf(0, Minutes, buffers, silence);
    std::printf(
        "an hour of audio: %.3f s, of which %.3f s to fill the inputs; a host's copy in its place: "
        "%.3f s\nthe plug-in takes %.0f ns a block, a copy %.0f ns: ratio %.1f; %.4f %% of a core\n"
        "heap after the first minute: %zu bytes, after the last: %zu bytes\n",
        through, filling, copying, (through - filling) / (Minutes * BlocksPerMinute) * 1e9,
        (copying - filling) / (Minutes * BlocksPerMinute) * 1e9,
        (through - filling) / (copying - filling), through / (Minutes * 60.0) * 100.0, afterMinute,
        afterHour);
    call(effMainsChanged, 0, 0.0f);
    call(effClose, 0, 0.0f);
    return afterHour == afterMinute ? 0 : 1;
}
