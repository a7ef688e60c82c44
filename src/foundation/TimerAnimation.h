// A number that goes from one value to another in a given time.
#pragma once

#include "foundation/Timer.h"

#include <atomic>
#include <cstdint>

namespace tarn {

/// A timer whose message carries the running value, a float, as its payload at each tick. The value
/// keeps to the clock: a late tick makes up for the ones that were missed. It stops by itself one
/// step before the end or at it, and the next run starts from the beginning.
class TimerAnimation : public Timer {
public:
    /// At least one step is made.
    TimerAnimation(Radio* parent, const Message* message, float from, float to, std::int32_t steps,
                   double durationMs);
    ~TimerAnimation() override;

    /// Of all steps together.
    void setDuration(double ms);

    /// For the run that comes, from its beginning; the timer must not be running.
    void setRange(float from, float to);

    /// Goes to the last step but one of a run and makes its tick.
    void jump();

    /// At the last tick. Any thread.
    float value() const noexcept { return value_.load(std::memory_order_relaxed); }

    void tick() override;

private:
    void advance();

    float from_;
    float to_;
    const std::int32_t steps_;
    std::int32_t position_ = 0;  // 0 to steps_
    std::atomic<float> value_;
};

}  // namespace tarn
