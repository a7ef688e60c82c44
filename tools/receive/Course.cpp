#include "Course.h"

#include <algorithm>

namespace tarn::receive {

State nextState(const Sight& sight) noexcept {
    if (!sight.isThere)
        return State::Searching;
    if (sight.isEnded)
        return State::Ended;
    if (sight.isGone)
        return State::Abandoned;
    if (sight.isLost)
        return State::Lost;
    return sight.isLive ? State::Receiving : State::Silent;
}

void Course::see(const Sight& sight, std::uint64_t start, Delivery& delivery) {
    state_ = nextState(sight);
    if (!sight.isThere || sight.session == 0)
        return;
    if (sight.session != session_) {
        leave(sight, delivery);
        session_ = sight.session;
        position_ = start;
        rate_ = 0.0;
        isOver_ = false;
        isFirst_ = true;
    }
    isFinal_ = sight.isEnded || sight.isGone;
}

void Course::take(const TakenSamples& taken, Delivery& delivery) {
    const std::uint64_t first = taken.end - taken.samples.size();
    // Only samples from `rateFrom` on have the rate that is told now.
    std::uint64_t end = taken.end;
    if (taken.rateFrom <= first)
        rate_ = taken.rate;
    else if (taken.rateFrom < end && taken.rate != rate_)
        end = taken.rateFrom;

    delivery.missed += first - position_;
    delivery.samples = taken.samples.first(static_cast<std::size_t>(end - first));
    delivery.rate = rate_;
    delivery.isComplete = true;
    delivery.isBeginning = isFirst_ && end > first;
    isFirst_ = isFirst_ && !delivery.isBeginning;
    position_ = end;
    isOver_ = isFinal_ && position_ == taken.end;
}

void Course::leave(const Sight& sight, Delivery& delivery) {
    if (session_ == 0)
        return;
    const bool isNext = sight.formerSession == session_;
    if (isNext && sight.formerPublished >= position_)
        delivery.missed += sight.formerPublished - position_;
    else if (!isOver_ || isNext || sight.formerSession != 0)
        delivery.isMissedUnknown = true;  // its own end, or a whole session between the two
    session_ = 0;
    isOver_ = false;
}

}  // namespace tarn::receive
