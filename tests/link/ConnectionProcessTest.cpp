#include "link/ConnectionInfo.h"
#include "support/Connections.h"
#include "tools/Tool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tarn {
namespace {

// Faults: a slot that its killed sender keeps, also because someone listens; samples that are taken
// for sent though their block was never finished; a session that its successor doesn't know.
TEST(ConnectionProcess, AKilledSenderLeavesWhatItPublishedAndItsSlot) {
    EXPECT_EQ(test::runTool(PROGRAM_connection_peer, {"crash"}).exitStatus, 9);
    EXPECT_FALSE(inspectConnection(0));  // it vanished with its last holder

    const auto holder = test::RawBlock::make(0);  // as a receiving program
    const auto state = test::RawState::make(0);
    EXPECT_EQ(test::runTool(PROGRAM_connection_peer, {"crash"}).exitStatus, 9);
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

    EXPECT_EQ(test::makeSender("next *")->name(), "next 1");
    EXPECT_EQ(state->formerSession, facts.session);
    EXPECT_EQ(state->formerPublished, 1000u);
}

// Faults: samples that were torn while they were copied, a loss that isn't told.
void expectRightOrTold(ConnectionListener& listener, std::uint64_t samples, std::uint64_t period) {
    std::vector<float> buffer;
    std::uint64_t position = 0, received = 0, wrong = 0;
    while (position < samples || received == 0) {
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
        test::RunningTool sending(peer, {"send"});
        std::unique_ptr<ConnectionListener> listener;
        do
            listener = std::make_unique<ConnectionListener>(0);
        while (sending.isRunning() && !(listener->hasBlock() && listener->session() != 0));
        expectRightOrTold(*listener, 50'000'000, 40'009);
        listener.reset();  // the sender goes on as long as there is one
        EXPECT_EQ(sending.result().exitStatus, 0);
    }
}

// The same where ThreadSanitizer sees both.
TEST(ConnectionThreads, EverySampleOfAnotherThreadIsRightOrTold) {
    const auto master = test::makeSender();
    ConnectionListener listener(0);
    constexpr std::uint32_t Samples = 16'000'000;  // that floats can count
    std::thread sender([&] {
        for (std::uint32_t n = 1, sent = 0; sent < Samples; n = n * 7 % 45'007)
            sent += master->write(test::ramp(n, sent).data(), n);
    });
    expectRightOrTold(listener, Samples, UINT64_MAX);
    sender.join();
}

}  // namespace
}  // namespace tarn
