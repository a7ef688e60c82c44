// Shows an integer as digits.
#pragma once

#include "editor/ControlValue.h"

#include <cstdint>
#include <limits>
#include <string>

namespace tarn {

/// Padded with zeros; the first choice of a list is shown as a row of "-". Interface thread.
class ControlValueDisplay : public ControlValue {
public:
    using ControlValue::ControlValue;

    void importDictionary(const Dictionary& dictionary) override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;

private:
    std::string text() const;

    std::int32_t digits_ = 0;
    std::int32_t minValue_ = std::numeric_limits<std::int32_t>::min();  // of what is shown
    std::int32_t maxValue_ = std::numeric_limits<std::int32_t>::max();
};

}  // namespace tarn
