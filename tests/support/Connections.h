// What the tests of connections share.
#pragma once

#include "link/ConnectionBlock.h"
#include "platform/Clock.h"
#include "platform/SharedMemory.h"

#include <cstdint>
#include <string>

namespace tarn::test {

/// Sets the calendar clock of this process for as long as it lives.
class CalendarAt {
public:
    explicit CalendarAt(std::int64_t seconds) {
        now() = seconds;
        platform::setCalendarClock([]() noexcept { return now(); });
    }
    CalendarAt(const CalendarAt&) = delete;
    CalendarAt& operator=(const CalendarAt&) = delete;
    ~CalendarAt() { platform::setCalendarClock(nullptr); }

    void set(std::int64_t seconds) { now() = seconds; }

private:
    static std::int64_t& now() {
        static std::int64_t seconds = 0;
        return seconds;
    }
};

/// A look into a slot's block as a foreign program has it, by the raw name and offsets.
class RawBlock {
public:
    explicit RawBlock(int slot)
        : memory_(platform::SharedMemory::open("Connection #" + std::to_string(slot),
                                               ConnectionBlockSize)) {}
    explicit operator bool() const { return static_cast<bool>(memory_); }
    ConnectionBlock& operator*() const { return *static_cast<ConnectionBlock*>(memory_.data()); }
    ConnectionBlock* operator->() const { return &**this; }

private:
    platform::SharedMemory memory_;
};

}  // namespace tarn::test
