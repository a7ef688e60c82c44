// The signals that the host makes by itself.
// Everything rests on one rule: a sample depends on the settings, the channel and the position
// alone, so that whoever recorded a piece can tell which one it is.
#pragma once

#include <cstdint>
#include <span>

namespace tarn::host {

enum class SignalKind { Sine, Ramp, Noise, Sweep, Impulse, Silence };

// clang-format off
/// With n the frame's position, c the channel's number from 0, and r the rate; all are then
/// multiplied by the level.
///
/// | Kind | Sample |
/// |---|---|
/// | sine | sin(2 pi (f n / r + c / 4)) |
/// | ramp | ((n + 2^23 c) mod 2^24) / 2^24: exact; none repeats within 2^24 frames of a channel |
/// | noise | white, uniform in -1 to 1: (h >> 40) / 2^23 - 1, exact, with h = splitmix64 of the key (seed << 40 ^ c << 36) + n |
/// | sweep | sin(2 pi (20 T / ln k (k^(n / (r T)) - 1) + c / 4)): from 20 Hz to 0.45 r in T seconds; k is the quotient of both |
/// | impulse | 1 at n = 0, then 0 |
/// | silence | 0 |
// clang-format on
struct SignalSettings {
    SignalKind kind = SignalKind::Sine;
    double frequency = 440.0;  // Hz; sine
    double level = 1.0;        // gain
    double rate = 44100.0;     // Hz
    double seconds = 1.0;      // the sweep's length
    std::uint64_t seed = 1;    // noise
};

/// The samples of one channel from `position` on.
void fillSignal(const SignalSettings& settings, int channel, std::int64_t position,
                std::span<float> samples);

/// The step `counter` of splitmix64 begun at `key`: 64 well mixed bits, the same everywhere.
std::uint64_t mixedBits(std::uint64_t key, std::uint64_t counter) noexcept;

}  // namespace tarn::host
