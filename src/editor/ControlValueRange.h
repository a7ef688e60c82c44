// Shows a value as a length from a fixed point.
#pragma once

#include "editor/ControlValue.h"

#include <memory>

namespace tarn {

/// Shows so much of its image. The pointer goes through it. Interface thread.
class ControlValueRange : public ControlValue {
public:
    explicit ControlValueRange(Editor& editor);

    void importDictionary(const Dictionary& dictionary) override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;

private:
    enum class Growth { MinToMax, MaxToMin, Centered };

    Rect filled() const;

    std::shared_ptr<Bitmap> handleBitmap_;
    bool vertical_ = true;
    Growth growth_ = Growth::MinToMax;
};

}  // namespace tarn
