// Which thread this is.
#pragma once

#include <cstdint>

namespace tarn::platform {

/// The calling thread's number among those that live now: never 0, and even. Any thread, the audio
/// thread included.
std::uintptr_t currentThreadId() noexcept;

}  // namespace tarn::platform
