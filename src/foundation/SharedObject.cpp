#include "foundation/SharedObject.h"

#include <algorithm>

namespace tarn {

SharedObject::SharedObject() : counter_(new Counter) {}

SharedObject::SharedObject(const SharedObject& other) noexcept : counter_(other.counter_) {
    join(1);
}

SharedObject& SharedObject::operator=(const SharedObject& other) noexcept {
    if (counter_ == other.counter_)
        return *this;
    leave();
    counter_ = other.counter_;
    held_.store(std::max(held_.load(std::memory_order_relaxed), 1), std::memory_order_relaxed);
    join(held_.load(std::memory_order_relaxed));
    return *this;
}

SharedObject::~SharedObject() {
    leave();
}

std::int32_t SharedObject::retain() noexcept {
    held_.fetch_add(1, std::memory_order_relaxed);
    return counter_->count.fetch_add(1, std::memory_order_relaxed) + 1;
}

std::int32_t SharedObject::release() noexcept {
    held_.fetch_sub(1, std::memory_order_relaxed);
    const std::int32_t left = counter_->count.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0)
        delete this;
    return left;
}

bool SharedObject::isShared() const noexcept {
    return counter_->count.load(std::memory_order_acquire) > 1;
}

void SharedObject::join(std::int32_t held) noexcept {
    counter_->count.fetch_add(held, std::memory_order_relaxed);
    counter_->handles.fetch_add(1, std::memory_order_relaxed);
}

void SharedObject::leave() noexcept {
    counter_->count.fetch_sub(held_.load(std::memory_order_relaxed), std::memory_order_acq_rel);
    if (counter_->handles.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete counter_;
}

}  // namespace tarn
