#include "host/Signal.h"

#include <cmath>
#include <numbers>

namespace tarn::host {

namespace {

constexpr std::int64_t kRampFrames = std::int64_t{1} << 24;
constexpr double kSweepStart = 20.0;  // Hz
constexpr double kSweepEnd = 0.45;    // of the rate

double ramp(int channel, std::int64_t position) {
    const std::int64_t step = (position + channel * (kRampFrames / 2)) % kRampFrames;
    return static_cast<double>(step) / static_cast<double>(kRampFrames);
}

double noise(std::uint64_t seed, int channel, std::int64_t position) {
    const std::uint64_t key = seed << 40 ^ static_cast<std::uint64_t>(channel) << 36;
    const std::uint64_t bits = mixedBits(key + static_cast<std::uint64_t>(position), 1) >> 40;
    return static_cast<double>(bits) / 0x1p23 - 1.0;
}

// Turns since the start; the fraction is what counts.
double sineOf(double turns, int channel) {
    turns += channel * 0.25;
    return std::sin(2.0 * std::numbers::pi * (turns - std::floor(turns)));
}

double sweepTurns(const SignalSettings& settings, double seconds) {
    const double quotient = settings.rate * kSweepEnd / kSweepStart;
    return kSweepStart * settings.seconds / std::log(quotient) *
           (std::pow(quotient, seconds / settings.seconds) - 1.0);
}

double sampleOf(const SignalSettings& settings, int channel, std::int64_t position) {
    const double seconds = static_cast<double>(position) / settings.rate;
    switch (settings.kind) {
        case SignalKind::Sine:
            return sineOf(settings.frequency * seconds, channel);
        case SignalKind::Ramp:
            return ramp(channel, position);
        case SignalKind::Noise:
            return noise(settings.seed, channel, position);
        case SignalKind::Sweep:
            return sineOf(sweepTurns(settings, seconds), channel);
        case SignalKind::Impulse:
            return position == 0 ? 1.0 : 0.0;
        case SignalKind::Silence:
            break;
    }
    return 0.0;
}

}  // namespace

void fillSignal(const SignalSettings& settings, int channel, std::int64_t position,
                std::span<float> samples) {
    for (float& sample : samples)
        sample = static_cast<float>(settings.level * sampleOf(settings, channel, position++));
}

std::uint64_t mixedBits(std::uint64_t key, std::uint64_t counter) noexcept {
    std::uint64_t bits = key + counter * 0x9e3779b97f4a7c15u;
    bits = (bits ^ bits >> 30) * 0xbf58476d1ce4e5b9u;
    bits = (bits ^ bits >> 27) * 0x94d049bb133111ebu;
    return bits ^ bits >> 31;
}

}  // namespace tarn::host
