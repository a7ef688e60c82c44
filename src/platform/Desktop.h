// What the user points with and types on, and the browser. Interface thread.
#pragma once

#include <string>

namespace tarn::platform {

enum class CursorShape { Arrow, Move, LeftRight, UpDown, Hand, Wait };

/// Shows one of the system's cursors, and again whenever the pointer comes into one of our windows,
/// until the next call. Linux: nothing yet.
void setCursor(CursorShape shape);

/// Whether a key is held down, by its Windows virtual-key code: 0x10 shift, 0x11 control, 0x12 alt.
/// On Linux, and while there is an OffscreenDesktop, those that it says.
bool isKeyDown(int virtualKey);

/// Hands an address to the program that the user has chosen for its kind; false if that can't be
/// started. The system starts whatever program an address names: the caller makes sure that it is
/// one of the web.
bool openAddress(const std::string& address);

namespace detail {

// Of each system.
bool isSystemKeyDown(int virtualKey);

}  // namespace detail

}  // namespace tarn::platform
