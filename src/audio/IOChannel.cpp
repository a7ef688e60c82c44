#include "audio/IOChannel.h"

#include "audio/Alignment.h"
#include "foundation/Allocator.h"

#include <emmintrin.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <limits>
#include <new>

namespace tarn {

namespace {

constexpr int CapacityStep = 16;  // samples, a power of two

std::atomic<int> channelsAlive{0};
std::atomic<int> buffersAlive{0};

std::shared_ptr<float[]> makeBuffer(int samples) {
    auto* memory = new (Allocator::Alignment) float[static_cast<std::size_t>(samples)]();
    buffersAlive.fetch_add(1, std::memory_order_relaxed);
    return {memory, [](float* buffer) {
                ::operator delete[](buffer, Allocator::Alignment);
                buffersAlive.fetch_sub(1, std::memory_order_relaxed);
            }};
}

struct Add {
    static __m128 sum(__m128 a, __m128 b) { return _mm_add_ps(a, b); }
};

struct Screen {
    static __m128 sum(__m128 a, __m128 b) { return _mm_sub_ps(_mm_add_ps(a, b), _mm_mul_ps(a, b)); }
};

template <typename Kind>
void sumFour(float* to, const float* from) noexcept {
    _mm_storeu_ps(to, Kind::sum(_mm_loadu_ps(to), _mm_loadu_ps(from)));
}

// From `begin` on, in the same arithmetic as four at a time.
template <typename Kind>
void sumOneByOne(float* to, const float* from, int begin, int end) noexcept {
    for (int i = begin; i < end; ++i)
        _mm_store_ss(to + i, Kind::sum(_mm_load_ss(to + i), _mm_load_ss(from + i)));
}

template <typename Kind>
void sum(float* to, const float* from, int samples) noexcept {
    // A store across two cache lines costs more than one at a time up to where none is.
    int i = std::min(samplesToAlignment(to), samples);
    sumOneByOne<Kind>(to, from, 0, i);
    for (; i + 8 <= samples; i += 8) {
        sumFour<Kind>(to + i, from + i);
        sumFour<Kind>(to + i + 4, from + i + 4);
    }
    sumOneByOne<Kind>(to, from, i, samples);
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
    channelsAlive.fetch_sub(1, std::memory_order_relaxed);
}

void IOChannel<float>::leaveShare() {
    if (isShared())
        SharedObject::operator=(SharedObject());
}

void IOChannel<float>::leaveBuffer() {
    leaveShare();
    buffer_.reset();
    owned_ = false;
}

void IOChannel<float>::allocate(int n) {
    if (n > std::numeric_limits<int>::max() - (CapacityStep - 1))
        throw std::bad_alloc();
    const int capacity = (std::max(n, 0) + CapacityStep - 1) & ~(CapacityStep - 1);
    auto buffer = capacity > 0 ? makeBuffer(capacity) : nullptr;
    leaveShare();
    buffer_ = std::move(buffer);
    data_ = buffer_.get();
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

void IOChannel<float>::mix(const IOChannel& src, bool add) noexcept {
    const int n = std::min(src.size_, size_);
    const bool apart = data_ == src.data_ || !overlaps(src);
    if (add)
        apart ? sum<Add>(data_, src.data_, n) : sumOneByOne<Add>(data_, src.data_, 0, n);
    else
        apart ? sum<Screen>(data_, src.data_, n) : sumOneByOne<Screen>(data_, src.data_, 0, n);
    count_ = n;
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
        if (src.buffer_ != nullptr)
            SharedObject::operator=(src);
        else
            leaveShare();
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
