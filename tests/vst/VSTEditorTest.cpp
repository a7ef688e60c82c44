#include "audio/Module.h"
#include "drawing/Pictures.h"
#include "editor/ControlHelp.h"
#include "editor/ControlLevelMeter.h"
#include "editor/ControlValueLED.h"
#include "link/BrimtidePluginInfo.h"
#include "link/ConnectionListener.h"
#include "plugin/Mission.h"
#include "support/Connections.h"
#include "support/HostedEffect.h"
#include "support/KeptPicture.h"
#include "support/Product.h"
#include "support/TestClock.h"
#include "vst/VSTPlugin.h"

#include <gmock/gmock.h>

#include <tuple>

namespace tarn {
namespace {

using namespace test;
using namespace testing;

using Pointer = platform::PointerEvent;
using Menu = std::vector<platform::MenuEntry>;

std::string edits;  // what the host was told, as in "begin1 set1 end1 ", with the parameter
std::function<void(const std::string& edit)> duringEdit;

VstIntPtr VSTCALLBACK host(AEffect*, VstInt32 opcode, VstInt32 index, VstIntPtr, void*, float) {
    const std::map<VstInt32, std::string> names = {
        {audioMasterBeginEdit, "begin"}, {audioMasterAutomate, "set"}, {audioMasterEndEdit, "end"}};
    if (const auto edit = names.find(opcode); edit != names.end()) {
        edits += edit->second + std::to_string(index) + " ";
        if (duringEdit)
            duringEdit(edit->second);
    }
    return opcode == audioMasterGetInputLatency ? 321 : 0;
}

// A file of the product's that holds this.
std::string document(const std::string& content) {
    return "<dict><info creator='Brimtide' version='1.2.0'/><file-format value='0.7'/>" + content +
           "</dict>";
}

// What stands between two texts, each time.
std::vector<std::string> between(const std::string& text, const std::string& begin,
                                 const std::string& end) {
    std::vector<std::string> found;
    for (std::size_t at = 0; (at = text.find(begin, at)) != std::string::npos;) {
        at += begin.size();
        found.push_back(text.substr(at, text.find(end, at) - at));
    }
    return found;
}

// Of the entry of that text, if there is one.
std::optional<std::int32_t> idOf(const std::string& text, const Menu& entries) {
    for (const platform::MenuEntry& entry : entries)
        if (const auto below = idOf(text, entry.entries); below || entry.text == text)
            return below ? below : std::optional(entry.id);
    return std::nullopt;
}

// An instance until the test ends, or ended it.
struct Loaded : HostedEffect {
    Loaded() : HostedEffect(make()) {}
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;
    ~Loaded() { end(); }
    static AEffect* make() {
        Mission::get().start();
        const IOConfig stereo(IOPinConfig(2, 1), IOPinConfig(2, 1));
        return (new VSTPlugin(0, host, stereo))->getAeffect();
    }
    Editor& editor() const {
        auto* const plugin = static_cast<AudioEffect*>(record->object);
        return dynamic_cast<Editor&>(*static_cast<VSTPlugin*>(plugin)->HostInterface::getEditor());
    }
    Parameter& parameter(const char* id) const {
        return *editor().getModule()->settings().find(id, 0);
    }
    void choose(const char* id, float normalised) const {
        parameter(id).setNormalised(normalised, FromUser);
    }
    int width() const {
        ERect* rect = nullptr;
        EXPECT_EQ(call(effEditGetRect, 0, 0, &rect), 1);
        EXPECT_TRUE(rect->left == 0 && rect->top == 0);
        return rect->right;
    }
    bool open() { return call(effEditOpen, 0, 0, this) != 0; }  // its address is the host's window
    void end() {
        if (!std::exchange(isEnded, true))
            call(effClose);
    }
    /// As their timers do it.
    template <typename Meter>
    void tickMeters() const {
        TimerMessage timer(nullptr, TimerMessage::Tick, fourCharacterCode("CVUt"), 0);
        for (Control* const control : editor().getControls())
            if (dynamic_cast<Meter*>(control) != nullptr)
                control->handle(timer);
    }

    bool isEnded = false;
};

// A host with windows, in memory.
class HostedEditor : public testing::Test {
protected:
    platform::OffscreenDesktop::Window& window() { return *desktop.windows().back(); }
    void click(Pointer down, Pointer up, std::int32_t x, std::int32_t y) {
        platform::OffscreenDesktop::Window& clicked = window();
        const auto keep = clicked.shared_from_this();
        desktop.point(clicked, down, {x, y});
        if (clicked.owner != nullptr)
            desktop.point(clicked, up, {x, y});
    }
    void openMenu() { click(Pointer::RightDown, Pointer::RightUp, 5, 5); }
    /// Has the user choose the entry of that text from the menu.
    void choose(const std::string& text) {
        desktop.menu = [text](const Menu& entries, auto) { return idOf(text, entries); };
        openMenu();
    }

    platform::OffscreenDesktop desktop;
    const std::unique_ptr<Product> product = Product::of<BrimtidePluginInfo>(BUILT_PRODUCT);
};

// In all states, each at the size at which it is easiest looked at. Faults: a text, a lamp or a
// level in the wrong place or colour, an image that is missing or blurred.
TEST_F(HostedEditor, PictureOfEveryState) {
    const TestClock clock(1000.0);
    Loaded effect;
    effect.call(effSetSampleRate, 0, 0, nullptr, 48'000.0f);
    effect.run();
    std::unique_ptr<ConnectionListener> listener;
    const auto tick = [this](float seconds) {
        TestClock::pass(seconds);
        window().owner->tick();
    };
    const auto show = [&](const std::string& name, float scale = 2.0f, const Channel& peaks = {}) {
        desktop.scale = scale;
        if (listener)
            listener->beat();  // a receiver that is silent for long counts as gone
        ASSERT_TRUE(effect.open());
        for (const float peak : peaks) {
            effect.play(Channel(64, peak));
            tick(0.05f);
            // Those of the real timer, which come whenever they do, change nothing more.
            effect.tickMeters<ControlLevelMeter>();
        }
        tick(0.0f);
        EXPECT_TRUE(keepsItsPicture(effect.editor()));
        expectPicture(*effect.editor().getCanvas()->getPixels(), name);
        effect.call(effEditClose);
    };
    show("dark-waiting");
    listener = std::make_unique<ConnectionListener>(0);
    effect.parameter("BrimtideID").setText("Lead vocal", FromUser);
    std::vector<float> levels(16, 0.33f);
    levels.front() = 0.7f;
    for (const float scale : {1.0f, 1.5f, 2.0f, 3.0f})
        show("dark-" + std::to_string(static_cast<int>(100 * scale)), scale, levels);
    effect.choose("MuteOutput", 1.0f);
    show("dark-muted-clipped", 2.0f, {1.23f, 0.95f, 0.95f, 0.95f});
    effect.choose("ShowAbout", 1.0f);
    show("dark-about");
    for (const char* const id : {"ShowAbout", "MuteOutput"})
        effect.choose(id, 0.0f);
    for (const float reset : {1.0f, 0.0f})
        effect.choose("ResetPeak", reset);
    ASSERT_TRUE(effect.open());
    choose("Light");
    effect.call(effEditClose);
    show("light-200", 2.0f, levels);
    std::vector<std::unique_ptr<IOBridge<float>>> others;
    for (std::uint32_t slot = 0; slot < ConnectionSlots; ++slot)
        others.push_back(makeSender());
    Loaded unconnected;
    ASSERT_TRUE(unconnected.open());
    tick(0.0f);
    expectPicture(*unconnected.editor().getCanvas()->getPixels(), "light-no-connection");
}

// What docs/skins.md tells, as an interface. Faults: an example that doesn't load, a class that is
// told and not there, or draws nothing.
TEST_F(HostedEditor, PictureOfThePageOnSkins) {
    const TestClock clock(1000.0);
    std::string page, classes;
    ASSERT_TRUE(File(DOCS "/skins.md").contents(page, std::size_t{1} << 20));
    const ScratchFolder files;
    Loaded effect;
    effect.run();
    Editor& editor = effect.editor();
    const auto show = [&](const std::string& controls) {
        files.write("Controls.xml", controls);
        ASSERT_TRUE(editor.loadControls(File(files.path("Controls.xml"))).isOk());
        ASSERT_TRUE(effect.open());
        effect.play(Channel(64, 0.75f));
        window().owner->tick();
        clock.pass(0.05);
        effect.tickMeters<ControlVUMeter>();
        editor.getHelpControl()->setVisible(!editor.getHelpControl()->getText().empty());
        window().owner->tick();
    };
    show(between(page, "```xml\n", "```").front());
    expectPicture(*editor.getCanvas()->getPixels(), "skin-example");
    effect.call(effEditClose);

    ASSERT_TRUE(File(TESTS "/Classes.xml").contents(classes, std::size_t{1} << 20));
    const auto names = between(page.substr(page.find("## The classes")), "\n| `", "`");
    EXPECT_EQ(between(classes, "\n<a class='", "'"), names);
    effect.choose("ShowAbout", 1.0f);
    show(classes);
    constexpr int Margin = 4, Step = 60;
    for (Control* const control : editor.getControls()) {
        const Rect rect = control->getRect();
        if (rect.left != Margin)
            continue;
        const Rect cut{0, 0, rect.width() + 2 * Margin, rect.height() + 2 * Margin};
        Canvas one(cut);
        one.beginFrame(cut);
        one.copyFrom(*editor.getCanvas(), cut.movedBy(rect.topLeft() - Point{Margin, Margin}), cut);
        expectPicture(*one.getPixels(), names.at(static_cast<std::size_t>(rect.top / Step)),
                      PICTURES "/classes");
    }
}

// With the longest texts that there can be. Faults: a text that runs into its neighbour or is cut;
// a tooltip that the status line has no room for.
TEST_F(HostedEditor, TextsFitAtEverySize) {
    Loaded effect;
    const std::map<std::string, std::vector<std::string>> longest = {
        {"LinkState",
         {"Shared memory is refused", "The host sends no audio", "Sending, 32 receivers",
          "No audio, 32 receivers"}},
        {"LatencyText", {"Host latency 99999 samples, 2267.6 ms"}},
        {"PeakText", {"-119.9", "+771.0", "-\u221e"}},
        {"BrimtideChannel", {"32"}},
        {"MuteOutput", {"Output muted, still sending"}},
    };
    for (const std::string other : {"Light", "default"})
        for (const float scale : {1.0f, 1.5f, 2.0f, 3.0f}) {
            desktop.scale = scale;
            ASSERT_TRUE(effect.open());
            const auto& controls = effect.editor().getControls();
            const auto status = std::ranges::find(controls, std::string("special::textdisplay"),
                                                  &Control::getControlId);
            ASSERT_NE(status, controls.end());
            for (Control* const control : controls) {
                const Rect rect = control->getLocalRect();
                const auto fits = [&](const std::string& text, int room, const Control& shownBy) {
                    EXPECT_LE(shownBy.measureText(text).x, room) << text << " at " << scale;
                };
                fits(control->getTooltip(), (*status)->getLocalRect().width(), **status);
                if (const auto* const text = dynamic_cast<ControlText*>(control);
                    text != nullptr && control->getControlId().empty()) {
                    fits(text->getText(), rect.width(), *text);
                    EXPECT_LE(text->measureText(text->getText()).y, rect.height());
                }
                const auto texts = longest.find(control->getParameterName());
                if (texts != longest.end() && dynamic_cast<ControlValueLED*>(control) == nullptr)
                    for (const std::string& text : texts->second)
                        fits(text, rect.width(), *control);
            }
            if (scale == 3.0f)
                choose(other);
            effect.call(effEditClose);
        }
}

// Faults: a choice that is lost, that changes an open window, or that a nonsense preference makes
// for the user.
TEST_F(HostedEditor, TakesTheSizeThatTheUserWants) {
    Loaded effect;
    for (const auto& [entry, before, after] :
         {std::tuple("200 %", 520, 1040), {"As the screen", 1040, 520}}) {
        ASSERT_TRUE(effect.open());
        choose(entry);
        EXPECT_EQ(effect.width(), before);
        effect.call(effEditClose);
        EXPECT_EQ(effect.width(), after);
    }
    for (const bool isShown : {true, false}) {
        Preferences::user()->setBool("ShowCPUMeters", isShown);
        EXPECT_EQ(effect.width(), isShown ? 520 + 160 : 520) << "as the window will be";
    }
    for (const auto& [percent, width] : {std::pair(49, 520), {50, 260}, {400, 2080}, {401, 520}}) {
        effect.editor().setSize(percent);
        EXPECT_EQ(effect.width(), width);
    }
}

// Fault: a skin that can't be left, since nothing is shown in which to choose another one.
TEST_F(HostedEditor, ABrokenSkinGivesWayToTheDefaultOne) {
    const ScratchFolder copy;
    const std::string path = copy.path(), resources = "Brimtide Resources/";
    std::filesystem::copy(BUILT_PRODUCT, std::u8string(path.begin(), path.end()),
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::overwrite_existing);
    copy.write(resources + "Skins/Broken/info.xml",
               document("<name value='Broken'/><uid value='broken.one'/>"));
    copy.write(resources + "Skins/Broken/Controls.xml", "<dict>");
    const auto own = Product::of<BrimtidePluginInfo>(copy.path());
    Loaded effect;
    for (int times = 1; times <= 2; ++times) {
        ASSERT_TRUE(effect.open());
        EXPECT_EQ(effect.width(), 520);
        own->messages.clear();
        choose("Broken");
        effect.call(effEditClose);
        EXPECT_THAT(own->messages, ElementsAre(HasSubstr("re-open"), HasSubstr("\"Broken\"")));
    }
    std::string kept;
    EXPECT_TRUE(Preferences::user()->getString("DefaultSkin", kept));
    EXPECT_EQ(kept, "broken.one") << "the user's choice, whose file may be mended";
    copy.write(resources + "Controls.xml", "<dict>");
    ASSERT_TRUE(effect.open());
    openMenu();
    effect.call(effEditClose);
    Loaded bare;
    EXPECT_FALSE(effect.open() || bare.open());
    EXPECT_TRUE((effect.record->flags & effFlagsHasEditor) != 0);
    EXPECT_FALSE((bare.record->flags & effFlagsHasEditor) != 0);
    EXPECT_THAT(own->messages, Contains(HasSubstr("no editor will be available")).Times(1));
}

// Faults: a change that isn't shown; a broken file that takes the interface away, that isn't told
// of, or that is told of once it is mended.
TEST_F(HostedEditor, ShowsWhatAMakerSavesMeanwhile) {
    const ScratchFolder folder;
    folder.write("Settings.xml", document("<parameters/>"));
    folder.write("Resources.xml", document("<bitmaps><ground filename='a.png'/></bitmaps>"));
    // Until the file system tells the change from the one before.
    const auto save = [&folder](std::string name, const std::string& content) {
        name = "Brimtide Resources/" + name;
        const File file(folder.path(name));
        const std::int64_t before = file.getChangeStamp();
        do
            folder.write(name, content);
        while (file.getChangeStamp() == before);
    };
    const std::string image = "Images/a.png", list = "Controls.xml";
    const auto shade = [](char grey) {
        std::string rgba;
        while (rgba.size() < 40 * 20 * 4)
            rgba += std::string(3, grey) + '\xFF';
        return pngFile(40, 20, rgba);
    };
    const auto holding = [](const std::string& more) {
        return document(
            "<controls>\n<a class='Background' id='special::background' width='40' height='20' "
            "background='ground'><controls>\n<s class='Text' id='special::textdisplay' width='1' "
            "height='1'/>\n" +
            more + "</controls></a></controls>");
    };
    save(image, shade(10));
    save(list, holding(""));
    const auto own = Product::of<BrimtidePluginInfo>(folder.path());
    ASSERT_TRUE(own->store.openUser().setBool("ReloadSkin", true).isOk());
    Loaded effect;
    ASSERT_TRUE(effect.open());
    // The shade of the ground, and what the status line says.
    const std::tuple<std::string, std::string, std::string> saves[] = {
        {image, shade(30), "29 Brimtide 1.2.0"},
        {image, "no image", "29 .*a.png can't be shown"},
        {image, shade(50), "49 Brimtide 1.2.0"},
        {list, holding("<b class='Knobb'/>"),
         "49 Controls.xml, line 4: Unknown control type Knobb<>.*"},
        {list, holding(""), "49 Brimtide 1.2.0"}};
    for (const auto& [file, content, shown] : saves) {
        save(file, content);
        for (int i = 0; i < 5; ++i)
            window().owner->tick();
        const Editor& editor = effect.editor();
        const auto& status = dynamic_cast<ControlText&>(*editor.getControls().back());
        const int green = editor.getCanvas()->getPixels()->row(0)[35 * 4 + 1];
        EXPECT_THAT(std::to_string(green) + " " + status.getText(), MatchesRegex(shown));
    }
}

// Faults: a key of the host's that means another one here, or is used up where nothing wants it; a
// rename that can't be undone; an edit that the host doesn't hear of; a preset's former name on the
// screen.
TEST_F(HostedEditor, TakesTheHostsKeys) {
    Loaded effect;
    const auto key = [&](VstInt32 opcode, VstInt32 character, VstIntPtr code, float modifiers) {
        return effect.call(opcode, character, code, nullptr, modifiers);
    };
    const auto name = [&] { return effect.parameter("BrimtideID").getText(); };
    constexpr float Shift = 1, Alternate = 2, Command = 4, Control = 8;
    constexpr VstIntPtr Tab = 2, Return = 4, Escape = 6, Space = 7;
    EXPECT_EQ(key(effEditKeyDown, 0, Tab, 0), 0);
    EXPECT_EQ(effect.call(effEditGetRect), 0);
    ASSERT_TRUE(effect.open());
    window().owner->tick();
    const std::vector<std::uint8_t> shownBefore = window().shown;
    std::string preset = "Other";
    effect.call(effSetProgramName, 0, 0, preset.data());
    window().owner->tick();
    EXPECT_NE(window().shown, shownBefore);
    EXPECT_TRUE(keepsItsPicture(effect.editor()));
    const std::string before = name(), after = "Lead vocal";
    const std::tuple<VstInt32, VstIntPtr, float, bool, std::string> keys[] = {
        {' ', 0, 0, false, before},
        {'\t', 0, Alternate, false, before},
        {0, Return, 0, true, after},
        {'z', 0, 0, false, after},
        {'z', 0, Control, true, before},
        {'Y', 0, Command, true, after},
        {26, 0, Control, true, before},
        {26, 0, Command + Shift, true, after},
        {'z', 0, Control + Alternate, false, after},
        {0, 200, Control, false, after},
        {0, Escape, 0, true, after},
        {'\r', 0, 0, false, after},
    };
    const auto goToName = [&] {  // past the buttons of the upper edge
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(key(effEditKeyDown, 0, Tab, 0), 1);
    };
    desktop.text = [&](const platform::TextRequest& request) {
        EXPECT_FALSE(request.fontFiles.empty());
        return after;
    };
    EXPECT_EQ(key(effEditKeyDown, 0, Space, 0), 0);
    goToName();
    edits.clear();
    int row = 0;
    for (const auto& [character, code, modifiers, isUsed, shown] : keys) {
        EXPECT_EQ(key(effEditKeyDown, character, code, modifiers), isUsed) << row;
        EXPECT_EQ(key(effEditKeyUp, character, code, modifiers), isUsed) << row;
        EXPECT_EQ(name(), shown) << row++;
    }
    EXPECT_THAT(edits, ContainsRegex("begin0 .*end0 "));
    goToName();
    desktop.text = [&](const platform::TextRequest&) {
        effect.end();
        return "late";
    };
    EXPECT_EQ(key(effEditKeyDown, 0, Return, 0), 1);
}

// Faults: a value that the host hears before the edit, an edit of nothing, an arrow key that can't
// be undone, a value that stays though nobody can hold its button any more.
TEST_F(HostedEditor, EditsReachTheHostInOrder) {
    const ScratchFolder files;
    Loaded effect;
    const std::string shown = "parameter='MuteOutput' width='20' height='20'/>";
    files.write(
        "Controls.xml",
        document("<controls><c class='Background' id='special::background' width='60' height='20'>"
                 "<controls><a class='Button' pushbutton='true' " +
                 shown + "<b class='Text' x='30' editable='false' " + shown +
                 "</controls></c></controls>"));
    ASSERT_TRUE(effect.editor().loadControls(File(files.path("Controls.xml"))).isOk());
    ASSERT_TRUE(effect.open());
    const auto point = [&](Pointer event, int x) { desktop.point(window(), event, {x, 5}); };
    const auto wheel = [&](int x, int delta) { window().owner->wheel({x, 5}, delta); };
    const std::pair<std::function<void()>, std::string> steps[] = {
        {[&] { click(Pointer::LeftDown, Pointer::LeftUp, 5, 5); }, "begin1 set1 set1 end1 "},
        {[&] { window().owner->key(0x26, 0, true); }, "begin1 set1 end1 "},
        {[&] { effect.call(effEditKeyDown, 'z', 0, nullptr, 8); }, "begin1 set1 end1 "},
        {[&] { point(Pointer::Move, 35); }, ""},
        {[&] { wheel(35, 120); }, ""},
        {[&] { point(Pointer::LeftDown, 5); }, "begin1 set1 "},
        {[&] { wheel(5, -120); }, "set1 "},
        {[&] { wheel(5, 120); }, "set1 "},
        {[&] { effect.call(effEditClose); }, "set1 end1 "},
    };
    int row = 0;
    for (const auto& [act, expected] : steps) {
        edits.clear();
        act();
        EXPECT_EQ(edits, expected) << row++;
    }
    EXPECT_EQ(effect.get(1), 0.0f);
}

// Faults: what waits for the user outlives the window, the instance or the host's own window;
// windows that are left behind; audio of another instance that stops meanwhile.
TEST_F(HostedEditor, EndsWhereverTheHostEndsIt) {
    for (const std::string end : {"close", "delete", "destroy"})
        for (const std::string moment :
             {"menu", "text", "box", "drop", "none", "begin", "set", "end"}) {
            Loaded effect, beside;
            ASSERT_TRUE(beside.open() && effect.open());
            effect.run();
            beside.run();
            bool isEnded = false;
            const auto at = [&](const std::string& present) {
                if (present != moment || std::exchange(isEnded, true))
                    return;
                if (end == "close")
                    effect.call(effEditClose);
                else if (end == "delete")
                    effect.end();
                else
                    desktop.destroyParent(window());
                EXPECT_TRUE(beside.passesAudio());
            };
            duringEdit = at;
            desktop.menu = [&](const Menu& entries, auto) {
                at("menu");
                return isEnded ? std::nullopt : idOf("100 %", entries);
            };
            desktop.text = [&](const auto&) {
                at("text");
                return "text";
            };
            const auto answer = [&](const auto&) {
                at("box");
                at("drop");
                return platform::MessageAnswer::Ok;
            };
            platform::setDialogAnswers({answer, {}});
            at("none");
            if (moment == "drop")
                window().owner->drop({{"no preset"}, std::nullopt}, {5, 5});
            else if (moment == "text")
                desktop.point(window(), Pointer::LeftDouble, {200, 110});
            else if (moment == "menu" || moment == "box")
                openMenu();
            else if (moment != "none")
                click(Pointer::LeftDown, Pointer::LeftUp, 60, 220);
            duringEdit = nullptr;
            EXPECT_EQ(desktop.windows().size(), 1u) << moment;
            if (end != "delete")
                effect.call(effEditClose);
            effect.end();
            beside.end();
            EXPECT_TRUE(isEnded && desktop.windows().empty()) << moment;
        }
}

}  // namespace
}  // namespace tarn
