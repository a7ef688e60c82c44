#include "vst/AudioGate.h"

#include "platform/Clock.h"

#include <chrono>
#include <thread>

namespace tarn {

namespace {

// Longer than any block takes; a host that is held up for so long takes no harm from a refusal.
constexpr double LongestWait = 0.2;  // seconds

}  // namespace

bool AudioGate::enterForChange() {
    state_.fetch_add(OneChange, std::memory_order_relaxed);
    const double end = platform::highResolutionSeconds() + LongestWait;
    while (!enter()) {
        if (isOwn() || platform::highResolutionSeconds() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

void AudioGate::leaveAfterChange(bool isInside) noexcept {
    if (isInside)
        leave();
    state_.fetch_sub(OneChange, std::memory_order_release);
}

}  // namespace tarn
