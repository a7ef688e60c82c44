#include "Receiver.h"
#include "support/Connections.h"
#include "support/TestClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>

namespace tarn::receive {
namespace {

using namespace test;

// A sender, whose samples count up from 1, its receiver and the time, all in the test's hands.
struct ReceiverTest : testing::Test {
    void startSender(const std::string& name = "Connection #*") {
        sender.reset();  // before the next one looks for a slot
        sender = makeSender(name);
        sender->resync(ConnectionPreroll);
        sent = 0;
        expected = 1;
    }
    void startSenderAndLook(const std::string& name = "Connection #*") {
        startSender(name);
        look();
    }
    void send(std::uint32_t frames) {
        test::send(*sender, frames, sent + 1);
        sent += frames;
    }
    void receive(Target target) { receiver.emplace(std::move(target), 48000.0); }
    Delivery look() { return receiver->look(); }

    // How many samples a look brings; they follow on those before, less what it says is missed.
    std::size_t expectContinuation() {
        const Delivery delivery = look();
        EXPECT_FALSE(delivery.isMissedUnknown);
        missed += delivery.missed;
        expected += static_cast<std::uint32_t>(delivery.missed);
        const auto frames = static_cast<std::uint32_t>(delivery.samples.size());
        EXPECT_TRUE(std::ranges::equal(delivery.samples, ramp(frames, expected)));
        expected += frames;
        return frames;
    }

    const TestClock clock{1'790'000'000.25, TestClock::CalendarToo};
    std::unique_ptr<IOBridge<float>> sender;
    std::optional<Receiver> receiver{std::in_place, Target{0, {}}, 48000.0};
    std::uint32_t sent = 0, expected = 1;
    std::uint64_t missed = 0;
};

// A sender that knows the connection's block alone: a state block of a layout that nobody knows has
// its place.
struct OldSenderTest : ReceiverTest {
    OldSenderTest() {
        state->magic = ConnectionStateMagic;
        state->major = 99;
    }
    const RawState state = RawState::make(0);
};

// The fault it would catch: a pause taken for an end, or for a loss.
TEST_F(ReceiverTest, APauseLosesNothingHoweverLongItIs) {
    look();
    EXPECT_EQ(receiver->state(), State::Searching);
    startSender();
    for (const double seconds : {3.0, 50.0}) {
        send(15'000);
        EXPECT_EQ(expectContinuation(), 15'000u);
        EXPECT_EQ(receiver->state(), State::Receiving);
        EXPECT_EQ(sender->owner().listeners(), 1);
        clock.pass(seconds);
        EXPECT_EQ(expectContinuation(), 0u);
        EXPECT_EQ(receiver->state(), State::Silent);
    }
    send(500);
    EXPECT_EQ(expectContinuation(), 500u);
    EXPECT_EQ(missed, 0u);
}

// Faults: a first sample that is lost, an old one that is delivered to someone who didn't hear it.
TEST_F(ReceiverTest, ItBeginsWithTheFirstSampleIfItWaitedElseHalfARingBehind) {
    const auto first = [&] {
        const Delivery delivery = look();
        EXPECT_TRUE(delivery.isBeginning && delivery.isComplete && delivery.missed == 0);
        return delivery.samples.empty() ? 0.0f : delivery.samples[0];
    };
    startSender();
    send(10'000);
    EXPECT_EQ(first(), 1.0f);
    send(41'200);
    for (const Target& target : {Target{0, {}}, Target{{}, "Connection #1"}, Target{}}) {
        receive(target);
        EXPECT_EQ(first(), 51'200.0f - 16'383.0f);
        EXPECT_FALSE(look().isBeginning);
    }

    // Waited for by name, through another session under another name.
    receive({{}, "bass"});
    look();
    startSender("bass");
    send(20'000);
    EXPECT_EQ(first(), 1.0f);
}

// The fault it would catch: all that a sender ever sent, told as lost because another one of its
// name was heard before.
TEST_F(ReceiverTest, ASecondSenderOfANameIsJoinedWhereItIs) {
    receive({{}, "guitar"});
    auto first = makeSender("guitar");
    test::send(*first, 10);
    const auto second = makeSender("guitar");
    test::send(*second, 90'000);
    look();
    first.reset();
    expected = 90'001 - 16'384;
    for (int i = 0; i < 4; ++i)
        expectContinuation();
    EXPECT_EQ(std::tuple(expected, missed, receiver->slot()), std::tuple(90'001u, 0u, 1u));
}

// Faults: a tail that is lost at a sender's end, a successor's first samples, a name that is
// followed to whoever took its slot.
TEST_F(ReceiverTest, NumbersAndNamesAreFollowedToTheNextSender) {
    startSenderAndLook("guitar");
    send(1000);
    sender.reset();
    EXPECT_EQ(expectContinuation(), 1000u);
    EXPECT_EQ(receiver->state(), State::Ended);
    startSender("bass");
    send(40'000);
    EXPECT_EQ(expectContinuation(), 32'768u);
    EXPECT_EQ(missed, 40'000u - 32'768u);
    EXPECT_EQ(receiver->name(), "bass");

    receive({{}, "guitar"});
    look();
    startSenderAndLook("guitar");
    send(50);
    sender.reset();
    const auto other = makeSender("drums");  // takes the slot
    const Delivery delivery = look();
    EXPECT_TRUE(delivery.missed == 50 && delivery.samples.empty());
    EXPECT_EQ(receiver->state(), State::Searching);
    startSenderAndLook("guitar");
    EXPECT_EQ(receiver->slot(), 1u);
}

// Faults: a listener that keeps a killed sender's slot taken, a tail that goes with it.
TEST_F(ReceiverTest, AnOrphanedConnectionIsLetGoByAllWhoListen) {
    startSenderAndLook();
    Receiver second({{}, "Connection #1"}, 48000.0);
    second.look();
    auto block = std::make_optional<RawBlock>(0);
    auto state = std::make_optional<RawState>(0);
    send(700);
    (*state)->stream.claimed += 100;  // killed in a block
    sender.reset();
    (*block)->masterInUse = 1;
    (*state)->ended = 0;
    (*state)->owner = NoProcess;
    clock.pass(0.3);
    EXPECT_EQ(second.look().samples.size(), 700u);
    EXPECT_EQ(expectContinuation(), 700u);
    clock.pass(0.3);
    for (Receiver* each : {&*receiver, &second}) {
        EXPECT_TRUE(each->look().samples.empty());
        EXPECT_EQ(each->state(), State::Abandoned);
    }
    block.reset();
    state.reset();
    EXPECT_FALSE(inspectConnection(0));  // though both have just looked
    startSenderAndLook();
    send(100);
    EXPECT_EQ(expectContinuation(), 100u);
}

// Faults: a gap that was seen and isn't told, a number told that nobody can know, a promise that
// none is missing.
TEST_F(OldSenderTest, TellsTheGapsThatItSeesAndPromisesNothing) {
    startSenderAndLook();
    EXPECT_FALSE(receiver->isComplete());
    std::mt19937 random(1);
    // At first less than half a ring a look, then up to nearly a ring.
    for (const auto& [most, end] : {std::pair(2000u, 300'000u), {28'000u, 10'000'000u}}) {
        EXPECT_EQ(missed, 0u);
        while (sent < end) {
            const auto frames = static_cast<std::uint32_t>(random() % most);
            send(frames);
            clock.pass(frames / 48000.0);
            expectContinuation();
        }
    }
    EXPECT_GT(missed, 0u);
    EXPECT_EQ(expected, sent + 1);

    send(48'000);
    clock.pass(1.0);  // the ring's time and more
    const Delivery delivery = look();
    EXPECT_TRUE(delivery.isMissedUnknown);
    ASSERT_FALSE(delivery.samples.empty());
    EXPECT_EQ(delivery.samples.back(), static_cast<float>(sent));
}

// Faults: an unread tail that goes with the block, a new master's first samples, another reader
// that is taken for a new master.
TEST_F(OldSenderTest, NeitherItsEndNorItsSuccessorNorAnotherReaderLosesOrRepeatsSamples) {
    receive({{}, "guitar"});
    startSenderAndLook("guitar");
    send(4096);
    sender.reset();
    EXPECT_EQ(expectContinuation(), 4096u);  // by name, after its end
    receive({0, {}});
    startSenderAndLook();
    send(1000);
    expectContinuation();
    startSender();
    send(480);
    const Delivery ofNew = look();
    EXPECT_TRUE(ofNew.isMissedUnknown);  // the tail of the one before
    EXPECT_TRUE(std::ranges::equal(ofNew.samples, ramp(480)));
    expected = 481;
    const IOBridge<float> reader(OpenSlot{0});
    send(700);
    EXPECT_EQ(expectContinuation(), 700u);
}

// The fault it would catch: a receiver whose hold keeps a killed sender's slot from the next one.
TEST_F(OldSenderTest, AStaleConnectionIsOnlyPeekedAt) {
    auto killed = RawBlock::make(0);
    killed->masterInUse = 1;
    look();
    killed.die();
    EXPECT_TRUE(inspectConnection(0));
    clock.pass(12.0);
    for (int i = 0; i < 3; ++i)
        look();
    EXPECT_FALSE(inspectConnection(0));
}

}  // namespace
}  // namespace tarn::receive
