#include "foundation/TimerAnimation.h"

#include <algorithm>
#include <cmath>

namespace tarn {

TimerAnimation::TimerAnimation(Radio* parent, const Message* message, float from, float to,
                               std::int32_t steps, double durationMs)
    : Timer(parent, message, durationMs / std::max(steps, 1), false),
      from_(from),
      to_(to),
      steps_(std::max(steps, 1)),
      value_(from) {}

TimerAnimation::~TimerAnimation() {
    end();
}

void TimerAnimation::setDuration(double ms) {
    setPeriod(ms / steps_);
}

void TimerAnimation::setRange(float from, float to) {
    const RadioLock::Hold delivery(deliveryLock());
    from_ = from;
    to_ = to;
    position_ = 0;
}

void TimerAnimation::jump() {
    const RadioLock::Hold delivery(deliveryLock());
    position_ = steps_ - 1;
    tick();
}

void TimerAnimation::tick() {
    const RadioLock::Hold delivery(deliveryLock());
    advance();
    value_.store((to_ - from_) * static_cast<float>(position_) / static_cast<float>(steps_) + from_,
                 std::memory_order_relaxed);
    if (message() != nullptr)
        message()->payload = toPayload(value());
    Timer::tick();
    if (position_ < steps_ - 1)
        return;
    position_ = 0;
    stop(false);
}

// By the time since the last tick, in whole steps.
void TimerAnimation::advance() {
    const double stepsPassed = std::round(secondsSinceLastTick() * 1000.0 / period());
    const double reached = position_ + stepsPassed;
    // A period of 0 may give no number; then the end is reached.
    position_ = reached < steps_ ? std::max(static_cast<std::int32_t>(reached), 0) : steps_;
}

}  // namespace tarn
