#include "RateFinder.h"

#include <cmath>
#include <utility>

namespace tarn::receive {

namespace {

// Two countings in a row have to agree: a pause spoils one.
constexpr double CountingSeconds = 0.5;
constexpr int MostCountings = 8;
constexpr double Tolerance = 0.03;
constexpr std::uint32_t UsualRates[] = {8000,  11025, 16000, 22050,  32000,  44100,
                                        48000, 88200, 96000, 176400, 192000, 384000};

std::uint32_t toldBy(const Delivery& delivery) noexcept {
    return static_cast<std::uint32_t>(std::lround(delivery.rate));
}

std::optional<std::uint32_t> usualRateNear(double hertz) noexcept {
    for (const std::uint32_t rate : UsualRates)
        if (std::abs(hertz - rate) <= Tolerance * rate)
            return rate;
    return std::nullopt;
}

}  // namespace

bool RateFinder::isChange(const Delivery& delivery) const noexcept {
    const std::uint32_t told = toldBy(delivery);
    return source_ != Source::Unknown && told != 0 && told != rate_;
}

void RateFinder::see(const Delivery& delivery, double now) noexcept {
    if (const std::uint32_t told = toldBy(delivery); told != 0) {
        rate_ = told;
        source_ = Source::Told;
    } else if (source_ == Source::Told) {
        source_ = Source::Kept;
    } else if (source_ == Source::Unknown && given_) {
        rate_ = *given_;
        source_ = Source::Given;
    } else if (source_ == Source::Unknown) {
        measure(delivery, now);
    }
}

void RateFinder::conclude() noexcept {
    if (source_ == Source::Unknown)
        source_ = Source::Assumed;
}

void RateFinder::measure(const Delivery& delivery, double now) noexcept {
    if (!std::exchange(isCounting_, true)) {
        countedFrom_ = now;
        return;
    }
    counted_ += delivery.missed + delivery.samples.size();
    const double seconds = now - countedFrom_;
    if (seconds < CountingSeconds)
        return;
    const auto usual = usualRateNear(static_cast<double>(counted_) / seconds);
    const bool isConfirmed = std::exchange(lastUsual_, usual) == usual && usual;
    countedFrom_ = now;
    counted_ = 0;
    if (isConfirmed) {
        rate_ = *usual;
        source_ = Source::Measured;
    } else if (++countings_ == MostCountings) {
        conclude();
    }
}

}  // namespace tarn::receive
