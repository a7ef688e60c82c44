#include "foundation/Timer.h"

#include "foundation/Logger.h"
#include "platform/Clock.h"

#include <algorithm>
#include <exception>
#include <mutex>

namespace tarn {

namespace {

std::uint32_t wholeMs(double ms) {
    constexpr double Longest = 0x7FFFFFFF;
    if (!(ms >= 1.0))  // NaN included
        return 1;
    return static_cast<std::uint32_t>(std::min(ms, Longest));
}

}  // namespace

Timer::Timer(Radio* parent, const Message* message, double periodMs, bool oneShot)
    : Radio(parent),
      message_(message != nullptr ? message->clone() : nullptr),
      period_(periodMs),
      oneShot_(oneShot) {}

Timer::~Timer() {
    end();
}

void Timer::end() {
    Timer::stop(true);
    std::unique_ptr<platform::SystemTimer> ended;  // goes, and waits, without the lock
    const std::lock_guard guard(lock_);
    ended = std::move(system_);
}

void Timer::setPeriod(double ms) {
    const std::lock_guard guard(lock_);
    period_ = ms;
    if (armed_)
        arm();
}

void Timer::start() {
    const std::lock_guard guard(lock_);
    if (!armed_) {
        if (system_ == nullptr)
            system_ = std::make_unique<platform::SystemTimer>(&Timer::onSystemTimer, this);
        armed_ = arm();
        if (armed_) {
            startTime_ = platform::highResolutionSeconds();
            lastTick_ = startTime_;
        }
    }
    running_ = true;
}

void Timer::restart() {
    stop(false);
    start();
}

void Timer::stop(bool wait) {
    {
        const std::lock_guard guard(lock_);
        running_ = false;
        armed_ = false;
        oneShot_ = oneShot_ || wait;
        if (system_ != nullptr)
            system_->stop();
    }
    if (wait)
        const RadioLock::Hold tickIsOver(deliveryLock());
}

bool Timer::isRunning() const {
    const std::lock_guard guard(lock_);
    return running_;
}

void Timer::tick() {
    // Ticks of the system and those called directly follow one another.
    const RadioLock::Hold delivery(deliveryLock());
    bool armed = false;
    bool oneShot = false;
    {
        const std::lock_guard guard(lock_);
        if (!running_)
            return;
        const double now = platform::highResolutionSeconds();
        if (message_ != nullptr && message_->type == MessageType::Timer) {
            auto& times = static_cast<TimerMessage&>(*message_);
            times.intervalMs = period_;
            times.elapsed = now - startTime_;
            times.sinceLastTick = now - lastTick_;
        }
        lastTick_ = now;
        armed = armed_;
        oneShot = oneShot_;
    }
    if (armed && message_ != nullptr)
        transmit(*message_);
    if (armed && (oneShot || message_ == nullptr))
        stop(false);
}

double Timer::period() const {
    const std::lock_guard guard(lock_);
    return period_;
}

double Timer::secondsSinceLastTick() const {
    const std::lock_guard guard(lock_);
    return platform::highResolutionSeconds() - lastTick_;
}

// Nothing may leave into the system's code.
void Timer::onSystemTimer(void* self) {
    try {
        static_cast<Timer*>(self)->tick();
    } catch (const std::exception& failure) {
        logLine(LogError, "caught exception: %s", failure.what());
    }
}

// Under the lock. A one-shot is stopped by its tick.
bool Timer::arm() {
    return system_->start(wholeMs(period_));
}

}  // namespace tarn
