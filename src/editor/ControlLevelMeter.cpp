#include "editor/ControlLevelMeter.h"

#include "drawing/Canvas.h"
#include "foundation/Dictionary.h"
#include "parameters/Parameter.h"

#include <algorithm>
#include <limits>
#include <string>

namespace tarn {

namespace {

constexpr float HoldSeconds = 1.5f;
constexpr float Silence = -std::numeric_limits<float>::infinity();  // dB

}  // namespace

// Falls evenly in dB, so that 20 steps a second look smooth.
ControlLevelMeter::ControlLevelMeter(Editor& editor) : ControlVUMeter(editor) {
    meter_.setMode(VUMeter::Peak1700);
    meter_.setHoldTime(HoldSeconds);
}

void ControlLevelMeter::importDictionary(const Dictionary& dictionary) {
    ControlVUMeter::importDictionary(dictionary);
    Color color;
    if (std::string text; dictionary.getString("holdcolor", text) && color.parse(text))
        holdColor_ = color;
}

void ControlLevelMeter::refresh() {
    ControlVUMeter::refresh();
    tick(0.0);
}

// What is opened again begins with what is there then.
void ControlLevelMeter::suspend() {
    ControlVUMeter::suspend();
    meter_.reset();
    loudest_ = 0.0f;
    show({Silence, Silence});
}

void ControlLevelMeter::take(float linear) {
    loudest_ = std::max(loudest_, linear);  // NaN is passed over
    joinTimer();
}

void ControlLevelMeter::tick(double /*seconds*/) {
    const Parameter* const parameter = getParameter();
    const float present = parameter != nullptr ? parameter->getNormalised() : 0.0f;
    meter_.update(std::max(loudest_, present));
    loudest_ = 0.0f;
    // When a hold ends, the peak is what is there, which the level may still be falling to.
    const float level = meter_.getLevel();
    const Levels levels{toDecibels(level), toDecibels(std::max(level, meter_.getPeak()))};
    show(levels);
    if (isAtBottom(levels) && isAtBottom({toDecibels(present), Silence}))
        leaveTimer();
}

bool ControlLevelMeter::isAtBottom(const Levels& levels) const {
    return pictureOf(levels) == pictureOf({Silence, Silence});
}

void ControlLevelMeter::drawPeakLine(Canvas& canvas, const Rect& line) const {
    if (!holdColor_) {
        ControlVUMeter::drawPeakLine(canvas, line);
        return;
    }
    canvas.setFillColor(*holdColor_);
    canvas.fillRect(line);
}

}  // namespace tarn
