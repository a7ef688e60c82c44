#include "audio/Peak.h"

#include "audio/Alignment.h"

#include <emmintrin.h>

#include <cmath>

namespace tarn {

namespace {

__m128 absoluteOf(const float* samples) {
    return _mm_and_ps(_mm_loadu_ps(samples), _mm_castsi128_ps(_mm_set1_epi32(0x7FFFFFFF)));
}

// The larger of each lane's peak and two of its samples. maxps gives its second operand when either
// is NaN, so the running peak stands second.
__m128 raised(__m128 peak, const float* samples, const float* more) {
    return _mm_max_ps(absoluteOf(more), _mm_max_ps(absoluteOf(samples), peak));
}

std::uint32_t bitsOf(__m128 lowest) {
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_castps_si128(lowest)));
}

}  // namespace

std::uint32_t peakBitsOf(const float* samples, int frames) noexcept {
    const __m128 zero = _mm_setzero_ps();
    if (frames < 4) {
        __m128 peak = zero;
        for (int i = 0; i < frames; ++i)
            peak = _mm_max_ss(_mm_set_ss(std::fabs(samples[i])), peak);
        return bitsOf(peak);
    }
    // A sample may count twice: so the first and the last four stand for what the steps between
    // them leave out, which begin where no load crosses two cache lines. Four peaks, because each
    // maximum waits for the one before.
    __m128 first = _mm_max_ps(absoluteOf(samples), zero);
    __m128 second = _mm_max_ps(absoluteOf(samples + frames - 4), zero);
    __m128 third = zero;
    __m128 fourth = zero;
    const int before = samplesToAlignment(samples);
    samples += before;
    for (frames -= before; frames >= 32; frames -= 32) {
        first = raised(first, samples, samples + 16);
        second = raised(second, samples + 4, samples + 20);
        third = raised(third, samples + 8, samples + 24);
        fourth = raised(fourth, samples + 12, samples + 28);
        samples += 32;
    }
    for (; frames >= 4; frames -= 4) {
        first = _mm_max_ps(absoluteOf(samples), first);
        samples += 4;
    }
    const __m128 both = _mm_max_ps(_mm_max_ps(first, second), _mm_max_ps(third, fourth));
    const __m128 pair = _mm_max_ps(both, _mm_movehl_ps(both, both));
    return bitsOf(_mm_max_ss(pair, _mm_shuffle_ps(pair, pair, 1)));
}

}  // namespace tarn
