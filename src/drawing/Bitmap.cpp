#include "drawing/Bitmap.h"

#include "drawing/Png.h"
#include "foundation/File.h"
#include "foundation/Logger.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace tarn {

namespace {

bool isPng(const File& file) {
    std::string extension = file.getExtension();
    for (char& letter : extension)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return extension == "png";
}

std::int32_t widthOf(const Rect& rect) {
    return rect.right - rect.left;
}

std::int32_t heightOf(const Rect& rect) {
    return rect.bottom - rect.top;
}

std::int32_t inSkinPixels(std::int32_t pixels, float density) {
    return std::max(1,
                    static_cast<std::int32_t>(std::lround(static_cast<float>(pixels) / density)));
}

using Sums = std::array<std::uint32_t, PixelsData::BytesPerPixel>;

void addPixel(Sums& sums, const std::uint8_t* pixel) {
    for (std::size_t channel = 0; channel < sums.size(); ++channel)
        sums[channel] += pixel[channel];
}

void subtractPixel(Sums& sums, const std::uint8_t* pixel) {
    for (std::size_t channel = 0; channel < sums.size(); ++channel)
        sums[channel] -= pixel[channel];
}

void storeMean(const Sums& sums, std::int32_t count, float strength, std::uint8_t* pixel) {
    const auto total = static_cast<std::uint32_t>(count);
    const std::uint32_t alpha = (sums[3] + total / 2) / total;
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const std::uint32_t mean = (sums[channel] + total / 2) / total;
        const float scaled = static_cast<float>(mean) * strength;
        pixel[channel] = static_cast<std::uint8_t>(
            scaled > 0.0f ? std::min(scaled, static_cast<float>(alpha)) : 0.0f);
    }
    pixel[3] = static_cast<std::uint8_t>(alpha);
}

// Slides a window over the columns' sums of the rows around each row, so that no pixel is added
// more than twice.
SharedObjectPtr<PixelsData> blurredCopy(const PixelsData& from, float radius, float strength) {
    const std::int32_t width = from.getWidth(), height = from.getHeight();
    const auto largest = static_cast<float>(std::max(width, height));
    const float sixth = radius * 0.16666667f;
    const auto reach =
        static_cast<std::int32_t>(sixth > 0.0f ? std::lround(std::min(sixth, largest)) : 0);
    auto to = makeShared<PixelsData>(width, height);
    std::vector<Sums> columns(static_cast<std::size_t>(width), Sums{});
    const auto change = [&](void (*apply)(Sums&, const std::uint8_t*), std::int32_t y) {
        if (y < 0 || y >= height)
            return 0;
        const std::uint8_t* pixel = from.row(y);
        for (Sums& sums : columns) {
            apply(sums, pixel);
            pixel += PixelsData::BytesPerPixel;
        }
        return 1;
    };
    std::int32_t rows = 0;
    for (std::int32_t y = 0; y < reach; ++y)
        rows += change(addPixel, y);
    for (std::int32_t y = 0; y < height; ++y) {
        rows += change(addPixel, y + reach) - change(subtractPixel, y - reach - 1);
        Sums window{};
        std::int32_t inRow = 0;
        const auto slide = [&](std::int32_t x, std::uint32_t sign) {
            if (x < 0 || x >= width)
                return;
            inRow += static_cast<std::int32_t>(sign);
            for (std::size_t channel = 0; channel < window.size(); ++channel)
                window[channel] += sign * columns[static_cast<std::size_t>(x)][channel];
        };
        for (std::int32_t x = 0; x < reach; ++x)
            slide(x, 1);
        for (std::int32_t x = 0; x < width; ++x) {
            slide(x + reach, 1);
            slide(x - reach - 1, ~0u);
            storeMean(window, inRow * rows, strength, to->row(y) + x * PixelsData::BytesPerPixel);
        }
    }
    return to;
}

}  // namespace

Error Bitmap::loadFile(const File& file) {
    File opened = file;
    Error error = ErrorImportFailed("Bitmap::loadFile", file.getPath());
    if (isPng(file) && opened.openRead()) {
        error = load(*opened.getStream());
    } else {
        clear();
    }
    if (!error.isOk())
        logError(LogWarning, error);
    return error;
}

Error Bitmap::load(std::istream& stream) {
    clear();
    return loadVariant(stream, 1.0f);
}

Error Bitmap::loadVariant(std::istream& stream, float density) {
    SharedObjectPtr<PixelsData> pixels;
    Error error = readPng(stream, pixels);
    if (!error.isOk())
        return error;
    Bitmap image(std::move(pixels), density);
    if (!isValid()) {
        size_ = image.size_;
        setOneFrame();
    }
    const auto place =
        std::find_if(variants_.begin(), variants_.end(),
                     [density](const Variant& variant) { return variant.density >= density; });
    variants_.insert(place, std::move(image.variants_.front()));
    return error;
}

Bitmap::Bitmap(SharedObjectPtr<PixelsData> pixels, float density) {
    if (!pixels)
        return;
    size_ = {inSkinPixels(pixels->getWidth(), density), inSkinPixels(pixels->getHeight(), density)};
    variants_.push_back({std::move(pixels), density});
    setOneFrame();
}

void Bitmap::clear() {
    variants_.clear();
    size_ = {};
    setOneFrame();
}

const Bitmap::Variant* Bitmap::getVariant(float density) const {
    for (const Variant& variant : variants_)
        if (variant.density >= density)
            return &variant;
    return isValid() ? &variants_.back() : nullptr;
}

Rect Bitmap::getRect() const {
    return {0, 0, size_.x, size_.y};
}

void Bitmap::setFrames(const Rect& first, std::int32_t columns, std::int32_t rows) {
    const Rect whole = getRect();
    firstFrame_ = {std::max(first.left, 0), std::max(first.top, 0),
                   std::min(first.right, whole.right), std::min(first.bottom, whole.bottom)};
    if (firstFrame_.left >= firstFrame_.right || firstFrame_.top >= firstFrame_.bottom ||
        columns < 1 || rows < 1) {
        setOneFrame();
        return;
    }
    columns_ = std::min(columns, (whole.right - firstFrame_.left) / widthOf(firstFrame_));
    rows = std::min(rows, (whole.bottom - firstFrame_.top) / heightOf(firstFrame_));
    frameCount_ = columns_ * rows;
}

void Bitmap::setOneFrame() {
    firstFrame_ = getRect();
    columns_ = frameCount_ = 1;
}

void Bitmap::setFrameCount(std::int32_t count) {
    if (count < 1 || !isValid())
        return;
    if (firstFrame_ == getRect()) {
        columns_ = frameCount_ = std::min(count, firstFrame_.right);
        firstFrame_.right /= frameCount_;
    }
    frameCount_ = std::min(count, frameCount_);
}

Rect Bitmap::getFrameRect(std::int32_t index) const {
    if (index < 0 || index >= frameCount_)
        return {};
    const std::int32_t right = index % columns_ * widthOf(firstFrame_);
    const std::int32_t down = index / columns_ * heightOf(firstFrame_);
    return {firstFrame_.left + right, firstFrame_.top + down, firstFrame_.right + right,
            firstFrame_.bottom + down};
}

Point Bitmap::getFrameSize() const {
    return {widthOf(firstFrame_), heightOf(firstFrame_)};
}

std::uint8_t* Bitmap::pixelAt(Point point) const {
    if (point.x < 0 || point.y < 0 || point.x >= size_.x || point.y >= size_.y)
        return nullptr;
    const Variant& variant = *getVariant(1.0f);
    const auto inVariant = [&variant](std::int32_t place, std::int32_t length) {
        return std::min(static_cast<std::int32_t>(static_cast<float>(place) * variant.density),
                        length - 1);
    };
    PixelsData& pixels = *variant.pixels;
    return pixels.row(inVariant(point.y, pixels.getHeight())) +
           inVariant(point.x, pixels.getWidth()) * PixelsData::BytesPerPixel;
}

Color Bitmap::getPixel(Point point) const {
    const std::uint8_t* const pixel = pixelAt(point);
    if (pixel == nullptr)
        return Color::fromBytes(0, 0, 0, 0);
    return Color::fromBytes(pixel[2], pixel[1], pixel[0], pixel[3]);
}

void Bitmap::setPixel(Point point, const Color& color) {
    std::uint8_t* const pixel = pixelAt(point);
    if (pixel == nullptr || color.isNone())
        return;
    const Variant plain = *getVariant(1.0f);
    variants_.assign(1, plain);
    const auto byte = [&color](float channel) {
        return static_cast<std::uint8_t>(std::lround(std::min(channel, color.getAlpha()) * 255.0f));
    };
    pixel[0] = byte(color.getBlue());
    pixel[1] = byte(color.getGreen());
    pixel[2] = byte(color.getRed());
    pixel[3] = byte(color.getAlpha());
}

bool Bitmap::isOpaqueAt(Point point) const {
    const std::uint8_t* const pixel = pixelAt(point);
    return pixel != nullptr && pixel[3] != 0;
}

void Bitmap::blur(float radius, float strength) {
    const Variant* const plain = getVariant(1.0f);
    if (plain == nullptr)
        return;
    const Variant blurred{blurredCopy(*plain->pixels, radius * plain->density, strength),
                          plain->density};
    variants_.assign(1, blurred);
}

void Bitmap::setTransparency(float opacity) {
    opacity_ = opacity > 0.0f ? std::min(opacity, 1.0f) : 0.0f;
}

}  // namespace tarn
