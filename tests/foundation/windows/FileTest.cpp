#include "foundation/File.h"
#include "support/ScratchFolder.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using namespace tarn;

// Fault: a host that hangs, since a project's file names a port or a pipe.
TEST(WindowsFile, TakesNoDeviceForAFile) {
    const std::string pipe = R"(\\.\pipe\tarn test.wav)";
    const HANDLE end = ::CreateNamedPipeA(pipe.c_str(), PIPE_ACCESS_DUPLEX, 0, 1, 0, 0, 0, nullptr);
    ASSERT_NE(end, INVALID_HANDLE_VALUE);
    for (const std::string& path : {pipe, std::string(R"(\\?\pipe\tarn test.wav)"),
                                    std::string("NUL"), std::string("C:/con")})
        EXPECT_FALSE(File(path).exists()) << path;
    ::CloseHandle(end);
    const test::ScratchFolder folder;
    folder.write("x.wav", "1234");
    std::string path = folder.path("x.wav");
    std::replace(path.begin(), path.end(), '/', '\\');
    EXPECT_TRUE(File(R"(\\?\)" + path).exists()) << path;
}
