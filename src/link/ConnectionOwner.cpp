#include "link/ConnectionOwner.h"

#include "link/IOBridge.h"
#include "platform/Process.h"

#include <algorithm>
#include <cstring>

namespace tarn {

namespace {

void copyText(char (&to)[ConnectionStateTextBytes], std::string_view text) noexcept {
    std::memset(to, 0, sizeof to);
    text.substr(0, text.find('\0')).copy(to, sizeof to - 1);
}

}  // namespace

bool ConnectionOwner::claim(std::uint32_t slot, bool isMarked) {
    using platform::SharedMemory;
    mapping_ = isMarked ? SharedMemory::open(connectionStateName(slot), ConnectionStateSize)
                        : SharedMemory::create(connectionStateName(slot), ConnectionStateSize);
    auto* state = static_cast<ConnectionState*>(mapping_.data());
    const bool isKnown = state != nullptr && (loadShared(state->magic) != ConnectionStateMagic ||
                                              isConnectionState(*state));
    if (!isKnown) {
        mapping_ = {};
        return !isMarked;
    }
    const std::uint64_t owner = loadShared(state->owner, std::memory_order_acquire);
    // A master that knows no state block may have followed one that let go and left its mark here.
    const bool isForeign = isMarked && (owner == 0 || loadShared(state->ended) != 0);
    const bool isOwned = owner != 0 && platform::lifeOf(owner) != platform::ProcessLife::Gone;
    if (isForeign || isOwned ||
        !exchangeShared(state->owner, owner, std::uint64_t{platform::currentProcess()})) {
        mapping_ = {};
        return false;
    }
    state_ = state;
    slot_ = slot;
    if (isMarked || (connectionStatus(slot) & ConnectionInUse) == 0)
        return true;
    giveBack();  // a master that knows no state block was just making its connection
    return false;
}

void ConnectionOwner::giveBack() noexcept {
    if (state_ != nullptr)
        storeShared(state_->owner, std::uint64_t{0}, std::memory_order_release);
    state_ = nullptr;
    stream_ = &untold_;
    mapping_ = {};
}

void ConnectionOwner::hide() noexcept {
    if (state_ == nullptr)
        return;
    ConnectionState& state = *state_;
    // Before the session goes, so that a death in between loses nothing. A life that ended before
    // its session was told leaves the one before it in place.
    const std::uint64_t former = isConnectionState(state) ? loadShared(state.session) : 0;
    if (former != 0) {
        storeShared(state.formerSession, former);
        storeShared(state.formerPublished, loadShared(state.stream.published));
    }
    storeShared(state.session, std::uint64_t{0});
    fenceShared(std::memory_order_release);
    // Then what tells who looks meanwhile that a sender with a state block comes.
    storeShared(state.ended, 0u);
    storeShared(state.major, ConnectionStateMajor);
    storeShared(state.minor, ConnectionStateMinor);
    storeShared(state.size, ConnectionStateSize);
    storeShared(state.slot, slot_);
    storeShared(state.magic, ConnectionStateMagic, std::memory_order_release);
}

void ConnectionOwner::begin(const SenderNames& names) {
    if (state_ == nullptr)
        return;
    ConnectionState& state = *state_;
    storeShared(state.stream.claimed, std::uint64_t{0});
    storeShared(state.stream.published, std::uint64_t{0});
    storeShared(state.stream.rate, 0.0);
    storeShared(state.stream.rateFrom, std::uint64_t{0});
    storeShared(state.channels, 1u);
    storeShared(state.announcedBlock, 0u);
    storeShared(state.isOffline, 0u);
    storeShared(state.isMuted, 0u);
    copyText(state.host, names.host);
    copyText(state.product, names.product);
    stream_ = &state.stream;
    storeShared(state.session, platform::uniqueNumber(), std::memory_order_release);
}

void ConnectionOwner::end() noexcept {
    if (state_ != nullptr)
        storeShared(state_->ended, 1u, std::memory_order_release);
}

void ConnectionOwner::setRate(double hertz) noexcept {
    const double rate = hertz > 0.0 && hertz <= ConnectionHighestRate ? hertz : 0.0;
    if (rate_.exchange(rate, std::memory_order_relaxed) != rate)
        isRateNew_.store(true, std::memory_order_release);
}

// Who reads the mark, or another position after the rate than before, reads again later.
void ConnectionOwner::changeRate() noexcept {
    isRateNew_.exchange(false, std::memory_order_acquire);
    storeShared(stream_->rateFrom, ConnectionRateChanges);
    storeShared(stream_->rate, rate_.load(std::memory_order_relaxed), std::memory_order_release);
    storeShared(stream_->rateFrom, position_, std::memory_order_release);
}

void ConnectionOwner::setAnnouncedBlock(std::uint32_t frames) noexcept {
    if (state_ != nullptr)
        storeShared(state_->announcedBlock, frames);
}

void ConnectionOwner::setOffline(bool isOffline) noexcept {
    if (state_ != nullptr)
        storeShared(state_->isOffline, isOffline ? 1u : 0u);
}

void ConnectionOwner::setMuted(bool isMuted) noexcept {
    if (state_ != nullptr)
        storeShared(state_->isMuted, isMuted ? 1u : 0u);
}

int ConnectionOwner::listeners() const noexcept {
    return state_ != nullptr ? countListeners(*state_, listenerClock()) : 0;
}

}  // namespace tarn
