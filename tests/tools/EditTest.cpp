// The host with the product's interface, played as its user would.
#include "platform/SystemWindow.h"
#include "tools/Tool.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

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

// Faults: a choice or a name that is lost between the system's menus and boxes and the presets; a
// file that is overwritten unasked, or not written without a word; presets that a failure takes
// along.
TEST(Edit, PresetsAreKeptThroughMenusBoxesAndDialogs) {
    if (!platform::hasWindows())
        GTEST_SKIP() << "this system has no windows";
    const ToolFolder folder;
    const std::string save = "'Preset library' 'Save presets to file...'",
                      load = "'Preset library' 'Load presets from file...'",
                      kept = "enter '" + (folder / "kept.xml") + "'",
                      locked = "enter '" + (folder / "locked.xml") + "'";
    folder.write("locked.xml", "old");
    std::filesystem::permissions(folder / "locked.xml", std::filesystem::perms::owner_read);
    const struct {
        const char* button;
        std::string entry, then, program;
    } choices[] = {
        {"right", "'Save preset as...'", "enter Voices/Lead", "Lead"},
        {"left", "'Send only'", "expect Mute On", "Send only"},
        {"left", "'No such entry'", "", "Send only"},
        {"left", "Voices Lead", "", "Lead"},
        {"right", "'Rename preset'", "enter Solo\nkey ctrl+z\nexpect-program Lead\nkey ctrl+y",
         "Solo"},
        {"right", save, kept, "Solo"},
        {"right", "'Delete preset'", "", "Send only"},
        {"right", save, locked + "\nanswer yes Overwrite\nanswer ok 'not be written'", "Send only"},
        {"right", load, locked + "\nanswer ok 'not be read'", "Send only"},
        {"right", load, kept, "Send only"},
        {"left", "Voices Solo", "", "Solo"},
    };
    std::string script;
    for (const auto& [button, entry, then, program] : choices)
        script += std::string("click ") + button + " 290 28\nchoose " + entry + "\n" + then +
                  "\nexpect-program '" + program + "'\n";
    std::ranges::replace(script, '\'', '"');
    EXPECT_THAT(edit(folder, script), FieldsAre(0, _, "", _));
    EXPECT_EQ(folder.read("locked.xml"), "old");
    std::filesystem::permissions(folder / "locked.xml", std::filesystem::perms::owner_all);
}

}  // namespace
}  // namespace tarn::test
