#include "samples/Mixdown.h"

#include <emmintrin.h>

#include <cstring>

namespace tarn {

namespace {

constexpr float FullScale = 4.656613e-10f;  // 2^-31

std::uint32_t load32(const unsigned char* bytes) noexcept {
    std::uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

__m128i loadWord(const unsigned char* bytes) noexcept {
    return _mm_cvtsi32_si128(static_cast<int>(load32(bytes)));
}

__m128i loadBytes(const unsigned char* bytes) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

void storeScaled(float* out, __m128i values) noexcept {
    _mm_storeu_ps(out, _mm_mul_ps(_mm_cvtepi32_ps(values), _mm_set1_ps(FullScale)));
}

// The value in the top bytes of a word, as signed.
float scaled(std::uint32_t word) noexcept {
    return static_cast<float>(static_cast<std::int32_t>(word)) * FullScale;
}

void decode8(const unsigned char* bytes, std::size_t values, float* out) noexcept {
    for (std::size_t i = 0; i < values; ++i)
        out[i] = static_cast<float>(std::uint32_t{bytes[i]} << 24) * FullScale - 1.0f;
}

void decode16(const unsigned char* bytes, std::size_t values, float* out) noexcept {
    const __m128i zero = _mm_setzero_si128();
    std::size_t i = 0;
    for (; i + 8 <= values; i += 8) {
        const __m128i eight = loadBytes(bytes + 2 * i);
        storeScaled(out + i, _mm_unpacklo_epi16(zero, eight));
        storeScaled(out + i + 4, _mm_unpackhi_epi16(zero, eight));
    }
    for (; i < values; ++i)
        out[i] = scaled(static_cast<std::uint32_t>(bytes[2 * i]) << 16 |
                        static_cast<std::uint32_t>(bytes[2 * i + 1]) << 24);
}

// Each value is taken as the word that it begins, whose last byte is then shifted out: so the last
// of all, behind which nothing may be read, stays for the end.
void decode24(const unsigned char* bytes, std::size_t values, float* out) noexcept {
    std::size_t i = 0;
    for (; i + 4 < values; i += 4) {
        const unsigned char* const four = bytes + 3 * i;
        const __m128i first = _mm_unpacklo_epi32(loadWord(four), loadWord(four + 3));
        const __m128i second = _mm_unpacklo_epi32(loadWord(four + 6), loadWord(four + 9));
        storeScaled(out + i, _mm_slli_epi32(_mm_unpacklo_epi64(first, second), 8));
    }
    for (; i < values; ++i)
        out[i] = scaled(static_cast<std::uint32_t>(bytes[3 * i]) << 8 |
                        static_cast<std::uint32_t>(bytes[3 * i + 1]) << 16 |
                        static_cast<std::uint32_t>(bytes[3 * i + 2]) << 24);
}

void mixStereo(const float* values, std::size_t frames, float* out) noexcept {
    const __m128 half = _mm_set1_ps(0.5f);
    std::size_t i = 0;
    for (; i + 4 <= frames; i += 4) {
        const __m128 first = _mm_mul_ps(_mm_loadu_ps(values + 2 * i), half);
        const __m128 second = _mm_mul_ps(_mm_loadu_ps(values + 2 * i + 4), half);
        const __m128 left = _mm_shuffle_ps(first, second, _MM_SHUFFLE(2, 0, 2, 0));
        const __m128 right = _mm_shuffle_ps(first, second, _MM_SHUFFLE(3, 1, 3, 1));
        _mm_storeu_ps(out + i, _mm_add_ps(left, right));
    }
    for (; i < frames; ++i)
        out[i] = values[2 * i] * 0.5f + values[2 * i + 1] * 0.5f;
}

}  // namespace

void decodeValues(const unsigned char* bytes, std::int32_t bytesPerValue, std::size_t values,
                  float* out) noexcept {
    switch (bytesPerValue) {
        case 1:
            return decode8(bytes, values, out);
        case 2:
            return decode16(bytes, values, out);
        case 3:
            return decode24(bytes, values, out);
        default:
            std::memcpy(out, bytes, values * sizeof(float));
    }
}

void mixInterleaved(const float* values, std::int32_t channels, std::size_t frames,
                    float* out) noexcept {
    if (channels == 2)
        return mixStereo(values, frames, out);
    const auto divisor = static_cast<float>(channels);
    for (std::size_t i = 0; i < frames; ++i) {
        float sum = 0.0f;
        for (std::int32_t channel = 0; channel < channels; ++channel)
            sum += *values++ / divisor;
        out[i] = sum;
    }
}

}  // namespace tarn
