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
    EXPECT_EQ(std::tuple(scratch.read("preset"), scratch.entries()), std::tuple("old", 1));
}

// Faults: a link or permissions lost; a host that hangs because a preset's path leads to a pipe.
TEST(LinuxFile, KeepsLinksAndPermissionsWhenItSavesAndOpensNoPipe) {
    const test::ScratchFolder scratch;
    scratch.write("real", "old");
    ASSERT_EQ(::chmod(scratch.path("real").c_str(), 0640), 0);
    // To a file by its name, to one that isn't there yet by its path, and in a circle.
    const std::pair<std::string, std::string> links[] = {{"link", "real"},
                                                         {"second", scratch.path("dangling")},
                                                         {"dangling", "next"},
                                                         {"circle", "circle"}};
    for (const auto& [link, target] : links)
        std::filesystem::create_symlink(target, scratch.path(link));
    for (const auto& [link, target] : links) {
        EXPECT_EQ(File(scratch.path(link)).save("new"), link != "circle");
        EXPECT_TRUE(std::filesystem::is_symlink(scratch.path(link))) << link;
    }
    EXPECT_EQ(scratch.read("real") + scratch.read("next"), "newnew");
    EXPECT_EQ(std::filesystem::status(scratch.path("real")).permissions(),
              std::filesystem::perms(0640));

    File pipe(scratch.path("pipe"));
    ASSERT_EQ(::mkfifo(pipe.getPath().c_str(), 0600), 0);
    EXPECT_FALSE(pipe.exists() || pipe.openRead() || pipe.open(false) || pipe.save("new"));
    EXPECT_TRUE(std::filesystem::is_fifo(pipe.getPath()));
}
