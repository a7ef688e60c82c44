// The ticks of a window, on the thread of its window.
#pragma once

#include <cstdint>

namespace tarn {

/// Runs from its construction to its end; made and destroyed on the window's thread. How the ticks
/// arrive is told at platform::startWindowTimer.
class WindowTimer {
public:
    /// By which the window's procedure knows the timer.
    static constexpr std::uintptr_t Identifier = 275;

    WindowTimer(void* window, std::uint32_t periodMs);
    WindowTimer(const WindowTimer&) = delete;
    WindowTimer& operator=(const WindowTimer&) = delete;
    virtual ~WindowTimer();

    /// What the system calls the timer; 0 if there was none to give.
    std::intptr_t timerHandle() const noexcept { return timerHandle_; }

private:
    void* window_;
    std::intptr_t timerHandle_;
};

}  // namespace tarn
