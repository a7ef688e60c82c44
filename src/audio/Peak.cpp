#include "audio/Peak.h"

#include <xmmintrin.h>

#include <algorithm>
#include <cmath>

namespace tarn {

namespace {

__m128 absoluteOf(const float* samples) {
    return _mm_andnot_ps(_mm_set1_ps(-0.0f), _mm_loadu_ps(samples));
}

}  // namespace

float peakOf(const float* samples, int frames) noexcept {
    // maxps gives its second operand when either is NaN, so the running peak stands second. Four of
    // them, because each maximum waits for the one before.
    __m128 first = _mm_setzero_ps();
    __m128 second = first;
    __m128 third = first;
    __m128 fourth = first;
    int i = 0;
    for (; i + 16 <= frames; i += 16) {
        first = _mm_max_ps(absoluteOf(samples + i), first);
        second = _mm_max_ps(absoluteOf(samples + i + 4), second);
        third = _mm_max_ps(absoluteOf(samples + i + 8), third);
        fourth = _mm_max_ps(absoluteOf(samples + i + 12), fourth);
    }

    __m128 both = _mm_max_ps(_mm_max_ps(first, second), _mm_max_ps(third, fourth));
    both = _mm_max_ps(both, _mm_movehl_ps(both, both));
    both = _mm_max_ss(both, _mm_shuffle_ps(both, both, 1));
    float peak = _mm_cvtss_f32(both);
    for (; i < frames; ++i)
        peak = std::max(peak, std::fabs(samples[i]));  // NaN compares as not greater
    return peak;
}

}  // namespace tarn
