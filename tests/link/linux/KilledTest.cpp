// Senders that are killed wherever they are. BRIMTIDE_KILLS says how many; by default few.
#include "link/ConnectionInfo.h"
#include "link/IOBridge.h"
#include "support/Connections.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tarn {
namespace {

int kills() {
    const char* asked = std::getenv("BRIMTIDE_KILLS");  // NOLINT(concurrency-mt-unsafe)
    return asked != nullptr ? std::atoi(asked) : 20;
}

/// A sender that runs until it is killed, at the latest by the destructor.
class Victim {
public:
    Victim() {
        std::string program = PROGRAM_connection_peer;
        std::string task = "send";
        char* arguments[] = {program.data(), task.data(), nullptr};
        EXPECT_EQ(::posix_spawn(&id_, program.c_str(), nullptr, nullptr, arguments, environ), 0);
    }
    Victim(const Victim&) = delete;
    Victim& operator=(const Victim&) = delete;
    ~Victim() { kill(); }

    void kill() {
        if (id_ > 0) {
            ::kill(id_, SIGKILL);
            ::waitpid(id_, nullptr, 0);
        }
        id_ = 0;
    }

private:
    pid_t id_ = 0;
};

// Gives up in the end, so that a failing test ends.
template <typename Condition>
bool await(Condition condition) {
    const double end = platform::systemHighResolutionSeconds() + 20.0;
    while (!condition()) {
        if (platform::systemHighResolutionSeconds() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}

// Faults: samples that are taken for sent though their block was never finished, a slot that its
// killed sender keeps, a session that its successor doesn't know.
TEST(Killed, SendersLeaveWhatTheyPublishedAndTheirSlot) {
    int within = 0;
    // Goes on until one was killed in a block.
    for (int i = 0; i < kills() || (within == 0 && i < 1000); ++i) {
        Victim sender;
        std::unique_ptr<ConnectionListener> listener;
        ASSERT_TRUE(await([&] {
            listener = std::make_unique<ConnectionListener>(0);
            return listener->hasBlock() && listener->session() != 0;
        }));
        ASSERT_TRUE(await([&] { return listener->sender()->published > 100'000u + 977u * i; }));
        sender.kill();

        EXPECT_EQ(inspectConnection(0)->state, SenderState::Gone);
        const SenderFacts facts = *listener->sender();
        EXPECT_FALSE(facts.isEnded);
        std::vector<float> buffer;
        const TakenSamples taken = listener->take(facts.session, 0, buffer);
        ASSERT_EQ(taken.result, TakenSamples::Result::Taken);
        ASSERT_EQ(taken.end, facts.published);
        std::uint64_t position = taken.end - taken.samples.size();
        for (const float sample : taken.samples)
            ASSERT_EQ(sample, static_cast<float>(position++ % 40'009));
        {
            const test::RawState state(0);
            within += state->stream.claimed > state->stream.published;
            std::string name = "next *";
            const IOBridge<float> next(name);
            EXPECT_EQ(name, "next 1");
            EXPECT_EQ(state->formerSession, facts.session);
            EXPECT_EQ(state->formerPublished, facts.published);
        }
    }
    EXPECT_GT(within, 0);
}

}  // namespace
}  // namespace tarn
