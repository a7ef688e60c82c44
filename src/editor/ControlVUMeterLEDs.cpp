#include "editor/ControlVUMeterLEDs.h"

#include "drawing/Canvas.h"
#include "foundation/Dictionary.h"

#include <algorithm>
#include <cmath>

namespace tarn {

namespace {

constexpr float UsualStep = -3.0f;  // dB

}  // namespace

void ControlVUMeterLEDs::importDictionary(const Dictionary& dictionary) {
    ControlVUMeter::importDictionary(dictionary);
    if (strip() == nullptr)
        return;
    const std::int32_t count = strip()->getFrameCount() / 2;
    readThresholds(dictionary, static_cast<std::size_t>(count));
}

void ControlVUMeterLEDs::readThresholds(const Dictionary& dictionary, std::size_t count) {
    thresholds_ = {0.0f, UsualStep};
    thresholds_.resize(std::max(count, thresholds_.size()));
    const auto list = dictionary.getArray("values");
    std::size_t given = 0;
    for (std::int32_t i = 0; list && i < list->count({}) && given < thresholds_.size(); ++i)
        if (const auto entry = list->getEntry(i); entry && entry->isElement())
            entry->getFloat("value", thresholds_[given++]);
    // In a straight line.
    for (std::size_t i = std::max<std::size_t>(given, 2); i < thresholds_.size(); ++i)
        thresholds_[i] = 2.0f * thresholds_[i - 1] - thresholds_[i - 2];
    thresholds_.resize(count);
}

ControlVUMeter::Picture ControlVUMeterLEDs::pictureOf(const Levels& levels) const {
    const float peak = std::round(levels.peak);
    const auto above = std::find_if(thresholds_.rbegin(), thresholds_.rend(),
                                    [peak](float threshold) { return threshold > peak; });
    return {static_cast<std::int32_t>(above - thresholds_.rbegin()), 0};
}

void ControlVUMeterLEDs::drawPicture(Canvas& canvas, const Picture& picture) const {
    if (strip() == nullptr)
        return;
    const auto count = static_cast<std::int32_t>(thresholds_.size());
    const Point size = strip()->getFrameSize();
    Rect line;
    for (std::int32_t i = 0; i < count; ++i)
        line = line.unitedWith(strip()->getFrameRect(i));
    const bool isUpright = line.height() > line.width();
    const auto draw = [&](std::int32_t from, std::int32_t to, std::int32_t firstFrame) {
        for (std::int32_t i = from; i < to; ++i) {
            const Point place = isUpright ? Point{0, i * size.y} : Point{i * size.x, 0};
            canvas.drawBitmap(*strip(), strip()->getFrameRect(firstFrame + i),
                              Rect{0, 0, size.x, size.y}.movedBy(place));
        }
    };
    draw(0, count, 0);
    if (isUpright)
        draw(count - picture.lit, count, count);
    else
        draw(0, picture.lit, count);
}

}  // namespace tarn
