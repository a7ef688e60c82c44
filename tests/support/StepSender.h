// A sender that stops between any two of its stores, wherever a test wants it to: the rules of
// ConnectionState.h written down once more, store by store, beside the product's own writer.
#pragma once

#include "support/Connections.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

namespace tarn::test {

/// A sample that tells its session, by a number from 0 to 255, and its position.
inline float sampleAt(std::uint32_t session, std::uint64_t position) {
    return std::bit_cast<float>(session << 24 | static_cast<std::uint32_t>(position & 0xFFFFFF));
}
inline std::uint32_t sessionOf(float sample) {
    return std::bit_cast<std::uint32_t>(sample) >> 24;
}

/// Over the blocks of slot 0, which the test holds. Each operation queues its stores; `step` makes
/// one of them.
class StepSender {
public:
    /// Takes the slot over, as session `number` of the test; without `tellsState` as a master that
    /// knows the connection's block alone.
    StepSender(RawBlock& block, RawState& state, std::uint32_t number, bool tellsState)
        : block_(*block), state_(*state), number_(number), tellsState_(tellsState) {
        addToState([this] { state_.owner = platform::currentProcess(); });
        addToState([this] { state_.ownerSpace = platform::processSpace(); });
        if (state_.session != 0) {
            addToState([this] { state_.formerSession = 0; });
            addToState([this] { state_.formerPublished = state_.stream.published; });
            addToState([this] { state_.formerSession = state_.session; });
        }
        addToState([this] { state_.session = 0; });
        addToState([this] {
            state_.ended = 0;
            state_.major = ConnectionStateMajor;
            state_.size = ConnectionStateSize;
            state_.magic = ConnectionStateMagic;
        });
        makeBlockAnew();
        addToState([this] { state_.stream.claimed = 0; });
        addToState([this] { state_.stream.published = 0; });
        addToState([this] { state_.stream.rateFrom = 0; });
        addToState([this] { state_.session = sessionNumber(); });
    }

    void write(std::uint64_t stamp, std::uint32_t frames) {
        add([this, stamp] { block_.lastWriteTime[0] = static_cast<std::uint32_t>(stamp); });
        const std::uint64_t from = position_;
        position_ += frames;
        addToState([this, end = position_] { state_.stream.claimed = end; });
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
        addToState([this, end = position_] { state_.stream.published = end; });
    }

    void letGo() {
        addToState([this] { state_.ended = 1; });
        add([this] { block_.masterInUse = 0; });
        addToState([this] { state_.owner = 0; });
    }

    /// The end of its process, wherever it is.
    void die() const {
        if (tellsState_ && state_.owner == platform::currentProcess())
            state_.owner = NoProcess;
    }

    bool isBusy() const { return !stores_.empty(); }

    void step() {
        stores_.front()();
        stores_.pop_front();
    }

    std::uint64_t sessionNumber() const { return 0x1'0000'0000 + number_; }
    bool tellsState() const { return tellsState_; }

private:
    void add(std::function<void()> store) { stores_.push_back(std::move(store)); }
    void addToState(std::function<void()> store) {
        if (tellsState_)
            add(std::move(store));
    }

    // In the order of a copy.
    void makeBlockAnew() {
        add([this] { block_.masterInUse = 1; });
        add([this] { block_.lastWriteTime[0] = 0; });
        add([this] { std::fill_n(block_.audio.ring, ConnectionRingSamples, 0.0f); });
        add([this] { block_.audio.writeIndex = block_.audio.count = 0; });
        add([this] { std::fill_n(block_.readers, ConnectionSlots, ReaderRecord{}); });
    }

    ConnectionBlock& block_;
    ConnectionState& state_;
    std::uint32_t number_;
    bool tellsState_;
    std::uint64_t position_ = 0;
    std::deque<std::function<void()>> stores_;
};

}  // namespace tarn::test
