#include "platform/Process.h"

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

namespace tarn::platform {
namespace {

// The peer's process while nobody has collected it, which has printed its name.
struct EndedPeer {
    EndedPeer() {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        std::string program = PROGRAM_process_peer, task = "name";
        char* arguments[] = {program.data(), task.data(), nullptr};
        EXPECT_EQ(::posix_spawn(&id, program.c_str(), &actions, nullptr, arguments, environ), 0);
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
        char text[32] = "";
        EXPECT_GT(::read(ends[0], text, sizeof text - 1), 0);
        ::close(ends[0]);
        name = std::strtoull(text, nullptr, 10);
        siginfo_t info;
        EXPECT_EQ(::waitid(P_PID, static_cast<id_t>(id), &info, WEXITED | WNOWAIT), 0);
    }

    pid_t id = 0;
    ProcessName name = 0;
};

// Fault: a slot stays taken for as long as a killed host's parent forgets it.
TEST(LinuxProcess, AZombieIsGone) {
    const EndedPeer peer;
    EXPECT_EQ(peer.name & 0xFFFFFFFF, static_cast<ProcessName>(peer.id));
    EXPECT_EQ(::kill(peer.id, 0), 0);
    EXPECT_EQ(lifeOf(peer.name, processSpace()), ProcessLife::Gone);
    ::waitpid(peer.id, nullptr, 0);
    EXPECT_EQ(lifeOf(peer.name, processSpace()), ProcessLife::Gone);
}

int nextFile() {
    const int file = ::dup(STDIN_FILENO);
    ::close(file);
    return file;
}

// Faults: a program whose name looks like what follows it; one whose first thread has ended, so
// that it looks like a zombie.
TEST(LinuxProcess, OddProgramsRun) {
    const ProcessName here = currentProcess();
    const int fileBefore = nextFile();
    ::pthread_setname_np(::pthread_self(), "a) Z 1 (b) S");
    EXPECT_EQ(lifeOf(here, processSpace()), ProcessLife::Running);
    EXPECT_EQ(nextFile(), fileBefore);

    const pid_t child = ::fork();
    if (child == 0) {
        std::thread([] {
            std::string line;
            while (line.find(") Z ") == std::string::npos)
                std::getline(std::ifstream("/proc/" + std::to_string(::getpid()) + "/stat"), line);
            _exit(lifeOf(currentProcess(), processSpace()) == ProcessLife::Running ? 0 : 1);
        }).detach();
        ::syscall(SYS_exit, 0);  // of this thread alone
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace tarn::platform
