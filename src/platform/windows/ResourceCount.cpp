#include "platform/windows/ResourceCount.h"

#include <atomic>

namespace tarn::platform {

namespace {

std::atomic<int> held{0};

}

int heldResources() noexcept {
    return held;
}

void countTaken() noexcept {
    ++held;
}

void countGivenBack(bool isGivenBack) noexcept {
    if (isGivenBack)
        --held;
}

}  // namespace tarn::platform
