#include "samples/Mixdown.h"

#include <emmintrin.h>

#include <cstring>

namespace tarn {

namespace {

constexpr float FullScale = 4.656613e-10f;  // 2^-31

__m128i loadWord(const unsigned char* bytes) noexcept {
    int word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return _mm_cvtsi32_si128(word);
}

void storeScaled(float* out, __m128i values) noexcept {
    _mm_storeu_ps(out, _mm_mul_ps(_mm_cvtepi32_ps(values), _mm_set1_ps(FullScale)));
}

void decode8(const unsigned char* bytes, std::size_t values, float* out) noexcept {
    for (std::size_t i = 0; i < values; ++i)
        out[i] = static_cast<float>(bytes[i]) * (1.0f / 128.0f) - 1.0f;
}

void decode16(const unsigned char* bytes, std::size_t values, float* out) noexcept {
    for (std::size_t i = 0; i < values; ++i) {
        std::int16_t value = 0;
        std::memcpy(&value, bytes + 2 * i, sizeof value);
        out[i] = static_cast<float>(value) * (1.0f / 32768.0f);
    }
}

// No compiler here makes vectors of three bytes, which are three times as fast. Each value is taken
// as the word that it begins, whose last byte is then shifted out: so the last of all, behind which
// nothing may be read, stays for the end.
void decode24(const unsigned char* bytes, std::size_t values, float* out) noexcept {
    std::size_t i = 0;
    for (; i + 4 < values; i += 4) {
        const unsigned char* const four = bytes + 3 * i;
        const __m128i first = _mm_unpacklo_epi32(loadWord(four), loadWord(four + 3));
        const __m128i second = _mm_unpacklo_epi32(loadWord(four + 6), loadWord(four + 9));
        storeScaled(out + i, _mm_slli_epi32(_mm_unpacklo_epi64(first, second), 8));
    }
    for (; i < values; ++i) {
        std::uint32_t word = 0;
        std::memcpy(reinterpret_cast<char*>(&word) + 1, bytes + 3 * i, 3);
        out[i] = static_cast<float>(static_cast<std::int32_t>(word)) * FullScale;
    }
}

void mixStereo(const float* values, std::size_t frames, float* out) noexcept {
    for (std::size_t i = 0; i < frames; ++i)
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
        default:
            return decode24(bytes, values, out);
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
