#include "editor/OpenEditor.h"

#include <sys/stat.h>

#include <cstdlib>

namespace tarn {
namespace {

struct LinkTest : test::EditorTest {};

// Faults: an address that isn't opened, another one, or one that the other button opens.
TEST_F(LinkTest, APressOfTheLeftButtonOpensThePage) {
    const std::string pipe = files.path("opened");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    files.write("xdg-open", "#!/bin/sh\nprintf '%s' \"$1\" >'" + pipe + "'\n");
    ASSERT_EQ(::chmod(files.path("xdg-open").c_str(), 0700), 0);
    ::setenv("PATH", (files.path() + ":" + std::getenv("PATH")).c_str(), 1);
    open(
        "<a class='URL' width='20' height='20' url='https://one.example'/>"
        "<b class='Quorl' y='40' width='20' height='20' url='https://two.example'/>");
    point(Pointer::RightDown, 5, 45);
    click(5, 5);
    EXPECT_EQ(files.read("opened"), "https://one.example");
    click(5, 45);
    EXPECT_EQ(files.read("opened"), "https://two.example");
}

}  // namespace
}  // namespace tarn
