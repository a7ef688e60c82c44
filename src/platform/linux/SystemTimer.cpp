#include "platform/SystemTimer.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace tarn::platform {

struct SystemTimer::Impl {
    using Clock = std::chrono::steady_clock;

    void run();

    Callback callback;
    void* context;

    std::mutex lock;  // guards what follows, and is free during callbacks
    std::condition_variable changed;
    std::optional<Clock::time_point> due;
    std::chrono::milliseconds period{0};
    bool ending = false;
    std::thread thread;  // from the first start on
};

void SystemTimer::Impl::run() {
    std::unique_lock guard(lock);
    while (!ending) {
        if (!due) {
            changed.wait(guard);
            continue;
        }
        const Clock::time_point now = Clock::now();
        if (now < *due) {
            changed.wait_until(guard, *due);
            continue;
        }
        *due += period * ((now - *due) / period + 1);  // without those that were missed
        guard.unlock();
        callback(context);
        guard.lock();
    }
}

SystemTimer::SystemTimer(Callback callback, void* context) : impl_(std::make_unique<Impl>()) {
    impl_->callback = callback;
    impl_->context = context;
}

SystemTimer::~SystemTimer() {
    {
        const std::lock_guard guard(impl_->lock);
        impl_->ending = true;
    }
    impl_->changed.notify_one();
    if (impl_->thread.joinable())
        impl_->thread.join();
}

bool SystemTimer::start(std::uint32_t periodMs) {
    const std::lock_guard guard(impl_->lock);
    if (!impl_->thread.joinable()) {
        try {
            impl_->thread = std::thread(&Impl::run, impl_.get());
        } catch (const std::system_error&) {
            return false;
        }
    }
    impl_->period = std::chrono::milliseconds(periodMs);
    impl_->due = Impl::Clock::now() + impl_->period;
    impl_->changed.notify_one();
    return true;
}

void SystemTimer::stop() {
    const std::lock_guard guard(impl_->lock);
    impl_->due.reset();
}

}  // namespace tarn::platform
