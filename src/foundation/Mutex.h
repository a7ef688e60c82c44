// A lock that its own thread may enter again.
#pragma once

#include <mutex>

namespace tarn {

/// Not for the audio thread where another thread may hold it for longer than a few instructions.
class Mutex {
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Waits until no other thread is inside. Each `enter` needs its `leave` on the same thread.
    /// The argument is ignored.
    void enter(int = 0) { mutex_.lock(); }
    void leave() { mutex_.unlock(); }

    // The same under the standard's names, for std::lock_guard and its kin.
    void lock() { enter(); }
    void unlock() { leave(); }
    bool try_lock() { return mutex_.try_lock(); }

private:
    std::recursive_mutex mutex_;
};

}  // namespace tarn
