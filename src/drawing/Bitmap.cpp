#include "drawing/Bitmap.h"

#include "drawing/Png.h"
#include "foundation/File.h"
#include "foundation/Logger.h"

#include <algorithm>

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

}  // namespace

Error Bitmap::loadFile(const File& file) {
    File opened = file;
    Error error = ErrorImportFailed("Bitmap::loadFile", file.getPath());
    if (isPng(file) && opened.openRead()) {
        error = load(*opened.getStream());
    } else {
        pixels_.reset();
        setOneFrame();
    }
    if (!error.isOk())
        logError(LogWarning, error);
    return error;
}

Error Bitmap::load(std::istream& stream) {
    pixels_.reset();
    Error error = readPng(stream, pixels_);
    setOneFrame();
    return error;
}

Rect Bitmap::getRect() const {
    return pixels_ ? Rect{0, 0, pixels_->getWidth(), pixels_->getHeight()} : Rect{};
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

const std::uint8_t* Bitmap::pixelAt(Point point) const {
    const Rect whole = getRect();
    if (point.x < 0 || point.y < 0 || point.x >= whole.right || point.y >= whole.bottom)
        return nullptr;
    return pixels_->row(point.y) + point.x * PixelsData::BytesPerPixel;
}

Color Bitmap::getPixel(Point point) const {
    const std::uint8_t* const pixel = pixelAt(point);
    if (pixel == nullptr)
        return Color::fromBytes(0, 0, 0, 0);
    return Color::fromBytes(pixel[2], pixel[1], pixel[0], pixel[3]);
}

bool Bitmap::isOpaqueAt(Point point) const {
    const std::uint8_t* const pixel = pixelAt(point);
    return pixel != nullptr && pixel[3] != 0;
}

void Bitmap::setTransparency(float opacity) {
    opacity_ = opacity > 0.0f ? std::min(opacity, 1.0f) : 0.0f;
}

}  // namespace tarn
