#include "Receiver.h"

#include "platform/Clock.h"

#include <algorithm>
#include <utility>

namespace tarn::receive {

namespace {

// How often the sender's process is looked at while nothing comes: a call into the system.
constexpr double LifeInterval = 0.25;  // seconds

std::uint64_t halfARingBehind(std::uint64_t position) {
    return position - std::min<std::uint64_t>(position, ConnectionPreroll);
}

bool isOnlyPeekedAt(State state) {
    return state == State::Abandoned || state == State::Lost;
}

// Which of several connections under one name is meant.
int rankOf(SenderState state) {
    switch (state) {
        case SenderState::Sending:
            return 3;
        case SenderState::Paused:
        case SenderState::Waiting:
            return 2;
        case SenderState::Gone:
        case SenderState::Lost:
            return 1;
        default:
            return 0;
    }
}

}  // namespace

Receiver::Receiver(Target target, double rate) : target_(std::move(target)), rate_(rate) {}

Delivery Receiver::look() {
    Delivery delivery;
    bool isLetGo = false;
    if (listener_ || find()) {
        if (stream_ && stream_->isMadeAnew())
            listener_->openState();
        const std::optional<SenderFacts> facts = listener_->sender();
        name_ = listener_->name();
        inputLatency_ = listener_->inputLatency();
        // Otherwise the name may be another sender's.
        const bool isOneSenders = !facts || listener_->session() == facts->session;
        const bool isTrusted = facts && (facts->session == 0 || facts->session != distrusted_);
        if (isOneSenders)
            isLetGo = isTrusted ? follow(*facts, delivery) : followIndex(delivery);
    } else {
        stream_.reset();
        state_ = State::Searching;
    }
    if (isLetGo)
        listener_.reset();
    hasLooked_ = !isLetGo || isOnlyPeekedAt(state_);
    return delivery;
}

// Opens the connection that is wanted, if there is one.
bool Receiver::find() {
    std::unique_ptr<ConnectionListener> best;
    std::uint32_t bestSlot = 0;
    ConnectionInfo bestInfo{};
    int bestRank = 0;
    const std::uint32_t first = target_.slot.value_or(0);
    const std::uint32_t last = target_.slot.value_or(ConnectionSlots - 1);
    for (std::uint32_t slot = first; slot <= last; ++slot) {
        auto listener = std::make_unique<ConnectionListener>(slot);
        if (!listener->hasBlock())
            continue;
        const ConnectionInfo info = infoOf(*listener, slot);
        const int rank = target_.slot ? 1 : rankOf(info.state);
        if (isWanted(info) && rank > bestRank) {
            if (best)
                remember(bestSlot, bestInfo);
            bestInfo = info;
            best = std::move(listener);
            bestRank = rank;
            bestSlot = slot;
        } else {
            remember(slot, info);
        }
    }
    if (!best)
        return false;
    if (!target_.name)
        target_.slot = bestSlot;
    if (std::exchange(slot_, bestSlot) != bestSlot)
        stream_.reset();
    if (!stream_)
        heldSince_ = platform::calendarSeconds();
    listener_ = std::move(best);
    return true;
}

bool Receiver::isWanted(const ConnectionInfo& info) const {
    return target_.slot ||
           (target_.name ? info.name == *target_.name : info.state == SenderState::Sending);
}

// One that isn't chosen now can be joined later where it is now: one that pauses with its next
// sample.
void Receiver::remember(std::uint32_t slot, const ConnectionInfo& info) {
    if (info.sender)
        known_[slot] = {info.sender->session, info.state == SenderState::Sending
                                                  ? halfARingBehind(info.sender->published)
                                                  : info.sender->published};
}

std::uint64_t Receiver::startOf(const SenderFacts& facts) const {
    if (known_[slot_].session == facts.session)
        return known_[slot_].start;
    if (hasLooked_)
        return 0;
    return facts.isEnded || life_ == platform::ProcessLife::Gone ? facts.published
                                                                 : halfARingBehind(facts.published);
}

// Before the samples are looked at: what a process that is gone has sent is then final.
void Receiver::lookAtProcess(const SenderFacts& facts) {
    const double now = platform::highResolutionSeconds();
    const bool isNew = facts.session != course_.session();
    const bool isDue = now - lifeLookedAt_ >= LifeInterval && facts.published == course_.position();
    if (!isNew && !isDue)
        return;
    life_ = listener_->lifeOfSender();
    lifeLookedAt_ = now;
}

Sight Receiver::sightOf(const SenderFacts& facts) const {
    Sight sight;
    sight.isThere = true;
    // One that died while it let go has left its mark.
    const bool isGone = life_ == platform::ProcessLife::Gone;
    sight.isEnded = facts.isEnded && !(isGone && listener_->hasMaster());
    sight.isGone = isGone && !sight.isEnded;
    sight.isLost = life_ == platform::ProcessLife::Unknown &&
                   !listener_->isWrittenWithin(ConnectionFreshSeconds);
    sight.isLive = listener_->isWrittenWithin(ConnectionLiveSeconds);
    sight.session = facts.session;
    sight.formerSession = facts.formerSession;
    sight.formerPublished = facts.formerPublished;
    return sight;
}

// Whether the connection is to be let go.
bool Receiver::follow(const SenderFacts& facts, Delivery& delivery) {
    if (stream_ && facts.session != 0) {
        delivery.isMissedUnknown = stream_->hasDelivered();  // the tail of a sender without state
        stream_.reset();
    }
    lookAtProcess(facts);
    const Sight sight = sightOf(facts);
    const bool isNew = facts.session != 0 && facts.session != course_.session();
    if (isNew && target_.name && name_ != *target_.name) {
        course_.leave(sight, delivery);
        state_ = State::Searching;
        return true;
    }
    course_.see(sight, startOf(facts), delivery);
    state_ = course_.state();
    if (facts.session != 0)
        take(delivery);
    if (state_ == State::Ended && target_.name && course_.isOver()) {
        course_.leave({}, delivery);  // who has the slot next may have another name
        return true;
    }
    if (isOnlyPeekedAt(state_))
        return true;
    listener_->beat();
    return false;
}

void Receiver::take(Delivery& delivery) {
    const TakenSamples taken = listener_->take(course_.session(), course_.position(), buffer_);
    if (taken.result == TakenSamples::Result::Taken)
        course_.take(taken, delivery);
    if (taken.result != TakenSamples::Result::Overrun)
        return;  // another session is for the next look to see
    distrusted_ = course_.session();
    course_.leave({}, delivery);
    stream_ = std::make_unique<IndexStream>(*listener_, rate_, IndexStream::Begin::AtTheHead);
}

// The same for a sender that doesn't tell its position.
bool Receiver::followIndex(Delivery& delivery) {
    course_.leave({}, delivery);
    if (!stream_)
        stream_ = std::make_unique<IndexStream>(*listener_, rate_);
    if (stream_->isMadeAnew() && target_.name && name_ != *target_.name) {
        stream_.reset();
        state_ = State::Searching;
        return true;
    }
    const std::int64_t lastSign = std::max(listener_->lastWriteTime(), heldSince_);
    Sight sight;
    sight.isThere = true;
    sight.isEnded = !listener_->hasMaster();
    sight.isLost = secondsBefore(platform::calendarSeconds(), ConnectionFreshSeconds) > lastSign;
    sight.isLive = listener_->isWrittenWithin(ConnectionLiveSeconds);
    state_ = nextState(sight);
    if (state_ == State::Lost) {
        stream_->rest(*listener_);
        return true;
    }
    const bool isMissedUnknown = delivery.isMissedUnknown;
    delivery = stream_->look(*listener_, slot_, buffer_);
    delivery.isMissedUnknown |= isMissedUnknown;
    if (state_ != State::Ended || !target_.name)
        return false;
    stream_.reset();
    return true;
}

}  // namespace tarn::receive
