// What the tests of connections share.
#pragma once

#include "link/ConnectionBlock.h"
#include "platform/Clock.h"
#include "platform/SharedMemory.h"

#include <cstdint>
#include <numeric>
#include <random>
#include <string>
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

/// A look into a slot's block as a foreign program has it, by the raw name and offsets.
class RawBlock {
public:
    explicit RawBlock(std::uint32_t slot)
        : memory_(platform::SharedMemory::open(nameOf(slot), ConnectionBlockSize)) {}

    /// Makes the block as another process does: nothing here has probed it.
    static RawBlock make(std::uint32_t slot) {
        return RawBlock(platform::SharedMemory::create(nameOf(slot), ConnectionBlockSize));
    }

    explicit operator bool() const { return static_cast<bool>(memory_); }
    ConnectionBlock& operator*() const { return *static_cast<ConnectionBlock*>(memory_.data()); }
    ConnectionBlock* operator->() const { return &**this; }

    /// Lets the block go, as the end of its process would.
    void die() { memory_ = {}; }

    /// Random values in every word, or every second or third one, as `stride` says.
    void scramble(std::mt19937& random, std::size_t stride) const {
        auto* words = static_cast<std::uint32_t*>(memory_.data());
        for (std::size_t i = 0; i < ConnectionBlockSize / 4; i += stride)
            words[i] = static_cast<std::uint32_t>(random());
    }

private:
    explicit RawBlock(platform::SharedMemory memory) : memory_(std::move(memory)) {}
    static std::string nameOf(std::uint32_t slot) { return "Connection #" + std::to_string(slot); }

    platform::SharedMemory memory_;
};

}  // namespace tarn::test
