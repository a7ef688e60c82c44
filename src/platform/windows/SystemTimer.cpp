#include "platform/SystemTimer.h"

#include "platform/Clock.h"
#include "platform/Thread.h"

#include <windows.h>

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace tarn::platform {

// The system calls a timer by its number, not by its address: a call that is still queued when its
// timer has gone finds nothing under that number, and nobody needs to wait for it.
struct SystemTimer::Impl {
    static VOID CALLBACK onTimer(PVOID number, BOOLEAN fired);
    static bool isInsideACallback();

    Callback callback;
    void* context;
    std::uintptr_t number;

    // Guarded by the one lock of all timers.
    HANDLE handle = nullptr;
    bool isStarted = false;
    double earliest = 0.0;  // seconds; a call before that was queued before the last start
    std::uintptr_t callbackThread = 0;  // inside the callback; 0 for none

    static std::mutex lock;
    static std::condition_variable callbackOver;
    static std::map<std::uintptr_t, Impl*> timers;  // by their numbers
    static std::uintptr_t lastNumber;
    static std::vector<HANDLE> toDelete;  // of timers that went inside another one's callback
};

std::mutex SystemTimer::Impl::lock;
std::condition_variable SystemTimer::Impl::callbackOver;
std::map<std::uintptr_t, SystemTimer::Impl*> SystemTimer::Impl::timers;
std::uintptr_t SystemTimer::Impl::lastNumber = 0;
std::vector<HANDLE> SystemTimer::Impl::toDelete;

namespace {

// 24 days: as far off as the system lets a stopped timer be.
constexpr DWORD Never = 0x7FFFFFFF;

// INVALID_HANDLE_VALUE: returns when the last call has. The system asks for a new try at any other
// failure than "pending".
void deleteTimer(HANDLE timer) {
    while (::DeleteTimerQueueTimer(nullptr, timer, INVALID_HANDLE_VALUE) == FALSE &&
           ::GetLastError() != ERROR_IO_PENDING)
        ::Sleep(1);
}

}  // namespace

VOID CALLBACK SystemTimer::Impl::onTimer(PVOID number, BOOLEAN fired) {
    std::unique_lock guard(lock);
    const auto found = timers.find(reinterpret_cast<std::uintptr_t>(number));
    if (fired == FALSE || found == timers.end())
        return;
    Impl& timer = *found->second;
    if (!timer.isStarted || timer.callbackThread != 0 ||
        systemHighResolutionSeconds() < timer.earliest)
        return;
    timer.callbackThread = currentThreadId();
    guard.unlock();
    timer.callback(timer.context);
    guard.lock();
    timer.callbackThread = 0;
    callbackOver.notify_all();
}

// Under the lock. Whether this thread is inside the callback of a timer that lives.
bool SystemTimer::Impl::isInsideACallback() {
    return std::any_of(timers.begin(), timers.end(), [](const auto& timer) {
        return timer.second->callbackThread == currentThreadId();
    });
}

SystemTimer::SystemTimer(Callback callback, void* context) : impl_(std::make_unique<Impl>()) {
    impl_->callback = callback;
    impl_->context = context;
    const std::lock_guard guard(Impl::lock);
    impl_->number = ++Impl::lastNumber;
    Impl::timers.emplace(impl_->number, impl_.get());
}

SystemTimer::~SystemTimer() {
    std::unique_lock guard(Impl::lock);
    impl_->isStarted = false;
    Impl::callbackOver.wait(guard, [this] { return impl_->callbackThread == 0; });
    Impl::timers.erase(impl_->number);
    if (impl_->handle != nullptr)
        Impl::toDelete.push_back(impl_->handle);
    if (Impl::isInsideACallback()) {
        // A call of this timer may be queued behind the one that we are inside: the system can't be
        // waited for. The next timer that goes elsewhere waits.
        if (impl_->handle != nullptr)
            ::ChangeTimerQueueTimer(nullptr, impl_->handle, Never, Never);
        return;
    }
    const std::vector<HANDLE> handles = std::exchange(Impl::toDelete, {});
    guard.unlock();
    for (HANDLE handle : handles)
        deleteTimer(handle);
}

bool SystemTimer::start(std::uint32_t periodMs) {
    const std::lock_guard guard(Impl::lock);
    const DWORD period = std::min<DWORD>(periodMs, Never);
    // Half a period, because the system may call a little early.
    impl_->earliest = systemHighResolutionSeconds() + period / 2000.0;
    impl_->isStarted =
        impl_->handle != nullptr
            ? ::ChangeTimerQueueTimer(nullptr, impl_->handle, period, period) != FALSE
            : ::CreateTimerQueueTimer(&impl_->handle, nullptr, &Impl::onTimer,
                                      reinterpret_cast<PVOID>(impl_->number), period, period,
                                      WT_EXECUTEINPERSISTENTTHREAD) != FALSE;
    return impl_->isStarted;
}

void SystemTimer::stop() {
    const std::lock_guard guard(Impl::lock);
    impl_->isStarted = false;
    if (impl_->handle != nullptr)
        ::ChangeTimerQueueTimer(nullptr, impl_->handle, Never, Never);
}

}  // namespace tarn::platform
