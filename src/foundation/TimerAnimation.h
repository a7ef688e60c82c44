// A number that goes from one value to another in a given time.
#pragma once

#include "foundation/Timer.h"

#include <atomic>
#include <cstdint>

namespace tarn {

/// A timer whose message carries the running value, a float, as its payload at each tick. A tick
/// goes as many steps ahead as whole periods have passed since the last one, rounded, so that a
/// late tick makes up for those that were missed. What rounding leaves over is lost: ticks that all
/// come a little late make a run longer than its duration. A run ends when the value is one step
/// before `to` or at it, so `to` itself is only reached when a late tick makes two steps there. The
/// next run starts from the beginning.
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
