#include "audio/VUMeter.h"

#include "audio/Peak.h"
#include "platform/Clock.h"

#include <algorithm>
#include <cmath>

namespace tarn {

namespace {

// How much of a difference is left after a time, and the times in a second. As they come out of
// 1 - 0.8 and 1 - 0.99 in double precision.
constexpr double Left20Percent = 0.19999999999999996;
constexpr double Left1Percent = 0.010000000000000009;
constexpr double Left20dB = 0.1;
constexpr double Left24dB = 0.06309573444801933;  // 10 ^ -1.2
constexpr double Left80Percent = 0.8;

double leftRising(std::int32_t mode, float seconds) {
    if (mode <= VUMeter::Peak1700)
        return std::pow(Left20Percent, seconds * 200.0);
    if (mode <= VUMeter::Programme2)
        return std::pow(Left80Percent, seconds * 100.0);
    return std::pow(Left1Percent, seconds * (1.0 / 0.3));
}

// Two of the exponents are products of floats.
double leftFalling(std::int32_t mode, float seconds) {
    switch (mode) {
        case VUMeter::Peak1500:
            return std::pow(Left20dB, double{seconds * 0.6666667f});
        case VUMeter::Peak1700:
            return std::pow(Left20dB, seconds * (1.0 / 1.7));
        case VUMeter::Programme:
        case VUMeter::Programme2:
            return std::pow(Left24dB, seconds * (1.0 / 2.8));
        case VUMeter::Average:
            return leftRising(mode, seconds);
        default:
            return std::pow(Left1Percent, double{seconds * 5.0f});
    }
}

}  // namespace

VUMeter::VUMeter(Radio* parent) : Effect(parent), lastTime_(platform::highResolutionSeconds()) {}

void VUMeter::setHoldTime(float seconds) noexcept {
    holdTime_ = std::isnan(seconds) ? 0.0f : seconds;
}

void VUMeter::setMode(std::int32_t mode) noexcept {
    mode_ = mode >= Peak1500 && mode < Instant ? mode : Instant;
    level_ = 0.0f;
    peak_ = 0.0f;
    lastTime_ = platform::highResolutionSeconds();
}

void VUMeter::reset() {
    level_ = 0.0f;
    peak_ = 0.0f;
    holdRemaining_ = 0.0f;
}

int VUMeter::clearChannel(IOChannel<float>& channel) {
    channel.setCount(0);
    return 0;
}

int VUMeter::processChannel(IOChannel<float>& channel) {
    const int frames = channel.getCount();
    update(detectAll({channel.getData(), static_cast<std::size_t>(frames)}));
    return frames;
}

int VUMeter::processChannelTo(const IOChannel<float>& in, IOChannel<float>& out) {
    update(detectAll({in.getData(), static_cast<std::size_t>(in.getCount())}));
    out.assign(in);
    return out.getCount();
}

float VUMeter::detectAll(std::span<const float> samples) const noexcept {
    float input = 0.0f;
    for (const float sample : samples)
        input = detect(input, sample);
    return input;
}

void VUMeter::update(float input) noexcept {
    const double now = platform::highResolutionSeconds();
    const auto seconds = static_cast<float>(std::max(now - lastTime_, 0.0));
    lastTime_ = now;
    // A comparison with NaN is false.
    const float x = input > 0.0f ? std::min(input, Ceiling) : 0.0f;
    level_ = smooth(x, seconds);
    holdRemaining_ -= seconds;
    if (holdRemaining_ < 0.0f) {
        holdRemaining_ = holdTime_;
        peak_ = x;
    } else {
        peak_ = std::max(peak_.get(), x);
    }
}

float VUMeter::smooth(float input, float seconds) const noexcept {
    const float level = level_;
    const bool isRising = input > level;
    if (isRising && mode_ == Instant)
        return input;
    const double left = isRising ? leftRising(mode_, seconds) : leftFalling(mode_, seconds);
    return level + static_cast<float>((1.0 - left) * (input - level));
}

float VUMeterPeak::detect(float accumulator, float sample) const noexcept {
    return std::max(accumulator, std::fabs(sample));
}

float VUMeterPeak::detectAll(std::span<const float> samples) const noexcept {
    return peakOf(samples.data(), static_cast<int>(samples.size()));
}

}  // namespace tarn
