// The way from the host's buffer to the receiver's. Every rival includes the clock calls that the
// format asks for.
#include "Ratios.h"
#include "link/IOBridge.h"
#include "platform/Clock.h"
#include "support/SampleBySample.h"
#include "vst/VSTPlugin.h"

#include <xmmintrin.h>

#include <boost/lockfree/spsc_queue.hpp>
#include <cstring>
#include <memory>
#include <vector>

namespace {

using namespace tarn;
using benchmark::State;

// Memory at a distance from a page's start: where bytes land is part of what their copy costs.
template <typename T, std::size_t Offset>
struct FromPage {
    using value_type = T;
    template <typename Other>
    struct rebind {
        using other = FromPage<Other, Offset>;
    };

    FromPage() = default;
    template <typename Other>
    FromPage(const FromPage<Other, Offset>&) {}

    T* allocate(std::size_t count) {
        char* pages = static_cast<char*>(operator new(Offset + count * sizeof(T), Page));
        return reinterpret_cast<T*>(pages + Offset);
    }
    void deallocate(T* memory, std::size_t) {
        operator delete(reinterpret_cast<char*>(memory) - Offset, Page);
    }

    static constexpr std::align_val_t Page{4096};
};

// A rival's ring lies where the format puts ours, which isn't ours to choose.
template <typename T>
using AsInBlock = FromPage<T, offsetof(ConnectionBlock, audio)>;
using RivalRing = std::vector<float, AsInBlock<float>>;
using RingAsInBlock = std::vector<ConnectionRing, AsInBlock<ConnectionRing>>;

// Blocks of audio lie a quarter of a page away, so that no copy waits by chance for stores to the
// same place in another page.
using Audio = std::vector<float, FromPage<float, 1024>>;

Audio audio(std::uint32_t frames) {
    Audio samples(frames);
    for (std::uint32_t i = 0; i < frames; ++i)
        samples[i] = static_cast<float>(i % 255) / 256.0f - 0.5f;
    return samples;
}

struct Master : IOBridge<float> {
    explicit Master(std::string pattern = "bench *") : IOBridge(pattern) {}
};

void write(State& state, std::uint32_t frames) {
    Master master;
    const auto block = audio(frames);
    for (auto _ : state)
        benchmark::DoNotOptimize(master.write(block.data(), frames));
}

// The least that a write can be: the bytes, and the second.
void copyAndClock(State& state, std::uint32_t frames) {
    RivalRing ring(ConnectionRingSamples);
    const auto block = audio(frames);
    std::uint32_t position = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform::systemCalendarSeconds());
        std::memcpy(ring.data() + position, block.data(), frames * sizeof(float));
        position = (position + frames) & ConnectionRingMask;  // block sizes divide the ring
        benchmark::ClobberMemory();
    }
}

// Through one view of the block: two views of the same memory in one process, which no connection
// has, defeat the cache.
void writeAndRead(State& state, std::uint32_t frames) {
    Master bridge;
    const auto block = audio(frames);
    Audio received(frames);
    for (auto _ : state) {
        bridge.write(block.data(), frames);
        benchmark::DoNotOptimize(bridge.read(received.data(), frames));
        benchmark::ClobberMemory();
    }
}

void queueAndClocks(State& state, std::uint32_t frames) {
    boost::lockfree::spsc_queue<float, boost::lockfree::allocator<AsInBlock<float>>> queue(
        ConnectionRingSamples - 1);
    const auto block = audio(frames);
    Audio received(frames);
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform::systemCalendarSeconds());
        queue.push(block.data(), frames);
        benchmark::DoNotOptimize(platform::systemCalendarSeconds());
        benchmark::DoNotOptimize(queue.pop(received.data(), frames));
        benchmark::ClobberMemory();
    }
}

// The ring by itself, against the format's own loop: neither takes the time of day. The reader is
// two blocks behind, as the pre-roll rule leaves it.
void putAndGet(State& state, std::uint32_t frames) {
    RingAsInBlock ring(1);
    const auto block = audio(frames);
    Audio received(frames);
    std::uint32_t position = 0;
    ring.front().put(block.data(), frames);
    ring.front().put(block.data(), frames);
    for (auto _ : state) {
        ring.front().put(block.data(), frames);
        benchmark::DoNotOptimize(ring.front().get(received.data(), frames, position));
        benchmark::ClobberMemory();
    }
}

void sampleBySample(State& state, std::uint32_t frames) {
    RingAsInBlock ring(1);
    const auto block = audio(frames);
    Audio received(frames);
    std::uint32_t position = 0;
    test::putSampleBySample(ring.front(), block.data(), frames);
    test::putSampleBySample(ring.front(), block.data(), frames);
    for (auto _ : state) {
        test::putSampleBySample(ring.front(), block.data(), frames);
        benchmark::DoNotOptimize(
            test::getSampleBySample(ring.front(), received.data(), frames, position));
        benchmark::ClobberMemory();
    }
}

VstIntPtr VSTCALLBACK host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    return opcode == audioMasterVersion ? kVstVersion : 0;
}

struct Stereo {
    explicit Stereo(std::uint32_t frames)
        : left(audio(frames)), right(left), out0(frames), out1(frames) {}
    Audio left, right, out0, out1;
    float* inputs[2] = {left.data(), right.data()};
    float* outputs[2] = {out0.data(), out1.data()};
};

void processReplacing(State& state, std::uint32_t frames) {
    AEffect* effect = (new VSTPlugin(host))->getAeffect();
    effect->dispatcher(effect, effMainsChanged, 0, 1, nullptr, 0.0f);
    Stereo stereo(frames);
    for (auto _ : state) {
        effect->processReplacing(effect, stereo.inputs, stereo.outputs,
                                 static_cast<VstInt32>(frames));
        benchmark::ClobberMemory();
    }
    effect->dispatcher(effect, effClose, 0, 0, nullptr, 0.0f);
}

// The same work with nothing around it.
void copiesPeakAndClock(State& state, std::uint32_t frames) {
    RivalRing ring(ConnectionRingSamples);
    Stereo stereo(frames);
    std::uint32_t position = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform::systemCalendarSeconds());
        std::memcpy(ring.data() + position, stereo.left.data(), frames * sizeof(float));
        position = (position + frames) & ConnectionRingMask;
        __m128 peak = _mm_setzero_ps();
        __m128 other = _mm_setzero_ps();
        const __m128 sign = _mm_set1_ps(-0.0f);
        for (std::uint32_t i = 0; i < frames; i += 8) {
            peak = _mm_max_ps(_mm_andnot_ps(sign, _mm_loadu_ps(stereo.inputs[0] + i)), peak);
            other = _mm_max_ps(_mm_andnot_ps(sign, _mm_loadu_ps(stereo.inputs[0] + i + 4)), other);
        }
        benchmark::DoNotOptimize(peak = _mm_max_ps(peak, other));
        std::memcpy(stereo.outputs[0], stereo.inputs[0], frames * sizeof(float));
        std::memcpy(stereo.outputs[1], stereo.inputs[1], frames * sizeof(float));
        benchmark::ClobberMemory();
    }
}

using Work = void (*)(State&, std::uint32_t);

void pair(const char* name, std::uint32_t frames, double goal, Work ours, Work rival) {
    bench::compare(
        name + (" " + std::to_string(frames)), goal, [=](State& state) { ours(state, frames); },
        [=](State& state) { rival(state, frames); });
}

const bool registered = [] {
    pair("write", 64, 1.4, write, copyAndClock);
    pair("write", 512, 1.15, write, copyAndClock);
    pair("write", 4096, 1.15, write, copyAndClock);
    pair("write and read, queue", 64, 1.4, writeAndRead, queueAndClocks);
    pair("write and read, queue", 512, 1.2, writeAndRead, queueAndClocks);
    pair("write and read, queue", 4096, 1.1, writeAndRead, queueAndClocks);
    bench::compareAtLeast(
        "put and get, loop 512", 8.0, [](State& state) { putAndGet(state, 512); },
        [](State& state) { sampleBySample(state, 512); });
    pair("processReplacing", 64, 2.5, processReplacing, copiesPeakAndClock);
    pair("processReplacing", 512, 1.5, processReplacing, copiesPeakAndClock);
    return true;
}();

}  // namespace
