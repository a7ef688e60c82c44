// Blocks of audio for the benchmarks, and memory that lies as the product's does.
#pragma once

#include "link/ConnectionBlock.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

namespace tarn::bench {

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

// Blocks of audio lie a quarter of a page away, so that no copy waits by chance for stores to the
// same place in another page.
using Audio = std::vector<float, FromPage<float, 1024>>;

inline Audio audio(std::uint32_t frames) {
    Audio samples(frames);
    for (std::uint32_t i = 0; i < frames; ++i)
        samples[i] = static_cast<float>(i % 255) / 256.0f - 0.5f;
    return samples;
}

}  // namespace tarn::bench
