#include "Receiver.h"
#include "support/Connections.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <optional>
#include <random>

namespace tarn::receive {
namespace {

double clockNow = 0.0;

// A sender and the time, both in the test's hands. Sample n of a sender is n, counted from 1.
class ReceiverTest : public testing::Test {
protected:
    ReceiverTest() {
        clockNow = 1'790'000'000.25;
        platform::setCalendarClock([]() noexcept { return static_cast<std::int64_t>(clockNow); });
        platform::setHighResolutionClock([]() noexcept { return clockNow; });
    }
    ~ReceiverTest() override {
        platform::setCalendarClock(nullptr);
        platform::setHighResolutionClock(nullptr);
    }

    void startSender(std::string name = "Connection #*") {
        sender_.reset();
        sender_ = std::make_unique<IOBridge<float>>(name);
        sender_->resync(ConnectionPreroll);
        sent_ = 0;
    }

    void send(std::uint32_t frames) {
        std::vector<float> block(frames);
        for (float& sample : block)
            sample = static_cast<float>(++sent_);
        sender_->write(block.data(), frames);
    }

    static void pass(double seconds) { clockNow += seconds; }

    // What a look brings, which must follow on the sample before it, less what it says is missing.
    // Returns the number.
    std::size_t expectContinuation(Receiver& receiver) {
        const Delivery delivery = receiver.look();
        EXPECT_FALSE(delivery.isMissedUnknown);
        missed_ += delivery.missed;
        expected_ += static_cast<float>(delivery.missed);
        for (const float sample : delivery.samples) {
            EXPECT_EQ(sample, expected_);
            if (sample != expected_)
                break;
            ++expected_;
        }
        return delivery.samples.size();
    }

    std::unique_ptr<IOBridge<float>> sender_;
    std::uint32_t sent_ = 0;
    float expected_ = 1.0f;
    std::uint64_t missed_ = 0;
};

TEST_F(ReceiverTest, WhoIsThereBeforeTheSenderGetsItsFirstSampleFirst) {
    Receiver receiver({0, ""}, 48000.0, false);
    EXPECT_TRUE(receiver.look().samples.empty());
    EXPECT_EQ(receiver.state(), Receiver::State::NoConnection);
    startSender();
    EXPECT_TRUE(receiver.look().samples.empty());
    EXPECT_EQ(receiver.state(), Receiver::State::Silent);
    std::mt19937 random(1);
    for (int i = 0; i < 300; ++i) {
        send(static_cast<std::uint32_t>(random() % 2000));
        pass(0.005);
        expectContinuation(receiver);
    }
    EXPECT_EQ(receiver.state(), Receiver::State::Receiving);
    EXPECT_EQ(expected_, static_cast<float>(sent_ + 1));
    EXPECT_EQ(missed_, 0u);
}

TEST_F(ReceiverTest, WhoComesLaterStartsHalfARingBehind) {
    startSender();
    for (int i = 0; i < 100; ++i)
        send(512);
    Receiver receiver({std::nullopt, "Connection #1"}, 48000.0, false);
    const Delivery delivery = receiver.look();
    ASSERT_EQ(delivery.samples.size(), 16384u);
    EXPECT_TRUE(delivery.isBeginning);
    EXPECT_EQ(delivery.samples.back(), 51200.0f);
    EXPECT_EQ(receiver.name(), "Connection #1");
    EXPECT_FALSE(receiver.look().isBeginning);
}

// The fault it would catch: a count of missed samples that is off by one, or that takes a lap for
// nothing.
TEST_F(ReceiverTest, EveryLossThatIsToldIsTheLossThatIsThere) {
    startSender();
    Receiver receiver({0, ""}, 48000.0, false);
    receiver.look();
    std::mt19937 random(2);
    while (sent_ < 10'000'000) {  // floats count no farther
        // Up to 28000 samples a look at 48 kHz: less than a ring, more than half of it.
        const std::uint32_t frames = static_cast<std::uint32_t>(random() % 28000);
        for (std::uint32_t left = frames; left > 0;) {
            const std::uint32_t part = std::min<std::uint32_t>(left, 500);
            send(part);
            left -= part;
        }
        pass(frames / 48000.0);
        expectContinuation(receiver);
    }
    EXPECT_GT(missed_, 0u);
    EXPECT_EQ(expected_, static_cast<float>(sent_ + 1));
}

TEST_F(ReceiverTest, AfterARingsTimeTheNumberIsUnknownUnlessNothingWasWritten) {
    startSender();
    Receiver receiver({0, ""}, 48000.0, false);
    receiver.look();
    send(1000);
    expectContinuation(receiver);
    pass(3.0);
    EXPECT_TRUE(receiver.look().samples.empty());  // silent meanwhile
    EXPECT_EQ(receiver.state(), Receiver::State::Silent);
    pass(0.5);
    send(1000);
    EXPECT_EQ(expectContinuation(receiver), 1000u);

    for (int i = 0; i < 100; ++i)
        send(480);
    pass(1.0);
    send(480);
    const Delivery delivery = receiver.look();
    EXPECT_TRUE(delivery.isMissedUnknown);
    ASSERT_FALSE(delivery.samples.empty());
    EXPECT_EQ(delivery.samples.back(), static_cast<float>(sent_));
    expected_ = static_cast<float>(sent_ + 1);
    send(10);
    expectContinuation(receiver);
    EXPECT_EQ(expected_, static_cast<float>(sent_ + 1));
}

// A sender that runs faster than the receiver was told: the time that a ring lasts is what is seen.
TEST_F(ReceiverTest, AFastSenderShortensTheTimeThatARingLasts) {
    startSender();
    Receiver receiver({0, ""}, 48000.0, false);
    receiver.look();
    for (int i = 0; i < 200; ++i) {
        send(1920);
        pass(0.01);  // 192 kHz
        expectContinuation(receiver);
    }
    send(1000);
    pass(0.3);  // less than a ring at 48 kHz, more than one at 192 kHz
    EXPECT_TRUE(receiver.look().isMissedUnknown);
}

TEST_F(ReceiverTest, ASenderThatComesBackIsFollowed) {
    startSender("guitar");
    Receiver byNumber({0, ""}, 48000.0, false);
    byNumber.look();
    send(1000);
    expectContinuation(byNumber);
    sender_.reset();
    byNumber.look();
    pass(5.0);
    startSender("bass");
    expected_ = 1.0f;
    byNumber.look();
    EXPECT_EQ(byNumber.name(), "bass");
    send(700);
    EXPECT_EQ(expectContinuation(byNumber), 700u);
}

TEST_F(ReceiverTest, ANameIsFollowedToAnotherSlotAndNoOtherNameIsTaken) {
    startSender("guitar");
    Receiver receiver({std::nullopt, "guitar"}, 48000.0, false);
    receiver.look();
    send(1000);
    EXPECT_EQ(expectContinuation(receiver), 1000u);
    sender_.reset();
    std::string other = "drums";
    const IOBridge<float> drums(other);  // takes the slot
    EXPECT_TRUE(receiver.look().samples.empty());
    EXPECT_EQ(receiver.state(), Receiver::State::NoConnection);
    startSender("guitar");
    receiver.look();
    EXPECT_EQ(receiver.slot(), 1u);
    send(300);
    expected_ = 1.0f;
    EXPECT_EQ(expectContinuation(receiver), 300u);
    EXPECT_EQ(connectionStatus(0) & ConnectionHasSlave, 0u);
}

// The fault it would catch: a receiver whose hold keeps a killed sender's slot from the next one.
TEST_F(ReceiverTest, AKilledSendersBlockIsLetGo) {
    auto killed = platform::SharedMemory::create(connectionMappingName(0), ConnectionBlockSize);
    auto& block = *static_cast<ConnectionBlock*>(killed.data());
    block.masterInUse = 1;
    block.lastWriteTime[0] = static_cast<std::uint32_t>(clockNow);
    Receiver receiver({0, ""}, 48000.0, false);
    receiver.look();
    killed = platform::SharedMemory();
    EXPECT_TRUE(inspectConnection(0));
    pass(12.0);
    receiver.look();
    EXPECT_EQ(receiver.state(), Receiver::State::NoConnection);
    EXPECT_FALSE(inspectConnection(0));
}

// A sender that is only stopped keeps its connection, and what was delivered isn't delivered again.
TEST_F(ReceiverTest, AStoppedSenderIsTakenUpWhereItWas) {
    startSender();
    Receiver receiver({0, ""}, 48000.0, false);
    receiver.look();
    send(30'000 / 2);
    expectContinuation(receiver);
    for (int i = 0; i < 50; ++i) {
        pass(1.0);
        EXPECT_TRUE(receiver.look().samples.empty());
    }
    send(500);
    EXPECT_EQ(expectContinuation(receiver), 500u);
    EXPECT_EQ(missed_, 0u);
}

TEST_F(ReceiverTest, AConnectionWithAReceiverIsTakenOnlyWhenTold) {
    startSender();
    auto first = std::make_unique<Receiver>(Target{0, ""}, 48000.0, false);
    first->look();
    Receiver second({0, ""}, 48000.0, false);
    second.look();
    EXPECT_EQ(second.state(), Receiver::State::Occupied);
    first.reset();
    second.look();
    EXPECT_EQ(second.state(), Receiver::State::Silent);
    Receiver third({0, ""}, 48000.0, true);
    third.look();
    EXPECT_EQ(third.state(), Receiver::State::Silent);
}

// It moves the position that both share, and uses up the count.
TEST_F(ReceiverTest, WhatAnotherReaderOnTheSameBlockTakesIsAccountedFor) {
    startSender();
    Receiver receiver({0, ""}, 48000.0, false);
    receiver.look();
    IOBridge<float> intruder(OpenSlot{0});
    std::vector<float> block(32768);
    for (int i = 0; i < 100; ++i) {
        send(700);
        if (i % 3 == 0)
            intruder.read(block.data(), 500);
        pass(0.01);
        expectContinuation(receiver);
    }
    EXPECT_EQ(expected_, static_cast<float>(sent_ + 1));
}

TEST_F(ReceiverTest, ABlockOfRandomBytesIsHarmless) {
    startSender();
    Receiver receiver({0, ""}, 48000.0, false);
    const test::RawBlock block(0);
    std::mt19937 random(5);
    for (int i = 0; i < 300; ++i) {
        auto* words = reinterpret_cast<std::uint32_t*>(&*block);
        for (std::size_t k = 0; k < ConnectionBlockSize / 4; k += i % 5 + 1)
            words[k] = static_cast<std::uint32_t>(random());
        block->lastWriteTime[0] = static_cast<std::uint32_t>(clockNow);
        block->lastWriteTime[1] = 0;
        pass(0.01);
        EXPECT_LE(receiver.look().samples.size(), ConnectionRingSamples);
    }
}

}  // namespace
}  // namespace tarn::receive
