// A level meter of single LEDs, each with a level of its own at which it is lit.
#pragma once

#include "editor/ControlVUMeter.h"

#include <vector>

namespace tarn {

/// The first half of its strip's frames are the LEDs when they are dark, from the top or from the
/// left, the second half the same when they are lit. They stand upright where the line of all of
/// them is taller than wide. Interface thread.
class ControlVUMeterLEDs : public ControlVUMeter {
public:
    using ControlVUMeter::ControlVUMeter;

    void importDictionary(const Dictionary& dictionary) override;

protected:
    Picture pictureOf(const Levels& levels) const override;
    void drawPicture(Canvas& canvas, const Picture& picture) const override;

private:
    void readThresholds(const Dictionary& dictionary, std::size_t count);

    std::vector<float> thresholds_;  // dB, of each LED, the loudest first
};

}  // namespace tarn
