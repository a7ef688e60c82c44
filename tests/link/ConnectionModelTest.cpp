#include "link/ConnectionListener.h"
#include "support/StepSender.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

namespace tarn {
namespace {

using test::sampleAt;
using Result = TakenSamples::Result;

// A listener whose sender goes on while it copies.
struct OvertakenListener : ConnectionListener {
    using ConnectionListener::ConnectionListener;

    void copyRing(float* to, const float* from, std::size_t samples) noexcept override {
        meanwhile();
        ConnectionListener::copyRing(to, from, samples / 2);
        meanwhile();
        ConnectionListener::copyRing(to + samples / 2, from + samples / 2, samples - samples / 2);
        meanwhile();
    }

    std::function<void()> meanwhile = [] {};
};

// Faults: a sample that is believed though the sender had its hands on it, a session that changes
// in the midst of a copy, a bound that holds only for blocks shorter than the ring.
TEST(ConnectionModel, WhateverTheSenderDoesDuringACopyOnlyWholeSamplesAreTaken) {
    auto block = test::RawBlock::make(0);
    auto state = test::RawState::make(0);
    OvertakenListener listener(0);
    std::mt19937 random(7);
    const auto upTo = [&](std::uint32_t most) {
        return static_cast<std::uint32_t>(random()) % (most + 1);
    };
    std::uint32_t sessions = 0;
    auto sender = std::make_unique<test::StepSender>(block, state, sessions, true);
    const auto act = [&] {
        if (sender->isBusy()) {
            sender->step();
        } else if (upTo(200) == 0) {
            sender->die();
            sender = std::make_unique<test::StepSender>(block, state, ++sessions % 256, true);
        } else {
            const std::uint32_t choice = upTo(9);
            sender->write(1000, choice == 0  ? upTo(200'000)
                                : choice < 3 ? 32'766 + upTo(4)
                                             : upTo(3000));
        }
    };
    listener.meanwhile = [&] {
        for (std::uint32_t i = upTo(3) == 0 ? upTo(30) : 0; i > 0; --i)
            act();
    };
    std::vector<float> buffer;
    std::uint64_t session = 0, position = 0, delivered = 0, partly = 0, lost = 0, changes = 0;
    for (int look = 0; look < 6000; ++look) {
        for (std::uint32_t i = upTo(12); i > 0; --i)
            act();
        const std::uint64_t present = listener.session();
        if (present == 0)
            continue;
        if (present != session) {
            session = present;
            position = 0;
        }
        const TakenSamples taken = listener.take(session, position, buffer);
        ASSERT_NE(taken.result, Result::Overrun);
        changes += taken.result == Result::OtherSession;
        if (taken.result != Result::Taken)
            continue;
        const std::uint64_t first = taken.end - taken.samples.size();
        ASSERT_LE(position, first);
        for (std::uint64_t x = first; x < taken.end; ++x)
            if (std::bit_cast<std::uint32_t>(taken.samples[static_cast<std::size_t>(x - first)]) !=
                std::bit_cast<std::uint32_t>(
                    sampleAt(static_cast<std::uint32_t>(session & 0xFF), x)))
                FAIL() << "look " << look << ", position " << x;
        delivered += taken.samples.size();
        lost += first - position;
        partly += first > position && first < taken.end;
        position = taken.end;
    }
    // All of it happened.
    EXPECT_GT(delivered, 500'000u);
    EXPECT_GT(lost, 500'000u);
    EXPECT_GT(partly, 50u);
    EXPECT_GT(changes, 10u);
}

}  // namespace
}  // namespace tarn
