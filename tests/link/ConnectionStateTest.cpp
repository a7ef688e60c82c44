#include "foundation/Signal.h"
#include "link/ConnectionInfo.h"
#include "support/Connections.h"

#include <gmock/gmock.h>

#include <atomic>
#include <optional>

namespace tarn {
namespace {

using namespace test;
using namespace testing;
using Result = TakenSamples::Result;

// Faults: a session that begins with the last one's values, or that a receiver takes for it.
TEST(ConnectionState, TellsASendersLifeFromItsBeginningToItsEnd) {
    auto master = makeSender("*", {"a host", "a product"});
    const RawState state(0);
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
    const auto told = [&] {
        return std::tuple(state->announcedBlock, state->isOffline, state->isMuted, state->ended,
                          std::string(state->host));
    };
    EXPECT_EQ(told(), std::tuple(64u, 1u, 1u, 0u, "a host"));
    master.reset();
    EXPECT_EQ(told(), std::tuple(64u, 1u, 1u, 1u, "a host"));
    EXPECT_EQ(state->owner, 0u);

    master = makeSender("*");
    EXPECT_THAT(state->session, AllOf(Ne(first), Ne(0u)));
    EXPECT_TRUE(state->formerSession == first && state->formerPublished == 70'300);
    EXPECT_THAT(state->stream, FieldsAre(0u, 0u, 0.0, 0u));
    EXPECT_EQ(told(), std::tuple(0u, 0u, 0u, 0u, ""));
}

// Faults: a slot that is taken from a living sender, one that a crashed host leaves taken, a
// connection that isn't made because its state block can't be.
TEST(ConnectionState, ASlotBelongsToTheProcessThatOwnsItsState) {
    constexpr std::uint8_t Unmarked = 0, Marked = 1;
    constexpr std::uint64_t Nobody = 0;
    const std::uint64_t self = platform::currentProcess();
    setCalendar(1000);
    using Owner = std::optional<std::uint64_t>;
    // The mark; the owner, or nothing where there is no state block; whether it has ended; the
    // stamp and the write index of the connection's block, of which 100 samples were published;
    // the state's layout; the name of the next sender.
    const std::tuple<std::uint8_t, Owner, std::uint32_t, std::uint32_t, std::uint32_t,
                     std::uint16_t, const char*>
        cases[] = {
            {Unmarked, std::nullopt, 0, 0, 0, 1, "1"},
            {Unmarked, NoProcess, 0, 1000, 100, 1, "1"},
            {Unmarked, NoProcess, 0, 1000, 100, 2, "1"},
            {Unmarked, self, 0, 1000, 100, 1, "2"},
            {Marked, std::nullopt, 0, 1000, 100, 1, "2"},
            {Marked, self, 0, 1000, 100, 1, "2"},
            {Marked, NoProcess, 0, 1000, 100, 1, "1"},
            {Marked, NoProcess, 1, 1000, 100, 1, "1"},  // died while it let go
            // A master without a state block may have come over an owner that was gone.
            {Marked, Nobody, 1, 1000, 100, 1, "2"},
            {Marked, NoProcess, 1, 1000, 101, 1, "2"},
            {Marked, NoProcess, 1, 989, 101, 1, "1"},  // nobody writes any more
            {Marked, Nobody, 1, 989, 101, 1, "2"},
        };
    for (const auto& [mark, owner, ended, stamp, writeIndex, major, name] : cases) {
        const RawBlock block = RawBlock::make(0);
        block->masterInUse = mark;
        block->lastWriteTime[0] = stamp;
        block->audio.writeIndex = writeIndex;
        std::optional<RawState> memory;
        if (owner) {
            ConnectionState& state = *memory.emplace(RawState::make(0));
            state.magic = ConnectionStateMagic;
            state.major = major;
            state.size = ConnectionStateSize;
            state.owner = *owner;
            state.ownerSpace = platform::processSpace();
            state.session = 7;
            state.stream = {100, 100, 0.0, 0};
            state.ended = ended;
        }
        const auto sender = makeSender("*");
        EXPECT_EQ(sender->name(), name) << +mark << ended << ' ' << stamp << ' ' << writeIndex;
        send(*sender, 10);
        const bool isTaken = name[0] == '1' && major == 1;
        if (memory) {
            EXPECT_EQ((*memory)->stream.published, isTaken ? 10u : 100u);
            EXPECT_EQ((*memory)->owner, isTaken ? self : *owner);
            (*memory)->owner = 0;
        }
        block->masterInUse = 0;
    }
}

// Faults: a slot that is taken twice, or not given back; a sink that does anything. Two processes
// that search at the same moment are as good as two threads.
TEST(ConnectionState, InstancesThatSearchAtTheSameMomentNeverShareASlot) {
    for (int round = 0; round < 20; ++round) {
        std::unique_ptr<IOBridge<float>> bridges[ConnectionSlots];
        std::atomic<int> ready{0}, next{0};
        onEightThreads([&] {
            for (++ready; ready < 8;) {
            }
            for (int i = 0; i < 4; ++i)
                bridges[next++] = makeSender("*");
        });
        for (std::uint32_t slot = 0; slot < ConnectionSlots; ++slot) {
            ASSERT_TRUE(RawBlock(slot) && RawState(slot)) << slot;
            EXPECT_TRUE(RawBlock(slot)->slot == slot && RawState(slot)->slot == slot);
            EXPECT_EQ(RawBlock(slot)->name, std::to_string(slot + 1));
        }
        std::string pattern = "*";
        IOBridge<float> sink(pattern);
        EXPECT_EQ(pattern + sink.name(), "*");
        float sample = 0.0f;
        EXPECT_EQ(sink.write(&sample, 1) + sink.read(&sample, 1), 0u);
        sink.resync(100);
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
