// Something that happens once, and that another thread waits for. The standard's latch loses
// wake-ups where GCC builds it without futexes, as for Windows.
#pragma once

#include <condition_variable>
#include <mutex>

namespace tarn {

class Signal {
public:
    void raise() {
        const std::lock_guard hold(lock_);
        raised_ = true;
        changed_.notify_all();
    }
    void wait() {
        std::unique_lock hold(lock_);
        changed_.wait(hold, [this] { return raised_; });
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool raised_ = false;
};

/// Two threads, `i` 0 and 1, wait for each other.
class Meeting {
public:
    void arrive(int i) {
        arrived_[i].raise();
        arrived_[1 - i].wait();
    }

private:
    Signal arrived_[2];
};

}  // namespace tarn
