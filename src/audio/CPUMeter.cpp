#include "audio/CPUMeter.h"

#include "foundation/Message.h"
#include "foundation/Timer.h"
#include "platform/Clock.h"

#include <mutex>

namespace tarn {

CPUMeter::CPUMeter(Radio* parent, int length) : Radio(parent), loads_(length, 1) {}

CPUMeter::~CPUMeter() {
    disconnect();
}

void CPUMeter::start() {
    if (!timer_) {
        const TimerMessage tick(this, TimerMessage::Tick, fourCharacterCode("CPUx"), 0);
        timer_ = std::make_unique<Timer>(this, &tick, 1000.0 / UpdatesPerSecond, false);
        tuneIn(timer_.get());
    }
    if (timer_->isRunning())
        return;
    {
        const std::lock_guard guard(lock_);
        lastUpdate_ = 0.0;
    }
    timer_->start();
}

void CPUMeter::stop() {
    if (timer_)
        timer_->stop();
}

void CPUMeter::begin() noexcept {
    const double previous = startTime_;
    startTime_ = platform::highResolutionSeconds();
    if (previous < startTime_)
        period_ = (startTime_ - previous) * 0.01 + period_ * 0.99;
}

void CPUMeter::end() noexcept {
    endSection();
}

void CPUMeter::beginSection() noexcept {
    startTime_ = platform::highResolutionSeconds();
}

void CPUMeter::endSection() noexcept {
    busyTime_ = busyTime_ + (platform::highResolutionSeconds() - startTime_);
}

double CPUMeter::getMean() const {
    const std::lock_guard guard(lock_);
    return loads_.getMean();
}

double CPUMeter::getPeak() const {
    const std::lock_guard guard(lock_);
    return loads_.getMaximum();
}

int CPUMeter::getLength() const {
    const std::lock_guard guard(lock_);
    return loads_.getLength();
}

double CPUMeter::getLoad(int index) const {
    const std::lock_guard guard(lock_);
    return loads_.getSpanMaximum(index);
}

bool CPUMeter::receive(Message& message) {
    if (message.type != MessageType::Timer || message.code != TimerMessage::Tick)
        return Radio::receive(message);
    {
        const std::lock_guard guard(lock_);
        const double now = platform::highResolutionSeconds();
        const double busy = busyTime_;
        if (lastUpdate_ != 0.0 && now != lastUpdate_)
            loads_.add((busy - busyBefore_) / (now - lastUpdate_));
        lastUpdate_ = now;
        busyBefore_ = busy;
    }
    transmit(message);
    return true;
}

}  // namespace tarn
