// Where a program leaves words for whoever debugs it.
#pragma once

namespace tarn::platform {

/// Sends UTF-8 text as it stands: to an attached debugger or a viewer of debug output on Windows,
/// to the standard error stream on Linux. Any thread but the audio thread.
void debugOutput(const char* text) noexcept;

}  // namespace tarn::platform
