#include "audio/IOChannel.h"

#include "audio/Alignment.h"
#include "foundation/Allocator.h"

#include <emmintrin.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>

namespace tarn {

namespace {

constexpr int CapacityStep = 16;  // samples, a power of two

std::atomic<int> channelsAlive{0};
std::atomic<int> buffersAlive{0};

float* makeBuffer(int samples) {
    auto* buffer = new (Allocator::Alignment) float[static_cast<std::size_t>(samples)]();
    buffersAlive.fetch_add(1, std::memory_order_relaxed);
    return buffer;
}

void freeBuffer(float* buffer) noexcept {
    if (buffer == nullptr)
        return;
    ::operator delete[](buffer, Allocator::Alignment);
    buffersAlive.fetch_sub(1, std::memory_order_relaxed);
}

struct Add {
    __m128 gain;
    __m128 operator()(__m128 a, __m128 b) const { return _mm_add_ps(a, _mm_mul_ps(b, gain)); }
};

// Intrinsics, because compilers make a loop of this that takes 1.3 times as long.
struct Screen {
    __m128 operator()(__m128 a, __m128 b) const {
        return _mm_sub_ps(_mm_add_ps(a, b), _mm_mul_ps(a, b));
    }
};

template <typename Sum>
void sumFour(float* to, const float* from, Sum sum) noexcept {
    _mm_storeu_ps(to, sum(_mm_loadu_ps(to), _mm_loadu_ps(from)));
}

// From `begin` on, in the same arithmetic as four at a time.
template <typename Sum>
void sumOneByOne(float* to, const float* from, int begin, int end, Sum sum) noexcept {
    for (int i = begin; i < end; ++i)
        _mm_store_ss(to + i, sum(_mm_load_ss(to + i), _mm_load_ss(from + i)));
}

// A store across two cache lines costs more than one at a time up to where none is; in few samples
// there are too few such stores.
constexpr int WorthAligning = 256;  // samples

// Four at a time, unless a sample would then be read before it changes.
template <typename Sum>
void sumUp(float* to, const float* from, int samples, Sum sum) noexcept {
    int i = 0;
    if (!overlap(to, from, samples)) {
        if (samples >= WorthAligning) {
            i = samplesToAlignment(to);
            sumOneByOne(to, from, 0, i, sum);
        }
        for (; i + 8 <= samples; i += 8) {
            sumFour(to + i, from + i, sum);
            sumFour(to + i + 4, from + i + 4, sum);
        }
    }
    sumOneByOne(to, from, i, samples, sum);
}

}  // namespace

IOChannel<float>::IOChannel(int size, float* external) {
    if (external != nullptr) {
        data_ = external;
        size_ = count_ = std::max(size, 0);
    } else if (size > 0) {
        allocate(size);
    }
    channelsAlive.fetch_add(1, std::memory_order_relaxed);
}

IOChannel<float>::IOChannel(const IOChannel& src, int offset, int length)
    : SharedObject(src), gain(src.gain), reserved(src.reserved), buffer_(src.buffer_) {
    const int end = std::max(src.size_, src.capacity_);
    offset = std::clamp(offset, 0, end);
    data_ = src.data_ + offset;
    capacity_ = std::max(src.capacity_ - offset, 0);
    size_ = std::min(length > 0 ? length : src.size_, end - offset);
    count_ = std::min(src.count_, size_);
    channelsAlive.fetch_add(1, std::memory_order_relaxed);
}

IOChannel<float>::~IOChannel() {
    if (!isShared())
        freeBuffer(buffer_);
    channelsAlive.fetch_sub(1, std::memory_order_relaxed);
}

void IOChannel<float>::leaveBuffer() {
    if (isShared())
        SharedObject::operator=(SharedObject());
    else
        freeBuffer(buffer_);
    buffer_ = nullptr;
    owned_ = false;
}

void IOChannel<float>::allocate(int n) {
    if (n > std::numeric_limits<int>::max() - (CapacityStep - 1))
        throw std::bad_alloc();
    const int capacity = (std::max(n, 0) + CapacityStep - 1) & ~(CapacityStep - 1);
    std::unique_ptr<float, void (*)(float*)> buffer(capacity > 0 ? makeBuffer(capacity) : nullptr,
                                                    freeBuffer);
    leaveBuffer();
    data_ = buffer_ = buffer.release();
    owned_ = capacity > 0;
    size_ = capacity_ = capacity;
    count_ = 0;
}

void IOChannel<float>::setSize(int n) {
    if (n == size_)
        return;
    if (n > capacity_) {
        allocate(n);
        return;
    }
    size_ = std::max(n, 0);
    count_ = std::min(count_, size_);
}

bool IOChannel<float>::append(const IOChannel& src) noexcept {
    const int n = std::min(src.count_, size_ - count_);
    copy(data_ + count_, src.data_, n);
    count_ += n;
    return count_ < size_;
}

void IOChannel<float>::addUp(float* to, const float* from, int samples, float factor) noexcept {
    sumUp(to, from, samples, Add{_mm_set1_ps(factor)});
}

void IOChannel<float>::screen(float* to, const float* from, int samples) noexcept {
    sumUp(to, from, samples, Screen{});
}

void IOChannel<float>::clear(int start, int length) noexcept {
    start = std::max(start, 0);
    if (start > size_)
        return;
    const int end = length < 0 || length > size_ - start ? size_ : start + length;
    std::fill(data_ + start, data_ + end, 0.0f);
    count_ = std::max(count_, end);
}

void IOChannel<float>::replace(const IOChannel& src) {
    if (buffer_ != src.buffer_) {
        leaveBuffer();
        if (src.buffer_ != nullptr)
            SharedObject::operator=(src);
        buffer_ = src.buffer_;
    }
    data_ = src.data_;
    owned_ = src.owned_;
    capacity_ = src.capacity_;
    size_ = src.size_;
    count_ = src.count_;
    gain = src.gain;
    reserved = src.reserved;
}

int IOChannel<float>::liveChannels() noexcept {
    return channelsAlive.load(std::memory_order_relaxed);
}

int IOChannel<float>::liveBuffers() noexcept {
    return buffersAlive.load(std::memory_order_relaxed);
}

}  // namespace tarn
