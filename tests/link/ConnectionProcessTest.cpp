#include "link/ConnectionInfo.h"
#include "link/IOBridge.h"
#include "support/Connections.h"
#include "tools/Tool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
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

// Faults: a slot that its killed sender keeps, also because someone listens; samples that are taken
// for sent though their block was never finished; a session that its successor doesn't know.
TEST(ConnectionProcess, AKilledSenderLeavesWhatItPublishedAndItsSlot) {
    EXPECT_EQ(runPeer({"crash", "1000"}), 9);
    EXPECT_FALSE(inspectConnection(0));  // it vanished with its last holder

    const auto holder = test::RawBlock::make(0);  // as a receiving program
    const auto state = test::RawState::make(0);
    EXPECT_EQ(runPeer({"crash", "1000"}), 9);
    EXPECT_EQ(state->stream.claimed, 1500u);
    EXPECT_EQ(inspectConnection(0)->state, SenderState::Gone);
    ConnectionListener listener(0);
    const SenderFacts facts = *listener.sender();
    EXPECT_EQ(facts.published, 1000u);
    EXPECT_FALSE(facts.isEnded);
    std::vector<float> buffer;
    const TakenSamples taken = listener.take(facts.session, 0, buffer);
    EXPECT_TRUE(std::ranges::equal(taken.samples, test::ramp(1000, 0)));
    EXPECT_EQ(taken.end, 1000u);

    std::string name = "next *";
    const IOBridge<float> next(name);
    EXPECT_EQ(name, "next 1");
    EXPECT_EQ(state->formerSession, facts.session);
    EXPECT_EQ(state->formerPublished, 1000u);
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
    std::vector<float> sent;
    std::istringstream lines(result.errors);
    std::uint64_t position = 0, received = 0, lost = 0, count = 0, at = 0;
    for (std::string line; std::getline(lines, line);) {
        if (std::sscanf(line.c_str(), "lost %" SCNu64 " samples at %" SCNu64, &count, &at) == 2) {
            for (; position < at; ++position)
                sent.push_back(static_cast<float>(position % 40'009));
            position += count;
            lost += count;
        } else if (std::sscanf(line.c_str(), "from %" SCNu64, &position) == 0) {
            std::sscanf(line.c_str(), "received %" SCNu64 ", lost %" SCNu64, &received, &count);
        }
    }
    for (; sent.size() < received; ++position)
        sent.push_back(static_cast<float>(position % 40'009));
    EXPECT_GT(received, 0u);
    EXPECT_EQ(count, lost);
    ASSERT_EQ(result.bytes.size(), sent.size() * sizeof(float));
    EXPECT_EQ(std::memcmp(result.bytes.data(), sent.data(), result.bytes.size()), 0);
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
