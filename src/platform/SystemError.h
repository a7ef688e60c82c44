// The operating system's last failure on this thread, in its own words.
#pragma once

#include <cstdint>
#include <string>

namespace tarn::platform {

/// The code of the last failed call of this thread: GetLastError, errno.
std::uint32_t lastSystemError() noexcept;

/// The text of a code in the system's language, in UTF-8 and on one line; never empty.
std::string systemErrorText(std::uint32_t code);

}  // namespace tarn::platform
