// Operations on one channel beside the bare loops that do the same, as good as they can be had from
// four-float instructions: what `getPeak`, `mix` and `assign` add is the price of a channel.
#include "Ratios.h"
#include "audio/IOChannel.h"

#include <xmmintrin.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace {

using namespace tarn;
using benchmark::State;

// Two channels in one block of memory, so that all that are compared lie alike: from a page on, and
// a quarter of a page behind another one, or one float farther.
class Pair {
public:
    explicit Pair(int frames, int offset = 0)
        : memory_(static_cast<float*>(operator new(2 * Stride * sizeof(float), Page))),
          to(frames, memory_.get() + offset),
          from(frames, memory_.get() + Stride + QuarterPage + offset) {
        for (int i = 0; i < frames; ++i)
            to.getData()[i] = from.getData()[i] = static_cast<float>(i % 255) / 1024.0f - 0.125f;
    }

private:
    static constexpr std::align_val_t Page{4096};
    static constexpr std::size_t Stride = 8192;      // floats, whole pages
    static constexpr std::size_t QuarterPage = 256;  // floats
    struct Free {
        void operator()(float* memory) const { operator delete(memory, Page); }
    };
    std::unique_ptr<float, Free> memory_;

public:
    IOChannel<float> to, from;
};

void getPeak(State& state, int frames, int offset) {
    Pair pair(frames, offset);
    for (auto _ : state)
        benchmark::DoNotOptimize(pair.from.getPeak());
}

// Unrolled by hand, as the compiler leaves loops as they are at this level.

__m128 larger(const float* samples, __m128 peak) {
    return _mm_max_ps(_mm_andnot_ps(_mm_set1_ps(-0.0f), _mm_load_ps(samples)), peak);
}

void barePeak(State& state, int frames) {
    Pair pair(frames);
    for (auto _ : state) {
        const float* samples = pair.from.getData();
        __m128 first = _mm_setzero_ps(), second = first, third = first, fourth = first;
        for (int i = 0; i < frames; i += 32) {
            first = larger(samples + i + 16, larger(samples + i, first));
            second = larger(samples + i + 20, larger(samples + i + 4, second));
            third = larger(samples + i + 24, larger(samples + i + 8, third));
            fourth = larger(samples + i + 28, larger(samples + i + 12, fourth));
        }
        __m128 peak = _mm_max_ps(_mm_max_ps(first, second), _mm_max_ps(third, fourth));
        peak = _mm_max_ps(peak, _mm_movehl_ps(peak, peak));
        peak = _mm_max_ss(peak, _mm_shuffle_ps(peak, peak, 1));
        benchmark::DoNotOptimize(_mm_cvtss_f32(peak));
    }
}

template <bool Add>
void mix(State& state, int frames, int offset) {
    Pair pair(frames, offset);
    for (auto _ : state) {
        pair.to.mix(pair.from, Add);
        benchmark::ClobberMemory();
    }
}

template <bool Add>
void sumFour(float* to, const float* from) {
    const __m128 a = _mm_load_ps(to);
    const __m128 b = _mm_load_ps(from);
    const __m128 sum = _mm_add_ps(a, b);
    _mm_store_ps(to, Add ? sum : _mm_sub_ps(sum, _mm_mul_ps(a, b)));
}

template <bool Add>
void bareMix(State& state, int frames) {
    Pair pair(frames);
    for (auto _ : state) {
        float* to = pair.to.getData();
        const float* from = pair.from.getData();
        for (int i = 0; i < frames; i += 16) {
            sumFour<Add>(to + i, from + i);
            sumFour<Add>(to + i + 4, from + i + 4);
            sumFour<Add>(to + i + 8, from + i + 8);
            sumFour<Add>(to + i + 12, from + i + 12);
        }
        benchmark::ClobberMemory();
    }
}

void assign(State& state, int frames, int offset) {
    Pair pair(frames, offset);
    for (auto _ : state) {
        pair.to.assign(pair.from);
        benchmark::ClobberMemory();
    }
}

void bareCopy(State& state, int frames) {
    Pair pair(frames);
    for (auto _ : state) {
        std::memcpy(pair.to.getData(), pair.from.getData(),
                    static_cast<std::size_t>(frames) * sizeof(float));
        benchmark::ClobberMemory();
    }
}

using Ours = void (*)(State&, int, int);
using Rival = void (*)(State&, int);

void compare(const std::string& name, Ours ours, Rival rival) {
    for (const int frames : {512, 4096}) {
        const std::string label = name + " " + std::to_string(frames);
        const auto ourRun = [=](int offset) {
            return [=](State& state) { ours(state, frames, offset); };
        };
        const auto rivalRun = [=](State& state) { rival(state, frames); };
        bench::compare(label, 1.3, ourRun(0), rivalRun);
        bench::compare(label + ", unaligned", 1.3, ourRun(1), rivalRun);
        bench::compare(label + ", unaligned to aligned", 1.1, ourRun(1), ourRun(0));
    }
}

const bool registered = [] {
    compare("getPeak", getPeak, barePeak);
    compare("mix, add", mix<true>, bareMix<true>);
    compare("mix, screen", mix<false>, bareMix<false>);
    compare("assign", assign, bareCopy);
    return true;
}();

}  // namespace
