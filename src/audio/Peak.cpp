#include "audio/Peak.h"

#include "audio/Alignment.h"

#include <emmintrin.h>

#include <algorithm>
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

}  // namespace

float peakOf(const float* samples, int frames) noexcept {
    // Four of them, because each maximum waits for the one before.
    __m128 first = _mm_setzero_ps();
    __m128 second = first;
    __m128 third = first;
    __m128 fourth = first;
    // From where no load crosses two cache lines; what stands before is in the first four.
    int i = 0;
    if (frames >= 4) {
        first = _mm_max_ps(absoluteOf(samples), first);
        i = samplesToAlignment(samples);
    }
    for (; i + 32 <= frames; i += 32) {
        first = raised(first, samples + i, samples + i + 16);
        second = raised(second, samples + i + 4, samples + i + 20);
        third = raised(third, samples + i + 8, samples + i + 24);
        fourth = raised(fourth, samples + i + 12, samples + i + 28);
    }
    for (; i + 4 <= frames; i += 4)
        first = _mm_max_ps(absoluteOf(samples + i), first);

    __m128 both = _mm_max_ps(_mm_max_ps(first, second), _mm_max_ps(third, fourth));
    both = _mm_max_ps(both, _mm_movehl_ps(both, both));
    both = _mm_max_ss(both, _mm_shuffle_ps(both, both, 1));
    float peak = _mm_cvtss_f32(both);
    for (; i < frames; ++i)
        peak = std::max(peak, std::fabs(samples[i]));  // NaN compares as not greater
    return peak;
}

}  // namespace tarn
