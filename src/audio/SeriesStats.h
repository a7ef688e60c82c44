// The last values of a series, with their mean and their maximum.
// Everything rests on one rule: a value costs the same however long the series is, as long as the
// maximum isn't the value that leaves.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarn {

/// A ring that is full of zeros at first, so that they count in the mean. One thread at a time.
class SeriesStats {
public:
    /// Keeps `length` spans of `stride` values each; at least 0 of at least 1. Throws
    /// std::bad_alloc.
    SeriesStats(int length, int stride);
    virtual ~SeriesStats() = default;

    /// Takes the place of the oldest value. What isn't finite is passed over, for it would stay in
    /// the sum.
    void add(double value);

    /// Another length, full of zeros. What the former values came to stays in the mean. Throws
    /// std::bad_alloc.
    void setLength(int length);

    /// In spans.
    int getLength() const { return static_cast<int>(values_.size() / stride_); }

    /// Of all values kept; 0.0 for a length of 0.
    double getMean() const;

    /// The largest value kept.
    double getMaximum() const { return maximum_; }

    /// The largest value of a span, 0 being the oldest one, any number counted round and round; at
    /// least 0.0.
    double getSpanMaximum(int span) const;

private:
    void makeRing(int length);

    std::size_t stride_;
    std::vector<double> values_;
    std::size_t writeIndex_ = 0;
    double maximum_ = 0.0;
    std::size_t maximumAge_ = 0;  // values until the maximum leaves the ring; 0 when it has
    double sum_ = 0.0;            // running
};

}  // namespace tarn
