#include "link/ConnectionInfo.h"
#include "support/Connections.h"
#include "tools/Tool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace tarn {
namespace {

using namespace test;

// Faults: a slot that its killed sender keeps, also because someone listens; samples that are taken
// for sent though their block was never finished; a session that its successor doesn't know.
TEST(ConnectionProcess, AKilledSenderLeavesWhatItPublishedAndItsSlot) {
    EXPECT_EQ(runTool(PROGRAM_connection_peer, {"crash", "1000"}).exitStatus, 9);
    EXPECT_FALSE(inspectConnection(0));  // it vanished with its last holder

    const auto holder = RawBlock::make(0);  // as a receiving program
    const auto state = RawState::make(0);
    EXPECT_EQ(runTool(PROGRAM_connection_peer, {"crash", "1000"}).exitStatus, 9);
    EXPECT_EQ(state->stream.claimed, 1500u);
    EXPECT_EQ(inspectConnection(0)->state, SenderState::Gone);
    ConnectionListener listener(0);
    const SenderFacts facts = *listener.sender();
    EXPECT_TRUE(facts.published == 1000 && !facts.isEnded);
    std::vector<float> buffer;
    const TakenSamples taken = listener.take(facts.session, 0, buffer);
    EXPECT_TRUE(std::ranges::equal(taken.samples, ramp(1000, 0)) && taken.end == 1000);

    EXPECT_EQ(makeSender("next *")->name(), "next 1");
    EXPECT_TRUE(state->formerSession == facts.session && state->formerPublished == 1000);
}

// The sender goes on as long as there is a listener.
std::unique_ptr<ConnectionListener> listenTo(const RunningTool& sender) {
    std::unique_ptr<ConnectionListener> listener;
    do
        listener = std::make_unique<ConnectionListener>(0);
    while (sender.isRunning() && !(listener->hasBlock() && listener->session() != 0));
    listener->beat();
    return listener;
}

// Faults: samples that were torn while they were copied, a loss that isn't told.
void expectRightOrTold(ConnectionListener& listener, std::uint64_t until, std::uint64_t period) {
    std::vector<float> buffer;
    std::uint64_t position = 0, received = 0, wrong = 0;
    while (position < until || received == 0) {
        listener.beat();
        const TakenSamples taken = listener.take(listener.session(), position, buffer);
        ASSERT_EQ(taken.result, TakenSamples::Result::Taken);
        ASSERT_FALSE(listener.sender()->isEnded);
        std::uint64_t at = taken.end - taken.samples.size();
        wrong += at < position;
        for (const float sample : taken.samples)
            wrong += sample != static_cast<float>(at++ % period);
        received += taken.samples.size();
        position = taken.end;
    }
    EXPECT_EQ(wrong, 0u);
}

// As fast as both can; also from a process of the other width, if that one was built.
TEST(ConnectionProcess, EverySampleOfAnotherProcessIsRightOrTold) {
    for (const std::string peer : {PROGRAM_connection_peer, OTHER_WIDTH_PEER}) {
        if (!std::filesystem::exists(peer))
            continue;
        RunningTool sending(peer, {"send"});
        std::unique_ptr<ConnectionListener> listener = listenTo(sending);
        // From here on, so that the sender writes while it is heard.
        expectRightOrTold(*listener, listener->sender()->published + 50'000'000, 40'009);
        listener.reset();
        EXPECT_EQ(sending.result().exitStatus, 0);
    }
}

// The same where ThreadSanitizer sees both.
TEST(ConnectionThreads, EverySampleOfAnotherThreadIsRightOrTold) {
    const auto master = makeSender();
    ConnectionListener listener(0);
    constexpr std::uint32_t Samples = 16'000'000;  // that floats can count
    std::thread sender([&] {
        for (std::uint32_t n = 1, sent = 0; sent < Samples; n = n * 7 % 45'007)
            sent += master->write(ramp(n, sent).data(), n);
    });
    expectRightOrTold(listener, Samples, UINT64_MAX);
    sender.join();
}

// The fault it would catch: a description of the blocks by which nobody can write a receiver.
TEST(ConnectionProcess, TheReaderOfTheManualReceivesAndTellsWhatItLost) {
    EXPECT_EQ(runTool(PROGRAM_connection_reader, {"1", "1"}).exitStatus, 1);
    // At some speed that leaves the reader something.
    RunningTool sending(PROGRAM_connection_peer, {"send", "10000000"});
    std::unique_ptr<ConnectionListener> listener = listenTo(sending);
    RunningTool reading(PROGRAM_connection_reader, {"1", "5000000"});
    while (reading.isRunning())
        listener->beat();
    const ToolResult result = reading.result();
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

}  // namespace
}  // namespace tarn
