// The cursor that our windows show.
#pragma once

#include <windows.h>

namespace tarn::platform {

/// Of the shape that `setCursor` was given last; the system's, not to be destroyed. Any thread.
HCURSOR currentCursor();

}  // namespace tarn::platform
