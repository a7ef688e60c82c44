#include "editor/ControlPresetsPopup.h"
#include "editor/OpenEditor.h"
#include "foundation/Preferences.h"
#include "platform/FileSystem.h"

namespace tarn {
namespace {

using test::EditorTest;

std::string bank(const std::vector<const char*>& presets) {
    std::string text = "<dict>" + test::Header + "<programs>";
    for (const std::string name : presets)
        text += "<program><id value='id " + name + "'/><name value='" + name +
                "'/><modules/></program>";
    return text + "</programs></dict>";
}

class PresetsPopupTest : public EditorTest {
protected:
    PresetsPopupTest() : EditorTest(test::SettingsText, bank({"Init", "Pads/Warm"})) {
        openControls();
        desktop.text = [this](const platform::TextRequest& request) {
            proposed = request.text;
            EXPECT_EQ(request.area.right - request.area.left, 68);
            if (meanwhile)
                std::exchange(meanwhile, nullptr)();
            return typed;
        };
        platform::setDialogAnswers({[this](const platform::MessageRequest& request) {
                                        product.product->messages.push_back(request.text);
                                        EXPECT_TRUE(request.parented) << request.text;
                                        return answer;
                                    },
                                    [this](const platform::FileRequest&) {
                                        if (meanwhile)
                                            std::exchange(meanwhile, nullptr)();
                                        return platform::FileAnswer{file, 0};
                                    }});
    }

    void openControls() {
        open(
            "<p class='PresetsMenu' id='menu' width='80' height='20' background='#000000'/>"
            "<s class='PresetStep' id='back' step='-1' y='40' width='9' height='9'/>"
            "<s class='PresetStep' id='next' x='20' y='40' width='9' height='9'/>"
            "<m class='MenuButton' id='button' x='40' y='40' width='9' height='9'/>"
            "<n class='MenuButton' id='right' x='80' y='40' width='9' height='9'/>");
    }
    // All presets, the current one in brackets, with the value that is live.
    std::string presets() {
        std::string all;
        for (int i = 0; i < plugin.getPresetCount(); ++i) {
            const std::string name = plugin.getPreset(i)->getName(7);
            all += i == plugin.getCurrentIndex() ? "[" + name + "] " : name + " ";
        }
        return all + plugin.parameter("Volume").getText();
    }
    // The latter belongs to presets, the former tells that they were edited.
    void edit(float volume) {
        plugin.parameter("Cutoff").setNormalised(volume, FromUser);
        plugin.parameter("Volume").setNormalised(volume, FromUser);
    }
    std::string list(const std::string& wanted = {}) {
        return chooseAt(Pointer::LeftDown, 5, 5, wanted);
    }
    std::string choose(const std::string& wanted, const std::optional<std::string>& text = {}) {
        typed = text;
        chooseAt(Pointer::RightDown, 5, 5, wanted);
        return presets();
    }
    // Also what no entry leads to.
    std::string send(std::int32_t id) {
        chooseAt(Pointer::RightDown, 5, 5, "");
        ControlMessage choice(nullptr, ControlMessage::MenuChoice, {}, toPayload(id));
        probe<Control>("menu").handle(choice);
        return presets();
    }
    std::string takeMessages() {
        std::string all;
        for (const std::string& message : std::exchange(product.product->messages, {}))
            all += message + "\n";
        return all;
    }

    std::optional<std::string> typed;
    std::string proposed, file;
    platform::MessageAnswer answer = platform::MessageAnswer::Yes;
};

// Faults: a preset in the wrong folder, one that can't be found, another than the user saw.
TEST_F(PresetsPopupTest, TheListChoosesAmongFolders) {
    EXPECT_EQ(list(), "Init*,Pads[Warm,],");
    for (const char* const name :
         {"Pads/Far/Out", "Init/", "/Top", "a//b/", "a/b/c/d/e/f/g/h/i/j", "Pads/Last", ""})
        ASSERT_TRUE(plugin.addPreset(name));
    list("Out");
    EXPECT_TRUE(press('Z', {0x11}) && plugin.getCurrentIndex() == 8 && press('Y', {0x11}));
    EXPECT_EQ(plugin.getCurrentIndex(), 2);
    EXPECT_EQ(list("init 9"),
              "Init,Pads*[Warm,Far*[Out*,],Last,],Init/,Top,a[b/,b[c[d[e[f[g[h[i/j,],],],],],],],]"
              ",init 9,");
    EXPECT_EQ(plugin.getCurrentIndex(), 8);

    const auto deleteAt = [this](int index) {
        plugin.setProgram(index);
        EXPECT_TRUE(plugin.deleteCurrent());
    };
    meanwhile = [&] { deleteAt(2); };
    list("Last");
    EXPECT_EQ(plugin.getProgramName(plugin.getCurrentIndex()), "Last");
    meanwhile = [&] { deleteAt(6); };
    list("Last");
    EXPECT_EQ(plugin.getCurrentIndex(), 6);
    for (const std::int32_t id : {2001, 999, 1999, 2147483647, -1}) {
        send(id);
        EXPECT_EQ(plugin.getCurrentIndex(), 1) << id;
    }
    for (const auto& end : {std::function<void()>([this] { editor->close(); }),
                            std::function<void()>([this] { editor.reset(); })}) {
        meanwhile = end;
        list("Init");
        EXPECT_EQ(plugin.getCurrentIndex(), 1);
        if (editor) {
            ASSERT_TRUE(editor->open(nullptr, {}));
        }
    }
}

// Faults: a factory preset that is lost, edits that are lost or land in the wrong preset, an action
// on a preset that came meanwhile.
TEST_F(PresetsPopupTest, TheMenuActsOnTheCurrentPreset) {
    const auto offered = [this] {
        const std::string all = chooseAt(Pointer::RightDown, 5, 5, "");
        return all.substr(0, all.find("Preset library["));
    };
    const auto unchanged = window().shown;
    edit(0.75f);
    editor->idle();
    EXPECT_TRUE(window().shown != unchanged);
    EXPECT_EQ(offered(), "Rename preset-,Save preset as...,Revert to saved,Delete preset-,");
    EXPECT_EQ(choose("Rename preset", "x"), "[Init*] Pads/Warm 0.75");
    EXPECT_EQ(choose("Revert to saved"), "[Init] Pads/Warm 0.50");
    editor->idle();
    EXPECT_TRUE(window().shown == unchanged);
    edit(0.25f);
    EXPECT_EQ(choose("Save preset as...", " "), "[Init*] Pads/Warm 0.25");
    EXPECT_EQ(choose("Save preset as...", "Init"), "Init Pads/Warm [Init] 0.25");
    edit(0.75f);
    EXPECT_EQ(choose("Save preset as...", "Init"), "Init Pads/Warm [Init] 0.75");
    choose("Rename preset", "Own/Mine");
    EXPECT_EQ(choose("Rename preset", "New"), "Init Pads/Warm [Own/New] 0.75");
    EXPECT_EQ(proposed, "Mine");
    // With Ctrl.
    EXPECT_TRUE(press('Z', {0x11}) && presets() == "Init Pads/Warm [Own/Mine] 0.75");
    EXPECT_TRUE(press('Y', {0x11}) && presets() == "Init Pads/Warm [Own/New] 0.75");
    edit(1.0f);
    EXPECT_EQ(choose("Save preset as...", "More"), "Init Pads/Warm Own/New [Own/More] 1.0");
    EXPECT_TRUE(press('Z', {0x11}));
    EXPECT_EQ(presets(), "Init Pads/Warm [Own/New] Own/More 0.75");

    // Favourites change their places.
    for (const auto& [slot, index] : {std::pair(0, 1), {1, 2}, {100, 0}})
        plugin.setFavorite(slot, index);
    EXPECT_EQ(offered(),
              "Rename preset,Save preset as...,Delete preset,Store as favorite[1) Warm,2) New-,],");
    choose("1) Warm");
    EXPECT_EQ(plugin.getFavorite(0), 2);
    EXPECT_EQ(plugin.getFavorite(1), 1);

    // Of another preset than the menu was opened for, or the box.
    meanwhile = [this] { plugin.setProgram(3); };
    EXPECT_EQ(choose("Delete preset"), "Init Pads/Warm Own/New [Own/More] 1.0");
    const auto ask = desktop.text;
    desktop.text = [this, ask](const platform::TextRequest& request) {
        plugin.setProgram(2);
        return ask(request);
    };
    EXPECT_EQ(choose("Rename preset", "x"), "Init Pads/Warm [Own/New] Own/More 0.75");
    desktop.text = ask;
    EXPECT_EQ(choose("Delete preset"), "Init Pads/Warm [Own/More] 1.0");
    EXPECT_EQ(plugin.getFavorite(0), -1);
    EXPECT_EQ(choose("Delete preset"), "Init [Pads/Warm] 0.50");
    EXPECT_FALSE(plugin.deleteCurrent());
    EXPECT_EQ(send(1), "Init Pads/Warm [Pads/Warm copy] 0.50");
    edit(1.0f);
    EXPECT_EQ(send(5), "Init Pads/Warm [Pads/Warm copy*] 0.50");

    files.write("full.xml", bank(std::vector<const char*>(5000, "x")));
    std::string message;
    ASSERT_TRUE(plugin.loadFile(File(files.path("full.xml")), message));
    EXPECT_EQ(plugin.getPresetCount(), 4096);
    send(1000);
    EXPECT_EQ(takeMessages(), "There is no room for another preset.\n");
    choose("Save preset as...", "one too many");
    EXPECT_EQ(takeMessages(), "There is no room for another preset.\n");
}

// Faults: presets that a failed file takes along, a failure that nobody hears of, a question that
// isn't asked, an instance that ends under an open dialog.
TEST_F(PresetsPopupTest, FilesBringAndKeepAllPresets) {
    const std::string before = "[Init] Pads/Warm 0.50";
    EXPECT_EQ(choose("Load presets from file..."), before);
    file = files.path("missing.xml");
    EXPECT_EQ(choose("Load presets from file..."), before);
    EXPECT_EQ(takeMessages(), "The presets in " + file + " could not be read.\n");
    files.write("other.xml", bank({"One", "Two", "Three"}));
    file = files.path("other.xml");
    EXPECT_EQ(choose("Load presets from file..."), "[One] Two Three 0.50");

    edit(0.75f);
    file = files.path("no folder/saved.xml");
    EXPECT_EQ(choose("Save presets to file..."), "[One*] Two Three 0.75");
    EXPECT_EQ(takeMessages(), "The presets could not be written to " + file + ".\n");
    file = files.path("saved.xml");
    EXPECT_EQ(choose("Save presets to file..."), "[One] Two Three 0.75");
    EXPECT_FALSE(plugin.hasChanges());

    answer = platform::MessageAnswer::Cancel;
    edit(0.25f);
    EXPECT_EQ(choose("Restore factory presets"), "[One*] Two Three 0.25");
    EXPECT_NE(takeMessages().find("restore the factory presets"), std::string::npos);
    EXPECT_EQ(choose("Load presets from file..."), "[One] Two Three 0.75");
    EXPECT_EQ(choose("Restore factory presets"), "[Init] Pads/Warm Three 0.50");
    takeMessages();
    plugin.addPreset("x");
    const std::string changed = presets();
    EXPECT_EQ(choose("Restore factory presets"), changed);
    EXPECT_NE(takeMessages(), "");
    answer = platform::MessageAnswer::Yes;
    platform::removeFile(product.files.path("Sampler Resources/Factory Presets.xml"));
    const std::string left = presets();
    EXPECT_EQ(choose("Restore factory presets"), left);
    EXPECT_NE(takeMessages().find("could not be read"), std::string::npos);

    // What new instances begin with, from wherever it lies.
    file = files.path("default.xml");
    choose("Save as default presets...");
    EXPECT_EQ(test::StartedPlugin().getPresetCount(), plugin.getPresetCount());
    Preferences* const ownStore = Preferences::user();
    Preferences::setStores(Preferences::machine(), nullptr);
    send(11);
    EXPECT_NE(takeMessages().find("DefaultPresets"), std::string::npos);
    Preferences::setStores(Preferences::machine(), ownStore);

    for (const char* const action : {"Load presets from file...", "Save presets to file..."}) {
        plugin.setProgram(1);
        user = {action, {}};
        desktop.menu = [&](const std::vector<platform::MenuEntry>& entries, platform::Spot) {
            meanwhile = [this] { editor.reset(); };
            return user.choose(entries);
        };
        const std::string all = presets();
        point(Pointer::RightDown, 5, 5);
        EXPECT_EQ(editor, nullptr);
        EXPECT_EQ(presets(), all);
        editor = std::make_unique<test::TestedEditor>(plugin);
        openControls();
    }
    files.write("dropped.xml", bank({"Other", "More"}));
    plugin.importFile(File(files.path("dropped.xml")));  // the popup is compared at the end
}

// Faults: steps past the ends, a button without its menu, a menu that juts out of the window.
TEST_F(PresetsPopupTest, ButtonsStepAndOpenTheMenu) {
    ASSERT_TRUE(plugin.addPreset("Last"));
    editor->idle();
    for (const int expected : {0, 1, 2, 0}) {
        click(22, 42);
        EXPECT_EQ(plugin.getCurrentIndex(), expected);
    }
    click(2, 42);
    EXPECT_EQ(plugin.getCurrentIndex(), 2);
    EXPECT_EQ(editor->getUndoList().getUndoCount(), 5u);
    chooseAt(Pointer::LeftDown, 42, 42, "Show tooltips");
    EXPECT_FALSE(editor->getShowTooltips());
    EXPECT_EQ(desktop.menuSide, platform::MenuSide::Right);
    desktop.menu = [](const auto&, platform::Spot place) {
        EXPECT_EQ(std::pair(place.x, place.y), std::pair(89, 49));
        return std::nullopt;
    };
    click(82, 42);
    EXPECT_EQ(desktop.menuSide, platform::MenuSide::Left);
}

}  // namespace
}  // namespace tarn
