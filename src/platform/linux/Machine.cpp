#include "platform/Machine.h"

#include <unistd.h>

#include <algorithm>

namespace tarn::platform {

int processorCount() noexcept {
    return static_cast<int>(std::max(::sysconf(_SC_NPROCESSORS_ONLN), 1L));
}

std::optional<WindowsVersion> windowsVersion() noexcept {
    return std::nullopt;
}

HeapSetup useLowFragmentationHeap() noexcept {
    return HeapSetup::Unknown;
}

}  // namespace tarn::platform
