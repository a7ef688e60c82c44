#include "platform/Process.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>

namespace tarn::platform {
namespace {

std::uint32_t msSinceTheMachineStarted() {
    timespec now{};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<std::uint32_t>(now.tv_sec * 1000 + now.tv_nsec / 1'000'000);
}

// Faults: a slot that stays taken for as long as a killed host's parent forgets it; a moment that
// two processes of the same id could share.
TEST(LinuxProcess, AZombieIsGone) {
    const std::uint32_t before = msSinceTheMachineStarted() - 10;  // moments are told in ticks
    std::FILE* const peer = ::popen("exec '" PROGRAM_process_peer "' 0", "r");
    ProcessName name = 0;
    ASSERT_EQ(std::fscanf(peer, "%" SCNu64, &name), 1);
    EXPECT_LE((name >> 32) - before, msSinceTheMachineStarted() - before);
    siginfo_t info;
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(name), &info, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(lifeOf(name, processSpace()), ProcessLife::Gone);
    ::pclose(peer);
    EXPECT_EQ(lifeOf(name, processSpace()), ProcessLife::Gone);
}

// Faults: a program whose name looks like what follows it; one whose first thread has ended, so
// that it looks like a zombie; a file that stays open.
TEST(LinuxProcess, OddProgramsRun) {
    const ProcessName here = currentProcess();
    const int nextFile = ::dup(STDIN_FILENO);
    ::close(nextFile);
    ::pthread_setname_np(::pthread_self(), "a) Z 1 (b) S");
    EXPECT_EQ(lifeOf(here, processSpace()), ProcessLife::Running);
    EXPECT_EQ(::dup(STDIN_FILENO), nextFile);

    const pid_t child = ::fork();
    if (child == 0) {
        std::thread([] { ::pause(); }).detach();
        ::syscall(SYS_exit, 0);  // of this thread alone
    }
    const std::string status = "/proc/" + std::to_string(child) + "/stat";
    for (std::string line; line.find(") Z ") == std::string::npos; std::this_thread::yield())
        std::getline(std::ifstream(status), line);
    const auto withoutItsStart = static_cast<ProcessName>(child);
    EXPECT_EQ(lifeOf(withoutItsStart, processSpace()), ProcessLife::Unknown);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_EQ(lifeOf(withoutItsStart, processSpace()), ProcessLife::Gone);
}

}  // namespace
}  // namespace tarn::platform
