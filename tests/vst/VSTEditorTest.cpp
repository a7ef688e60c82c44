#include "audio/Module.h"
#include "drawing/Pictures.h"
#include "drawing/PngFile.h"
#include "editor/ControlHelp.h"
#include "editor/ControlLevelMeter.h"
#include "editor/ControlText.h"
#include "editor/ControlValueLED.h"
#include "editor/Editor.h"
#include "foundation/Preferences.h"
#include "link/BrimtidePluginInfo.h"
#include "link/ConnectionListener.h"
#include "parameters/Parameter.h"
#include "parameters/Settings.h"
#include "platform/SystemWindow.h"
#include "plugin/Mission.h"
#include "support/Connections.h"
#include "support/HostedEffect.h"
#include "support/KeptPicture.h"
#include "support/Product.h"
#include "support/TestClock.h"
#include "vst/VSTPlugin.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

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

// A host with windows, in memory, and the instances that it has loaded.
class HostedEditor : public testing::Test {
protected:
    HostedEditor() { edits.clear(); }

    static HostedEffect load() {
        Mission::get().start();
        const IOConfig stereo(IOPinConfig(2, 1), IOPinConfig(2, 1));
        return HostedEffect((new VSTPlugin(0, host, stereo))->getAeffect());
    }
    static Editor& editorOf(const HostedEffect& effect) {
        auto* const plugin = static_cast<AudioEffect*>(effect.record->object);
        return dynamic_cast<Editor&>(*static_cast<VSTPlugin*>(plugin)->HostInterface::getEditor());
    }
    static int widthOf(const HostedEffect& effect) {
        ERect* rect = nullptr;
        EXPECT_EQ(effect.call(effEditGetRect, 0, 0, &rect), 1);
        EXPECT_TRUE(rect->left == 0 && rect->top == 0);
        return rect->right;
    }
    static Parameter& parameter(const HostedEffect& effect, const char* id) {
        return *editorOf(effect).getModule()->settings().find(id, 0);
    }
    bool open(const HostedEffect& effect) { return effect.call(effEditOpen, 0, 0, &parent) != 0; }
    platform::OffscreenDesktop::Window& window() { return *desktop.windows().back(); }
    void click(Pointer down, Pointer up, std::int32_t x, std::int32_t y) {
        platform::OffscreenDesktop::Window& clicked = window();
        const auto keep = clicked.shared_from_this();
        desktop.point(clicked, down, {x, y});
        if (clicked.owner != nullptr)
            desktop.point(clicked, up, {x, y});
    }
    void openMenu() { click(Pointer::RightDown, Pointer::RightUp, 5, 5); }
    /// As their timers do it.
    template <typename Meter>
    static void tickMeters(const HostedEffect& effect) {
        TimerMessage timer(nullptr, TimerMessage::Tick, fourCharacterCode("CVUt"), 0);
        for (Control* const control : editorOf(effect).getControls())
            if (dynamic_cast<Meter*>(control) != nullptr)
                control->handle(timer);
    }
    static void set(const HostedEffect& effect, const char* id, float normalised) {
        parameter(effect, id).setNormalised(normalised, FromUser);
    }
    /// Has the user choose the entry of that text from the next menus; "" cancels.
    void choose(const std::string& text) {
        desktop.menu = [text](const Menu& entries, platform::Spot) {
            std::optional<std::int32_t> chosen;
            const std::function<void(const Menu&)> walk = [&](const Menu& list) {
                for (const platform::MenuEntry& entry : list) {
                    if (!entry.text.empty() && entry.text == text)
                        chosen = entry.id;
                    walk(entry.entries);
                }
            };
            walk(entries);
            return chosen;
        };
    }

    platform::OffscreenDesktop desktop;
    int parent = 0;  // whose address is the host's window
    const std::unique_ptr<Product> product = Product::of<BrimtidePluginInfo>(BUILT_PRODUCT);
};

// In all states, each at the size at which it is easiest looked at. Faults: a text, a lamp or a
// level in the wrong place or colour, an image that is missing or blurred.
TEST_F(HostedEditor, PictureOfEveryState) {
    const TestClock clock(1000.0);
    const HostedEffect effect = load();
    effect.call(effSetSampleRate, 0, 0, nullptr, 48'000.0f);
    effect.run();
    std::unique_ptr<ConnectionListener> listener;
    const auto tick = [this](float seconds) {
        TestClock::pass(seconds);
        window().owner->tick();
    };
    const auto play = [&](const Channel& peaks) {
        for (const float peak : peaks) {
            effect.play(Channel(64, peak));
            tick(0.05f);
            // Those of the real timer, which come whenever they do, change nothing more.
            tickMeters<ControlLevelMeter>(effect);
        }
    };
    const auto show = [&](const std::string& name, float scale = 2.0f, const Channel& peaks = {}) {
        desktop.scale = scale;
        if (listener)
            listener->beat();  // a receiver that is silent for long counts as gone
        ASSERT_TRUE(open(effect));
        play(peaks);
        tick(0.0f);
        EXPECT_TRUE(keepsItsPicture(editorOf(effect)));
        expectPicture(*editorOf(effect).getCanvas()->getPixels(), name);
        effect.call(effEditClose);
    };
    show("dark-waiting");
    listener = std::make_unique<ConnectionListener>(0);
    parameter(effect, "BrimtideID").setText("Lead vocal", FromUser);
    std::vector<float> levels(16, 0.33f);
    levels.front() = 0.7f;
    for (const auto& [name, scale] :
         {std::pair("dark-100", 1.0f), {"dark-150", 1.5f}, {"dark-200", 2.0f}, {"dark-300", 3.0f}})
        show(name, scale, levels);
    set(effect, "MuteOutput", 1.0f);
    show("dark-muted-clipped", 2.0f, {1.23f, 0.95f, 0.95f, 0.95f});
    set(effect, "ShowAbout", 1.0f);
    show("dark-about");
    for (const auto& [id, value] : {std::pair("ShowAbout", 0.0f),
                                    {"MuteOutput", 0.0f},
                                    {"ResetPeak", 1.0f},
                                    {"ResetPeak", 0.0f}})
        set(effect, id, value);
    ASSERT_TRUE(open(effect));
    choose("Light");
    openMenu();
    effect.call(effEditClose);
    show("light-200", 2.0f, levels);
    std::vector<std::unique_ptr<IOBridge<float>>> others;
    for (std::uint32_t slot = 0; slot < ConnectionSlots; ++slot)
        others.push_back(makeSender());
    const HostedEffect unconnected = load();
    ASSERT_TRUE(open(unconnected));
    tick(0.0f);
    expectPicture(*editorOf(unconnected).getCanvas()->getPixels(), "light-no-connection");
    unconnected.call(effClose);
    effect.call(effClose);
}

// What docs/skins.md tells, as an interface. Faults: an example that doesn't load, a class that is
// told and not there, or draws nothing.
TEST_F(HostedEditor, PictureOfThePageOnSkins) {
    const TestClock clock(1000.0);
    std::string page;
    ASSERT_TRUE(File(DOCS "/skins.md").contents(page, std::size_t{1} << 20));
    const ScratchFolder files;
    const HostedEffect effect = load();
    effect.run();
    Editor& editor = editorOf(effect);
    const auto show = [&](const std::string& controls) {
        files.write("Controls.xml", controls);
        ASSERT_TRUE(editor.loadControls(File(files.path("Controls.xml"))).isOk());
        ASSERT_TRUE(open(effect));
        effect.play(Channel(64, 0.75f));
        window().owner->tick();
        clock.pass(0.05);
        tickMeters<ControlVUMeter>(effect);
        editor.getHelpControl()->setVisible(!editor.getHelpControl()->getText().empty());
        window().owner->tick();
    };
    const std::size_t begin = page.find("```xml\n") + 7;
    show(page.substr(begin, page.find("```", begin) - begin));
    expectPicture(*editor.getCanvas()->getPixels(), "skin-example");
    effect.call(effEditClose);

    const std::string ground = " background='#304860' ", small = " width='48' height='48' ",
                      meter = " width='16' height='48' parameter='OutputLevel' ",
                      mute = " parameter='MuteOutput' text='Mute' texton='Mute' ";
    const auto holding = [](const std::string& children) {
        return "><controls>" + children + "</controls></a>";
    };
    const auto text = [](const std::string& shown) {
        return "<b class='Text' font='Inter' x='8' y='6' width='84' height='16' text='" + shown +
               "'/>";
    };
    const std::string decibels =
        meter + "foreground='#43D184'><scaling><p value='-10'/><p value='0'/></scaling></a>";
    const std::map<std::string, std::string> keys = {
        {"About", "parameter='ShowAbout'" + ground + holding(text("Made by us"))},
        {"Background", ground + holding(text("A window"))},
        {"Bitmap", "handle='mark'"},
        {"Button", mute + ground},
        {"ButtonChoice", "parameter='BrimtideChannel' handle='previous'"},
        {"Container", ground + holding(text("A child"))},
        {"Display", "parameter='BrimtideChannel'"},
        {"FavoriteButton", "width='28' text='1' texton='1' align='center'" + ground},
        {"Help", "id='special::help' text='A tooltip'" + ground},
        {"Knob", "width='48' height='48' parameter='OutputLevel'" + ground},
        {"LED", "parameter='Connected' handle='lamp'"},
        {"LevelMeter", decibels},
        {"MenuButton", "handle='menu'"},
        {"PopupMenu", "parameter='MuteOutput'" + ground},
        {"PresetsMenu", "width='132'" + ground},
        {"PresetStep", "handle='next'"},
        {"Quorl", "text='Help'" + ground},
        {"RadioButtons",
         holding(
             "<b class='Button' width='44' height='28' textcoloron='#FFBE00'" + mute + ground +
             "/><b class='Button' x='48' width='44' height='28' textcoloron='#FFBE00' text='On' "
             "texton='On' parameter='ShowAbout'" +
             ground + "/>")},
        {"Range", "parameter='OutputLevel'" + small},
        {"Slider", "parameter='OutputLevel'" + small},
        {"Text", "text='A text'"},
        {"TextValue", "parameter='BrimtideID' marginleft='8'" + ground},
        {"Trigger", "parameter='OutputLevel' text='Play' texton='Play'" + ground},
        {"URL", "text='A link'" + ground},
        {"VUMeter", decibels},
        {"VUMeterLED",
         "parameter='OutputLevel' handle='clip'><values><p value='-60'/></values></a>"},
    };
    set(effect, "ShowAbout", 1.0f);
    constexpr int Width = 96, Height = 28, Margin = 4, Step = 60;
    std::string controls;
    std::vector<std::string> names;
    for (std::size_t at = page.find("## The classes");
         (at = page.find("\n| `", at)) != std::string::npos;) {
        at += 4;
        const std::string& name = names.emplace_back(page.substr(at, page.find('`', at) - at));
        std::string own = keys.contains(name) ? keys.at(name) : "";
        own += own.ends_with(">") ? "" : "/>";
        const auto side = [&own](const std::string& key, int usual) {
            const bool isGiven = own.substr(0, own.find('>')).find(key) != std::string::npos;
            return isGiven ? "" : " " + key + std::to_string(usual) + "'";
        };
        controls += "<a class='" + name + "' font='Inter' x='4' y='" +
                    std::to_string(Margin + Step * static_cast<int>(names.size() - 1)) + "'" +
                    side("width='", Width) + side("height='", Height) + " " + own;
    }
    EXPECT_EQ(names.size(), 27u);
    show(
        document("<controls><c class='Background' id='special::background' background='#1B1F25' "
                 "width='140' height='1620'><controls>" +
                 controls + "</controls></c></controls>"));
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
    effect.call(effEditClose);
    effect.call(effClose);
}

// With the longest texts that there can be. Faults: a text that runs into its neighbour or is cut;
// a tooltip that the status line has no room for.
TEST_F(HostedEditor, TextsFitAtEverySize) {
    const HostedEffect effect = load();
    for (const std::string skin : {"default", "Light"})
        for (const float scale : {1.0f, 1.5f, 2.0f, 3.0f}) {
            desktop.scale = scale;
            ASSERT_TRUE(open(effect));
            const Editor& editor = editorOf(effect);
            const auto& controls = editor.getControls();
            const auto status = std::find_if(controls.begin(), controls.end(), [](Control* one) {
                return one->getControlId() == "special::textdisplay";
            });
            ASSERT_NE(status, controls.end());
            const std::map<std::string, std::vector<std::string>> longest = {
                {"LinkState",
                 {"Shared memory is refused", "The host sends no audio", "Sending, 32 receivers",
                  "No audio, 32 receivers"}},
                {"LatencyText", {"Host latency 99999 samples, 2267.6 ms"}},
                {"PeakText", {"-119.9", "+771.0", "-\u221e"}},
                {"BrimtideChannel", {"32"}},
            };
            for (Control* const control : controls) {
                const Rect rect = control->getLocalRect();
                const auto fits = [&](const std::string& text, int room, const Control& shownBy) {
                    const Point size = shownBy.measureText(text);
                    EXPECT_LE(size.x, room) << text << " at " << scale;
                };
                fits(control->getTooltip(), (*status)->getLocalRect().width(), **status);
                if (const auto* const text = dynamic_cast<ControlText*>(control);
                    text != nullptr && control->getControlId().empty()) {
                    fits(text->getText(), rect.width(), *text);
                    EXPECT_LE(text->measureText(text->getText()).y, rect.height());
                }
                if (const auto texts = longest.find(control->getParameterName());
                    texts != longest.end() && dynamic_cast<ControlValueLED*>(control) == nullptr)
                    for (const std::string& text : texts->second)
                        fits(text, rect.width(), *control);
                if (control->getParameterName() == "MuteOutput")
                    fits("Output muted, still sending", rect.width(), *control);
            }
            choose(skin == "default" ? "Light" : "default");
            if (scale == 3.0f)
                openMenu();
            effect.call(effEditClose);
        }
    effect.call(effClose);
}

// Faults: a choice that is lost, that changes an open window, or that a nonsense preference makes
// for the user.
TEST_F(HostedEditor, TakesTheSizeThatTheUserWants) {
    const HostedEffect effect = load();
    for (const auto& [entry, before, after] :
         {std::tuple("200 %", 520, 1040), {"As the screen", 1040, 520}}) {
        ASSERT_TRUE(open(effect));
        choose(entry);
        openMenu();
        EXPECT_EQ(widthOf(effect), before);
        effect.call(effEditClose);
        EXPECT_EQ(widthOf(effect), after);
    }
    Preferences::user()->setBool("ShowCPUMeters", true);
    EXPECT_EQ(widthOf(effect), 520 + 160) << "as the window will be";
    Preferences::user()->setBool("ShowCPUMeters", false);
    for (const auto& [percent, width] : {std::pair(49, 520), {50, 260}, {400, 2080}, {401, 520}}) {
        editorOf(effect).setSize(percent);
        EXPECT_EQ(widthOf(effect), width);
    }
    effect.call(effClose);
}

// Fault: a skin that can't be left, since nothing is shown in which to choose another one.
TEST_F(HostedEditor, ABrokenSkinGivesWayToTheDefaultOne) {
    const ScratchFolder copy;
    const std::string path = copy.path();
    std::filesystem::copy(BUILT_PRODUCT, std::u8string(path.begin(), path.end()),
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::overwrite_existing);
    const std::string skin = "Brimtide Resources/Skins/Broken/";
    copy.write(skin + "info.xml", document("<name value='Broken'/><uid value='broken.one'/>"));
    copy.write(skin + "Controls.xml", "<dict>");
    const auto own = Product::of<BrimtidePluginInfo>(copy.path());
    const HostedEffect effect = load();
    for (int times = 1; times <= 2; ++times) {
        ASSERT_TRUE(open(effect));
        EXPECT_EQ(widthOf(effect), 520);
        own->messages.clear();
        choose("Broken");
        openMenu();
        effect.call(effEditClose);
        EXPECT_THAT(own->messages, ElementsAre(HasSubstr("re-open"), HasSubstr("\"Broken\"")));
    }
    std::string kept;
    EXPECT_TRUE(Preferences::user()->getString("DefaultSkin", kept));
    EXPECT_EQ(kept, "broken.one") << "the user's choice, whose file may be mended";
    copy.write("Brimtide Resources/Controls.xml", "<dict>");
    ASSERT_TRUE(open(effect));
    openMenu();
    effect.call(effEditClose);
    EXPECT_THAT(own->messages.back(), HasSubstr("no editor will be available"));
    const HostedEffect bare = load();
    for (const HostedEffect& none : {effect, bare}) {
        EXPECT_FALSE(open(none));
        EXPECT_EQ(none.record->flags & effFlagsHasEditor,
                  none.record == effect.record ? effFlagsHasEditor : 0);
        none.call(effClose);
    }
    EXPECT_THAT(own->messages, Contains(HasSubstr("no editor will be available")).Times(1));
}

// Faults: a change that isn't shown; a broken file that takes the interface away, that isn't told
// of, or that is told of once it is mended.
TEST_F(HostedEditor, ShowsWhatAMakerSavesMeanwhile) {
    const ScratchFolder folder;
    folder.write("Settings.xml", document("<parameters/>"));
    folder.write("Resources.xml", document("<bitmaps><ground filename='a.png'/></bitmaps>"));
    // Until the file system tells the change from the one before.
    const auto save = [&folder](const std::string& name, const std::string& content) {
        const File file(folder.path("Brimtide Resources/" + name));
        const std::int64_t before = file.getChangeStamp();
        do
            folder.write("Brimtide Resources/" + name, content);
        while (file.getChangeStamp() == before);
    };
    const auto saveImage = [&save](char shade) {
        std::string rgba;
        while (rgba.size() < 40 * 20 * 4)
            rgba += std::string(3, shade) + '\xFF';
        save("Images/a.png", pngFile(40, 20, rgba));
    };
    const auto saveControls = [&save](const std::string& more) {
        save("Controls.xml",
             document("<controls>\n<a class='Background' id='special::background' width='40' "
                      "height='20' background='ground'><controls>\n"
                      "<s class='Text' id='special::textdisplay' width='1' height='1'/>\n" +
                      more + "</controls></a></controls>"));
    };
    saveImage(10);
    saveControls("");
    const auto own = Product::of<BrimtidePluginInfo>(folder.path());
    ASSERT_TRUE(own->store.openUser().setBool("ReloadSkin", true).isOk());
    const HostedEffect effect = load();
    ASSERT_TRUE(open(effect));
    // Of the ground and of the status line, after some ticks.
    const auto look = [&] {
        for (int i = 0; i < 5; ++i)
            window().owner->tick();
        const Editor& editor = editorOf(effect);
        const std::uint8_t* const pixel = editor.getCanvas()->getPixels()->row(0) + 35 * 4;
        return std::to_string(pixel[1]) + " " +
               dynamic_cast<ControlText&>(*editor.getControls().back()).getText();
    };
    EXPECT_EQ(look(), "9 Brimtide 1.2.0");
    saveImage(30);
    EXPECT_EQ(look(), "29 Brimtide 1.2.0");
    save("Images/a.png", "no image");
    EXPECT_THAT(look(), AllOf(StartsWith("29 "), EndsWith("a.png can't be shown")));
    saveImage(50);
    EXPECT_EQ(look(), "49 Brimtide 1.2.0");
    saveControls("<b class='Knobb'/>");
    EXPECT_THAT(look(), StartsWith("49 Controls.xml, line 4: Unknown control type Knobb<>"));
    saveControls("");
    EXPECT_EQ(look(), "49 Brimtide 1.2.0");
    effect.call(effClose);
}

// Fault: a preset's former name on the screen.
TEST_F(HostedEditor, ShowsTheNameThatTheHostGivesAPreset) {
    const HostedEffect effect = load();
    ASSERT_TRUE(open(effect));
    window().owner->tick();
    const std::vector<std::uint8_t> before = window().shown;
    std::string name = "Other";
    effect.call(effSetProgramName, 0, 0, name.data());
    window().owner->tick();
    EXPECT_NE(window().shown, before);
    EXPECT_TRUE(keepsItsPicture(editorOf(effect)));
    effect.call(effClose);
}

// Faults: a key of the host's that means another one here, or is used up where nothing wants it; a
// rename that can't be undone; an edit that the host doesn't hear of.
TEST_F(HostedEditor, TakesTheHostsKeys) {
    const HostedEffect effect = load();
    const auto key = [&](VstInt32 opcode, VstInt32 character, VstIntPtr code, float modifiers) {
        return effect.call(opcode, character, code, nullptr, modifiers);
    };
    const auto name = [&] {
        char text[kVstMaxParamStrLen]{};
        effect.call(effGetParamDisplay, 0, 0, text);
        return std::string(text);
    };
    constexpr float Shift = 1, Alternate = 2, Command = 4, Control = 8;
    constexpr VstIntPtr Tab = 2, Return = 4, Escape = 6, Space = 7;
    const auto goToName = [&] {  // past the buttons of the upper edge
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(key(effEditKeyDown, 0, Tab, 0), 1);
    };
    EXPECT_EQ(key(effEditKeyDown, 0, Tab, 0), 0);
    EXPECT_EQ(effect.call(effEditGetRect), 0);
    ASSERT_TRUE(open(effect));
    const std::string before = name();
    const std::tuple<VstInt32, VstIntPtr, float, bool, std::string> keys[] = {
        {' ', 0, 0, false, before},
        {'\t', 0, Alternate, false, before},
        {0, Return, 0, true, "Lead vo"},
        {'z', 0, 0, false, "Lead vo"},
        {'z', 0, Control, true, before},
        {'Y', 0, Command, true, "Lead vo"},
        {26, 0, Control, true, before},
        {26, 0, Command + Shift, true, "Lead vo"},
        {'z', 0, Control + Alternate, false, "Lead vo"},
        {0, 200, Control, false, "Lead vo"},
        {0, Escape, 0, true, "Lead vo"},
        {'\r', 0, 0, false, "Lead vo"},
    };
    desktop.text = [](const platform::TextRequest& request) {
        EXPECT_FALSE(request.fontFiles.empty());
        return "Lead vocal";
    };
    int row = 0;
    EXPECT_EQ(key(effEditKeyDown, 0, Space, 0), 0);
    goToName();
    for (const auto& [character, code, modifiers, isUsed, shown] : keys) {
        EXPECT_EQ(key(effEditKeyDown, character, code, modifiers), isUsed) << row;
        EXPECT_EQ(key(effEditKeyUp, character, code, modifiers), isUsed) << row;
        EXPECT_EQ(name(), shown) << row++;
    }
    EXPECT_THAT(edits, ContainsRegex("begin0 .*end0 "));
    goToName();
    desktop.text = [&](const platform::TextRequest&) -> std::optional<std::string> {
        effect.call(effClose);
        return "late";
    };
    EXPECT_EQ(key(effEditKeyDown, 0, Return, 0), 1);
}

// Faults: a value that the host hears before the edit, an edit of nothing, an arrow key that can't
// be undone, a value that stays though nobody can hold its button any more.
TEST_F(HostedEditor, EditsReachTheHostInOrder) {
    const ScratchFolder files;
    const HostedEffect effect = load();
    const std::string shown = "parameter='MuteOutput' width='20' height='20'/>";
    files.write(
        "Controls.xml",
        document("<controls><c class='Background' id='special::background' width='60' height='20'>"
                 "<controls><a class='Button' pushbutton='true' " +
                 shown + "<b class='Text' x='30' editable='false' " + shown +
                 "</controls></c></controls>"));
    ASSERT_TRUE(editorOf(effect).loadControls(File(files.path("Controls.xml"))).isOk());
    ASSERT_TRUE(open(effect));
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
    effect.call(effClose);
}

// Faults: what waits for the user outlives the window, the instance or the host's own window;
// windows that are left behind; audio that stops meanwhile.
TEST_F(HostedEditor, EndsWhereverTheHostEndsIt) {
    enum class End { Close, Delete, Destroy };
    for (const End end : {End::Close, End::Delete, End::Destroy})
        for (const std::string moment :
             {"menu", "text", "box", "drop", "none", "begin", "set", "end"}) {
            const HostedEffect effect = load();
            const HostedEffect beside = load();
            ASSERT_TRUE(open(beside));
            for (const HostedEffect& instance : {effect, beside})
                instance.run();
            std::atomic<bool> isOver = false;
            std::thread audio([&] {
                while (!isOver)
                    EXPECT_TRUE(beside.passesAudio());
            });
            effect.call(effEditClose);
            ASSERT_TRUE(open(effect));
            const auto endIt = [&] {
                if (end == End::Close)
                    effect.call(effEditClose);
                else if (end == End::Delete)
                    effect.call(effClose);
                else
                    desktop.destroyParent(window());
            };
            bool isEnded = false;
            duringEdit = [&](const std::string& edit) {
                if (edit == moment && !std::exchange(isEnded, true))
                    endIt();
            };
            choose("100 %");
            if (moment == "menu")
                desktop.menu = [&](const auto&, auto) {
                    endIt();
                    return std::nullopt;
                };
            desktop.text = [&](const auto&) {
                endIt();
                return "text";
            };
            platform::setDialogAnswers({[&](const platform::MessageRequest&) {
                                            if (moment == "box" || moment == "drop")
                                                endIt();
                                            return platform::MessageAnswer::Ok;
                                        },
                                        {}});
            if (moment == "none")
                endIt();
            else if (moment == "drop")
                window().owner->drop({{"no preset"}, std::nullopt}, {5, 5});
            else if (moment == "text")
                desktop.point(window(), Pointer::LeftDouble, {200, 110});
            else if (moment == "menu" || moment == "box")
                openMenu();
            else
                click(Pointer::LeftDown, Pointer::LeftUp, 60, 220);
            duringEdit = nullptr;
            EXPECT_EQ(desktop.windows().size(), 1u) << moment;
            if (end != End::Delete) {
                effect.call(effEditClose);
                effect.call(effClose);
            }
            isOver = true;
            audio.join();
            beside.call(effClose);
            EXPECT_TRUE(desktop.windows().empty()) << moment;
        }
}

}  // namespace
}  // namespace tarn
