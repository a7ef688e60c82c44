#include "link/ConnectionInfo.h"
#include "support/Connections.h"
#include "tools/Tool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>

namespace tarn {
namespace {

using namespace test;

// Faults: a slot that its killed sender keeps, also because someone listens; samples that are taken
// for sent though their block was never finished; a session that its successor doesn't know.
TEST(ConnectionProcess, AKilledSenderLeavesWhatItPublishedAndItsSlot) {
    EXPECT_EQ(runTool(PROGRAM_connection_peer, {"crash"}).exitStatus, 9);
    EXPECT_FALSE(inspectConnection(0));  // it vanished with its last holder

    const auto holder = RawBlock::make(0);  // as a receiving program
    const auto state = RawState::make(0);
    EXPECT_EQ(runTool(PROGRAM_connection_peer, {"crash"}).exitStatus, 9);
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

// Faults: samples that were torn while they were copied, a loss that isn't told. ThreadSanitizer
// sees both ends.
TEST(ConnectionThreads, EverySampleOfAnotherThreadIsRightOrTold) {
    const auto master = makeSender();
    ConnectionListener listener(0);
    constexpr std::uint32_t Samples = 16'000'000;  // that floats can count
    std::thread sender([&] {
        for (std::uint32_t n = 1, sent = 0; sent < Samples; n = n * 7 % 45'007)
            sent += master->write(ramp(n, sent).data(), n);
    });
    std::vector<float> buffer;
    std::uint64_t position = 0, received = 0, wrong = 0;
    while (position < Samples || received == 0) {
        const TakenSamples taken = listener.take(listener.session(), position, buffer);
        ASSERT_EQ(taken.result, TakenSamples::Result::Taken);
        std::uint64_t at = taken.end - taken.samples.size();
        wrong += at < position;
        for (const float sample : taken.samples)
            wrong += sample != static_cast<float>(at++);
        received += taken.samples.size();
        position = taken.end;
    }
    EXPECT_EQ(wrong, 0u);
    sender.join();
}

// Faults: a description of the blocks by which nobody can write a receiver, samples of another
// process that are wrong and not told as lost; also of one of the other width, if that was built.
TEST(ConnectionProcess, TheReaderOfTheManualReceivesAndTellsWhatItLost) {
    EXPECT_EQ(runTool(PROGRAM_connection_reader, {"1", "1"}).exitStatus, 1);
    for (const std::string peer : {PROGRAM_connection_peer, OTHER_WIDTH_PEER}) {
        if (!std::filesystem::exists(peer))
            continue;
        RunningTool sending(peer, {"send"});
        // The sender goes on as long as there is a listener.
        std::unique_ptr<ConnectionListener> listener;
        do
            listener = std::make_unique<ConnectionListener>(0);
        while (sending.isRunning() && !(listener->hasBlock() && listener->session() != 0));
        RunningTool reading(PROGRAM_connection_reader, {"1", "5000000"});
        do
            listener->beat();
        while (reading.isRunning());
        const ToolResult result = reading.result();
        EXPECT_EQ(result.exitStatus, 0) << result.errors;
        listener.reset();
        EXPECT_EQ(sending.result().exitStatus, 0);

        // Losses are told with the position; so all others must be there, one after the other.
        std::istringstream lines(result.errors);
        std::vector<float> sent;
        std::string word;
        std::uint64_t position = 0, lost = 0, number = 0, at = 0;
        const auto expectUpTo = [&](std::uint64_t end) {
            for (; position < end; ++position)
                sent.push_back(static_cast<float>(position % 40'009));
        };
        lines >> word >> position >> word;  // from 17 on
        while (lines >> word >> number && word == "lost") {
            lines >> word >> word >> at;  // 23 samples at 4711
            expectUpTo(at);
            position += number;
            lost += number;
        }
        EXPECT_GT(number, 0u);  // received 5000, lost 23
        expectUpTo(position + number - sent.size());
        lines >> word >> word >> number;
        EXPECT_EQ(number, lost);
        ASSERT_EQ(result.bytes.size(), sent.size() * sizeof(float));
        EXPECT_EQ(std::memcmp(result.bytes.data(), sent.data(), result.bytes.size()), 0);
    }
}

}  // namespace
}  // namespace tarn
