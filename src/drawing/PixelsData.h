// The pixels of an image, in the form that drawing needs.
// Everything rests on one rule: each colour byte is already multiplied by its pixel's alpha, so
// that none is above it.
#pragma once

#include "foundation/SharedObject.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace tarn {

/// 4 bytes a pixel: blue, green, red, alpha. The lowest row comes first in memory, which is 16-byte
/// aligned and has no gaps. Interface thread; images share it by its count.
class PixelsData : public SharedObject {
public:
    static constexpr std::int32_t BytesPerPixel = 4;

    /// Not initialised. Both sides are at least 1, and their product fits 32 bits. Throws
    /// std::bad_alloc.
    PixelsData(std::int32_t width, std::int32_t height);
    PixelsData(const PixelsData&) = delete;
    PixelsData& operator=(const PixelsData&) = delete;
    ~PixelsData() override = default;

    std::int32_t getWidth() const noexcept { return width_; }
    std::int32_t getHeight() const noexcept { return height_; }

    /// `width` pixels; `y` counts from the top, 0 to height - 1.
    std::uint8_t* row(std::int32_t y) noexcept { return bytes_.get() + offsetOf(y); }
    const std::uint8_t* row(std::int32_t y) const noexcept { return bytes_.get() + offsetOf(y); }

    /// Brings pixels whose colours are as files have them into the form above: (colour x alpha) >>
    /// 8, and all zero where alpha is 0.
    void premultiply() noexcept;

private:
    struct Delete {
        void operator()(std::uint8_t* bytes) const noexcept;
    };

    std::size_t offsetOf(std::int32_t y) const noexcept;

    std::int32_t width_;
    std::int32_t height_;
    std::unique_ptr<std::uint8_t[], Delete> bytes_;
};

}  // namespace tarn
