#include "drawing/PixelsData.h"

#include "foundation/Allocator.h"

namespace tarn {

PixelsData::PixelsData(std::int32_t width, std::int32_t height) : width_(width), height_(height) {
    const std::size_t size =
        static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * BytesPerPixel;
    bytes_.reset(static_cast<std::uint8_t*>(Allocator::operator new[](size)));
}

void PixelsData::Delete::operator()(std::uint8_t* bytes) const noexcept {
    Allocator::operator delete[](bytes);
}

std::size_t PixelsData::offsetOf(std::int32_t y) const noexcept {
    return static_cast<std::size_t>(height_ - 1 - y) * static_cast<std::size_t>(width_) *
           BytesPerPixel;
}

void PixelsData::premultiply() noexcept {
    std::uint8_t* pixel = bytes_.get();
    const std::uint8_t* const end = pixel + offsetOf(-1);
    for (; pixel != end; pixel += BytesPerPixel)
        for (int channel = 0; channel < 3; ++channel)
            pixel[channel] = static_cast<std::uint8_t>((pixel[channel] * pixel[3]) >> 8);
}

}  // namespace tarn
