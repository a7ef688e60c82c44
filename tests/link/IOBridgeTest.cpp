#include "link/ConnectionInfo.h"
#include "support/Connections.h"
#include "support/SampleBySample.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>

namespace tarn {
namespace {

using namespace test;
using testing::ElementsAre;
using Bridge = IOBridge<float>;
using Samples = std::vector<float>;

constexpr std::int64_t Noon = 1'790'000'000;

// What a read of `frames` takes; the rest of its buffer must be left alone.
Samples take(Bridge& bridge, std::uint32_t frames) {
    Samples block(frames, -1.0f);
    const std::uint32_t taken = bridge.read(block.data(), frames);
    EXPECT_EQ(std::count(block.begin() + taken, block.end(), -1.0f), frames - taken);
    block.resize(taken);
    return block;
}

// The first slot's write index, read index and count.
std::array<std::uint32_t, 3> counters() {
    const RawBlock block(0);
    return {block->audio.writeIndex, block->audio.readIndex, block->audio.count};
}

// Faults: a star that stays, a name that leaves the rest of a longer one behind or needs an end.
TEST(IOBridge, ThePatternIsResolvedAndNamesAreCutAt32Bytes) {
    EXPECT_EQ(makeSender("*/*")->name(), "1/1");
    const auto bridge = makeSender("a much longer name");
    EXPECT_EQ(bridge->name(), "a much longer name");
    EXPECT_TRUE(bridge->setName("short"));
    EXPECT_EQ(std::string(RawBlock(0)->name, 32), std::string("short") + std::string(27, '\0'));
    // A full field has no terminator: the mark behind it follows.
    EXPECT_TRUE(bridge->setName(std::string(40, 'n')));
    EXPECT_EQ(bridge->name(), std::string(32, 'n') + '\x01');
    EXPECT_EQ(inspectConnection(0)->name, std::string(32, 'n'));
}

// Faults: the rule of one sign used for both, a count that doesn't wrap through the next write.
TEST(IOBridge, ResyncMovesTheWritersIndexByItsTwoRules) {
    const std::tuple<std::int32_t, std::uint32_t, std::uint32_t> steps[] = {
        {-100, 300, 200}, {150, 450, 50}, {INT32_MIN, 50, 50}, {16384, 16434, 50 - 16384u}};
    const auto bridge = makeSender();
    RawBlock(0)->audio.count = 200;
    for (const auto& [offset, readIndex, count] : steps) {
        bridge->resync(offset);
        EXPECT_THAT(counters(), ElementsAre(0, readIndex, count)) << offset;
    }
    send(*bridge, 20000);
    EXPECT_THAT(counters(), ElementsAre(20000, 16434, 3666));
}

// Faults: a beginning that the rule doesn't name, a sample that is lost or comes twice.
TEST(IOBridge, AReaderStartsByThePrerollRuleAndThenGetsEachSampleOnce) {
    setCalendar(Noon);
    const auto master = makeSender();
    send(*master, 1000);
    Bridge slave(OpenSlot{0});
    EXPECT_EQ(take(slave, 512), Samples(512, 0.0f));  // 2 x 512 are not there yet
    EXPECT_TRUE(slave.isStarting());
    EXPECT_EQ(take(slave, 500), ramp(500));  // 2 x 500 are: it begins 1000 behind
    EXPECT_EQ(take(slave, 600), ramp(500, 501));
    EXPECT_EQ(take(slave, 1), Samples());
    // With 10000 frames 16384 are needed, not 20000.
    slave.attach();
    send(*master, 16384);
    EXPECT_EQ(take(slave, 10'000), ramp(10'000));
    EXPECT_EQ(slave.available(), 6384u);

    // Right round the ring.
    take(slave, slave.available());
    for (std::uint32_t sent = 16384; sent < 100'000; sent += 512) {
        send(*master, 512, sent + 1);
        ASSERT_EQ(take(slave, slave.available()), ramp(512, sent + 1));
    }
}

// Faults: an age that is off by a second, a sample that is lost or comes twice after a pause.
TEST(IOBridge, AWriterThatFallsSilentIsDeadAfterASecondAndFreshForTen) {
    setCalendar(Noon);
    const auto master = makeSender();
    EXPECT_EQ(connectionStatus(0), ConnectionInUse);  // created: no stamp yet
    EXPECT_FALSE(inspectConnection(0)->age);
    master->setInputLatency(9);
    send(*master, 1000);
    EXPECT_TRUE(inspectConnection(0)->level == 1000.0f && inspectConnection(0)->latency == 9);
    Bridge slave(OpenSlot{0});
    EXPECT_EQ(connectionStatus(0), ConnectionInUse | ConnectionFresh | ConnectionHasSlave);
    setCalendar(Noon + 1);
    EXPECT_EQ(take(slave, 2), ramp(2));
    EXPECT_TRUE(slave.isLive());

    setCalendar(Noon + 2);
    EXPECT_FALSE(slave.isLive());
    EXPECT_TRUE(inspectConnection(0)->level == 0.0f && inspectConnection(0)->age == 2);
    testing::internal::CaptureStdout();
    EXPECT_EQ(take(slave, 1), Samples());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "1790000002 0 1790000000\n");
    master->write(nullptr, 0);  // a stamp
    EXPECT_EQ(take(slave, 1), ramp(1, 3));

    for (const int seconds : {12, 13}) {
        setCalendar(Noon + seconds);
        EXPECT_EQ((connectionStatus(0) & ConnectionFresh) != 0, seconds < 13);
    }
    RawBlock(0)->lastWriteTime[1] = 0xFFFFFFFF;  // the comparison is of unsigned numbers
    EXPECT_TRUE(connectionStatus(0) & ConnectionFresh);
    setCalendar((3LL << 32) + 5);  // in the 25th century
    master->write(nullptr, 0);
    EXPECT_EQ(RawBlock(0)->lastWriteTime[1], 3u);
}

// Faults: a master that is missed or taken for its successor, a slot that isn't given back, what a
// master leaves to the next, a latency that a receiver sets.
TEST(IOBridge, ASlaveOutlivesItsMasterAndStartsAnewWithTheNext) {
    EXPECT_FALSE(Bridge(OpenSlot{32}).hasBlock() || Bridge(OpenName{"nobody"}).hasBlock());
    auto master = makeSender("guitar");
    Bridge slave(OpenName{"guitar"});
    EXPECT_TRUE(slave.isAttached() && slave.hasMaster());
    master->setInputLatency(64);
    slave.setInputLatency(5);
    EXPECT_EQ(slave.inputLatency(), 64);
    send(*master, 10);

    master.reset();
    EXPECT_EQ(connectionStatus(0) & ~ConnectionFresh, ConnectionHasSlave);
    EXPECT_TRUE(slave.isAttached() && !slave.hasMaster());
    EXPECT_FALSE(findConnection("guitar"));

    const auto next = makeSender("bass");
    EXPECT_TRUE(!slave.isAttached() && slave.hasMaster());
    EXPECT_THAT(counters(), ElementsAre(0, 0, 0));
    EXPECT_EQ(RawBlock(0)->lastWriteTime[0], 0u);
    slave.attach();
    send(*next, 100);
    EXPECT_EQ(take(slave, 50), ramp(50));
}

// The fault it would catch: a word of the block that is trusted. What is read of a state block, the
// fuzzer of connections shows.
TEST(IOBridge, ABlockOfRandomBytesIsHarmless) {
    std::mt19937 random(3);
    setCalendar(Noon);
    const auto master = makeSender();
    Bridge slave(OpenSlot{0});
    const RawBlock block(0);
    auto* words = reinterpret_cast<std::uint32_t*>(&*block);
    Samples samples(40'000);
    for (std::size_t round = 0; round < 200; ++round) {
        for (std::size_t i = 0; i < ConnectionBlockSize / 4; i += round % 7 + 1)
            words[i] = static_cast<std::uint32_t>(random());
        const auto frames = static_cast<std::uint32_t>(random() % samples.size());
        master->resync(static_cast<std::int32_t>(random()));
        master->write(samples.data(), frames);
        EXPECT_LE(block->audio.count, ConnectionRingSamples);
        block->audio.count = static_cast<std::uint32_t>(random());
        EXPECT_LE(slave.read(samples.data(), frames), frames);
        EXPECT_LE(slave.available(), ConnectionRingMask);
        findConnection("x");
    }
    std::memset(&*block, 0xFF, ConnectionBlockSize);
    EXPECT_EQ(master->name().size(), ConnectionBlockSize - 4);
}

// Faults: a span that is off by one at the ring's end, counters that part from the format's loop.
TEST(ConnectionRing, CopiesOfWholeSpansDoWhatTheLoopDoes) {
    std::mt19937 random(1);
    const auto upTo = [&random](std::uint32_t highest) {
        return static_cast<std::uint32_t>(random()) % (highest + 1);
    };
    const auto fast = std::make_unique<ConnectionRing>(), slow = std::make_unique<ConnectionRing>();
    std::uint32_t fastPosition = 0, slowPosition = 0;
    for (int step = 0; step < 3000; ++step) {
        // Small blocks as a rule, sometimes none, about a ring's worth, or any number.
        const std::uint32_t others[] = {0, ConnectionRingSamples - 1 + upTo(2), upTo(100'000)};
        const std::uint32_t choice = upTo(9);
        const std::uint32_t frames = choice < 3 ? others[choice] : upTo(2048);
        Samples fastBlock = ramp(frames, static_cast<std::uint32_t>(step)), slowBlock = fastBlock;
        if (upTo(1) == 0) {
            fast->put(fastBlock.data(), frames);
            putSampleBySample(*slow, slowBlock.data(), frames);
        } else {
            ASSERT_EQ(fast->get(fastBlock.data(), frames, fastPosition),
                      getSampleBySample(*slow, slowBlock.data(), frames, slowPosition));
            ASSERT_EQ(fastBlock, slowBlock);
            ASSERT_EQ(fastPosition & 0x7FFF, slowPosition);
        }
        ASSERT_EQ(std::memcmp(fast.get(), slow.get(), sizeof *fast), 0) << step;
        if (upTo(19) == 0)  // what a resync leaves: wrapped, empty, or something between
            fast->count = slow->count = upTo(1) == 0 ? 0xFFFFC000u : upTo(40'000);
        if (upTo(19) == 0)  // what others may have written there: the ring's bits count
            slowPosition = (fastPosition = static_cast<std::uint32_t>(random())) & 0x7FFF;
    }
}

}  // namespace
}  // namespace tarn
