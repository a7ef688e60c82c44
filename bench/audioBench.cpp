// Operations on channels beside bare functions that do the same to the same memory, as good as
// they can be had from four-float instructions, but for multiples of 32 frames alone: what a
// channel adds is the price of taking any number of frames.
#include "Ratios.h"
#include "audio/IOPin.h"
#include "audio/Mixer.h"
#include "audio/VUMeter.h"
#include "platform/Clock.h"

#include <xmmintrin.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace {

using namespace tarn;
using benchmark::State;

// How many floats behind a multiple of 16 bytes the two channels begin.
struct Layout {
    int to = 0, from = 0;
};

// Two channels in one block of memory, so that all that are compared lie alike: from a page on, and
// a quarter of a page behind another one, or a few floats farther.
class Pair {
public:
    explicit Pair(int frames, Layout offsets = {})
        : memory_(static_cast<float*>(operator new(2 * Stride * sizeof(float), Page))),
          to(frames, memory_.get() + offsets.to),
          from(frames, memory_.get() + Stride + QuarterPage + offsets.from) {
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

void getPeak(State& state, int frames, Layout offsets) {
    Pair pair(frames, offsets);
    for (auto _ : state)
        benchmark::DoNotOptimize(pair.from.getPeak());
}

// Unrolled by hand, as the compiler leaves loops as they are at this level.

template <bool IsAligned>
__m128 larger(const float* samples, __m128 peak) {
    const __m128 four = IsAligned ? _mm_load_ps(samples) : _mm_loadu_ps(samples);
    return _mm_max_ps(_mm_andnot_ps(_mm_set1_ps(-0.0f), four), peak);
}

template <bool IsAligned>
[[gnu::noinline]] float barePeakOf(const float* samples, int frames) {
    __m128 first = _mm_setzero_ps(), second = first, third = first, fourth = first;
    for (int i = 0; i < frames; i += 32) {
        first = larger<IsAligned>(samples + i + 16, larger<IsAligned>(samples + i, first));
        second = larger<IsAligned>(samples + i + 20, larger<IsAligned>(samples + i + 4, second));
        third = larger<IsAligned>(samples + i + 24, larger<IsAligned>(samples + i + 8, third));
        fourth = larger<IsAligned>(samples + i + 28, larger<IsAligned>(samples + i + 12, fourth));
    }
    __m128 peak = _mm_max_ps(_mm_max_ps(first, second), _mm_max_ps(third, fourth));
    peak = _mm_max_ps(peak, _mm_movehl_ps(peak, peak));
    return _mm_cvtss_f32(_mm_max_ss(peak, _mm_shuffle_ps(peak, peak, 1)));
}

void barePeak(State& state, int frames, Layout offsets) {
    Pair pair(frames, offsets);
    const auto peakOf = offsets.from == 0 ? barePeakOf<true> : barePeakOf<false>;
    for (auto _ : state)
        benchmark::DoNotOptimize(peakOf(pair.from.getData(), frames));
}

enum class Sum { Add, AddWithGain, Screen };

// Small enough that the sums stay finite.
float gain = 0.001f;

template <Sum Kind>
void mix(State& state, int frames, Layout offsets) {
    Pair pair(frames, offsets);
    for (auto _ : state) {
        if constexpr (Kind == Sum::AddWithGain)
            pair.to.addValid(pair.from, gain);
        else
            pair.to.mix(pair.from, Kind == Sum::Add);
        benchmark::ClobberMemory();
    }
}

// Unaligned loads of aligned memory: the aligned ones become operands of the screen sum, which is a
// quarter slower.
template <Sum Kind>
void sumFour(float* to, const float* from, __m128 factor) {
    const __m128 a = _mm_loadu_ps(to);
    const __m128 b = _mm_loadu_ps(from);
    const __m128 sum = _mm_add_ps(a, Kind == Sum::AddWithGain ? _mm_mul_ps(b, factor) : b);
    _mm_storeu_ps(to, Kind == Sum::Screen ? _mm_sub_ps(sum, _mm_mul_ps(a, b)) : sum);
}

template <Sum Kind>
[[gnu::noinline]] void bareSum(float* to, const float* from, int frames, float factor) {
    const __m128 factors = _mm_set1_ps(factor);
    for (int i = 0; i < frames; i += 16) {
        sumFour<Kind>(to + i, from + i, factors);
        sumFour<Kind>(to + i + 4, from + i + 4, factors);
        sumFour<Kind>(to + i + 8, from + i + 8, factors);
        sumFour<Kind>(to + i + 12, from + i + 12, factors);
    }
}

template <Sum Kind>
void bareMix(State& state, int frames, Layout offsets) {
    Pair pair(frames, offsets);
    for (auto _ : state) {
        bareSum<Kind>(pair.to.getData(), pair.from.getData(), frames, gain);
        benchmark::ClobberMemory();
    }
}

void mixStereo(State& state, int frames, Layout offsets) {
    Pair left(frames, offsets), right(frames, offsets);
    IOPinStereo out(&left.to, &right.to);
    const IOPinStereo in(&left.from, &right.from);
    const Mixer mixer(nullptr);
    for (auto _ : state) {
        mixer.mix(out, in, gain, 0.5f);
        benchmark::ClobberMemory();
    }
}

void bareMixStereo(State& state, int frames, Layout offsets) {
    Pair left(frames, offsets), right(frames, offsets);
    for (auto _ : state) {
        for (Pair* const side : {&left, &right})
            bareSum<Sum::AddWithGain>(side->to.getData(), side->from.getData(), frames, gain);
        benchmark::ClobberMemory();
    }
}

void assign(State& state, int frames, Layout offsets) {
    Pair pair(frames, offsets);
    for (auto _ : state) {
        pair.to.assign(pair.from);
        benchmark::ClobberMemory();
    }
}

void bareCopy(State& state, int frames, Layout offsets) {
    Pair pair(frames, offsets);
    for (auto _ : state) {
        std::memcpy(pair.to.getData(), pair.from.getData(),
                    static_cast<std::size_t>(frames) * sizeof(float));
        benchmark::ClobberMemory();
    }
}

// Of a signal that falls, for which the meter needs its power.
void meter(State& state, int frames, Layout offsets) {
    Pair pair(frames, offsets);
    VUMeterPeak meter(nullptr);
    meter.setMode(VUMeter::Peak1700);
    meter.update(1.0f);
    for (auto _ : state) {
        meter.processChannel(pair.from);
        benchmark::DoNotOptimize(meter.getLevel());
    }
}

void barePeakClockAndPow(State& state, int frames, Layout offsets) {
    Pair pair(frames, offsets);
    const auto peakOf = offsets.from == 0 ? barePeakOf<true> : barePeakOf<false>;
    double before = platform::systemHighResolutionSeconds();
    for (auto _ : state) {
        benchmark::DoNotOptimize(peakOf(pair.from.getData(), frames));
        const double now = platform::systemHighResolutionSeconds();
        benchmark::DoNotOptimize(std::pow(0.1, now - before));
        before = now;
    }
}

using Operation = void (*)(State&, int, Layout);

void compare(const std::string& name, Operation ours, Operation rival) {
    for (const int frames : {64, 512, 4096})
        for (const Layout offsets : {Layout{0, 0}, Layout{1, 2}}) {
            const auto run = [=](Operation operation) {
                return [=](State& state) { operation(state, frames, offsets); };
            };
            const char* const how = offsets.to != offsets.from ? ", unequal" : "";
            bench::compare(name + " " + std::to_string(frames) + how, 1.3, run(ours), run(rival));
        }
}

const bool registered = [] {
    compare("getPeak", getPeak, barePeak);
    compare("add", mix<Sum::Add>, bareMix<Sum::Add>);
    compare("add with gain", mix<Sum::AddWithGain>, bareMix<Sum::AddWithGain>);
    compare("screen", mix<Sum::Screen>, bareMix<Sum::Screen>);
    compare("mix stereo pins", mixStereo, bareMixStereo);
    compare("assign", assign, bareCopy);
    compare("level meter", meter, barePeakClockAndPow);
    return true;
}();

}  // namespace
