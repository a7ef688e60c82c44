#include "link/IOBridge.h"

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

template <typename Word>
Word load(const Word& word, std::memory_order order = std::memory_order_relaxed) noexcept {
    return std::atomic_ref<Word>(const_cast<Word&>(word)).load(order);
}

template <typename Word>
void store(Word& word, Word value, std::memory_order order = std::memory_order_relaxed) noexcept {
    std::atomic_ref<Word>(word).store(value, order);
}

// Two words, so that a 32-bit process needs no 64-bit atomic. The high one changes every 136 years.
std::int64_t loadStamp(const ConnectionBlock& block) noexcept {
    const std::uint64_t high = load(block.lastWriteTime[1]);
    return static_cast<std::int64_t>(high << 32 | load(block.lastWriteTime[0]));
}

void storeStamp(ConnectionBlock& block, std::int64_t seconds) noexcept {
    store(block.lastWriteTime[0], static_cast<std::uint32_t>(seconds));
    store(block.lastWriteTime[1],
          static_cast<std::uint32_t>(static_cast<std::uint64_t>(seconds) >> 32));
}

// Sums and differences of stamps wrap: a stamp may hold any bits.
std::int64_t secondsBefore(std::int64_t now, std::int64_t seconds) noexcept {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(now) -
                                     static_cast<std::uint64_t>(seconds));
}

std::uint32_t statusOf(const ConnectionBlock& block) noexcept {
    std::uint32_t status = 0;
    if (load(block.masterInUse) != 0)
        status |= ConnectionInUse;
    const std::int64_t oldest = secondsBefore(platform::calendarSeconds(), ConnectionFreshSeconds);
    if (static_cast<std::uint64_t>(loadStamp(block)) >= static_cast<std::uint64_t>(oldest))
        status |= ConnectionFresh;
    if (load(block.readers[0].slaveInUse) != 0)
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

std::string boundedName(const ConnectionBlock& block) {
    char name[ConnectionNameBytes];
    std::memcpy(name, block.name, sizeof name);
    return std::string(name, std::find(name, name + sizeof name, '\0'));
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
    }
    std::array<platform::SharedMemory, ConnectionSlots> blocks;
};

void keepProbed(std::uint32_t slot, platform::SharedMemory memory) {
    static std::mutex lock;
    static ProbedBlocks kept;
    const std::lock_guard guard(lock);
    kept.blocks[slot] = std::move(memory);
}

}  // namespace

std::string connectionMappingName(std::uint32_t slot) {
    return "Connection #" + std::to_string(slot);
}

std::uint32_t connectionStatus(std::uint32_t slot) {
    platform::SharedMemory memory = openSlot(slot);
    if (!memory)
        return 0;
    const std::uint32_t status = statusOf(*blockIn(memory));
    keepProbed(slot, std::move(memory));
    return status;
}

std::optional<ConnectionInfo> inspectConnection(std::uint32_t slot) {
    const platform::SharedMemory memory = openSlot(slot);
    if (!memory)
        return std::nullopt;
    const ConnectionBlock& block = *blockIn(memory);
    return ConnectionInfo{slot, statusOf(block), boundedName(block), loadStamp(block),
                          load(block.inputLatency)};
}

std::optional<std::uint32_t> findConnection(std::string_view name) {
    std::optional<std::uint32_t> found;
    for (std::uint32_t slot = 0; slot < ConnectionSlots; ++slot) {
        const std::optional<ConnectionInfo> info = inspectConnection(slot);
        if (!info || (info->status & ConnectionInUse) == 0 || info->name != name)
            continue;
        if ((info->status & ConnectionFresh) != 0)
            return slot;
        if (!found)
            found = slot;
    }
    return found;
}

template <typename Sample>
IOBridge<Sample>::IOBridge(std::string& namePattern) {
    for (std::uint32_t slot = 0; slot < ConnectionSlots; ++slot) {
        if ((connectionStatus(slot) & ConnectionInUse) != 0)
            continue;
        mapping_ = platform::SharedMemory::create(connectionMappingName(slot), ConnectionBlockSize);
        if (!mapping_)
            continue;  // something else has the name, or an older block is too short: the slot is
                       // of no use
        block_ = blockIn(mapping_);
        namePattern = resolvedName(std::move(namePattern), slot);
        initialise(slot, namePattern);
        return;
    }
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
    store(master_ ? block_->masterInUse : block_->readers[0].slaveInUse, std::uint8_t{0},
          std::memory_order_release);
}

template <typename Sample>
std::uint32_t IOBridge<Sample>::write(const Sample* samples, std::uint32_t frames) noexcept {
    if (block_ == nullptr)
        return 0;
    if (samples == nullptr)
        frames = 0;
    ConnectionBlock& block = *block_;
    storeStamp(block, platform::calendarSeconds());
    block.audio.put(samples, frames);
    return frames;
}

template <typename Sample>
std::uint32_t IOBridge<Sample>::read(Sample* samples, std::uint32_t frames) noexcept {
    if (block_ == nullptr)
        return 0;
    if (samples == nullptr)
        frames = 0;

    const std::int64_t now = platform::calendarSeconds();
    const std::int64_t lastWrite = loadStamp(*block_);
    if (lastWrite < secondsBefore(now, ConnectionLiveSeconds)) {
        std::printf("%d %d %d\n", static_cast<std::int32_t>(now),
                    static_cast<std::int32_t>(now >> 32), static_cast<std::int32_t>(lastWrite));
        return 0;
    }

    ReaderRecord& reader = block_->readers[0];
    std::uint32_t position = load(reader.readPosition);
    if (load(reader.starting) != 0) {
        const std::uint32_t unread = load(block_->audio.count, std::memory_order_acquire);
        const std::uint32_t keep = std::min(unread, ConnectionPreroll);
        const std::uint32_t need =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(2ULL * frames, ConnectionPreroll));
        if (unread < need) {
            std::fill_n(samples, frames, Sample{0});
            return frames;
        }
        position =
            (load(block_->audio.writeIndex, std::memory_order_acquire) - keep) & ConnectionRingMask;
        store(reader.starting, std::uint8_t{0});
    }
    const std::uint32_t delivered = block_->audio.get(samples, frames, position);
    store(reader.readPosition, position);
    return delivered;
}

template <typename Sample>
void IOBridge<Sample>::resync(std::int32_t offset) noexcept {
    if (block_ == nullptr)
        return;
    const auto distance = static_cast<std::uint32_t>(offset);
    const std::uint32_t unread = load(block_->audio.count);
    if (offset >= 0) {
        store(block_->audio.readIndex,
              (load(block_->audio.readIndex) + distance) & ConnectionRingMask);
        store(block_->audio.count, unread - distance);
    } else {
        store(block_->audio.readIndex, (unread - distance) & ConnectionRingMask);
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
void IOBridge<Sample>::setInputLatency(std::int32_t samples) noexcept {
    if (block_ != nullptr && master_)
        store(block_->inputLatency, samples);
}

template <typename Sample>
std::int32_t IOBridge<Sample>::inputLatency() const noexcept {
    return block_ != nullptr ? load(block_->inputLatency) : 0;
}

template <typename Sample>
std::uint32_t IOBridge<Sample>::available() const noexcept {
    return (writePosition() - readPosition()) & ConnectionRingMask;
}

template <typename Sample>
std::uint32_t IOBridge<Sample>::writePosition() const noexcept {
    return block_ != nullptr
               ? load(block_->audio.writeIndex, std::memory_order_acquire) & ConnectionRingMask
               : 0;
}

template <typename Sample>
std::uint32_t IOBridge<Sample>::readPosition() const noexcept {
    return block_ != nullptr ? load(block_->readers[0].readPosition) & ConnectionRingMask : 0;
}

template <typename Sample>
std::int64_t IOBridge<Sample>::lastWriteTime() const noexcept {
    return block_ != nullptr ? loadStamp(*block_) : 0;
}

template <typename Sample>
bool IOBridge<Sample>::isLive() const noexcept {
    return block_ != nullptr &&
           loadStamp(*block_) >= secondsBefore(platform::calendarSeconds(), ConnectionLiveSeconds);
}

template <typename Sample>
bool IOBridge<Sample>::hasMaster() const noexcept {
    return block_ != nullptr && load(block_->masterInUse) != 0;
}

template <typename Sample>
bool IOBridge<Sample>::isAttached() const noexcept {
    return block_ != nullptr && load(block_->readers[0].slaveInUse) != 0;
}

template <typename Sample>
void IOBridge<Sample>::attach() noexcept {
    if (block_ == nullptr)
        return;
    store(block_->readers[0].starting, std::uint8_t{1});
    store(block_->readers[0].slaveInUse, std::uint8_t{1}, std::memory_order_release);
}

template <typename Sample>
bool IOBridge<Sample>::isStarting() const noexcept {
    return block_ != nullptr && load(block_->readers[0].starting) != 0;
}

template class IOBridge<float>;

}  // namespace tarn
