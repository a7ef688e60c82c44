// A row of the debug display: the load of one section of code, now and in the last seconds.
#pragma once

#include "editor/Control.h"

#include <string>

namespace tarn {

class CPUMeter;

/// Is drawn anew at each load that its meter takes. Interface thread.
class ControlCPUMeter : public Control {
public:
    /// `meter` outlives it.
    ControlCPUMeter(Editor& editor, CPUMeter& meter, const std::string& label);

    bool handle(Message& message) override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;

    CPUMeter& meter() const { return meter_; }

private:
    CPUMeter& meter_;
};

}  // namespace tarn
