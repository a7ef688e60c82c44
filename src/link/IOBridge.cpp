#include "link/IOBridge.h"

#include "link/ConnectionInfo.h"
#include "link/SharedWord.h"
#include "platform/Clock.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>

namespace tarn {

namespace {

void storeStamp(ConnectionBlock& block, std::int64_t seconds) noexcept {
    storeShared(block.lastWriteTime[0], static_cast<std::uint32_t>(seconds));
    storeShared(block.lastWriteTime[1],
                static_cast<std::uint32_t>(static_cast<std::uint64_t>(seconds) >> 32));
}

std::uint32_t statusOf(const ConnectionBlock& block) noexcept {
    std::uint32_t status = 0;
    if (loadShared(block.masterInUse) != 0)
        status |= ConnectionInUse;
    const std::int64_t oldest = secondsBefore(platform::calendarSeconds(), ConnectionFreshSeconds);
    if (static_cast<std::uint64_t>(stampOf(block)) >= static_cast<std::uint64_t>(oldest))
        status |= ConnectionFresh;
    if (loadShared(block.readers[0].slaveInUse) != 0)
        status |= ConnectionHasSlave;
    return status;
}

platform::SharedMemory openSlot(std::uint32_t slot) {
    if (slot >= ConnectionSlots)
        return {};
    return platform::SharedMemory::open(connectionMappingName(slot), ConnectionBlockSize);
}

ConnectionBlock* blockIn(const platform::SharedMemory& memory) noexcept {
    return static_cast<ConnectionBlock*>(memory.data());
}

// As strncpy: padded with zeros, or cut without a terminator.
void copyName(char (&name)[ConnectionNameBytes], std::string_view text) noexcept {
    text = text.substr(0, std::min(text.find('\0'), sizeof name));
    std::memset(name, 0, sizeof name);
    std::memcpy(name, text.data(), text.size());
}

std::string resolvedName(std::string pattern, std::uint32_t slot) {
    const std::string number = std::to_string(slot + 1);
    for (std::size_t star = pattern.rfind('*'); star != std::string::npos;
         star = pattern.rfind('*'))
        pattern.replace(star, 1, number);
    return pattern;
}

// The blocks that probes have seen, held for as long as the system lets them be. The newest one a
// slot is enough, since it is the one that the slot's name stands for.
struct ProbedBlocks {
    ~ProbedBlocks() {
        for (platform::SharedMemory& block : blocks)
            block.keepToTheEnd();
        for (platform::SharedMemory& block : states)
            block.keepToTheEnd();
    }
    std::array<platform::SharedMemory, ConnectionSlots> blocks;
    std::array<platform::SharedMemory, ConnectionSlots> states;
};

void keepProbed(std::uint32_t slot, platform::SharedMemory memory) {
    static std::mutex lock;
    static ProbedBlocks kept;
    const std::lock_guard guard(lock);
    kept.blocks[slot] = std::move(memory);
    kept.states[slot] =
        platform::SharedMemory::open(connectionStateName(slot), ConnectionStateSize);
}

}  // namespace

std::uint32_t connectionStatus(std::uint32_t slot) {
    platform::SharedMemory memory = openSlot(slot);
    if (!memory)
        return 0;
    const std::uint32_t status = statusOf(*blockIn(memory));
    keepProbed(slot, std::move(memory));
    return status;
}

template <typename Sample>
IOBridge<Sample>::IOBridge(std::string& namePattern, const SenderNames& names) {
    for (std::uint32_t slot = 0; slot < ConnectionSlots; ++slot) {
        if (!take(slot))
            continue;
        namePattern = resolvedName(std::move(namePattern), slot);
        owner_.hide();
        initialise(slot, namePattern);
        owner_.begin(names);
        number_ = static_cast<int>(slot) + 1;
        return;
    }
}

template <typename Sample>
bool IOBridge<Sample>::take(std::uint32_t slot) {
    if (!owner_.claim(slot, (connectionStatus(slot) & ConnectionInUse) != 0))
        return false;
    mapping_ = platform::SharedMemory::create(connectionMappingName(slot), ConnectionBlockSize);
    block_ = blockIn(mapping_);
    // Something else may have the name, or an older block be too short: the slot is of no use.
    if (block_ == nullptr) {
        owner_.giveBack();
        refused_ = true;
    }
    return block_ != nullptr;
}

template <typename Sample>
IOBridge<Sample>::IOBridge(OpenSlot where) : IOBridge(std::optional(where.slot)) {}

template <typename Sample>
IOBridge<Sample>::IOBridge(OpenName where) : IOBridge(findConnection(where.name)) {}

template <typename Sample>
IOBridge<Sample>::IOBridge(std::optional<std::uint32_t> slot) : master_(false) {
    if (!slot)
        return;
    mapping_ = openSlot(*slot);
    block_ = blockIn(mapping_);
    attach();
}

template <typename Sample>
void IOBridge<Sample>::initialise(std::uint32_t slot, std::string_view name) {
    const auto image = std::make_unique<ConnectionBlock>();  // all zeros
    image->slot = slot;
    image->masterInUse = 1;
    copyName(image->name, name);
    std::memcpy(block_, image.get(), sizeof *image);
}

template <typename Sample>
IOBridge<Sample>::~IOBridge() {
    if (block_ == nullptr)
        return;
    owner_.end();
    storeShared(master_ ? block_->masterInUse : block_->readers[0].slaveInUse, std::uint8_t{0},
                std::memory_order_release);
    owner_.giveBack();
}

template <typename Sample>
std::uint32_t IOBridge<Sample>::write(const Sample* samples, std::uint32_t frames) noexcept {
    if (block_ == nullptr)
        return 0;
    if (samples == nullptr)
        frames = 0;
    ConnectionBlock& block = *block_;
    storeStamp(block, platform::calendarSeconds());
    owner_.claimFrames(frames);
    block.audio.copyIn(owner_.ringPosition(), samples, frames);
    owner_.advance(frames);
    block.audio.advance(owner_.ringPosition(), frames);
    owner_.publish();
    return frames;
}

template <typename Sample>
std::uint32_t IOBridge<Sample>::read(Sample* samples, std::uint32_t frames) noexcept {
    if (block_ == nullptr)
        return 0;
    if (samples == nullptr)
        frames = 0;

    const std::int64_t now = platform::calendarSeconds();
    const std::int64_t lastWrite = stampOf(*block_);
    if (lastWrite < secondsBefore(now, ConnectionLiveSeconds)) {
        std::printf("%d %d %d\n", static_cast<std::int32_t>(now),
                    static_cast<std::int32_t>(now >> 32), static_cast<std::int32_t>(lastWrite));
        return 0;
    }

    ReaderRecord& reader = block_->readers[0];
    std::uint32_t position = loadShared(reader.readPosition);
    if (loadShared(reader.starting) != 0) {
        const std::uint32_t unread = loadShared(block_->audio.count, std::memory_order_acquire);
        const std::uint32_t keep = std::min(unread, ConnectionPreroll);
        const std::uint32_t need =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(2ULL * frames, ConnectionPreroll));
        if (unread < need) {
            std::fill_n(samples, frames, Sample{0});
            return frames;
        }
        position = (loadShared(block_->audio.writeIndex, std::memory_order_acquire) - keep) &
                   ConnectionRingMask;
        storeShared(reader.starting, std::uint8_t{0});
    }
    const std::uint32_t delivered = block_->audio.get(samples, frames, position);
    storeShared(reader.readPosition, position);
    return delivered;
}

template <typename Sample>
void IOBridge<Sample>::resync(std::int32_t offset) noexcept {
    if (block_ == nullptr)
        return;
    const auto distance = static_cast<std::uint32_t>(offset);
    const std::uint32_t unread = loadShared(block_->audio.count);
    if (offset >= 0) {
        storeShared(block_->audio.readIndex,
                    (loadShared(block_->audio.readIndex) + distance) & ConnectionRingMask);
        storeShared(block_->audio.count, unread - distance);
    } else {
        storeShared(block_->audio.readIndex, (unread - distance) & ConnectionRingMask);
    }
}

template <typename Sample>
std::string IOBridge<Sample>::name() const {
    if (block_ == nullptr)
        return {};
    const char* start = block_->name;
    const char* end = reinterpret_cast<const char*>(block_) + sizeof *block_;
    return std::string(start, std::find(start, end, '\0'));
}

template <typename Sample>
bool IOBridge<Sample>::setName(std::string_view text) noexcept {
    if (block_ == nullptr)
        return false;
    copyName(block_->name, text);
    return true;
}

template <typename Sample>
std::int32_t IOBridge<Sample>::inputLatency() const noexcept {
    return block_ != nullptr ? loadShared(block_->inputLatency) : 0;
}

template <typename Sample>
std::uint32_t IOBridge<Sample>::available() const noexcept {
    return (writePosition() - readPosition()) & ConnectionRingMask;
}

template <typename Sample>
std::uint32_t IOBridge<Sample>::writePosition() const noexcept {
    return block_ != nullptr ? loadShared(block_->audio.writeIndex, std::memory_order_acquire) &
                                   ConnectionRingMask
                             : 0;
}

template <typename Sample>
std::uint32_t IOBridge<Sample>::readPosition() const noexcept {
    return block_ != nullptr ? loadShared(block_->readers[0].readPosition) & ConnectionRingMask : 0;
}

template <typename Sample>
bool IOBridge<Sample>::isLive() const noexcept {
    return block_ != nullptr &&
           stampOf(*block_) >= secondsBefore(platform::calendarSeconds(), ConnectionLiveSeconds);
}

template <typename Sample>
bool IOBridge<Sample>::hasMaster() const noexcept {
    return block_ != nullptr && loadShared(block_->masterInUse) != 0;
}

template <typename Sample>
bool IOBridge<Sample>::isAttached() const noexcept {
    return block_ != nullptr && loadShared(block_->readers[0].slaveInUse) != 0;
}

template <typename Sample>
void IOBridge<Sample>::attach() noexcept {
    if (block_ == nullptr)
        return;
    storeShared(block_->readers[0].starting, std::uint8_t{1});
    storeShared(block_->readers[0].slaveInUse, std::uint8_t{1}, std::memory_order_release);
}

template <typename Sample>
bool IOBridge<Sample>::isStarting() const noexcept {
    return block_ != nullptr && loadShared(block_->readers[0].starting) != 0;
}

template class IOBridge<float>;

}  // namespace tarn
