// A level meter that falls like a needle, at the pace that the interface is drawn.
// Everything rests on one rule: a level that stays isn't told again, so each tick reads the
// parameter; between two ticks the loudest value counts.
#pragma once

#include "audio/VUMeter.h"
#include "drawing/Color.h"
#include "editor/ControlVUMeter.h"

#include <optional>

namespace tarn {

/// Goes up at once and falls by 20 dB in 1.7 s; holds its peak for 1.5 s, and then shows what is
/// there. At the bottom of its scale it rests, without ticks. The key "holdcolor" gives the peak's
/// line a colour of its own. Interface thread.
class ControlLevelMeter : public ControlVUMeter {
public:
    explicit ControlLevelMeter(Editor& editor);

    void importDictionary(const Dictionary& dictionary) override;
    void refresh() override;
    void suspend() override;

protected:
    void take(float linear) override;
    void tick(double seconds) override;
    void drawPeakLine(Canvas& canvas, const Rect& line) const override;

private:
    bool isAtBottom(const Levels& levels) const;

    VUMeterPeak meter_{nullptr};
    float loudest_ = 0.0f;  // since the last tick, linear
    std::optional<Color> holdColor_;
};

}  // namespace tarn
