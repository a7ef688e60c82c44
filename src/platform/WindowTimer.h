// A window's own timer, for work that belongs on the thread of its window.
#pragma once

#include <cstdint>

namespace tarn::platform {

/// Starts a timer of `identifier` for a window and returns what the system calls it, 0 on failure.
///
/// Windows: `window` is a window handle, and each tick comes to its procedure as a timer message.
/// Linux: the result is the descriptor of a kernel timer, which becomes readable at each tick, for
/// the event loop that serves the window; the window itself isn't needed.
std::intptr_t startWindowTimer(void* window, std::uintptr_t identifier, std::uint32_t periodMs);

void stopWindowTimer(void* window, std::intptr_t timer);

}  // namespace tarn::platform
