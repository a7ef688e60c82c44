#include "Receiver.h"
#include "support/Connections.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <random>

namespace tarn::receive {
namespace {

using State = Receiver::State;

double clockNow = 0.0;

// A sender, whose samples count up from 1, its receiver and the time, all in the test's hands.
class ReceiverTest : public testing::Test {
protected:
    ReceiverTest() {
        clockNow = 1'790'000'000.25;
        platform::setCalendarClock([]() noexcept { return static_cast<std::int64_t>(clockNow); });
        platform::setHighResolutionClock([]() noexcept { return clockNow; });
    }

    void startSender(std::string name = "Connection #*") {
        sender_.reset();  // before the next one looks for a slot
        sender_ = std::make_unique<IOBridge<float>>(name);
        sender_->resync(ConnectionPreroll);
        sent_ = 0;
        expected_ = 1;
    }
    void startSenderAndLook(const std::string& name = "Connection #*") {
        startSender(name);
        EXPECT_TRUE(receiver_->look().samples.empty());
    }

    // As blocks of a host.
    void send(std::uint32_t frames) {
        for (const std::uint32_t end = sent_ + frames; sent_ < end;) {
            const std::uint32_t block = std::min(end - sent_, 480u);
            sent_ += sender_->write(test::ramp(block, sent_ + 1).data(), block);
        }
    }

    static void pass(double seconds) { clockNow += seconds; }

    // How many samples a look brings; they follow on those before, less what it says is missed.
    std::size_t expectContinuation() {
        const Delivery delivery = receiver_->look();
        EXPECT_FALSE(delivery.isMissedUnknown);
        missed_ += delivery.missed;
        expected_ += static_cast<std::uint32_t>(delivery.missed);
        const auto frames = static_cast<std::uint32_t>(delivery.samples.size());
        EXPECT_TRUE(std::ranges::equal(delivery.samples, test::ramp(frames, expected_)));
        expected_ += frames;
        return frames;
    }

    std::unique_ptr<IOBridge<float>> sender_;
    std::optional<Receiver> receiver_{std::in_place, Target{0, ""}, 48000.0, false};
    std::uint32_t sent_ = 0;
    std::uint32_t expected_ = 1;
    std::uint64_t missed_ = 0;
};

// Faults: a first sample that is lost, a count of missed ones that is off by one or lacks a lap.
TEST_F(ReceiverTest, EverySampleFromTheFirstOneOnIsDeliveredOrToldAsMissed) {
    EXPECT_TRUE(receiver_->look().samples.empty());
    EXPECT_EQ(receiver_->state(), State::NoConnection);
    startSenderAndLook();
    EXPECT_EQ(receiver_->state(), State::Silent);
    std::mt19937 random(1);
    // At first less than half a ring a look, then up to nearly a ring.
    for (const auto& [most, end] : {std::pair(2000u, 300'000u), {28'000u, 10'000'000u}}) {
        EXPECT_EQ(missed_, 0u);
        while (sent_ < end) {  // floats count no farther
            const auto frames = static_cast<std::uint32_t>(random() % most);
            send(frames);
            pass(frames / 48000.0);
            expectContinuation();
        }
    }
    EXPECT_EQ(receiver_->state(), State::Receiving);
    EXPECT_GT(missed_, 0u);
    EXPECT_EQ(expected_, sent_ + 1);
}

TEST_F(ReceiverTest, WhoComesLaterStartsHalfARingBehind) {
    startSender();
    send(51'200);
    receiver_.emplace(Target{std::nullopt, "Connection #1"}, 48000.0, false);
    const Delivery delivery = receiver_->look();
    ASSERT_EQ(delivery.samples.size(), 16384u);
    EXPECT_TRUE(delivery.isBeginning);
    EXPECT_EQ(delivery.samples.back(), 51200.0f);
    EXPECT_FALSE(receiver_->look().isBeginning);
}

// Faults: a number told that nobody can know; a sender that runs faster than the receiver was told.
TEST_F(ReceiverTest, AfterARingsTimeTheNumberOfMissedSamplesIsUnknown) {
    for (const auto& [framesIn10ms, absence] : {std::pair(480, 1.0), {1920, 0.3}}) {
        startSenderAndLook();
        for (int i = 0; i < 200; ++i) {
            send(static_cast<std::uint32_t>(framesIn10ms));
            pass(0.01);
            expectContinuation();
        }
        send(48'000);
        pass(absence);
        const Delivery delivery = receiver_->look();
        EXPECT_TRUE(delivery.isMissedUnknown);
        ASSERT_FALSE(delivery.samples.empty());
        EXPECT_EQ(delivery.samples.back(), static_cast<float>(sent_));
        expected_ = sent_ + 1;
        send(10);
        EXPECT_EQ(expectContinuation(), 10u);
    }
}

// Faults: a pause that is taken for a loss, samples that are delivered again after it.
TEST_F(ReceiverTest, AStoppedSenderIsTakenUpWhereItWas) {
    startSenderAndLook();
    for (const int seconds : {3, 50}) {  // also longer than a connection is held
        send(15'000);
        expectContinuation();
        for (int i = 0; i < seconds; ++i) {
            pass(1.0);
            const Delivery delivery = receiver_->look();
            EXPECT_TRUE(delivery.samples.empty());
            EXPECT_EQ(delivery.isMissedUnknown, i == 0);  // the rest of a second may hold a lap
        }
        EXPECT_EQ(receiver_->state(), State::Silent);
        pass(0.5);
        send(500);
        EXPECT_EQ(expectContinuation(), 500u);
    }
    EXPECT_EQ(missed_, 0u);
}

TEST_F(ReceiverTest, ANumberIsFollowedToItsNextSender) {
    startSenderAndLook("guitar");
    send(1000);
    expectContinuation();
    sender_.reset();
    receiver_->look();
    pass(5.0);
    startSenderAndLook("bass");
    EXPECT_EQ(receiver_->name(), "bass");
    send(700);
    EXPECT_EQ(expectContinuation(), 700u);
}

TEST_F(ReceiverTest, ANameIsFollowedToAnotherSlotAndNoOtherNameIsTaken) {
    receiver_.emplace(Target{std::nullopt, "guitar"}, 48000.0, false);
    startSenderAndLook("guitar");
    send(1000);
    EXPECT_EQ(expectContinuation(), 1000u);
    sender_.reset();
    std::string other = "drums";
    const IOBridge<float> drums(other);  // takes the slot
    EXPECT_TRUE(receiver_->look().samples.empty());
    EXPECT_EQ(receiver_->state(), State::NoConnection);
    startSenderAndLook("guitar");
    EXPECT_EQ(receiver_->slot(), 1u);
    send(300);
    EXPECT_EQ(expectContinuation(), 300u);
    EXPECT_EQ(connectionStatus(0) & ConnectionHasSlave, 0u);
    sender_.reset();
    receiver_->look();
    EXPECT_EQ(receiver_->state(), State::NoConnection);
}

// The fault it would catch: a receiver whose hold keeps a killed sender's slot from the next one.
TEST_F(ReceiverTest, AKilledSendersBlockIsLetGo) {
    auto killed = test::RawBlock::make(0);
    killed->masterInUse = 1;
    receiver_->look();
    killed.die();
    EXPECT_TRUE(inspectConnection(0));
    pass(12.0);
    receiver_->look();
    EXPECT_EQ(receiver_->state(), State::NoConnection);
    EXPECT_FALSE(inspectConnection(0));
}

TEST_F(ReceiverTest, AConnectionWithAReceiverIsTakenOnlyWhenTold) {
    startSenderAndLook();
    Receiver second({0, ""}, 48000.0, false), third({0, ""}, 48000.0, true);
    second.look();
    EXPECT_EQ(second.state(), State::Occupied);
    receiver_.reset();
    second.look();
    EXPECT_EQ(second.state(), State::Silent);
    third.look();
    EXPECT_EQ(third.state(), State::Silent);
}

// It moves the position that both share, and uses up the count.
TEST_F(ReceiverTest, WhatAnotherReaderOnTheSameBlockTakesIsAccountedFor) {
    startSenderAndLook();
    IOBridge<float> intruder(OpenSlot{0});
    std::vector<float> block(500);
    for (int i = 0; i < 100; ++i) {
        send(700);
        if (i % 3 == 0)
            intruder.read(block.data(), 500);
        pass(0.01);
        expectContinuation();
    }
    EXPECT_EQ(expected_, sent_ + 1);
}

// The fault it would catch: a word of the block that is trusted.
TEST_F(ReceiverTest, ABlockOfRandomBytesIsHarmless) {
    startSender();
    const test::RawBlock block(0);
    std::mt19937 random(5);
    for (unsigned i = 0; i < 300; ++i) {
        block.scramble(random, i % 5 + 1);
        block->lastWriteTime[0] = static_cast<std::uint32_t>(clockNow);
        block->lastWriteTime[1] = 0;
        pass(0.01);
        EXPECT_LE(receiver_->look().samples.size(), ConnectionRingSamples);
    }
}

}  // namespace
}  // namespace tarn::receive
