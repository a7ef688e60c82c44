#include "link/ConnectionListener.h"

#include "link/SharedWord.h"
#include "platform/Clock.h"

#include <algorithm>
#include <cstring>

namespace tarn {

namespace {

// Where the session and the former one are the same before and after, all fields are of one
// session. A sender that takes over again and again while it is looked at doesn't exist; something
// that does harm might.
constexpr int MostTries = 3;

using platform::SharedMemory;

SharedMemory openConnection(std::uint32_t slot) {
    if (slot >= ConnectionSlots)
        return {};
    return SharedMemory::open(connectionMappingName(slot), ConnectionBlockSize,
                              SharedMemory::Access::ReadOnly);
}

std::string textOf(const char (&bytes)[ConnectionStateTextBytes]) {
    char text[ConnectionStateTextBytes];
    std::memcpy(text, bytes, sizeof text);
    return std::string(text, std::find(text, text + sizeof text - 1, '\0'));
}

struct Rate {
    double hertz;
    std::uint64_t from;
};

// The sender marks `rateFrom` while it changes the pair; one that died over it leaves the mark.
Rate rateOf(const ConnectionState& state) noexcept {
    const std::uint64_t from = loadShared(state.stream.rateFrom, std::memory_order_acquire);
    const double hertz = loadShared(state.stream.rate, std::memory_order_acquire);
    if (loadShared(state.stream.rateFrom) != from || from == ConnectionRateChanges)
        return {0.0, ConnectionRateChanges};
    return {hertz > 0.0 && hertz <= ConnectionHighestRate ? hertz : 0.0, from};
}

// The one access that may meet the writer's hands: the positions, read before and after it, tell
// which samples the writer may have touched meanwhile, and those are thrown away.
#if defined(__SANITIZE_THREAD__)
// ThreadSanitizer would tell of the race that this copy is made for. So it doesn't see these reads;
// sample by sample and volatile, or else they would become a memcpy, which it always sees.
[[gnu::no_sanitize("thread")]] void copyRing(float* to, const float* from,
                                             std::size_t samples) noexcept {
    const volatile float* source = from;
    for (std::size_t i = 0; i < samples; ++i)
        to[i] = source[i];
}
#elif defined(TARN_WATCH_LOADS)
// In parts, so that the model's sender acts in between.
void copyRing(float* to, const float* from, std::size_t samples) noexcept {
    const std::size_t part = samples / 8 + 1;
    for (std::size_t at = 0; at < samples; at += part) {
        if (beforeLoad != nullptr)
            beforeLoad();
        std::memcpy(to + at, from + at, std::min(part, samples - at) * sizeof(float));
    }
}
#else
void copyRing(float* to, const float* from, std::size_t samples) noexcept {
    std::memcpy(to, from, samples * sizeof(float));
}
#endif

}  // namespace

ConnectionListener::ConnectionListener(std::uint32_t slot)
    : slot_(slot),
      mapping_(openConnection(slot)),
      block_(static_cast<const ConnectionBlock*>(mapping_.data())) {
    if (block_ != nullptr)
        openState();
}

void ConnectionListener::openState() {
    if (state_ != nullptr)
        return;
    const std::string name = connectionStateName(slot_);
    stateMapping_ = SharedMemory::open(name, ConnectionStateSize);
    writableState_ = static_cast<ConnectionState*>(stateMapping_.data());
    if (!stateMapping_)
        stateMapping_ =
            SharedMemory::open(name, ConnectionStateSize, SharedMemory::Access::ReadOnly);
    state_ = static_cast<const ConnectionState*>(stateMapping_.data());
}

ConnectionListener::~ConnectionListener() {
    if (writableState_ != nullptr)
        place_.leave(*writableState_);
}

bool ConnectionListener::hasMaster() const noexcept {
    return loadShared(block_->masterInUse) != 0;
}

bool ConnectionListener::hasSlave() const noexcept {
    return std::ranges::any_of(block_->readers, [](const ReaderRecord& record) {
        return loadShared(record.slaveInUse) != 0;
    });
}

std::string ConnectionListener::name() const {
    return nameOf(*block_);
}

std::int32_t ConnectionListener::inputLatency() const noexcept {
    return loadShared(block_->inputLatency);
}

std::int64_t ConnectionListener::lastWriteTime() const noexcept {
    return stampOf(*block_);
}

std::uint32_t ConnectionListener::writeIndex() const noexcept {
    return loadShared(block_->audio.writeIndex, std::memory_order_acquire) & ConnectionRingMask;
}

std::uint32_t ConnectionListener::unreadCount() const noexcept {
    return loadShared(block_->audio.count);
}

bool ConnectionListener::isWrittenWithin(std::int64_t seconds) const noexcept {
    return stampOf(*block_) >= secondsBefore(platform::calendarSeconds(), seconds);
}

// A state block may have been left behind by a sender that let go, and the slot been taken over by
// one that knows none.
bool ConnectionListener::isStateInForce() const noexcept {
    if (state_ == nullptr || !isConnectionState(*state_))
        return false;
    const std::uint64_t session = loadShared(state_->session, std::memory_order_acquire);
    const std::uint64_t owner = loadShared(state_->owner, std::memory_order_acquire);
    const bool isMarked = loadShared(block_->masterInUse, std::memory_order_acquire) != 0;
    const bool isForeign = isMarked && isMarkForeign(owner, session);
    // What was read is of one sender only if it is still there.
    return !isForeign || loadShared(state_->owner, std::memory_order_acquire) != owner ||
           loadShared(state_->session, std::memory_order_acquire) != session;
}

// Whether a mark can't be the state's sender's.
bool ConnectionListener::isMarkForeign(std::uint64_t owner, std::uint64_t session) const noexcept {
    if (owner == 0)
        return true;
    // The sender may have died while it came or went.
    if (session == 0) {
        const bool isWritten = writeIndex() != 0 || stampOf(*block_) != 0;
        return isWritten && lifeOfOwner(*state_) == platform::ProcessLife::Gone;
    }
    return loadShared(state_->ended, std::memory_order_acquire) != 0 &&
           !doBlocksAgree(*block_, *state_);
}

std::uint64_t ConnectionListener::session() const noexcept {
    return isStateInForce() ? loadShared(state_->session, std::memory_order_acquire) : 0;
}

std::optional<SenderFacts> ConnectionListener::sender() const {
    for (int i = 0; i < MostTries; ++i) {
        if (!isStateInForce())
            return std::nullopt;
        const ConnectionState& state = *state_;
        SenderFacts facts{};
        facts.session = loadShared(state.session, std::memory_order_acquire);
        facts.isEnded = loadShared(state.ended, std::memory_order_acquire) != 0;
        facts.formerSession = loadShared(state.formerSession, std::memory_order_acquire);
        facts.formerPublished = loadShared(state.formerPublished);
        facts.published = loadShared(state.stream.published, std::memory_order_acquire);
        facts.rate = rateOf(state).hertz;
        facts.channels = loadShared(state.channels);
        facts.announcedBlock = loadShared(state.announcedBlock);
        facts.isOffline = loadShared(state.isOffline) != 0;
        facts.isMuted = loadShared(state.isMuted) != 0;
        facts.host = textOf(state.host);
        facts.product = textOf(state.product);
        facts.listeners = countListeners(state, listenerClock());
        fenceShared(std::memory_order_acquire);
        if (loadShared(state.session) == facts.session &&
            loadShared(state.formerSession) == facts.formerSession)
            return facts;
    }
    return SenderFacts{};  // one goes and another comes, again and again
}

TakenSamples ConnectionListener::take(std::uint64_t session, std::uint64_t position,
                                      std::vector<float>& buffer) {
    using Result = TakenSamples::Result;
    const auto nothing = [](Result why) {
        TakenSamples taken;
        taken.result = why;
        return taken;
    };
    if (state_ == nullptr || session == 0 ||
        loadShared(state_->session, std::memory_order_acquire) != session)
        return nothing(Result::OtherSession);
    const ConnectionState& state = *state_;
    const std::uint64_t published = loadShared(state.stream.published, std::memory_order_acquire);
    const std::uint64_t oldest =
        published - std::min<std::uint64_t>(published, ConnectionRingSamples);
    const std::uint64_t from = std::min(std::max(position, oldest), published);
    const Rate rate = rateOf(state);
    copyAcrossTheEnd(static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(published - from),
                     buffer);

    fenceShared(std::memory_order_acquire);
    const std::uint32_t head = writeIndex();
    const std::int64_t stamp = stampOf(*block_);
    const std::uint64_t claimed = loadShared(state.stream.claimed);
    fenceShared(std::memory_order_acquire);
    if (loadShared(state.session) != session)
        return nothing(Result::OtherSession);
    if (stampSession_ != session) {
        stampSession_ = session;
        stamp_ = stamp;
    }
    const bool isStampRight = stamp >= stamp_ && (stamp != 0 || published == 0);
    if (position > published || !isStampRight || !isBetween(head, published, claimed) ||
        !isStateInForce())
        return nothing(Result::Overrun);
    stamp_ = stamp;

    const std::uint64_t overwritten =
        claimed - std::min<std::uint64_t>(claimed, ConnectionRingSamples);
    const std::uint64_t first = std::min(std::max(from, overwritten), published);
    return {Result::Taken, published,
            std::span<const float>(buffer.data() + (first - from),
                                   static_cast<std::size_t>(published - first)),
            rate.hertz, rate.from};
}

std::span<const float> ConnectionListener::copy(std::uint32_t index, std::uint32_t samples,
                                                std::vector<float>& buffer) {
    samples = std::min(samples, ConnectionRingSamples);
    copyAcrossTheEnd(index, samples, buffer);
    return {buffer.data(), samples};
}

void ConnectionListener::copyAcrossTheEnd(std::uint32_t index, std::uint32_t samples,
                                          std::vector<float>& buffer) {
    if (samples == 0)
        return;
    buffer.resize(std::max<std::size_t>(buffer.size(), samples));
    index &= ConnectionRingMask;
    const std::uint32_t first = std::min(samples, ConnectionRingSamples - index);
    copyRing(buffer.data(), block_->audio.ring + index, first);
    copyRing(buffer.data() + first, block_->audio.ring, samples - first);
}

void ConnectionListener::beat() {
    if (writableState_ != nullptr && isConnectionState(*writableState_))
        place_.beat(*writableState_, listenerClock());
}

}  // namespace tarn
