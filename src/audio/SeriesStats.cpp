#include "audio/SeriesStats.h"

#include <algorithm>
#include <cmath>

namespace tarn {

SeriesStats::SeriesStats(int length, int stride)
    : stride_(static_cast<std::size_t>(std::max(stride, 1))) {
    makeRing(length);
}

void SeriesStats::makeRing(int length) {
    values_.assign(static_cast<std::size_t>(std::max(length, 0)) * stride_, 0.0);
    maximumAge_ = values_.size();
}

void SeriesStats::setLength(int length) {
    makeRing(length);
    writeIndex_ = 0;
    maximum_ = 0.0;
}

void SeriesStats::add(double value) {
    if (values_.empty() || !std::isfinite(value))
        return;
    double& slot = values_[writeIndex_];
    sum_ -= slot;
    slot = value;
    sum_ += value;
    writeIndex_ = (writeIndex_ + 1) % values_.size();
    if (value >= maximum_) {
        maximum_ = value;
        maximumAge_ = values_.size();
    }
    if (maximumAge_ > 0 && --maximumAge_ > 0)
        return;
    // Looked for at every value until there is a new one above all.
    maximum_ = *std::max_element(values_.begin(), values_.end());
}

double SeriesStats::getMean() const {
    return values_.empty() ? 0.0 : sum_ / static_cast<double>(values_.size());
}

double SeriesStats::getSpanMaximum(int span) const {
    double largest = 0.0;
    if (values_.empty())
        return largest;
    const std::size_t size = values_.size();
    const int spans = getLength();
    const auto first = static_cast<std::size_t>((span % spans + spans) % spans) * stride_;
    for (std::size_t i = 0; i < stride_; ++i)
        largest = std::max(largest, values_[(first + writeIndex_ + i) % size]);
    return largest;
}

}  // namespace tarn
