// The host with the product's interface, played as its user would.
#include "platform/SystemWindow.h"
#include "tools/Tool.h"

#include <gmock/gmock.h>

namespace tarn::test {
namespace {

using testing::_;
using testing::FieldsAre;
using testing::HasSubstr;

ToolResult edit(const ToolFolder& folder, const std::string& script,
                const std::vector<std::string>& more = {}) {
    folder.write("script.txt", script);
    std::vector<std::string> arguments = {"edit", PROGRAM_Brimtide, "--script",
                                          folder / "script.txt"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(PROGRAM_brimtide_host, arguments);
}

// Faults: an interface that hears nothing of its user, or whose edits don't reach the plug-in; one
// that ends the host when it is ended from within a menu, a box or its own window; what it leaves
// behind; and a host that claims what it didn't see.
TEST(Edit, PlaysTheUserOfTheInterface) {
    const ToolFolder folder;
    if (!platform::hasWindows()) {
        EXPECT_THAT(edit(folder, "wait 20"), FieldsAre(3, _, HasSubstr("has no interface"), _));
        return;
    }
    const std::string rename = "double 200 110\nwait 200\ntype \"Lead 7\"\nkey return\nwait 100\n";
    EXPECT_THAT(edit(folder, rename + "expect Name \"Lead 7\"\nscreenshot " + (folder / "a.png")),
                FieldsAre(0, _, "", _));
    EXPECT_GT(folder.read("a.png").size(), 1000u);
    EXPECT_THAT(edit(folder, "close\nopen\nexpect Name other\n"),
                FieldsAre(1, _, HasSubstr("line 3 expected Name to be 'other'"), _));
    for (const char* const ends :
         {"click right 20 20\nwait 100\nclose\n", "click right 20 20\nwait 100\n",
          "double 200 110\nwait 200\ndestroy\n"})
        EXPECT_THAT(edit(folder, ends, {"--instances", "2"}), FieldsAre(0, _, "", _)) << ends;
    EXPECT_THAT(edit(folder, "close\nclose\nwait 20\n", {"--times", "20"}),
                FieldsAre(0, _, HasSubstr("20 openings"), _));
}

}  // namespace
}  // namespace tarn::test
