#include "Receiver.h"

#include "platform/Clock.h"

#include <algorithm>

namespace tarn::receive {

namespace {

// A writer hands over 16384 samples at once at most. So much in front of the write head may be half
// written at any moment, and it is the same memory as what lies farther behind the head than this.
constexpr std::int64_t TrustedDistance = ConnectionRingSamples - 16384;

// The share of a ring's time that an absence may last without a doubt.
constexpr double SafeShare = 0.9;

constexpr double MeasuringSeconds = 0.5;

// A connection that nobody writes to for so long is let go for a moment: if its sender was killed,
// this hold was all that kept its slot from the next one.
constexpr std::int64_t StaleSeconds = 10;

}  // namespace

Receiver::Receiver(Target target, double rate, bool takesOver)
    : target_(std::move(target)), rate_(rate), takesOver_(takesOver) {}

std::int32_t Receiver::inputLatency() const noexcept {
    return bridge_ ? bridge_->inputLatency() : 0;
}

Delivery Receiver::look() {
    Delivery delivery;
    if ((!bridge_ || !isStillOurs()) && !attach())
        return delivery;
    delivery.isMissedUnknown = !observeHead() && hasDelivered_;
    if (!bridge_->isLive()) {
        state_ = State::Silent;
        return delivery;
    }
    state_ = State::Receiving;
    if (isStarted_ && (bridge_->isStarting() || bridge_->readPosition() != positionIndex_))
        resume();  // another program has read here
    if (isStarted_ || begin(delivery))
        take(delivery);
    return delivery;
}

bool Receiver::attach() {
    const std::optional<std::uint32_t> slot =
        target_.slot ? target_.slot : findConnection(target_.name);
    const auto info = slot ? inspectConnection(*slot) : std::nullopt;
    if (!info) {
        state_ = State::NoConnection;
        return false;
    }
    if ((info->status & ConnectionHasSlave) != 0 && !takesOver_) {
        state_ = State::Occupied;
        return false;
    }
    auto bridge = std::make_unique<IOBridge<float>>(OpenSlot{*slot});
    if (!bridge->hasBlock()) {
        state_ = State::NoConnection;
        return false;
    }
    const bool isTheSame = hasDelivered_ && *slot == slot_ &&
                           bridge->writePosition() == headIndex_ &&
                           bridge->lastWriteTime() == writtenAtSecond_;
    bridge_ = std::move(bridge);
    slot_ = *slot;
    name_ = info->name;
    state_ = State::Silent;
    attachedAt_ = platform::calendarSeconds();
    if (isTheSame)
        resume();
    else
        followNewSender();
    return true;
}

// Whether the bridge still leads to the connection that is wanted. If not, it is let go.
bool Receiver::isStillOurs() {
    if (!bridge_->isAttached()) {
        // A new master has made the block anew.
        const auto info = inspectConnection(slot_);
        if (!target_.slot && (!info || info->name != target_.name)) {
            letGo();
            return false;
        }
        name_ = info ? info->name : name_;
        bridge_->attach();
        attachedAt_ = platform::calendarSeconds();
        followNewSender();
        return true;
    }
    const bool isGone = !target_.slot && !bridge_->hasMaster();
    const std::int64_t lastSign = std::max(bridge_->lastWriteTime(), attachedAt_);
    if (isGone || platform::calendarSeconds() - StaleSeconds > lastSign) {
        letGo();
        return false;
    }
    return true;
}

void Receiver::letGo() {
    bridge_.reset();
}

// Counts anew, from the sender's first sample if it hasn't written yet.
void Receiver::followNewSender() {
    headIndex_ = bridge_->writePosition();
    writtenAtSecond_ = bridge_->lastWriteTime();
    lookedAt_ = measuredFrom_ = platform::highResolutionSeconds();
    lookedAtSecond_ = platform::calendarSeconds();
    head_ = position_ = measuredHead_ = 0;
    measuredRate_ = 0.0;
    hasHistory_ = headIndex_ == 0 && writtenAtSecond_ == 0;
    hasDelivered_ = false;
    isStarted_ = false;
}

// Has the pre-roll rule place this reader again; what was delivered before is known.
void Receiver::resume() {
    bridge_->attach();
    isStarted_ = false;
}

// Adds up what was written since the last look. False when more than a ring's worth may have been.
bool Receiver::observeHead() {
    const std::uint32_t index = bridge_->writePosition();
    const std::int64_t stamp = bridge_->lastWriteTime();
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
    if (!isKnown && !hasDelivered_)
        hasHistory_ = false;
    return isKnown;
}

// Runs the pre-roll rule. It places this reader behind the write head, regardless of what was
// delivered before.
bool Receiver::begin(Delivery& delivery) {
    bridge_->read(buffer_.data(), 0);
    if (bridge_->isStarting())
        return false;
    observeHead();
    positionIndex_ = bridge_->readPosition();
    const std::int64_t placed = head_ - ((headIndex_ - positionIndex_) & ConnectionRingMask);
    if (hasHistory_ && placed > position_)
        delivery.missed += static_cast<std::uint64_t>(placed - position_);
    if (!hasHistory_ || placed > position_)
        position_ = placed;
    delivery.isBeginning = !hasDelivered_;
    isStarted_ = true;
    return true;
}

void Receiver::take(Delivery& delivery) {
    const std::uint32_t frames = (headIndex_ - positionIndex_) & ConnectionRingMask;
    const std::uint32_t got = bridge_->read(buffer_.data(), frames);
    positionIndex_ = bridge_->readPosition();
    // Where the samples stand in the stream: they end so far behind the head as it was before the
    // copy.
    const std::int64_t end = head_ - (frames - got);
    const std::int64_t start = end - got;

    const bool isKnown = observeHead();
    const std::int64_t oldestTrusted = isKnown ? std::min(head_ - TrustedDistance, end) : end;
    delivery.isMissedUnknown |= !isKnown && hasDelivered_;

    const std::int64_t first = std::max({start, oldestTrusted, position_});
    if (first >= end && position_ >= end)
        return;  // nothing that wasn't delivered before
    if (hasHistory_ && first > position_)
        delivery.missed += static_cast<std::uint64_t>(first - position_);
    position_ = std::max(position_, end);
    if (first >= end)
        return;
    delivery.samples = std::span<const float>(buffer_.data() + (first - start),
                                              static_cast<std::size_t>(end - first));
    delivery.isBeginning = !hasDelivered_;
    hasHistory_ = hasDelivered_ = true;
}

}  // namespace tarn::receive
