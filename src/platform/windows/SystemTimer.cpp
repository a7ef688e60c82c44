#include "platform/SystemTimer.h"

#include "platform/Thread.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <mutex>

namespace tarn::platform {

namespace {

// 24 days. The system can't change a timer that has fired and has no period, so one that fires once
// gets this one, and one that is stopped is as far off.
constexpr DWORD Never = 0x7FFFFFFF;

}  // namespace

struct SystemTimer::Impl {
    enum class State { Stopped, Once, Repeating };

    static VOID CALLBACK onTimer(PVOID self, BOOLEAN fired);

    Callback callback;
    void* context;
    std::atomic<State> state{State::Stopped};
    std::atomic<std::uintptr_t> callbackThread{0};  // inside the callback; 0 for none

    std::mutex lock;  // guards what follows
    HANDLE handle = nullptr;
};

VOID CALLBACK SystemTimer::Impl::onTimer(PVOID self, BOOLEAN fired) {
    auto* impl = static_cast<Impl*>(self);
    std::uintptr_t none = 0;
    if (fired == FALSE || !impl->callbackThread.compare_exchange_strong(none, currentThreadId()))
        return;
    State once = State::Once;
    if (impl->state.compare_exchange_strong(once, State::Stopped) || once == State::Repeating)
        impl->callback(impl->context);
    impl->callbackThread = 0;
}

SystemTimer::SystemTimer(Callback callback, void* context) : impl_(std::make_unique<Impl>()) {
    impl_->callback = callback;
    impl_->context = context;
}

SystemTimer::~SystemTimer() {
    if (impl_->handle == nullptr)
        return;
    // INVALID_HANDLE_VALUE: return when the last callback has. The system asks for a new try at any
    // other failure than "pending".
    while (::DeleteTimerQueueTimer(nullptr, impl_->handle, INVALID_HANDLE_VALUE) == FALSE &&
           ::GetLastError() != ERROR_IO_PENDING)
        ::Sleep(1);
}

bool SystemTimer::start(std::uint32_t dueMs, std::uint32_t periodMs) {
    const std::lock_guard guard(impl_->lock);
    const DWORD due = std::min<DWORD>(dueMs, Never);
    const DWORD period = periodMs == 0 ? Never : std::min<DWORD>(periodMs, Never);
    impl_->state = periodMs == 0 ? Impl::State::Once : Impl::State::Repeating;
    const BOOL done =
        impl_->handle != nullptr
            ? ::ChangeTimerQueueTimer(nullptr, impl_->handle, due, period)
            : ::CreateTimerQueueTimer(&impl_->handle, nullptr, &Impl::onTimer, impl_.get(), due,
                                      period, WT_EXECUTEINPERSISTENTTHREAD);
    return done != FALSE;
}

void SystemTimer::stop() {
    const std::lock_guard guard(impl_->lock);
    impl_->state = Impl::State::Stopped;
    if (impl_->handle != nullptr)
        ::ChangeTimerQueueTimer(nullptr, impl_->handle, Never, Never);
}

bool SystemTimer::isCallingBack() const noexcept {
    return impl_->callbackThread == currentThreadId();
}

}  // namespace tarn::platform
