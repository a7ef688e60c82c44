#include "audio/Module.h"
#include "drawing/Pictures.h"
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
#include "platform/Clock.h"
#include "platform/SystemWindow.h"
#include "plugin/Mission.h"
#include "support/Connections.h"
#include "support/HostedEffect.h"
#include "support/KeptPicture.h"
#include "support/Product.h"
#include "support/ScratchFolder.h"
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

using Pointer = platform::PointerEvent;

std::atomic<double> now;  // of the clock that some tests set; timers of the process read it too
std::vector<std::pair<VstInt32, VstInt32>> edits;  // opcodes of the host, with the parameter
std::function<void(VstInt32 opcode)> duringEdit;

VstIntPtr VSTCALLBACK host(AEffect*, VstInt32 opcode, VstInt32 index, VstIntPtr, void*, float) {
    if (opcode == audioMasterBeginEdit || opcode == audioMasterEndEdit ||
        opcode == audioMasterAutomate) {
        edits.emplace_back(opcode, index);
        if (duringEdit)
            duringEdit(opcode);
    }
    return opcode == audioMasterGetInputLatency ? 321 : 0;
}

// A host with windows, in memory, and the instances that it has loaded.
class HostedEditor : public testing::Test {
protected:
    HostedEditor() { edits.clear(); }

    static test::HostedEffect load() {
        Mission::get().start();
        const IOConfig stereo(IOPinConfig(2, 1), IOPinConfig(2, 1));
        return test::HostedEffect((new VSTPlugin(0, host, stereo))->getAeffect());
    }
    static Editor& editorOf(const test::HostedEffect& effect) {
        auto* const plugin =
            static_cast<VSTPlugin*>(static_cast<AudioEffect*>(effect.record->object));
        return dynamic_cast<Editor&>(*plugin->HostInterface::getEditor());
    }
    static Point sizeOf(const test::HostedEffect& effect) {
        ERect* rect = nullptr;
        EXPECT_EQ(effect.call(effEditGetRect, 0, 0, &rect), 1);
        EXPECT_EQ(rect->left, 0);
        EXPECT_EQ(rect->top, 0);
        return {rect->right, rect->bottom};
    }
    static Parameter& parameter(const test::HostedEffect& effect, const char* id) {
        return *editorOf(effect).getModule()->settings().find(id, 0);
    }
    bool open(const test::HostedEffect& effect) {
        return effect.call(effEditOpen, 0, 0, &parent) != 0;
    }
    platform::OffscreenDesktop::Window& window() { return *desktop.windows().back(); }
    void click(Pointer down, Pointer up, std::int32_t x, std::int32_t y) {
        platform::OffscreenDesktop::Window& clicked = window();
        const auto keep = clicked.shared_from_this();
        desktop.point(clicked, down, {x, y});
        if (clicked.owner != nullptr)
            desktop.point(clicked, up, {x, y});
    }
    /// Has the user choose the entry of that text from the next menus; "" cancels.
    void choose(const std::string& text) {
        desktop.menu = [text](const std::vector<platform::MenuEntry>& entries, platform::Spot) {
            std::optional<std::int32_t> chosen;
            const std::function<void(const std::vector<platform::MenuEntry>&)> walk =
                [&](const auto& list) {
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
    const std::unique_ptr<test::Product> product =
        test::Product::of<BrimtidePluginInfo>(BUILT_PRODUCT);
};

// In all states, each at the size at which it is easiest looked at. Faults: a text, a lamp or a
// level in the wrong place or colour, an image that is missing or blurred.
TEST_F(HostedEditor, PictureOfEveryState) {
    now = 1000.0;
    platform::setHighResolutionClock([]() noexcept { return now.load(); });
    const test::HostedEffect effect = load();
    effect.call(effSetSampleRate, 0, 0, nullptr, 48'000.0f);
    effect.run();
    std::unique_ptr<ConnectionListener> listener;
    const auto tick = [this](float seconds) {
        now = now + seconds;
        window().owner->tick();
    };
    const auto play = [&](const std::vector<float>& peaks) {
        for (const float peak : peaks) {
            effect.play(test::Channel(64, peak));
            tick(0.05f);
            // Those of the real timer, which come whenever they do, change nothing more.
            TimerMessage timer(nullptr, TimerMessage::Tick, fourCharacterCode("CVUt"), 0);
            for (Control* const control : editorOf(effect).getControls())
                if (auto* const meter = dynamic_cast<ControlLevelMeter*>(control))
                    meter->handle(timer);
        }
    };
    const auto show = [&](const std::string& name, float scale = 2.0f,
                          const std::vector<float>& peaks = {}) {
        desktop.scale = scale;
        if (listener)
            listener->beat();  // a receiver that is silent for long counts as gone
        ASSERT_TRUE(open(effect));
        play(peaks);
        tick(0.0f);
        EXPECT_TRUE(test::keepsItsPicture(editorOf(effect)));
        test::expectPicture(*editorOf(effect).getCanvas()->getPixels(), name);
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
    parameter(effect, "MuteOutput").setNormalised(1.0f, FromUser);
    show("dark-muted-clipped", 2.0f, {1.23f, 0.95f, 0.95f, 0.95f});
    parameter(effect, "ShowAbout").setNormalised(1.0f, FromUser);
    show("dark-about");
    parameter(effect, "ShowAbout").setNormalised(0.0f, FromUser);
    parameter(effect, "MuteOutput").setNormalised(0.0f, FromUser);
    parameter(effect, "ResetPeak").setNormalised(1.0f, FromUser);
    parameter(effect, "ResetPeak").setNormalised(0.0f, FromUser);
    ASSERT_TRUE(open(effect));
    choose("Light");
    click(Pointer::RightDown, Pointer::RightUp, 5, 5);
    effect.call(effEditClose);
    show("light-200", 2.0f, levels);
    std::vector<std::unique_ptr<IOBridge<float>>> others;
    for (std::uint32_t slot = 0; slot < ConnectionSlots; ++slot)
        others.push_back(test::makeSender());
    const test::HostedEffect unconnected = load();
    ASSERT_TRUE(open(unconnected));
    tick(0.0f);
    test::expectPicture(*editorOf(unconnected).getCanvas()->getPixels(), "light-no-connection");
    unconnected.call(effClose);
    effect.call(effClose);
    platform::setHighResolutionClock(nullptr);
}

// What docs/skins.md tells, as an interface. Faults: an example that doesn't load, a class that is
// told and not there, or draws nothing.
TEST_F(HostedEditor, PictureOfThePageOnSkins) {
    now = 1000.0;
    platform::setHighResolutionClock([]() noexcept { return now.load(); });
    std::string page;
    ASSERT_TRUE(File(DOCS "/skins.md").contents(page, std::size_t{1} << 20));
    const test::ScratchFolder files;
    const test::HostedEffect effect = load();
    effect.run();
    Editor& editor = editorOf(effect);
    const auto show = [&](const std::string& controls) {
        files.write("Controls.xml", controls);
        ASSERT_TRUE(editor.loadControls(File(files.path("Controls.xml"))).isOk());
        ASSERT_TRUE(open(effect));
        effect.play(test::Channel(64, 0.75f));
        window().owner->tick();
        now = now + 0.05;
        TimerMessage timer(nullptr, TimerMessage::Tick, fourCharacterCode("CVUt"), 0);
        for (Control* const control : editor.getControls())
            if (dynamic_cast<ControlVUMeter*>(control) != nullptr)
                control->handle(timer);
        editor.getHelpControl()->setVisible(!editor.getHelpControl()->getText().empty());
        window().owner->tick();
    };
    const std::size_t begin = page.find("```xml\n") + 7;
    show(page.substr(begin, page.find("```", begin) - begin));
    test::expectPicture(*editor.getCanvas()->getPixels(), "skin-example");
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
    parameter(effect, "ShowAbout").setNormalised(1.0f, FromUser);
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
        "<dict><info creator='Brimtide' version='1.2.0'/><file-format value='0.7'/><controls><c "
        "class='Background' id='special::background' background='#1B1F25' width='140' "
        "height='1620'><controls>" +
        controls + "</controls></c></controls></dict>");
    for (Control* const control : editor.getControls()) {
        const Rect rect = control->getRect();
        if (rect.left != Margin)
            continue;
        const Rect cut{0, 0, rect.width() + 2 * Margin, rect.height() + 2 * Margin};
        Canvas picture(cut);
        picture.beginFrame(cut);
        picture.copyFrom(*editor.getCanvas(), cut.movedBy(rect.topLeft() - Point{Margin, Margin}),
                         cut);
        test::expectPicture(*picture.getPixels(),
                            names.at(static_cast<std::size_t>(rect.top / Step)),
                            PICTURES "/classes");
    }
    effect.call(effEditClose);
    effect.call(effClose);
    platform::setHighResolutionClock(nullptr);
}

// With the longest texts that there can be. Faults: a text that runs into its neighbour or is cut;
// a tooltip that the status line has no room for.
TEST_F(HostedEditor, TextsFitAtEverySize) {
    const test::HostedEffect effect = load();
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
                    EXPECT_LE(control->measureText(text->getText()).y, rect.height())
                        << text->getText();
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
                click(Pointer::RightDown, Pointer::RightUp, 5, 5);
            effect.call(effEditClose);
        }
    effect.call(effClose);
}

// Faults: a choice that is lost, that changes an open window, or that a nonsense preference makes
// for the user.
TEST_F(HostedEditor, TakesTheSizeThatTheUserWants) {
    const test::HostedEffect effect = load();
    for (const auto& [entry, before, after] :
         {std::tuple("200 %", 520, 1040), {"As the screen", 1040, 520}}) {
        ASSERT_TRUE(open(effect));
        choose(entry);
        click(Pointer::RightDown, Pointer::RightUp, 5, 5);
        EXPECT_EQ(sizeOf(effect).x, before);
        effect.call(effEditClose);
        EXPECT_EQ(sizeOf(effect).x, after);
    }
    for (const auto& [percent, width] : {std::pair(49, 520), {50, 260}, {400, 2080}, {401, 520}}) {
        editorOf(effect).setSize(percent);
        EXPECT_EQ(sizeOf(effect).x, width);
    }
    effect.call(effClose);
}

// Fault: a skin that can't be left, since nothing is shown in which to choose another one.
TEST_F(HostedEditor, ABrokenSkinGivesWayToTheDefaultOne) {
    const test::ScratchFolder copy;
    const std::string path = copy.path();
    std::filesystem::copy(BUILT_PRODUCT, std::u8string(path.begin(), path.end()),
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::overwrite_existing);
    const std::string skin = "Brimtide Resources/Skins/Broken/";
    copy.write(skin + "info.xml",
               "<dict><info creator='Brimtide' version='1.2.0'/><file-format value='0.7'/>"
               "<name value='Broken'/><uid value='broken.one'/></dict>");
    copy.write(skin + "Controls.xml", "<dict>");
    const auto own = test::Product::of<BrimtidePluginInfo>(copy.path());
    const test::HostedEffect effect = load();
    for (int times = 1; times <= 2; ++times) {
        ASSERT_TRUE(open(effect));
        EXPECT_EQ(sizeOf(effect).x, 520);
        own->messages.clear();
        choose("Broken");
        click(Pointer::RightDown, Pointer::RightUp, 5, 5);
        effect.call(effEditClose);
        EXPECT_THAT(own->messages, testing::ElementsAre(testing::HasSubstr("re-open"),
                                                        testing::HasSubstr("\"Broken\"")));
    }
    std::string kept;
    EXPECT_TRUE(Preferences::user()->getString("DefaultSkin", kept));
    EXPECT_EQ(kept, "broken.one") << "the user's choice, whose file may be mended";
    copy.write("Brimtide Resources/Controls.xml", "<dict>");
    ASSERT_TRUE(open(effect));
    choose("Broken");
    click(Pointer::RightDown, Pointer::RightUp, 5, 5);
    effect.call(effEditClose);
    EXPECT_THAT(own->messages.back(), testing::HasSubstr("no editor will be available"));
    effect.call(effClose);
}

// Fault: a preset's former name on the screen.
TEST_F(HostedEditor, ShowsTheNameThatTheHostGivesAPreset) {
    const test::HostedEffect effect = load();
    ASSERT_TRUE(open(effect));
    window().owner->tick();
    const std::vector<std::uint8_t> before = window().shown;
    std::string name = "Other";
    effect.call(effSetProgramName, 0, 0, name.data());
    window().owner->tick();
    EXPECT_NE(window().shown, before);
    EXPECT_TRUE(test::keepsItsPicture(editorOf(effect)));
    effect.call(effClose);
}

// Faults: a key of the host's that means another one here, or is used up where nothing wants it; a
// rename that can't be undone; an edit that the host doesn't hear of.
TEST_F(HostedEditor, TakesTheHostsKeys) {
    const test::HostedEffect effect = load();
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
    const struct {
        VstInt32 character;
        VstIntPtr code;
        float modifiers;
        bool isUsed;
        std::string name;
    } keys[] = {
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
    const std::vector<std::pair<VstInt32, VstInt32>> expected = {{audioMasterBeginEdit, 0},
                                                                 {audioMasterEndEdit, 0}};
    EXPECT_THAT(edits, testing::IsSupersetOf(expected));
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
    const test::ScratchFolder files;
    const test::HostedEffect effect = load();
    const std::string shown = "parameter='MuteOutput' width='20' height='20'/>";
    files.write(
        "Controls.xml",
        "<dict><info creator='Brimtide' version='1.2.0'/><file-format value='0.7'/><controls>"
        "<c class='Background' id='special::background' width='60' height='20'><controls>"
        "<a class='Button' pushbutton='true' " +
            shown + "<b class='Text' x='30' editable='false' " + shown +
            "</controls></c></controls></dict>");
    ASSERT_TRUE(editorOf(effect).loadControls(File(files.path("Controls.xml"))).isOk());
    ASSERT_TRUE(open(effect));
    const auto point = [&](Pointer event, int x) { desktop.point(window(), event, {x, 5}); };
    const auto wheel = [&](int x, int delta) { window().owner->wheel({x, 5}, delta); };
    const std::pair<std::function<void()>, std::string> steps[] = {
        {[&] { click(Pointer::LeftDown, Pointer::LeftUp, 5, 5); }, "begin set set end "},
        {[&] { window().owner->key(0x26, 0, true); }, "begin set end "},
        {[&] { effect.call(effEditKeyDown, 'z', 0, nullptr, 8); }, "begin set end "},
        {[&] { point(Pointer::Move, 35); }, ""},
        {[&] { wheel(35, 120); }, ""},
        {[&] { point(Pointer::LeftDown, 5); }, "begin set "},
        {[&] { wheel(5, -120); }, "set "},
        {[&] { wheel(5, 120); }, "set "},
        {[&] { effect.call(effEditClose); }, "set end "},
    };
    int row = 0;
    for (const auto& [act, expected] : steps) {
        edits.clear();
        act();
        std::string heard;
        for (const auto& [opcode, index] : edits)
            heard += opcode == audioMasterAutomate    ? "set "
                     : opcode == audioMasterBeginEdit ? "begin "
                                                      : "end ";
        EXPECT_EQ(heard, expected) << row++;
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
             {"menu", "text", "box", "drop", "none", "begin", "set", "finish"}) {
            const test::HostedEffect effect = load();
            const test::HostedEffect beside = load();
            ASSERT_TRUE(open(beside));
            for (const test::HostedEffect& instance : {effect, beside})
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
            duringEdit = [&](VstInt32 opcode) {
                const bool isNow = (opcode == audioMasterBeginEdit && moment == "begin") ||
                                   (opcode == audioMasterAutomate && moment == "set") ||
                                   (opcode == audioMasterEndEdit && moment == "finish");
                if (isNow && !std::exchange(isEnded, true))
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
            else if (moment == "begin" || moment == "set" || moment == "finish")
                click(Pointer::LeftDown, Pointer::LeftUp, 60, 220);
            else
                click(Pointer::RightDown, Pointer::RightUp, 5, 5);
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
