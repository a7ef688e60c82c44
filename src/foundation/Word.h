// A single value that several threads read and write, such as a parameter's.
#pragma once

#include <atomic>

namespace tarn {

/// Of a machine word at most. Readers see the old value or the new one, whole; nothing is said
/// about the order of changes to several words. Costs what a plain variable costs. Any thread.
template <typename T>
class Word {
    static_assert(std::atomic<T>::is_always_lock_free);

public:
    Word(T value = T()) noexcept : value_(value) {}  // NOLINT: reads as the value
    Word(const Word& other) noexcept : value_(other.get()) {}
    Word& operator=(const Word& other) noexcept { return *this = other.get(); }
    Word& operator=(T value) noexcept {
        value_.store(value, std::memory_order_relaxed);
        return *this;
    }
    ~Word() = default;

    T get() const noexcept { return value_.load(std::memory_order_relaxed); }
    operator T() const noexcept { return get(); }  // NOLINT: reads as the value

    /// Puts `value` in place, and returns what was there.
    T exchange(T value) noexcept { return value_.exchange(value, std::memory_order_relaxed); }

private:
    std::atomic<T> value_;
};

}  // namespace tarn
