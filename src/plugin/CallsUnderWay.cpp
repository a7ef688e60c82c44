#include "plugin/CallsUnderWay.h"

#include <utility>

namespace tarn {

namespace {

// Of this thread, the innermost.
thread_local const CallsUnderWay::Call* newest = nullptr;

}  // namespace

CallsUnderWay::Call::Call(CallsUnderWay& calls) noexcept
    : calls_(calls), life_(calls.life_), before_(std::exchange(newest, this)) {}

CallsUnderWay::Call::~Call() {
    newest = before_;
    if (life_.expired() || !calls_.end_ || calls_.isAnyUnderWay())
        return;
    const std::function<void()> end = std::exchange(calls_.end_, nullptr);
    end();
}

bool CallsUnderWay::isAnyUnderWay() const noexcept {
    const Call* found = newest;
    while (found != nullptr && (&found->calls_ != this || found->life_.expired()))
        found = found->before_;
    return found != nullptr;
}

bool CallsUnderWay::putOffEnd(std::function<void()> end) {
    if (!isAnyUnderWay())
        return false;
    end_ = std::move(end);
    return true;
}

}  // namespace tarn
