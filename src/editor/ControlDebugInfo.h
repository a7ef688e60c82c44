// Shows beside an interface what the instance takes of the processor.
#pragma once

#include "editor/ControlContainer.h"

#include <array>
#include <memory>

namespace tarn {

class ControlCPUMeter;
class CPUMeter;

/// A strip of rows: "engine" the audio calls, "editor" the drawing, "midi" the MIDI calls, "usage"
/// all that the interface does at its ticks. While the interface is open the meters run. Interface
/// thread.
class ControlDebugInfo : public ControlContainer {
public:
    static constexpr std::size_t RowCount = 4;

    /// The meters outlive it; those of rows 0 and 2 are the instance's, which it starts and stops
    /// with Plugin::setCpuMetering.
    ControlDebugInfo(Editor& editor, const std::array<CPUMeter*, RowCount>& meters);
    ~ControlDebugInfo() override;

    /// Takes the control's place, which it widens by the strip, and the control itself, which
    /// stands to the right of the strip then.
    void wrap(std::unique_ptr<Control> control);

    void refresh() override;
    void suspend() override;

    const std::array<ControlCPUMeter*, RowCount>& rows() const { return rows_; }

private:
    void setRunning(bool isRunning);

    std::array<ControlCPUMeter*, RowCount> rows_{};  // children
};

}  // namespace tarn
