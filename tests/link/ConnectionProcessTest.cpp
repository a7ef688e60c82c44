#include "link/ConnectionInfo.h"
#include "link/IOBridge.h"
#include "support/Connections.h"
#include "tools/Tool.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
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

// Faults: a slot that is lost when its master is killed, a crashed host's connection that comes
// back under another number because someone listens, a number that is taken from a master of which
// nobody can know whether it lives.
TEST(ConnectionProcess, AKilledMastersSlotIsFreeOrTakenOverFromWhoeverHoldsIt) {
    const auto nextName = [] {
        std::string name = "next *";
        const IOBridge<float> next(name);
        return name;
    };
    EXPECT_NE(runPeer({"crash", "1000"}), 0);
    EXPECT_FALSE(inspectConnection(0));  // it vanished with its last holder

    const auto holder = test::RawBlock::make(0);  // as a receiving program
    const auto stateHolder = test::RawState::make(0);
    EXPECT_NE(runPeer({"crash", "1000"}), 0);
    EXPECT_EQ(connectionStatus(0) & ConnectionInUse, ConnectionInUse);
    EXPECT_EQ(holder->audio.ring[999], 999.0f);
    EXPECT_EQ(inspectConnection(0)->state, SenderState::Gone);
    EXPECT_EQ(stateHolder->stream.published, 1000u);
    const std::uint64_t killed = stateHolder->session;
    EXPECT_EQ(nextName(), "next 1");
    EXPECT_EQ(stateHolder->formerSession, killed);
    EXPECT_EQ(stateHolder->formerPublished, 1000u);
    holder->masterInUse = 1;  // a master without a state block
    EXPECT_EQ(nextName(), "next 2");
}

// As fast as both can.
void expectTransfer(const std::string& sender, const std::string& receiver) {
    test::RunningTool sending(sender, {"send"});
    EXPECT_EQ(runPeer({"receive", "0", "500000000"}, receiver), 0);
    EXPECT_EQ(sending.result().exitStatus, 0);
}

// Faults: samples that were torn while they were copied, a loss that isn't told.
TEST(ConnectionProcess, ASecondProcessReceivesEverySampleRightly) {
    expectTransfer(PROGRAM_connection_peer, PROGRAM_connection_peer);
}

// The fault it would catch: a description of the blocks by which nobody can write a receiver.
TEST(ConnectionProcess, TheReaderOfTheManualReceivesAndTellsWhatItLost) {
    EXPECT_EQ(test::runTool(PROGRAM_connection_reader, {"1", "1"}).exitStatus, 1);
    // At some speed that leaves the reader something.
    test::RunningTool sending(PROGRAM_connection_peer, {"send", "10000000"});
    std::optional<ConnectionListener> listener;  // the sender goes on as long as there is one
    while (sending.isRunning() && (!listener || !listener->hasBlock() || !listener->session()))
        listener.emplace(0);
    test::RunningTool reading(PROGRAM_connection_reader, {"1", "5000000"});
    while (reading.isRunning())
        listener->beat();
    const test::ToolResult result = reading.result();
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    listener.reset();
    EXPECT_EQ(sending.result().exitStatus, 0);

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
        wrong += sample != static_cast<float>(position++ % 40'009);
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
