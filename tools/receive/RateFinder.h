// The rate of a file: as its sender tells it, or else as the user does, or else as it is measured.
// Everything rests on one rule: what the sender tells counts. Pure computation.
#pragma once

#include "Delivery.h"

#include <cstdint>
#include <optional>

namespace tarn::receive {

constexpr std::uint32_t AssumedRate = 48000;  // Hz

class RateFinder {
public:
    enum class Source {
        Unknown,   // so far
        Told,      // by the sender
        Kept,      // told by a sender before the present one, which doesn't tell it
        Given,     // by the user
        Measured,  // a usual rate is near to what was counted
        Assumed,   // none is
    };

    /// `given` in Hz counts with a sender that doesn't tell its rate.
    explicit RateFinder(std::optional<std::uint32_t> given) : given_(given) {}

    /// Whether the samples of a delivery have another rate than those before, so that they can't
    /// stand in the same file.
    bool isChange(const Delivery& delivery) const noexcept;

    /// Takes a delivery with samples into account, at a moment in high-resolution seconds.
    void see(const Delivery& delivery, double now) noexcept;

    /// Ends the search: a rate that isn't known yet is assumed.
    void conclude() noexcept;

    Source source() const noexcept { return source_; }
    std::uint32_t rate() const noexcept { return rate_; }  // Hz; assumed while it isn't known

private:
    void measure(const Delivery& delivery, double now) noexcept;

    std::optional<std::uint32_t> given_;
    Source source_ = Source::Unknown;
    std::uint32_t rate_ = AssumedRate;

    // Counted from the end of one delivery to the end of another, so that the size of the sender's
    // blocks doesn't matter.
    bool isCounting_ = false;
    double countedFrom_ = 0.0;  // high-resolution seconds
    std::uint64_t counted_ = 0;
    std::optional<std::uint32_t> lastUsual_;  // near to what was counted
    int countings_ = 0;
};

}  // namespace tarn::receive
