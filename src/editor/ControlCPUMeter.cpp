#include "editor/ControlCPUMeter.h"

#include "audio/CPUMeter.h"
#include "drawing/Canvas.h"
#include "foundation/Message.h"
#include "foundation/NumberText.h"

#include <algorithm>
#include <cmath>

namespace tarn {

namespace {

constexpr float TextSize = 12.0f;
constexpr std::int32_t TextHeight = 14, Inset = 3, BarHeight = 5;

// Green, yellow, red.
Color colorOf(double load) {
    constexpr double YellowFrom = 0.5, RedFrom = 0.75;
    return Color::fromBytes(load >= YellowFrom ? 255 : 0, load < RedFrom ? 255 : 0, 0, 255);
}

std::int32_t partOf(std::int32_t length, double load) {
    return static_cast<std::int32_t>(std::lround(length * std::clamp(load, 0.0, 1.0)));
}

std::string percent(double load) {
    constexpr double Percent = 100.0;
    return toFixedText(load * Percent, 2);
}

}  // namespace

ControlCPUMeter::ControlCPUMeter(Editor& editor, CPUMeter& meter, const std::string& label)
    : Control(editor), meter_(meter) {
    label_ = label;
    font_ = Canvas::getDefaultFont(TextSize);
    textColor_ = Color();
    backgroundColor_ = Color(1.0f, 1.0f, 1.0f, 1.0f);
    tuneIn(&meter_);
}

bool ControlCPUMeter::handle(Message& message) {
    if (message.type == MessageType::Timer && message.code == TimerMessage::Tick) {
        setDirty(true);
        return true;
    }
    return Control::handle(message);
}

void ControlCPUMeter::drawForeground(Canvas& canvas, const Rect& /*rect*/) {
    const Rect local = getLocalRect();
    const std::int32_t width = local.width(), height = local.height();
    const std::int32_t kept = meter_.getLength();
    for (std::int32_t x = 0; x < width - 1; ++x) {
        const double load = meter_.getLoad(x * kept / width);
        canvas.setFillColor(colorOf(load));
        canvas.fillRect({x, height - partOf(height, load), x + 1, height});
    }
    const double mean = meter_.getMean();
    canvas.setFillColor(colorOf(mean));
    const std::int32_t barTop = height - Inset - BarHeight;
    canvas.fillRect({0, barTop, partOf(width, mean), barTop + BarHeight});
    const Rect line{Inset, 1, width - Inset, 1 + TextHeight};
    drawText(canvas, line, getLabel());
    drawText(canvas, line.movedBy({0, TextHeight}),
             "avg " + percent(mean) + "% / peak " + percent(meter_.getPeak()) + "%");
    canvas.setPenColor(Color());
    canvas.frameRect(local);
}

}  // namespace tarn
