#include "IndexStream.h"

#include "platform/Clock.h"

#include <algorithm>

namespace tarn::receive {

namespace {

// A writer is believed to hand over 16384 samples at once at most. So much in front of the write
// head may be half written at any moment, and it is the same memory as what lies farther behind the
// head than this.
constexpr std::int64_t TrustedDistance = ConnectionRingSamples - 16384;

// The share of a ring's time that an absence may last without a doubt.
constexpr double SafeShare = 0.9;

constexpr double MeasuringSeconds = 0.5;

}  // namespace

IndexStream::IndexStream(const ConnectionListener& listener, double rate, Begin begin)
    : rate_(rate),
      headIndex_(listener.writeIndex()),
      lookedAt_(platform::highResolutionSeconds()),
      lookedAtSecond_(platform::calendarSeconds()),
      writtenAtSecond_(listener.lastWriteTime()),
      measuredFrom_(lookedAt_) {
    isPlaced_ = begin == Begin::AtTheHead || (headIndex_ == 0 && writtenAtSecond_ == 0);
}

Delivery IndexStream::look(ConnectionListener& listener, std::uint32_t slot,
                           std::vector<float>& buffer) {
    Delivery delivery;
    if (!mark_) {
        mark_ = std::make_unique<ReaderMark>(slot);
        // Without a mark nobody knows whether this is the same master.
        delivery.isMissedUnknown = hasDelivered_;
    }
    if (isMadeAnew())
        followNewMaster(delivery);
    if (!observeHead(listener)) {
        delivery.isMissedUnknown |= hasDelivered_;
        isPlaced_ = isPlaced_ && hasDelivered_;
    }
    if (!isPlaced_ && listener.isWrittenWithin(ConnectionLiveSeconds))
        place(listener);
    if (isPlaced_)
        take(listener, buffer, delivery);
    return delivery;
}

void IndexStream::rest(const ConnectionListener& listener) {
    mark_.reset();
    if (!observeHead(listener))
        isPlaced_ = false;
}

// Its stream is counted from its first sample, which came after the last look.
void IndexStream::followNewMaster(Delivery& delivery) {
    mark_->renew();
    delivery.isMissedUnknown = hasDelivered_;
    head_ = position_ = measuredHead_ = 0;
    headIndex_ = 0;
    measuredRate_ = 0.0;
    measuredFrom_ = lookedAt_;
    writtenAtSecond_ = 0;
    isPlaced_ = true;
    hasDelivered_ = false;
}

// Adds up what was written since the last look. False when more than a ring's worth may have been.
bool IndexStream::observeHead(const ConnectionListener& listener) {
    const std::uint32_t index = listener.writeIndex();
    const std::int64_t stamp = listener.lastWriteTime();
    const double now = platform::highResolutionSeconds();
    const double ringSeconds = ConnectionRingSamples / std::max(rate_, measuredRate_);
    const bool wasWritten = stamp != writtenAtSecond_ || stamp >= lookedAtSecond_;
    const bool isKnown = !wasWritten || now - lookedAt_ <= SafeShare * ringSeconds;

    head_ += (index - headIndex_) & ConnectionRingMask;
    headIndex_ = index;
    writtenAtSecond_ = stamp;
    lookedAt_ = now;
    lookedAtSecond_ = platform::calendarSeconds();
    if (now - measuredFrom_ >= MeasuringSeconds) {
        measuredRate_ = static_cast<double>(head_ - measuredHead_) / (now - measuredFrom_);
        measuredFrom_ = now;
        measuredHead_ = head_;
    }
    return isKnown;
}

// Half a ring behind the write head, or as far as the sender says that there is something.
void IndexStream::place(const ConnectionListener& listener) {
    position_ = head_ - std::min(listener.unreadCount(), ConnectionPreroll);
    isPlaced_ = true;
}

void IndexStream::take(ConnectionListener& listener, std::vector<float>& buffer,
                       Delivery& delivery) {
    const std::int64_t end = head_;
    const std::int64_t start = std::max<std::int64_t>(position_, end - ConnectionRingSamples);
    const auto samples = listener.copy(headIndex_ - static_cast<std::uint32_t>(end - start),
                                       static_cast<std::uint32_t>(end - start), buffer);

    if (isMadeAnew())
        return;  // in the midst of the copy: the next look follows the new master
    const bool isKnown = observeHead(listener);
    delivery.isMissedUnknown |= !isKnown && hasDelivered_;
    const std::int64_t oldestTrusted = isKnown ? std::min(head_ - TrustedDistance, end) : end;
    const std::int64_t first = std::max(start, oldestTrusted);
    delivery.missed += static_cast<std::uint64_t>(first - position_);
    position_ = end;
    if (first >= end)
        return;
    delivery.samples = samples.subspan(static_cast<std::size_t>(first - start));
    delivery.isBeginning = !hasDelivered_;
    hasDelivered_ = true;
}

}  // namespace tarn::receive
