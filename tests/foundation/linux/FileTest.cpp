#include "foundation/File.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

using namespace tarn;

// Fault: a full disk costs the old content, or leaves rubbish in the folder.
TEST(LinuxFile, KeepsTheOldContentWhenTheNewOneCannotBeWritten) {
    const test::ScratchFolder scratch;
    scratch.write("preset", "old");
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit little{1000, limit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &little);
    EXPECT_FALSE(File(scratch.path("preset")).save(std::string(100'000, 'x')));
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(scratch.read("preset"), "old");
    EXPECT_EQ(scratch.entries(), 1);
}
