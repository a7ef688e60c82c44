// Single words of memory that another process, or another thread, may change at any time.
#pragma once

#include <atomic>

namespace tarn {

#if defined(TARN_WATCH_LOADS)
/// The tests' model of a connection is built with this: what other processes do just before a load.
inline void (*beforeLoad)() = nullptr;
#endif

/// The whole word as it was at one moment.
template <typename Word>
Word loadShared(const Word& word, std::memory_order order = std::memory_order_relaxed) noexcept {
#if defined(TARN_WATCH_LOADS)
    if (beforeLoad != nullptr)
        beforeLoad();
#endif
    return std::atomic_ref<Word>(const_cast<Word&>(word)).load(order);
}

template <typename Word>
void storeShared(Word& word, Word value,
                 std::memory_order order = std::memory_order_relaxed) noexcept {
    std::atomic_ref<Word>(word).store(value, order);
}

/// Puts `value` in the place of `expected`; false when something else was there.
template <typename Word>
bool exchangeShared(Word& word, Word expected, Word value) noexcept {
    return std::atomic_ref<Word>(word).compare_exchange_strong(expected, value);
}

/// std::atomic_thread_fence, which ThreadSanitizer doesn't know. Under it the compiler alone is
/// kept from moving accesses, which on x86 is all that acquire and release fences do.
inline void fenceShared(std::memory_order order) noexcept {
#if defined(__SANITIZE_THREAD__)
    std::atomic_signal_fence(order);
#else
    std::atomic_thread_fence(order);
#endif
}

}  // namespace tarn
