#include "link/ConnectionInfo.h"
#include "link/IOBridge.h"
#include "support/Connections.h"
#include "tools/Tool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace tarn {
namespace {

int runPeer(const std::vector<std::string>& task,
            const std::string& peer = PROGRAM_connection_peer) {
    return test::runTool(peer, task).exitStatus;
}

// The fault it would catch: a slot that is lost for ever when its master is killed.
TEST(ConnectionProcess, AKilledMastersBlockVanishesWithItsLastHolder) {
    EXPECT_NE(runPeer({"crash", "1000"}), 0);
    EXPECT_FALSE(inspectConnection(0));
    std::string name = "next *";
    const IOBridge<float> next(name);
    EXPECT_EQ(name, "next 1");
    EXPECT_FALSE(test::RawBlock(0)->audio.writeIndex);
}

// Faults: a crashed host's connection that comes back under another number because someone listens,
// and a number that is taken from a master of which nobody can know whether it lives.
TEST(ConnectionProcess, AKilledMastersSlotIsTakenOverFromWhoeverHoldsIt) {
    const auto holder = test::RawBlock::make(0);  // as a receiving program
    const auto stateHolder = test::RawState::make(0);
    EXPECT_NE(runPeer({"crash", "1000"}), 0);
    EXPECT_EQ(connectionStatus(0) & ConnectionInUse, ConnectionInUse);
    EXPECT_EQ(test::RawBlock(0)->audio.ring[999], 1000.0f);
    EXPECT_EQ(inspectConnection(0)->state, SenderState::Gone);
    EXPECT_EQ(stateHolder->stream.published, 1000u);
    const std::uint64_t killed = stateHolder->session;
    {
        std::string name = "next *";
        const IOBridge<float> next(name);
        EXPECT_EQ(name, "next 1");
        EXPECT_EQ(stateHolder->formerSession, killed);
        EXPECT_EQ(stateHolder->formerPublished, 1000u);
    }
    holder->masterInUse = 1;  // a master without a state block
    std::string name = "next *";
    const IOBridge<float> next(name);
    EXPECT_EQ(name, "next 2");
}

void expectTransfer(const std::string& sender, const std::string& receiver) {
    int sent = -1;
    std::thread sending([&] { sent = runPeer({"send", "0", "100000"}, sender); });
    EXPECT_EQ(runPeer({"receive", "0", "100000"}, receiver), 0);
    sending.join();
    EXPECT_EQ(sent, 0);
}

TEST(ConnectionProcess, ASecondProcessReceivesEverySample) {
    expectTransfer(PROGRAM_connection_peer, PROGRAM_connection_peer);
}

// The fault it would catch: a description of the blocks by which nobody can write a receiver.
TEST(ConnectionProcess, TheReaderOfTheManualReceivesAndTellsWhatItLost) {
    const auto read = [](const std::string& samples) {
        return test::runTool(PROGRAM_connection_reader, {"1", samples});
    };
    EXPECT_EQ(read("1").exitStatus, 1);
    std::string name = "*";
    auto sender = std::make_unique<IOBridge<float>>(name);
    const test::RawBlock block(0);
    const test::RawState state(0);
    std::atomic<bool> isListening{true};
    test::ToolResult result{};
    std::thread listening([&] {
        result = read("5000000");
        isListening = false;
    });
    std::vector<float> samples;
    // At some speed that leaves the reader something; and it ends, so that a failing test does.
    constexpr double Speed = 1e7;  // samples a second
    const double start = platform::highResolutionSeconds();
    for (std::uint64_t sent = 0; isListening && sent < 500'000'000; sent += samples.size()) {
        while (platform::highResolutionSeconds() < start + static_cast<double>(sent) / Speed)
            std::this_thread::yield();
        samples.resize(sent % 7 == 0 ? 40'000 : 480);
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<float>((sent + i) & 0xFFFFFF);
        sender->write(samples.data(), static_cast<std::uint32_t>(samples.size()));
    }
    sender.reset();
    listening.join();
    EXPECT_EQ(result.exitStatus, 0) << result.errors;

    // Losses are told with the position; so all others must be there, one after the other.
    std::map<std::uint64_t, std::uint64_t> lost;
    std::istringstream lines(result.errors);
    std::uint64_t first = 0, received = 0, sumOfLost = 0, count = 0, at = 0;
    for (std::string line; std::getline(lines, line);) {
        if (std::sscanf(line.c_str(), "lost %" SCNu64 " samples at %" SCNu64, &count, &at) == 2)
            lost[at] = count;
        else if (std::sscanf(line.c_str(), "from %" SCNu64, &first) == 0)
            std::sscanf(line.c_str(), "received %" SCNu64 ", lost %" SCNu64, &received, &sumOfLost);
    }
    ASSERT_EQ(result.bytes.size(), received * sizeof(float));
    ASSERT_GT(received, 0u);
    std::vector<float> got(static_cast<std::size_t>(received));
    std::memcpy(got.data(), result.bytes.data(), result.bytes.size());
    std::uint64_t position = first, wrong = 0;
    const auto skipLost = [&] {
        for (auto gap = lost.find(position); gap != lost.end(); gap = lost.find(position))
            position += gap->second;
    };
    for (const float sample : got) {
        skipLost();
        wrong += sample != static_cast<float>(position++ & 0xFFFFFF);
    }
    skipLost();
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(position - first, received + sumOfLost);
}

#if defined(OTHER_WIDTH_PEER)
TEST(ConnectionProcess, ProcessesOfBothWidthsUnderstandEachOther) {
    if (!std::filesystem::exists(OTHER_WIDTH_PEER))
        GTEST_SKIP() << "the other width is not built";
    expectTransfer(PROGRAM_connection_peer, OTHER_WIDTH_PEER);
    expectTransfer(OTHER_WIDTH_PEER, PROGRAM_connection_peer);
}
#endif

}  // namespace
}  // namespace tarn
