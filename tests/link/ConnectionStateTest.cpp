#include "foundation/Signal.h"
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

using namespace test;
using namespace testing;
using Result = TakenSamples::Result;

// Faults: a session that begins with the last one's values, or that a receiver takes for it.
TEST(ConnectionState, TellsASendersLifeFromItsBeginningToItsEnd) {
    auto master = makeSender("*", {"a host", "a product"});
    const RawState state(0);
    EXPECT_STREQ(state->host, "a host");
    const std::uint64_t first = state->session;
    EXPECT_EQ(state->formerSession, 0u);
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
    EXPECT_THAT(state->session, AllOf(Ne(first), Ne(0u)));
    EXPECT_TRUE(state->formerSession == first && state->formerPublished == 70'300);
    EXPECT_THAT(state->stream, FieldsAre(0u, 0u, 0.0, 0u));
    EXPECT_THAT(now(), ElementsAre(0, 0, 0, 0));
    EXPECT_STREQ(state->host, "");
}

// Faults: a slot that is taken from a living sender, one that a crashed host leaves taken, a
// connection that isn't made because its state block can't be.
TEST(ConnectionState, ASlotBelongsToTheProcessThatOwnsItsState) {
    enum { Unmarked, Marked };
    constexpr std::uint64_t Nobody = 0;
    const std::uint64_t self = platform::currentProcess();
    setCalendar(1000);
    using Owner = std::optional<std::uint64_t>;
    // The mark; the owner, or nothing where there is no state block; whether it has ended; the
    // session; the stamp and the write index of the connection's block, of which 100 samples were
    // published; the name of the next sender.
    const std::tuple<int, Owner, int, int, std::uint32_t, std::uint32_t, const char*> cases[] = {
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
        block->masterInUse = static_cast<std::uint8_t>(mark);
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
            (*state)->session = static_cast<std::uint64_t>(session);
            (*state)->stream = {100, 100, 0.0, 0};
            (*state)->ended = static_cast<std::uint32_t>(ended);
        }
        EXPECT_EQ(makeSender("*")->name(), name)
            << mark << ended << ' ' << session << ' ' << stamp << ' ' << writeIndex;
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
    EXPECT_EQ(std::tuple(future->owner, future->stream.published), std::tuple(5u, 0u));
    EXPECT_FALSE(inspectConnection(0)->sender);
}

// Two processes that search at the same moment are as good as two threads.
TEST(ConnectionState, InstancesThatSearchAtTheSameMomentNeverShareASlot) {
    for (int round = 0; round < 20; ++round) {
        std::unique_ptr<IOBridge<float>> bridges[32];
        std::atomic<int> ready{0}, next{0};
        onEightThreads([&] {
            for (++ready; ready < 8;) {
            }
            for (int i = 0; i < 4; ++i)
                bridges[next++] = makeSender("*");
        });
        std::set<std::string> names;
        for (const auto& bridge : bridges)
            names.insert(bridge->name());
        EXPECT_EQ(names.size(), 32u);
    }
}

// Faults: another master's samples that are taken for this one's, a clock that went back unseen, a
// listener that writes into a layout that it doesn't know.
TEST(ConnectionListener, TrustsAStateOnlyWhileTheBlockAgreesWithIt) {
    setCalendar(1000);
    const auto master = makeSender("*");
    send(*master, 100'000);
    const RawBlock block(0);
    const RawState state(0);
    ConnectionListener listener(0);
    std::vector<float> buffer;
    // The write index beyond what is published, what is claimed, the stamp.
    const std::tuple<std::uint32_t, std::uint64_t, std::uint32_t, Result> cases[] = {
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
