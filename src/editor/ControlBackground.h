// The root of an interface: an image as large as that.
#pragma once

#include "editor/ControlBitmap.h"

namespace tarn {

class ControlBackground : public ControlBitmap {
public:
    using ControlBitmap::ControlBitmap;
};

}  // namespace tarn
