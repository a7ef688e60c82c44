// A timer of the operating system, which calls back on a thread of its own.
#pragma once

#include <cstdint>
#include <memory>

namespace tarn::platform {

/// Windows: a timer of the default timer queue, all of which share its persistent thread. Linux: a
/// thread a timer, on the monotonic clock. A call that is due while the one before it runs is left
/// out.
class SystemTimer {
public:
    using Callback = void (*)(void* context);

    /// Silent until it is started. `context` must live until the destructor returns.
    SystemTimer(Callback callback, void* context);
    SystemTimer(const SystemTimer&) = delete;
    SystemTimer& operator=(const SystemTimer&) = delete;

    /// Returns when a running callback is over, and no other comes after. Not inside the callback,
    /// but inside another timer's it may be. Windows: may also wait for other timers' callbacks,
    /// unless it is called inside one.
    ~SystemTimer();

    /// Calls back every `periodMs` milliseconds, 1 or more, the first time after one period.
    /// Replaces what was set before. False if the system has no timer to give. Any thread, the
    /// callback's included.
    bool start(std::uint32_t periodMs);

    /// Doesn't wait for a running callback. Any thread, the callback's included.
    void stop();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace tarn::platform
