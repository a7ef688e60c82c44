#include "link/ConnectionState.h"

#include "link/SharedWord.h"
#include "platform/Clock.h"
#include "platform/Process.h"

namespace tarn {

namespace {

constexpr std::uint32_t BeatInterval = 100;  // ms

std::uint64_t wordOf(std::uint32_t id, std::uint32_t milliseconds) noexcept {
    return std::uint64_t{milliseconds} << 32 | id;
}

// A beat may bear a moment that this processor's clock hasn't reached yet.
bool isAlive(std::uint64_t word, std::uint32_t now) noexcept {
    const std::uint32_t age = now - static_cast<std::uint32_t>(word >> 32);
    return word != 0 && (age <= ConnectionListenerTimeout || -age <= ConnectionListenerTimeout);
}

}  // namespace

std::string connectionStateName(std::uint32_t slot) {
    return "Connection #" + std::to_string(slot) + " state";
}

bool isConnectionState(const ConnectionState& state) noexcept {
    return loadShared(state.magic) == ConnectionStateMagic &&
           loadShared(state.major) == ConnectionStateMajor &&
           loadShared(state.size) >= ConnectionStateSize;
}

platform::ProcessLife lifeOfOwner(const ConnectionState& state) noexcept {
    return platform::lifeOf(loadShared(state.owner), loadShared(state.ownerSpace));
}

bool isBetween(std::uint32_t writeIndex, std::uint64_t published, std::uint64_t claimed) noexcept {
    const std::uint64_t beyond = (writeIndex - published) & ConnectionRingMask;
    return published <= claimed && beyond <= claimed - published;
}

bool doBlocksAgree(const ConnectionBlock& block, const ConnectionState& state) noexcept {
    const std::uint64_t published = loadShared(state.stream.published, std::memory_order_acquire);
    const std::uint32_t writeIndex = loadShared(block.audio.writeIndex, std::memory_order_acquire);
    const std::uint64_t claimed = loadShared(state.stream.claimed);
    return loadShared(state.session) != 0 && isBetween(writeIndex, published, claimed) &&
           (published == 0 || stampOf(block) != 0);
}

int countListeners(const ConnectionState& state, std::uint32_t now) noexcept {
    int count = 0;
    for (const std::uint64_t& place : state.listeners)
        count += isAlive(loadShared(place), now) ? 1 : 0;
    return count;
}

std::uint32_t listenerClock() noexcept {
    return static_cast<std::uint32_t>(
        static_cast<std::uint64_t>(platform::highResolutionSeconds() * 1000.0));
}

void ListenerPlace::beat(ConnectionState& state, std::uint32_t now) {
    if (id_ == 0)
        id_ = static_cast<std::uint32_t>(platform::uniqueNumber()) | 1u;
    const std::uint64_t next = wordOf(id_, now);
    if (place_ < ConnectionListeners) {
        const bool isDue = now - static_cast<std::uint32_t>(word_ >> 32) >= BeatInterval;
        if (loadShared(state.listeners[place_]) == word_ &&
            (!isDue || exchangeShared(state.listeners[place_], word_, next))) {
            word_ = isDue ? next : word_;
            return;
        }
    }
    for (place_ = 0; place_ < ConnectionListeners; ++place_) {
        const std::uint64_t present = loadShared(state.listeners[place_]);
        if (!isAlive(present, now) && exchangeShared(state.listeners[place_], present, next)) {
            word_ = next;
            return;
        }
    }
}

void ListenerPlace::leave(ConnectionState& state) noexcept {
    if (place_ < ConnectionListeners)
        exchangeShared(state.listeners[place_], word_, std::uint64_t{0});
    place_ = ConnectionListeners;
}

}  // namespace tarn
