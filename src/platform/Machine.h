// Facts about the machine and its operating system, and the set-up of the process's heap.
#pragma once

#include <optional>

namespace tarn::platform {

/// Of logical processors, at least 1.
int processorCount() noexcept;

struct WindowsVersion {
    unsigned major;
    unsigned minor;
};

/// As the host program's manifest lets Windows tell it; nothing on another system.
std::optional<WindowsVersion> windowsVersion() noexcept;

enum class HeapSetup {
    Unknown,  // the system has no such choice
    Done,
    Refused,
};

/// Asks for the low-fragmentation heap, in which small blocks of a long-lived process stay
/// together.
HeapSetup useLowFragmentationHeap() noexcept;

}  // namespace tarn::platform
