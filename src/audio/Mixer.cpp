#include "audio/Mixer.h"

#include "audio/IOPin.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tarn {

namespace {

// Where the numbers of channels differ: a mean of the linear law, 1/2, and that of equal power,
// 1/sqrt(2), about 0.586.
constexpr float MonoPanLaw = 1.0f / (std::numbers::sqrt2_v<float> * 0.5f + 1.0f);

template <typename Sum>
void mixSamples(IOChannel<float>& target, const IOChannel<float>& source, Sum sum) noexcept {
    const int samples = std::min(source.getCount(), target.getSize());
    float* const to = target.getData();
    const float* const from = source.getData();
    for (int i = 0; i < samples; ++i)
        to[i] = sum(to[i], from[i]);
}

}  // namespace

void Mixer::mix(IOPin& out, const IOPin& in, float gain, float pan) const noexcept {
    using Type = IOPin::Type;
    const float left = gain * 2.0f * std::min(1.0f - pan, 0.5f);
    const float right = gain * 2.0f * std::min(pan, 0.5f);
    const auto mixOne = [&](int to, int from, float factor) {
        mixChannel(*out.getChannel(to), *in.getChannel(from), factor);
    };
    if (out.getType() == Type::Mono && in.getType() == Type::Mono) {
        mixOne(0, 0, gain);
    } else if (out.getType() == Type::Mono && in.getType() == Type::Stereo) {
        mixOne(0, 0, MonoPanLaw * left);
        mixOne(0, 1, MonoPanLaw * right);
    } else if (out.getType() == Type::Stereo && in.getType() == Type::Mono) {
        mixOne(0, 0, MonoPanLaw * left);
        mixOne(1, 0, MonoPanLaw * right);
    } else if (out.getType() == Type::Stereo && in.getType() == Type::Stereo) {
        mixOne(0, 0, left);
        mixOne(1, 1, right);
    }
}

void Mixer::mixChannel(IOChannel<float>& target, const IOChannel<float>& source,
                       float gain) const noexcept {
    switch (mode) {
        case Mode::Add:
            target.addValid(source, gain);
            break;
        case Mode::Screen:
            mixSamples(target, source, [gain, k = strength](float a, float b) {
                return (a + b - a * b * k) * gain;
            });
            break;
        case Mode::Duck:
            mixSamples(target, source, [gain, k = strength](float a, float b) {
                return a + (1.0f - std::abs(a) * k) * (b * gain);
            });
            break;
    }
    target.setCount(std::max(target.getCount(), source.getCount()));
}

}  // namespace tarn
