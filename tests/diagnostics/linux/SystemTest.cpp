#include "diagnostics/System.h"
#include "foundation/LogFolder.h"
#include "platform/Desktop.h"
#include "platform/Folders.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

using namespace tarn;
using test::ScratchFolder;

TEST(LinuxSystem, FoldersAreThoseOfTheDesktop) {
    using enum platform::KnownFolder;
    using platform::knownFolderPath;
    const ScratchFolder home;
    ::setenv("HOME", home.path().c_str(), 1);
    ::setenv("XDG_STATE_HOME", "relative/is/ignored", 1);
    ::unsetenv("XDG_CONFIG_HOME");
    ::setenv("XDG_DATA_DIRS", ":relative:/data/first/:/data/second", 1);
    EXPECT_EQ(knownFolderPath(CommonApplicationData), "/data/first");
    EXPECT_EQ(knownFolderPath(LocalApplicationData), home.path(".local/state"));
    EXPECT_EQ(home.entries(), 0);
    knownFolderPath(LocalApplicationData, true);
    EXPECT_TRUE(std::filesystem::is_directory(home.path(".local/state")));

    const std::pair<std::string, std::string> documents[] = {
        {"\"\n# xdg\nXDG_DOCUMENTS_DIR=\"$HOME/Документы\"\n", home.path("Документы")},
        {"/else/where\"", "/else/where"},
        {"", home.path("Documents")},
        {"relative\"", home.path("Documents")},
        {"$HOME/\"", home.path("Documents")}};
    for (const auto& [setting, expected] : documents) {
        home.write(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"" + setting);
        EXPECT_EQ(knownFolderPath(Documents), expected);
    }
    ::unsetenv("HOME");
    EXPECT_EQ(knownFolderPath(LocalApplicationData),
              std::string(::getpwuid(::getuid())->pw_dir) + "/.local/state");
}

// Faults: a skin's address starts a program, or is read by a shell; a success that is taken for a
// failure, or the other way round.
TEST(LinuxSystem, HandsOnlyWebAndMailAddressesToTheBrowser) {
    const ScratchFolder scratch;
    const std::string pipe = scratch.path("opened");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    scratch.write("xdg-open", "#!/bin/sh\nprintf '%s|%s' \"$1\" \"$2\" >'" + pipe + "'\n");
    ASSERT_EQ(::chmod(scratch.path("xdg-open").c_str(), 0700), 0);
    ::setenv("PATH", (scratch.path() + ":" + std::getenv("PATH")).c_str(), 1);
    for (const char* refused : {"file:///bin/sh", "/bin/sh", "http", "javascript:x", "", "--help"})
        System::openURL(refused);
    System::openURL("HTTPS://example.com/?a=$(id)&b='\"; c");
    EXPECT_EQ(scratch.read("opened"), "HTTPS://example.com/?a=$(id)&b='\"; c|");

    std::signal(SIGCHLD, SIG_IGN);  // as some hosts do
    EXPECT_TRUE(platform::openAddress("mailto:us"));
    std::signal(SIGCHLD, SIG_DFL);
    EXPECT_EQ(scratch.read("opened"), "mailto:us|");

    LogFolder product;
    product.open(LogDetail);
    std::filesystem::remove(scratch.path("xdg-open"));
    std::filesystem::create_symlink("/bin/sh", scratch.path("sh"));
    for (const std::string& folder : {scratch.path(), scratch.path("nowhere")}) {
        ::setenv("PATH", folder.c_str(), 1);
        System::openURL("mailto:a@b");
    }
    EXPECT_EQ(product.lines(), std::vector<std::string>(2, "could not open mailto:a@b"));
}
