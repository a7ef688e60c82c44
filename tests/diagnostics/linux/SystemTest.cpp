#include "diagnostics/System.h"
#include "foundation/LogFolder.h"
#include "platform/Desktop.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>

using namespace tarn;
using test::ScratchFolder;

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
