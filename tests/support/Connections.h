// What the tests of connections share.
#pragma once

#include "link/IOBridge.h"
#include "platform/Clock.h"
#include "platform/Process.h"
#include "platform/SharedMemory.h"

#include <cstdint>
#include <memory>
#include <numeric>
#include <string>
#include <type_traits>
#include <vector>

namespace tarn::test {

/// Sets the calendar clock of this process, for good: every case has a process of its own.
inline void setCalendar(std::int64_t seconds) {
    static std::int64_t now = 0;
    now = seconds;
    platform::setCalendarClock([]() noexcept { return now; });
}

/// So many samples, each one more than the one before.
inline std::vector<float> ramp(std::uint32_t frames, std::uint32_t from = 1) {
    std::vector<float> samples(frames);
    std::iota(samples.begin(), samples.end(), static_cast<float>(from));
    return samples;
}

/// The sending end under a name, which may be a pattern.
inline std::unique_ptr<IOBridge<float>> makeSender(std::string name = "Connection #*",
                                                   const SenderNames& names = {}) {
    return std::make_unique<IOBridge<float>>(name, names);
}

/// Writes so many samples, a ramp.
inline void send(IOBridge<float>& sender, std::uint32_t frames, std::uint32_t from = 1) {
    sender.write(ramp(frames, from).data(), frames);
}

/// A look into one of a slot's two blocks as a foreign program has it, by the raw name and offsets.
template <typename Block>
class RawMemory {
public:
    explicit RawMemory(std::uint32_t slot)
        : memory_(platform::SharedMemory::open(nameOf(slot), sizeof(Block))) {}

    /// Makes the block as another process does: nothing here has probed it.
    static RawMemory make(std::uint32_t slot) {
        return RawMemory(platform::SharedMemory::create(nameOf(slot), sizeof(Block)));
    }

    explicit operator bool() const { return static_cast<bool>(memory_); }
    Block& operator*() const { return *static_cast<Block*>(memory_.data()); }
    Block* operator->() const { return &**this; }

    /// Lets the block go, as the end of its process would.
    void die() { memory_ = {}; }

private:
    explicit RawMemory(platform::SharedMemory memory) : memory_(std::move(memory)) {}
    static std::string nameOf(std::uint32_t slot) {
        return std::is_same_v<Block, ConnectionBlock> ? connectionMappingName(slot)
                                                      : connectionStateName(slot);
    }

    platform::SharedMemory memory_;
};

using RawBlock = RawMemory<ConnectionBlock>;
using RawState = RawMemory<ConnectionState>;

/// A process that doesn't exist.
constexpr platform::ProcessName NoProcess = 0x00000001'7FFFFFF0;

}  // namespace tarn::test
