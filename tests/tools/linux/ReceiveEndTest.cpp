// How the receiving program ends at a signal.
#include "host/AudioFile.h"
#include "support/Connections.h"
#include "tools/Tool.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace tarn::test {
namespace {

// The faults it would catch: a file that lacks its end, an end that counts as a failure.
TEST(ReceiveEnd, EverySignalLeavesAWholeFile) {
    for (const int signal : {SIGINT, SIGTERM, SIGKILL}) {
        const ToolFolder folder;
        const auto sender = makeSender();
        const std::string take = folder / "take.wav";
        const pid_t process = ::fork();
        if (process == 0) {
            ::execl(PROGRAM_brimtide_receive, "tool", "record", "1", "-qo", take.c_str(), nullptr);
            ::_exit(127);
        }
        while (sender->owner().listeners() == 0)
            std::this_thread::yield();
        sender->write(ramp(5000).data(), 5000);
        std::size_t bytes = 0;
        while (bytes < 5000 * sizeof(float))
            bytes = folder.read("take.wav").size();
        ::kill(process, signal);
        int status = 0;
        ::waitpid(process, &status, 0);
        EXPECT_EQ(status, signal == SIGKILL ? SIGKILL : 0) << signal;
        EXPECT_EQ(host::AudioReader(take).frames(), 5000) << signal;
    }
}

}  // namespace
}  // namespace tarn::test
