#include "link/ConnectionInfo.h"
#include "support/Connections.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <memory>
#include <optional>
#include <set>
#include <thread>
#include <vector>

namespace tarn {
namespace {

using test::makeSender;
using test::NoProcess;
using test::ramp;
using test::RawBlock;
using test::RawState;
using testing::ElementsAre;
using testing::FieldsAre;

using Result = TakenSamples::Result;

void send(IOBridge<float>& sender, std::uint32_t frames) {
    sender.write(ramp(frames).data(), frames);
}

// Faults: a session that begins with the last one's values, or that a receiver takes for it.
TEST(ConnectionState, TellsASendersLifeFromItsBeginningToItsEnd) {
    auto master = makeSender("*", {"a host", "a product"});
    const RawState state(0);
    EXPECT_STREQ(state->host, "a host");
    EXPECT_EQ(state->formerSession, 0u);
    const std::uint64_t first = state->session;
    send(*master, 300);
    master->owner().setRate(44'100.0);
    EXPECT_EQ(state->stream.rate, 0.0);  // it holds from the next block on
    send(*master, 70'000);
    EXPECT_THAT(state->stream, FieldsAre(70'300u, 70'300u, 44'100.0, 300u));
    master->owner().setAnnouncedBlock(64);
    master->owner().setOffline(true);
    master->owner().setMuted(true);
    const auto now = [&] {
        return std::array{state->announcedBlock, state->isOffline, state->isMuted, state->ended};
    };
    EXPECT_THAT(now(), ElementsAre(64, 1, 1, 0));
    master.reset();
    EXPECT_THAT(now(), ElementsAre(64, 1, 1, 1));
    EXPECT_EQ(state->owner, 0u);

    master = makeSender("*");
    EXPECT_TRUE(state->session != first && state->session != 0);
    EXPECT_EQ(state->formerSession, first);
    EXPECT_EQ(state->formerPublished, 70'300u);
    EXPECT_THAT(state->stream, FieldsAre(0u, 0u, 0.0, 0u));
    EXPECT_THAT(now(), ElementsAre(0, 0, 0, 0));
    EXPECT_STREQ(state->host, "");
}

// Faults: a slot that is taken from a living sender, one that a crashed host leaves taken, a
// connection that isn't made because its state block can't be.
TEST(ConnectionState, ASlotBelongsToTheProcessThatOwnsItsState) {
    enum : std::uint8_t { Unmarked, Marked };
    constexpr std::uint64_t Nobody = 0;
    const std::uint64_t self = platform::currentProcess();
    test::setCalendar(1000);
    const struct {
        std::uint8_t mark;
        std::optional<std::uint64_t> owner;  // nothing: there is no state block
        std::uint32_t ended;
        std::uint64_t session;
        std::uint32_t stamp, writeIndex;  // of the connection's block; 100 samples were published
        const char* name;                 // of the next sender
    } cases[] = {
        {Unmarked, std::nullopt, 0, 0, 0, 0, "1"},
        {Unmarked, NoProcess, 0, 7, 1000, 100, "1"},
        {Unmarked, self, 0, 7, 1000, 100, "2"},
        {Marked, std::nullopt, 0, 0, 1000, 100, "2"},
        {Marked, self, 0, 7, 1000, 100, "2"},
        {Marked, NoProcess, 0, 7, 1000, 100, "1"},
        {Marked, NoProcess, 1, 7, 1000, 100, "1"},  // died while it let go
        // A master without a state block may have come over an owner that was gone.
        {Marked, Nobody, 1, 7, 1000, 100, "2"},
        {Marked, NoProcess, 1, 7, 1000, 101, "2"},
        {Marked, NoProcess, 1, 7, 989, 101, "1"},  // nobody writes any more
        {Marked, Nobody, 1, 7, 989, 101, "2"},
    };
    for (const auto& [mark, owner, ended, session, stamp, writeIndex, name] : cases) {
        const RawBlock block = RawBlock::make(0);
        block->masterInUse = mark;
        block->lastWriteTime[0] = stamp;
        block->audio.writeIndex = writeIndex;
        std::optional<RawState> state;
        if (owner) {
            state = RawState::make(0);
            (*state)->magic = ConnectionStateMagic;
            (*state)->major = ConnectionStateMajor;
            (*state)->size = ConnectionStateSize;
            (*state)->owner = *owner;
            (*state)->ownerSpace = platform::processSpace();
            (*state)->session = session;
            (*state)->stream = {100, 100, 0.0, 0};
            (*state)->ended = ended;
        }
        EXPECT_EQ(makeSender("*")->name(), name)
            << int{mark} << ended << ' ' << session << ' ' << stamp << ' ' << writeIndex;
        block->masterInUse = 0;
        if (state)
            (*state)->owner = 0;
    }

    const RawState future = RawState::make(0);
    future->magic = ConnectionStateMagic;
    future->major = 2;
    future->owner = 5;
    future->stream = {};
    const auto master = makeSender("*");
    EXPECT_EQ(master->name(), "1");
    send(*master, 10);
    EXPECT_EQ(future->owner, 5u);
    EXPECT_EQ(future->stream.published, 0u);
    EXPECT_FALSE(inspectConnection(0)->sender);
}

// Two processes that search at the same moment are as good as two threads.
TEST(ConnectionState, InstancesThatSearchAtTheSameMomentNeverShareASlot) {
    for (int round = 0; round < 20; ++round) {
        std::vector<std::unique_ptr<IOBridge<float>>> bridges[4];
        std::vector<std::thread> threads;
        std::atomic<int> ready{0};
        for (auto& own : bridges)
            threads.emplace_back([&] {
                for (++ready; ready < 4;) {
                }
                for (int i = 0; i < 4; ++i)
                    own.push_back(makeSender("*"));
            });
        for (std::thread& thread : threads)
            thread.join();
        std::set<std::string> names;
        for (const auto& own : bridges)
            for (const auto& bridge : own)
                names.insert(bridge->name());
        EXPECT_EQ(names.size(), 16u);
    }
}

// Faults: another master's samples that are taken for this one's, a clock that went back unseen, a
// listener that writes into a layout that it doesn't know.
TEST(ConnectionListener, TrustsAStateOnlyWhileTheBlockAgreesWithIt) {
    test::setCalendar(1000);
    const auto master = makeSender("*");
    send(*master, 100'000);
    const RawBlock block(0);
    const RawState state(0);
    ConnectionListener listener(0);
    std::vector<float> buffer;
    const struct {
        std::uint32_t beyond;  // what is published: the write index
        std::uint64_t claimed;
        std::uint32_t stamp;
        Result result;
    } cases[] = {
        {0, 100'000, 1000, Result::Taken},  {1, 100'000, 1000, Result::Overrun},
        {1, 100'001, 1000, Result::Taken},  {2, 100'001, 1000, Result::Overrun},
        {0, 99'999, 1000, Result::Overrun}, {0, 100'000, 999, Result::Overrun},
        {0, 100'000, 1001, Result::Taken},  {0, 100'000, 1000, Result::Overrun},
    };
    for (const auto& [beyond, claimed, stamp, result] : cases) {
        block->audio.writeIndex = (100'000 + beyond) % 32'768;
        state->stream.claimed = claimed;
        block->lastWriteTime[0] = stamp;
        EXPECT_EQ(listener.take(state->session, 99'000, buffer).result, result)
            << beyond << ' ' << claimed << ' ' << stamp;
    }
    for (const auto& [major, listeners] : {std::pair(2, 0), {1, 1}}) {
        state->major = static_cast<std::uint16_t>(major);
        EXPECT_EQ(listener.sender().has_value(), listeners > 0);
        listener.beat();
        EXPECT_EQ(countListeners(*state, listenerClock()), listeners);
    }
}

}  // namespace
}  // namespace tarn
