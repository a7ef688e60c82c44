#include "link/IOBridge.h"
#include "support/AllocationCount.h"
#include "support/Connections.h"

#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <memory>
#include <random>
#include <vector>

namespace tarn {
namespace {

using test::CalendarAt;
using test::RawBlock;

constexpr std::int64_t Noon = 1'790'000'000;

std::unique_ptr<IOBridge<float>> makeMaster(std::string pattern = "Connection #*") {
    return std::make_unique<IOBridge<float>>(pattern);
}

std::vector<float> ramp(std::uint32_t frames, float from = 1.0f) {
    std::vector<float> samples(frames);
    for (float& sample : samples)
        sample = from++;
    return samples;
}

TEST(IOBridge, InstancesTakeTheFirstFreeSlotAndAReleasedOneComesBack) {
    auto first = makeMaster();
    auto second = makeMaster();
    EXPECT_EQ(first->name(), "Connection #1");
    EXPECT_EQ(second->name(), "Connection #2");
    EXPECT_EQ(RawBlock(0)->slot, 0u);
    EXPECT_EQ(RawBlock(1)->slot, 1u);

    // Over the same block, since this process has probed it and keeps it.
    first->write(ramp(10).data(), 10);
    first.reset();
    EXPECT_EQ(RawBlock(0)->masterInUse, 0);
    auto third = makeMaster();
    EXPECT_EQ(third->name(), "Connection #1");
    EXPECT_EQ(RawBlock(0)->masterInUse, 1);
    EXPECT_EQ(RawBlock(0)->audio.writeIndex, 0u);
    EXPECT_EQ(RawBlock(0)->lastWriteTime[0], 0u);
}

TEST(IOBridge, The33rdInstanceIsASink) {
    std::deque<std::unique_ptr<IOBridge<float>>> bridges;
    for (int i = 1; i <= 32; ++i) {
        bridges.push_back(makeMaster());
        ASSERT_EQ(bridges.back()->name(), "Connection #" + std::to_string(i));
    }
    std::string pattern = "Connection #*";
    IOBridge<float> sink(pattern);
    EXPECT_EQ(pattern, "Connection #*");
    EXPECT_EQ(sink.name(), "");
    EXPECT_FALSE(sink.setName("x"));
    float sample = 0.0f;
    EXPECT_EQ(sink.write(&sample, 1), 0u);
    EXPECT_EQ(sink.read(&sample, 1), 0u);
    sink.resync(100);
    sink.setInputLatency(1);
    EXPECT_EQ(sink.available(), 0u);

    bridges.erase(bridges.begin() + 5);
    EXPECT_EQ(makeMaster()->name(), "Connection #6");
}

TEST(IOBridge, ThePatternIsResolvedAndNamesAreCutAt32Bytes) {
    struct {
        const char* pattern;
        const char* name;
    } const cases[] = {
        {"Strip *", "Strip 1"}, {"*/*", "1/1"}, {"plain", "plain"}, {"", ""}, {"***", "111"},
    };
    for (const auto& each : cases) {
        std::string text = each.pattern;
        IOBridge<float> bridge(text);
        EXPECT_EQ(text, each.name);
        EXPECT_EQ(bridge.name(), each.name);
    }

    auto bridge = makeMaster("a");
    EXPECT_TRUE(bridge->setName("a much longer name"));
    EXPECT_TRUE(bridge->setName("short"));
    EXPECT_EQ(std::string(RawBlock(0)->name, 32), std::string("short") + std::string(27, '\0'));
    // A full field has no terminator: the mark behind it follows.
    EXPECT_TRUE(bridge->setName(std::string(40, 'n')));
    EXPECT_EQ(bridge->name(), std::string(32, 'n') + '\x01');
    EXPECT_EQ(inspectConnection(0)->name, std::string(32, 'n'));
}

TEST(IOBridge, TheFirstWritesAfterTheStartOffset) {
    struct {
        std::uint32_t first;
        std::uint32_t count;
        std::uint32_t readIndex;
    } const cases[] = {
        {0, 32768, 0},          // the wrapped count runs into the overrun rule at once
        {512, 32768, 512},      //
        {16383, 32768, 16383},  //
        {16384, 0, 16384},      // wraps to frames - 16384
        {20000, 3616, 16384},   //
        {49152, 32768, 16384},  // exactly a ring's worth is no overrun
        {49153, 32768, 16385},  // one more is
    };
    for (const auto& each : cases) {
        auto bridge = makeMaster();
        bridge->resync(ConnectionPreroll);
        const RawBlock block(0);
        EXPECT_EQ(block->audio.count, 0xFFFFC000u);
        EXPECT_EQ(block->audio.readIndex, 16384u);
        const auto samples = ramp(each.first + 1);
        EXPECT_EQ(bridge->write(samples.data(), each.first), each.first);
        EXPECT_EQ(block->audio.count, each.count) << each.first;
        EXPECT_EQ(block->audio.readIndex, each.readIndex) << each.first;
        EXPECT_EQ(block->audio.writeIndex, each.first % 32768) << each.first;
    }
}

TEST(IOBridge, ResyncMovesTheWritersIndexByItsTwoRules) {
    auto bridge = makeMaster();
    const RawBlock block(0);
    block->audio.count = 200;
    block->audio.readIndex = 7;
    bridge->resync(-100);
    EXPECT_EQ(block->audio.readIndex, 300u);
    EXPECT_EQ(block->audio.count, 200u);
    bridge->resync(150);
    EXPECT_EQ(block->audio.readIndex, 450u);
    EXPECT_EQ(block->audio.count, 50u);
    block->audio.readIndex = 32767;
    bridge->resync(2);
    EXPECT_EQ(block->audio.readIndex, 1u);
    bridge->resync(INT32_MIN);
    EXPECT_EQ(block->audio.readIndex, 48u);
}

TEST(IOBridge, AReaderStartsByThePrerollRule) {
    const CalendarAt noon(Noon);
    auto master = makeMaster();
    master->write(ramp(1000).data(), 1000);
    IOBridge<float> slave(OpenSlot{0});
    std::vector<float> block(20'000, -1.0f);

    // 2 x 512 are not there yet: silence, and the reader goes on starting.
    EXPECT_EQ(slave.read(block.data(), 512), 512u);
    EXPECT_EQ(block[0], 0.0f);
    EXPECT_EQ(block[511], 0.0f);
    EXPECT_EQ(block[512], -1.0f);
    EXPECT_EQ(RawBlock(0)->readers[0].starting, 1);

    // 2 x 500 are: it begins 1000 behind, gets them, and then falls short without touching the
    // rest.
    EXPECT_EQ(slave.read(block.data(), 500), 500u);
    EXPECT_EQ(block[0], 1.0f);
    EXPECT_EQ(slave.available(), 500u);
    block.assign(block.size(), -1.0f);
    EXPECT_EQ(slave.read(block.data(), 600), 500u);
    EXPECT_EQ(block[499], 1000.0f);
    EXPECT_EQ(block[500], -1.0f);
    EXPECT_EQ(slave.read(block.data(), 1), 0u);

    // With 10000 frames 16384 are needed, not 20000; and it begins that far behind.
    slave.attach();
    master->write(ramp(16384).data(), 16384);
    EXPECT_EQ(slave.read(block.data(), 10'000), 10'000u);
    EXPECT_EQ(block[0], 1.0f);
    EXPECT_EQ(slave.available(), 6384u);
}

// The fault it would catch: a reader that sees a ring without a reader as full of new samples. It
// paces itself by `available`.
TEST(IOBridge, AReaderThatIsPacedByTheWriteHeadGetsEachSampleOnce) {
    const CalendarAt noon(Noon);
    auto master = makeMaster();
    master->resync(ConnectionPreroll);
    for (int i = 0; i < 200; ++i)
        master->write(ramp(512, 512.0f * static_cast<float>(i)).data(), 512);
    IOBridge<float> slave(OpenName{"Connection #1"});
    std::vector<float> block(32768);
    slave.read(block.data(), 0);
    EXPECT_EQ(slave.available(), 16384u);
    float expected = 200 * 512 - 16384;
    for (int i = 200; i < 400; ++i) {
        master->write(ramp(512, 512.0f * static_cast<float>(i)).data(), 512);
        const std::uint32_t frames = slave.available();
        ASSERT_EQ(slave.read(block.data(), frames), frames);
        for (std::uint32_t k = 0; k < frames; ++k)
            ASSERT_EQ(block[k], expected++);
        ASSERT_EQ(slave.available(), 0u);
    }
}

TEST(IOBridge, AWriterThatFallsSilentIsDeadAfterASecondAndFreshForTen) {
    CalendarAt clock(Noon);
    auto master = makeMaster();
    EXPECT_EQ(connectionStatus(0), ConnectionInUse);  // created: no stamp yet
    master->write(ramp(1000).data(), 1000);
    EXPECT_EQ(connectionStatus(0), ConnectionInUse | ConnectionFresh);
    IOBridge<float> slave(OpenSlot{0});
    EXPECT_EQ(connectionStatus(0), ConnectionInUse | ConnectionFresh | ConnectionHasSlave);
    float sample = -1.0f;
    EXPECT_EQ(slave.read(&sample, 1), 1u);
    clock.set(Noon + 1);
    EXPECT_EQ(slave.read(&sample, 1), 1u);
    EXPECT_TRUE(slave.isLive());

    clock.set(Noon + 2);
    EXPECT_FALSE(slave.isLive());
    sample = -1.0f;
    testing::internal::CaptureStdout();
    EXPECT_EQ(slave.read(&sample, 1), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "1790000002 0 1790000000\n");
    EXPECT_EQ(sample, -1.0f);

    // It carries on where it was, at the first read after the next stamp.
    master->write(nullptr, 0);
    EXPECT_EQ(slave.read(&sample, 1), 1u);
    EXPECT_EQ(sample, 3.0f);

    clock.set(Noon + 12);
    EXPECT_EQ(connectionStatus(0) & ConnectionFresh, ConnectionFresh);
    clock.set(Noon + 13);
    EXPECT_EQ(connectionStatus(0) & ConnectionFresh, 0u);
    // The comparison is of unsigned numbers.
    RawBlock(0)->lastWriteTime[1] = 0xFFFFFFFF;
    EXPECT_EQ(connectionStatus(0) & ConnectionFresh, ConnectionFresh);
}

TEST(IOBridge, ASlaveOutlivesItsMasterAndStartsAnewWithTheNext) {
    EXPECT_FALSE(IOBridge<float>(OpenSlot{3}).hasBlock());
    EXPECT_FALSE(IOBridge<float>(OpenSlot{32}).hasBlock());
    EXPECT_FALSE(IOBridge<float>(OpenName{"nobody"}).hasBlock());

    auto master = makeMaster("guitar");
    IOBridge<float> slave(OpenName{"guitar"});
    EXPECT_FALSE(slave.isMaster());
    EXPECT_TRUE(slave.isAttached());
    EXPECT_TRUE(slave.hasMaster());
    EXPECT_EQ(RawBlock(0)->readers[0].starting, 1);
    slave.setInputLatency(5);
    EXPECT_EQ(slave.inputLatency(), 0);
    master->setInputLatency(64);
    EXPECT_EQ(slave.inputLatency(), 64);

    master.reset();
    EXPECT_TRUE(slave.isAttached());
    EXPECT_FALSE(slave.hasMaster());
    EXPECT_EQ(connectionStatus(0), ConnectionHasSlave);
    EXPECT_FALSE(findConnection("guitar"));

    auto next = makeMaster("bass");
    EXPECT_EQ(RawBlock(0)->slot, 0u);
    EXPECT_FALSE(slave.isAttached());
    EXPECT_TRUE(slave.hasMaster());
    slave.attach();
    next->write(ramp(100).data(), 100);
    std::vector<float> block(50);
    EXPECT_EQ(slave.read(block.data(), 50), 50u);
    EXPECT_EQ(block[0], 1.0f);
}

TEST(IOBridge, LookingMarksNothingAndKeepsNothing) {
    auto master = std::make_unique<IOBridge<float>>(OpenSlot{31});
    ASSERT_FALSE(master->hasBlock());
    // Slot 31 made by hand, so that no constructor has probed it in this process.
    auto memory = platform::SharedMemory::create(connectionMappingName(31), ConnectionBlockSize);
    auto& block = *static_cast<ConnectionBlock*>(memory.data());
    block.masterInUse = 1;
    std::memcpy(block.name, "by hand", 8);
    EXPECT_EQ(inspectConnection(31)->name, "by hand");
    EXPECT_EQ(findConnection("by hand"), 31u);
    // Under one name, a connection that is written to comes before a stale one.
    auto stale = makeMaster("by hand");
    block.lastWriteTime[0] = static_cast<std::uint32_t>(platform::calendarSeconds());
    EXPECT_EQ(findConnection("by hand"), 31u);
    stale->write(ramp(1).data(), 1);
    EXPECT_EQ(findConnection("by hand"), 0u);
    stale.reset();
    EXPECT_EQ(block.readers[0].slaveInUse, 0);
    memory = platform::SharedMemory();
    EXPECT_FALSE(inspectConnection(31));

    // The probe does keep it.
    memory = platform::SharedMemory::create(connectionMappingName(31), ConnectionBlockSize);
    static_cast<ConnectionBlock*>(memory.data())->masterInUse = 1;
    EXPECT_EQ(connectionStatus(31), ConnectionInUse);
    memory = platform::SharedMemory();
    EXPECT_EQ(connectionStatus(31), ConnectionInUse);
}

// The fault it would catch: a slot that is no use, taken by every instance for ever.
TEST(IOBridge, AnObstructedSlotIsSteppedOver) {
    const auto tooShort = platform::SharedMemory::create(connectionMappingName(0), 4096);
    ASSERT_TRUE(tooShort);
    EXPECT_EQ(connectionStatus(0), 0u);
    EXPECT_EQ(makeMaster()->name(), "Connection #2");
}

// The fault it would catch: a word of the block that is trusted.
TEST(IOBridge, ABlockOfRandomBytesIsHarmless) {
    std::mt19937 random(3);
    const CalendarAt noon(Noon);
    auto master = makeMaster();
    IOBridge<float> slave(OpenSlot{0});
    const RawBlock block(0);
    std::vector<float> samples(40'000);
    for (int round = 0; round < 200; ++round) {
        auto* words = reinterpret_cast<std::uint32_t*>(&*block);
        for (std::size_t i = 0; i < ConnectionBlockSize / 4; i += round % 7 + 1)
            words[i] = static_cast<std::uint32_t>(random());
        const auto frames = static_cast<std::uint32_t>(random() % samples.size());
        master->resync(static_cast<std::int32_t>(random()));
        master->write(samples.data(), frames);
        block->audio.count = static_cast<std::uint32_t>(random());
        EXPECT_LE(slave.read(samples.data(), frames), frames);
        EXPECT_LE(slave.available(), ConnectionRingMask);
        EXPECT_LE(master->name().size(), ConnectionBlockSize);
        EXPECT_LE(inspectConnection(0)->name.size(), 32u);
        connectionStatus(0);
        findConnection("x");
    }
    std::memset(&*block, 0xFF, ConnectionBlockSize);
    EXPECT_EQ(master->name().size(), ConnectionBlockSize - 4);
}

TEST(IOBridge, WriteAndReadAllocateNothing) {
    auto master = makeMaster();
    IOBridge<float> slave(OpenSlot{0});
    std::vector<float> block(ConnectionRingSamples);
    const long before = test::allocationsOfThisThread();
    std::vector<float>().reserve(1);  // shows that the count counts
    ASSERT_EQ(test::allocationsOfThisThread(), before + 1);
    for (int i = 0; i < 100; ++i) {
        master->write(block.data(), 4096);
        slave.read(block.data(), slave.available());
    }
    EXPECT_EQ(test::allocationsOfThisThread(), before + 1);
}

}  // namespace
}  // namespace tarn
