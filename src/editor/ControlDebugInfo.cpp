#include "editor/ControlDebugInfo.h"

#include "audio/CPUMeter.h"
#include "editor/ControlCPUMeter.h"
#include "editor/Editor.h"
#include "plugin/Plugin.h"

#include <algorithm>
#include <utility>

namespace tarn {

namespace {

constexpr std::int32_t StripWidth = 160, Gap = 4, RowHeight = 44;
constexpr const char* Labels[] = {"engine", "editor", "midi", "usage"};
constexpr std::size_t OwnRows[] = {1, 3};  // the interface's

}  // namespace

ControlDebugInfo::ControlDebugInfo(Editor& editor, const std::array<CPUMeter*, RowCount>& meters)
    : ControlContainer(editor) {
    backgroundColor_ = Color::fromBytes(255, 190, 50, 255);
    for (std::size_t i = 0; i < RowCount; ++i) {
        auto row = std::make_unique<ControlCPUMeter>(editor, *meters[i], Labels[i]);
        const auto top = Gap + static_cast<std::int32_t>(i) * (RowHeight + Gap);
        row->setPosition({Gap, top, StripWidth - Gap, top + RowHeight});
        rows_[i] = row.get();
        addChild(std::move(row));
    }
}

ControlDebugInfo::~ControlDebugInfo() {
    setRunning(false);
}

void ControlDebugInfo::wrap(std::unique_ptr<Control> control) {
    const Rect place = control->getRect();
    setPosition({place.left, place.top, place.right + StripWidth, place.bottom});
    control->setPosition({StripWidth, 0, StripWidth + place.width(), place.height()});
    addChild(std::move(control));
}

void ControlDebugInfo::refresh() {
    ControlContainer::refresh();
    setRunning(true);
}

void ControlDebugInfo::suspend() {
    setRunning(false);
    ControlContainer::suspend();
}

void ControlDebugInfo::setRunning(bool isRunning) {
    editor().instance().setCpuMetering(isRunning);
    for (const std::size_t i : OwnRows)
        if (isRunning)
            rows_[i]->meter().start();
        else
            rows_[i]->meter().stop();
}

}  // namespace tarn
