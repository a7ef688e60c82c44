// A receiver's mark in the block of a sender that has no state block. Everything rests on one fact:
// a master that makes the block anew clears all 32 reader records, of which masters and slaves use
// the first one alone. So a receiver that puts a number into one of the others knows by it whether
// the block is still the one that it began with, whatever other receivers do.
#pragma once

#include "link/ConnectionBlock.h"
#include "platform/SharedMemory.h"

#include <cstdint>

namespace tarn {

/// One thread; not an audio thread.
class ReaderMark {
public:
    /// Marks the block of a slot, 0 to 31. Without such a block, or when it may not be written or
    /// all records are taken, there is no mark, and `stands` is always true.
    explicit ReaderMark(std::uint32_t slot);
    ReaderMark(const ReaderMark&) = delete;
    ReaderMark& operator=(const ReaderMark&) = delete;

    /// Takes the mark away.
    ~ReaderMark();

    /// Marks the block again, after a master has made it anew.
    void renew();

    /// False once a master has made the block anew.
    bool stands() const noexcept;

private:
    platform::SharedMemory mapping_;
    ConnectionBlock* block_ = nullptr;  // in mapping_
    ReaderRecord* record_ = nullptr;    // in block_; null without a mark
    std::uint32_t id_ = 0;
};

}  // namespace tarn
