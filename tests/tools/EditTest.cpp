// The host with the product's interface, played as its user would.
#include "platform/SystemWindow.h"
#include "tools/Tool.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

namespace tarn::test {
namespace {

using namespace testing;

ToolResult edit(const ToolFolder& folder, const std::string& script,
                const std::vector<std::string>& more = {},
                const std::string& plugin = PROGRAM_Brimtide) {
    folder.write("script.txt", script);
    std::vector<std::string> arguments = {"edit", plugin, "--script", folder / "script.txt"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(PROGRAM_brimtide_host, arguments);
}

// A copy of the plug-in that shows these controls too.
std::string pluginWith(const std::string& controls, const ToolFolder& folder) {
    const std::filesystem::path original = PROGRAM_Brimtide;
    std::filesystem::copy(original.parent_path() / "Brimtide", folder / "Brimtide",
                          std::filesystem::copy_options::recursive);
    std::filesystem::copy(original, folder / "Brimtide.dll");
    const std::string file = "Brimtide/Brimtide Resources/Controls.xml";
    std::string all = folder.read(file);
    folder.write(file, all.insert(all.find("<about "), controls));
    return folder / "Brimtide.dll";
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
                FieldsAre(1, _, HasSubstr("as Name where line 3 expects 'other'"), _));
    for (const char* const ends :
         {"click right 20 20\nwait 100\nclose\n", "click right 20 20\nwait 100\n",
          "double 200 110\nwait 200\ndestroy\n"})
        EXPECT_THAT(edit(folder, ends, {"--instances", "2"}), FieldsAre(0, _, "", _)) << ends;
    EXPECT_THAT(edit(folder, "close\nclose\nwait 20\n", {"--times", "20"}),
                FieldsAre(0, _, HasSubstr("20 openings"), _));
}

// Faults: a choice or a name that is lost between the system's menus and boxes and the presets; a
// file that is overwritten unasked, or not written without a word; presets that a failure takes
// along; edits that stay, or go unasked; a favourite that is another preset.
TEST(Edit, PresetsAreKeptThroughMenusBoxesAndDialogs) {
    if (!platform::hasWindows())
        GTEST_SKIP() << "this system has no windows";
    const ToolFolder folder;
    const std::string save = "'Preset library' 'Save presets to file...'",
                      load = "'Preset library' 'Load presets from file...'",
                      kept = "enter '" + (folder / "kept.xml") + "'",
                      locked = "enter '" + (folder / "locked.xml") + "'",
                      restore = "'Preset library' 'Restore factory presets'",
                      mute = "click left 100 220\nexpect Mute ",
                      preview = "click left 60 285\nkey up\nexpect Mute On\nkey escape\n";
    folder.write("locked.xml", "old");
    std::filesystem::permissions(folder / "locked.xml", std::filesystem::perms::owner_read);
    const std::tuple<const char*, std::string, std::string, std::string> choices[] = {
        {"right", "'Save preset as...'", "enter Voices/Lead", "Lead"},
        {"left", "'Send only'", "expect Mute On", "Send only"},
        {"left", "''", "", "Send only"},
        {"left", "Voices Lead", "", "Lead"},
        {"right", "'Rename preset'", "enter Solo\nkey ctrl+z\nexpect-program Lead\nkey ctrl+y",
         "Solo"},
        {"right", save, kept, "Solo"},
        {"right", "'Delete preset'", "", "Send only"},
        {"right", save, locked + "\nanswer yes Overwrite\nanswer ok 'not be written'", "Send only"},
        {"right", load, locked + "\nanswer ok 'not be read'", "Send only"},
        {"right", load, kept, "Send only"},
        {"left", "Voices Solo", mute + "On", "Solo"},
        {"right", "'Revert to saved'", "expect Mute Off", "Solo"},
        {"right", restore, "", "Solo"},  // there is nothing to ask about any more
        {"left", "'Send only'", "click shift+left 20 285\n" + mute + "Off", "Send only"},
        {"right", restore, "answer no 'not been saved'\nexpect Mute Off", "Send only"},
        {"right", restore, "answer yes 'not been saved'\nexpect Mute On", "Send only"},
        {"left", "Voices Solo", preview + "expect Mute Off\nclick left 20 285", "Send only"},
        {"left", "Voices Solo", "", "Solo"},
        {"right", "'Store as favorite' '1) Send only'", "", "Solo"},
        {"left", "'Send only'", "click left 20 285", "Solo"},
    };
    std::string script;
    for (const auto& [button, entry, then, program] : choices)
        script += std::string("click ") + button + " 290 28\nchoose " + entry + "\n" + then +
                  "\nexpect-program '" + program + "'\n";
    std::ranges::replace(script, '\'', '"');
    const std::string plugin = pluginWith(
        "<f class='FavoriteButton' on='0' x='0' y='270' width='40' height='30'/>"
        "<m class='PopupMenu' parameter='MuteOutput' x='40' y='270' width='40' height='30'/>",
        folder);
    EXPECT_THAT(edit(folder, script, {}, plugin), FieldsAre(0, _, "", _));
    EXPECT_THAT(edit(folder, "click right 20 20\nchoose Skins Nosuch"),
                FieldsAre(2, _, HasSubstr("no entry 'Nosuch'"), _));
    EXPECT_EQ(folder.read("locked.xml"), "old");
    std::filesystem::permissions(folder / "locked.xml", std::filesystem::perms::owner_all);
}

}  // namespace
}  // namespace tarn::test
