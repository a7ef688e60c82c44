#include "link/ConnectionOwner.h"

#include "link/IOBridge.h"
#include "platform/Clock.h"
#include "platform/Process.h"

#include <algorithm>
#include <cstring>

namespace tarn {

namespace {

void copyText(char (&to)[ConnectionStateTextBytes], std::string_view text) noexcept {
    std::memset(to, 0, sizeof to);
    text.substr(0, text.find('\0')).copy(to, sizeof to - 1);
}

// Whether a mark was left by an owner whose process is gone, and isn't that of a master without a
// state block which came after it. Where both can be, nothing may be written any more.
bool isLeftBehind(std::uint32_t slot, const ConnectionState& state) {
    const auto memory = platform::SharedMemory::open(
        connectionMappingName(slot), ConnectionBlockSize, platform::SharedMemory::Access::ReadOnly);
    const auto* block = static_cast<const ConnectionBlock*>(memory.data());
    if (block == nullptr || loadShared(state.owner) == 0)
        return false;
    const std::int64_t stamp = stampOf(*block);
    const bool isOld =
        stamp != 0 && stamp < secondsBefore(platform::calendarSeconds(), ConnectionFreshSeconds);
    const bool isEnded = loadShared(state.ended) != 0;
    return isOld ||
           (doBlocksAgree(*block, state) && (!isEnded || loadShared(state.stream.published) != 0));
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
    const bool isOwned = owner != 0 && lifeOfOwner(*state) != platform::ProcessLife::Gone;
    if (isOwned || (isMarked && !isLeftBehind(slot, *state)) ||
        !exchangeShared(state->owner, owner, std::uint64_t{platform::currentProcess()})) {
        mapping_ = {};
        return false;
    }
    storeShared(state->ownerSpace, platform::processSpace());
    state_ = state;
    slot_ = slot;
    formerOwner_ = owner;
    if (isMarked || (connectionStatus(slot) & ConnectionInUse) == 0)
        return true;
    giveBack();  // a master that knows no state block was just making its connection
    return false;
}

void ConnectionOwner::giveBack() noexcept {
    if (state_ != nullptr)
        storeShared(state_->owner, formerOwner_, std::memory_order_release);
    state_ = nullptr;
    stream_ = &untold_;
    mapping_ = {};
}

void ConnectionOwner::hide() {
    if (state_ == nullptr)
        return;
    session_ = platform::uniqueNumber();
    formerOwner_ = 0;
    ConnectionState& state = *state_;
    // Before the session goes, so that a death in between loses nothing. A life that ended before
    // its session was told leaves the one before it in place.
    const std::uint64_t former = isConnectionState(state) ? loadShared(state.session) : 0;
    if (former != 0) {
        // The session 0 in between, so that nobody reads one's number and the other's end.
        storeShared(state.formerSession, std::uint64_t{0});
        fenceShared(std::memory_order_release);
        storeShared(state.formerPublished, loadShared(state.stream.published));
        storeShared(state.formerSession, former, std::memory_order_release);
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

void ConnectionOwner::begin(const SenderNames& names) noexcept {
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
    storeShared(state.session, session_, std::memory_order_release);
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

// Who reads the mark, or another position after the rate than before, goes on with the rate that it
// knows until its next look.
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
