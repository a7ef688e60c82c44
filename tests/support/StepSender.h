// A sender that stops between any two of its stores, wherever a test wants it to: the rules of
// ConnectionState.h written down once more, store by store, beside the product's own writer.
#pragma once

#include "support/Connections.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <deque>
#include <functional>

namespace tarn::test {

/// A sample that tells its session, by a number from 0 to 255, and its position.
inline float sampleAt(std::uint32_t session, std::uint64_t position) {
    return std::bit_cast<float>(session << 24 | static_cast<std::uint32_t>(position & 0xFFFFFF));
}
inline std::uint32_t bitsOf(float sample) {
    return std::bit_cast<std::uint32_t>(sample);
}
inline std::uint32_t sessionOf(float sample) {
    return bitsOf(sample) >> 24;
}

/// Over the blocks of slot 0, which the test holds. Each operation queues its stores; `step` makes
/// one of them.
class StepSender {
public:
    /// Takes the slot over, as session `number` of the test.
    StepSender(RawBlock& block, RawState& state, std::uint32_t number)
        : block_(*block), state_(*state), number_(number) {
        add([this] { state_.owner = platform::currentProcess(); });
        add([this] { state_.ownerSpace = platform::processSpace(); });
        if (state_.session != 0) {
            add([this] { state_.formerSession = 0; });
            add([this] { state_.formerPublished = state_.stream.published; });
            add([this] { state_.formerSession = state_.session; });
        }
        add([this] { state_.session = 0; });
        add([this] {
            state_.ended = 0;
            state_.major = ConnectionStateMajor;
            state_.size = ConnectionStateSize;
            state_.magic = ConnectionStateMagic;
        });
        // The block anew, in the order of a copy.
        add([this] { block_.masterInUse = 1; });
        add([this] { block_.lastWriteTime[0] = 0; });
        add([this] { std::fill_n(block_.audio.ring, ConnectionRingSamples, 0.0f); });
        add([this] { block_.audio.writeIndex = block_.audio.count = 0; });
        add([this] { std::fill_n(block_.readers, ConnectionSlots, ReaderRecord{}); });
        add([this] { state_.stream.claimed = 0; });
        add([this] { state_.stream.published = 0; });
        add([this] { state_.stream.rateFrom = 0; });
        add([this] { state_.session = sessionNumber(); });
    }

    void write(std::uint64_t stamp, std::uint32_t frames) {
        add([this, stamp] { block_.lastWriteTime[0] = static_cast<std::uint32_t>(stamp); });
        const std::uint64_t from = position_;
        position_ += frames;
        add([this, end = position_] { state_.stream.claimed = end; });
        // The samples in a few parts, of which the later ones may write over the earlier.
        const std::uint32_t part = frames / 3 + 1;
        for (std::uint32_t done = 0; done < frames; done += part)
            add([this, at = from + done, count = std::min(part, frames - done)] {
                const std::uint64_t end = at + count;  // only the last ring's worth survives
                for (std::uint64_t x = end - std::min(count, ConnectionRingSamples); x < end; ++x)
                    block_.audio.ring[x & ConnectionRingMask] = sampleAt(number_, x);
            });
        add([this] { block_.audio.count = ConnectionRingSamples; });
        add([this, end = position_] {
            block_.audio.writeIndex = static_cast<std::uint32_t>(end) & ConnectionRingMask;
        });
        add([this, end = position_] { state_.stream.published = end; });
    }

    void letGo() {
        add([this] { state_.ended = 1; });
        add([this] { block_.masterInUse = 0; });
        add([this] { state_.owner = 0; });
    }

    /// The end of its process, wherever it is.
    void die() const {
        if (state_.owner == platform::currentProcess())
            state_.owner = NoProcess;
    }

    bool isBusy() const { return !stores_.empty(); }

    void step() {
        stores_.front()();
        stores_.pop_front();
    }

    std::uint64_t sessionNumber() const { return 0x1'0000'0000 + number_; }

private:
    void add(std::function<void()> store) { stores_.push_back(std::move(store)); }
    ConnectionBlock& block_;
    ConnectionState& state_;
    std::uint32_t number_;
    std::uint64_t position_ = 0;
    std::deque<std::function<void()>> stores_;
};

}  // namespace tarn::test
