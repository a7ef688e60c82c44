// What tests of several threads share.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <random>
#include <thread>

namespace tarn {

/// Something that happens once, and that another thread waits for; CTest ends a deadlock. The
/// standard's latch loses wake-ups where GCC builds it without futexes, as for Windows.
class Signal {
public:
    void raise() { raised_ = true; }
    void wait() const {
        while (!raised_)
            std::this_thread::yield();
    }

private:
    std::atomic<bool> raised_{false};
};

/// Time for another thread to do what it mustn't do yet.
inline void yieldOften() {
    for (int i = 0; i < 1000; ++i)
        std::this_thread::yield();
}

/// A number below `sides`; each thread has a sequence of its own.
inline std::size_t dice(std::size_t sides) {
    static std::atomic<unsigned> threads{0};
    thread_local std::minstd_rand random(++threads);
    return random() / 7 % sides;
}

template <typename Work>
void onEightThreads(const Work& work) {
    std::thread threads[8];
    for (std::thread& thread : threads)
        thread = std::thread(std::cref(work));
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace tarn
