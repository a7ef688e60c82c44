#include "link/ConnectionInfo.h"
#include "support/Connections.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <memory>
#include <optional>
#include <set>
#include <thread>
#include <tuple>
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
    auto master = makeSender("*", {std::string(100, 'h'), "a product"});
    const RawState state(0);
    EXPECT_EQ(state->host, std::string(63, 'h'));
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
    const std::uint64_t space = platform::processSpace();
    test::setCalendar(1000);
    const struct {
        std::uint8_t mark;
        std::optional<std::uint64_t> owner;  // nothing: there is no state block
        std::uint32_t ended;
        std::uint64_t session;
        std::uint32_t stamp, writeIndex;  // of the connection's block; 100 samples were published
        std::uint64_t space;
        const char* name;  // of the next sender
    } cases[] = {
        {Unmarked, std::nullopt, 0, 0, 0, 0, space, "1"},
        {Unmarked, Nobody, 1, 7, 1000, 100, space, "1"},
        {Unmarked, NoProcess, 0, 7, 1000, 100, space, "1"},
        {Unmarked, NoProcess, 0, 0, 0, 0, space, "1"},
        {Unmarked, self, 0, 7, 1000, 100, space, "2"},
        {Unmarked, self, 1, 7, 1000, 100, space, "2"},
        {Marked, std::nullopt, 0, 0, 1000, 100, space, "2"},
        {Marked, self, 0, 7, 1000, 100, space, "2"},
        {Marked, NoProcess, 0, 7, 1000, 100, space, "1"},
        {Marked, NoProcess, 0, 7, 1000, 100, space + 1, "2"},  // may live, elsewhere
        {Marked, NoProcess, 1, 7, 1000, 100, space, "1"},      // died while it let go
        // A master without a state block may have come over an owner that was gone.
        {Marked, Nobody, 1, 7, 1000, 100, space, "2"},
        {Marked, NoProcess, 1, 7, 1000, 101, space, "2"},
        {Marked, NoProcess, 0, 0, 1000, 100, space, "2"},
        {Marked, NoProcess, 1, 7, 0, 100, space, "2"},
        {Marked, NoProcess, 1, 7, 990, 101, space, "2"},
        {Marked, NoProcess, 1, 7, 989, 101, space, "1"},  // nobody writes any more
        {Marked, NoProcess, 0, 0, 989, 101, space, "1"},
        {Marked, Nobody, 1, 7, 989, 101, space, "2"},
    };
    for (const auto& [mark, owner, ended, session, stamp, writeIndex, ownerSpace, name] : cases) {
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
            (*state)->ownerSpace = ownerSpace;
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

// Faults: a listener that is counted for ever or not at all, a place that two believe to have.
TEST(ConnectionState, ListenersAreCountedWhileTheyGiveSignsOfLife) {
    const auto state = std::make_unique<ConnectionState>();
    std::uint32_t now = 0xFFFFFF00;  // the clock wraps
    std::vector<ListenerPlace> places(33);
    for (ListenerPlace& place : places)
        place.beat(*state, now);
    EXPECT_EQ(countListeners(*state, now), 32);
    places[0].leave(*state);
    EXPECT_EQ(countListeners(*state, now), 31);
    places[32].beat(*state, now);
    EXPECT_EQ(countListeners(*state, now), 32);
    now += 1999;
    places[5].beat(*state, now);
    now += 2;
    EXPECT_EQ(countListeners(*state, now), 1);
    EXPECT_EQ(countListeners(*state, now - 2000), 32);  // a processor whose clock is late

    ListenerPlace late;
    late.beat(*state, now);  // takes the first place, which was another's
    places[1].beat(*state, now);
    EXPECT_EQ(countListeners(*state, now), 3);
    places[32].leave(*state);  // isn't its own any more
    EXPECT_EQ(countListeners(*state, now), 3);
    const std::uint64_t before = state->listeners[0];
    late.beat(*state, now + 50);
    EXPECT_EQ(state->listeners[0], before);
}

// Faults: another master's samples that are taken for this one's, a clock that went back unseen, a
// rate of rubbish, a listener that writes into a layout that it doesn't know.
TEST(ConnectionListener, TrustsAStateOnlyWhileTheBlockAgreesWithIt) {
    test::setCalendar(1000);
    const auto master = makeSender("*");
    send(*master, 100'000);
    const RawBlock block(0);
    const RawState state(0);
    std::optional<ConnectionListener> listener(0);
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
        EXPECT_EQ(listener->take(state->session, 99'000, buffer).result, result)
            << beyond << ' ' << claimed << ' ' << stamp;
    }
    for (const auto& [rate, from, told] : {std::tuple(48'000.0, 5ull, 48'000.0),
                                           {1e8, 5ull, 0.0},
                                           {-1.0, 5ull, 0.0},
                                           {48'000.0, ~0ull, 0.0}}) {
        state->stream.rate = rate;
        state->stream.rateFrom = from;
        EXPECT_EQ(listener->sender()->rate, told);
    }

    for (const auto& [major, listeners] : {std::pair(2, 0), {1, 1}}) {
        state->major = static_cast<std::uint16_t>(major);
        EXPECT_EQ(listener->sender().has_value(), listeners > 0);
        listener->beat();
        EXPECT_EQ(countListeners(*state, listenerClock()), listeners);
    }
    listener.reset();
    EXPECT_EQ(countListeners(*state, listenerClock()), 0);
}

}  // namespace
}  // namespace tarn
