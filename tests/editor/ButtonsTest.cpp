#include "drawing/Pictures.h"
#include "editor/ControlEnumButton.h"
#include "editor/ControlValueButton.h"
#include "editor/OpenEditor.h"
#include "support/Hearer.h"

#include <array>
#include <cstdlib>
#include <thread>

namespace tarn {
namespace {

using test::EditorTest;

std::string settings() {
    std::string text = test::SettingsText;
    const std::string more =
        "<Mode class='ParameterEnum' type='string' unit='dB'><values><x value='a' display='Low'/>"
        "<x value='b' display='Mid'/><x value='c' display=''/><x value='d' display='High'/>"
        "</values></Mode><None class='ParameterEnum' type='integer'/>"
        "<Steps class='ParameterValue' type='integer' minval='-1' maxval='3' defval='0'/>"
        "<One class='ParameterValue' type='bool' scope='module'/>"
        "<Two class='ParameterValue' type='bool' scope='module'/>";
    return text.insert(text.find("</parameters>"), more);
}

const std::map<char, std::array<int, 4>> Colors = {
    {'f', {16, 16, 16, 255}},    {'n', {240, 240, 240, 255}}, {'d', {160, 0, 0, 255}},
    {'D', {255, 0, 0, 255}},     {'b', {0, 255, 0, 255}},     {'2', {64, 64, 64, 255}},
    {'3', {128, 128, 128, 255}}, {'4', {192, 192, 192, 255}},
};

class ButtonsTest : public EditorTest {
protected:
    ButtonsTest() : EditorTest(settings()) {
        // Frames of 10 by 10, one under the other, each of one colour.
        for (const auto& [id, letters] : {std::pair<std::string, std::string>("off", "f"),
                                          {"on", "n"},
                                          {"down", "d"},
                                          {"downon", "D"},
                                          {"blink", "b"},
                                          {"two", "fn"},
                                          {"three", "fnd"},
                                          {"four", "f234"}})
            addFrames(id, {10, 10}, 1, static_cast<int>(letters.size()),
                      [&colors = letters](int, int y) {
                          return Colors.at(colors[static_cast<std::size_t>(y / 10)]);
                      });
    }
    ~ButtonsTest() override { ControlValueButton::setBlinkSpread(nullptr); }

    // What the window shows at a place: the letter of its colour.
    char look(std::int32_t x = 5, std::int32_t y = 5) {
        editor->idle();
        const PixelsData& shown = *editor->getCanvas()->getPixels();
        const std::uint8_t* const pixel = shown.row(y) + 4 * x;
        for (const auto& [letter, color] : Colors)
            if (std::abs(color[0] - pixel[2]) + std::abs(color[1] - pixel[1]) +
                    std::abs(color[2] - pixel[0]) <
                8)
                return letter;
        return '?';
    }
    // Presses, slides off and back on, lets go, sets by the host on and off; and what is seen and
    // which step is set after each.
    std::string play(const std::string& gestures, Parameter& parameter) {
        std::string all;
        for (const char gesture : gestures) {
            if (gesture == 'd' || gesture == 'u')
                point(gesture == 'd' ? Pointer::LeftDown : Pointer::LeftUp, 5, 5);
            else if (gesture == 'D')
                point(Pointer::LeftDouble, 5, 5);
            else if (gesture == 'U')
                point(Pointer::LeftUp, 50, 50);
            else if (gesture == 'o' || gesture == 'i')
                point(Pointer::Move, gesture == 'o' ? 50 : 5, 5);
            else
                parameter.setNormalised(gesture == 's' ? 1.0f : 0.0f, FromHost);
            const auto last = static_cast<float>(parameter.getStepCount() - 1);
            all += std::string(" ") + gesture + look() +
                   std::to_string(std::lround(parameter.getNormalised() * last));
        }
        return all;
    }
    void open(const std::string& controls) {
        editor->close();
        ASSERT_TRUE(load(
            skin("<a class='Text' width='100' height='80' background='#303030'/>" + controls)));
        ASSERT_TRUE(editor->open(nullptr, {}));
    }
};

// Faults: a click that counts though the pointer left, one that is lost, a picture of another
// state, a change from the host that the press forgets.
TEST_F(ButtonsTest, EveryOrderOfPressSlideAndRelease) {
    const std::string pictures = "off='off' on='on' down='down' downon='downon'";
    struct Row {
        std::string keys;
        std::string gestures;
        std::string expected;
    };
    const Row rows[] = {
        {"class='PresetStep' handle='three'", "oidoiuo", " of0 in0 dd0 of0 id0 un0 of0"},
        {pictures, "duoidu", " dd0 un1 on1 in1 dD1 uf0"},
        {pictures, "doUdoiu", " dd0 of0 Uf0 dd0 of0 id0 un1"},
        {pictures, "dsudcu", " dd0 sD1 uf0 dd0 cd0 un1"},
        {pictures + " pushbutton='true'", "dudoU", " dD1 uf0 dD1 oD1 Uf0"},
        {pictures + " latchbutton='true'", "dudoiu", " dD1 un1 dd0 of0 id0 uf0"},
        {pictures + " stayon='true'", "dudusdcdu", " dd0 un1 dn1 un1 sn1 dn1 cf0 dd0 un1"},
        {pictures + " autoreset='true'", "dudoU", " dd0 uf0 dd0 of0 Uf0"},
        {pictures + " editable='false'", "du", " df0 uf0"},
        {"handle='two' down='down'", "dudu", " dd0 un1 dd1 uf0"},
        {"handle='off' over='blink'", "odu", " of0 db0 uf1"},
    };
    Parameter& parameter = plugin.parameter("Switch");
    for (const Row& row : rows) {
        parameter.setNormalised(0.0f, FromHost);
        const std::string name = row.keys.starts_with("class") ? "" : "class='Button' ";
        open("<b parameter='Switch' width='10' height='10' " + name + row.keys + "/>");
        EXPECT_EQ(play(row.gestures, parameter), row.expected) << row.keys;
    }
    open("<b class='Button' parameter='Switch' stayon='true' width='10' height='10'/>");
    parameter.setNormalised(1.0f, FromHost);
    point(Pointer::LeftDown, 5, 5);
    EXPECT_EQ(editor->getCaptureControl(), nullptr);
    point(Pointer::LeftUp, 5, 5);

    // Values of its own, and who is told what.
    Parameter& steps = plugin.parameter("Steps");
    for (const auto& [keys, expected] : {std::pair("on='3' off='1'", " sf4 df2 uf2 df4"),
                                         {"on='two'", " sf4 df0 uf0 df4"},
                                         {"on='true' off='false'", " sf4 df1 uf1 df2"}}) {
        open(std::string("<b class='Button' parameter='Steps' width='10' height='10' "
                         "handle='off' latchbutton='true' ") +
             keys + "/>");
        EXPECT_EQ(play("sdud", steps), expected) << keys;
    }
    open("<b class='Button' id='b' parameter='Switch' autoreset='true' width='10' height='10'/>");
    parameter.setNormalised(0.0f, FromHost);
    {
        std::string sources;
        const Hearer hearer(parameter, [&](Message& message) {
            sources += std::to_string(static_cast<ParameterMessage&>(message).mode);
        });
        sources.clear();
        click();
        EXPECT_EQ(sources, "23");
    }

    // A parameter that goes.
    auto& button = probe<ControlValueButton>("b");
    point(Pointer::LeftDown, 5, 5);
    button.setParameterName("Nothing");
    point(Pointer::LeftUp, 5, 5);
    EXPECT_FALSE(button.isOn());
    button.clearFlags(Control::AutoReset);
    click();
    EXPECT_TRUE(button.isOn());
    button.setParameterName("Switch");
    press(WindowMessage::TabKey);
    EXPECT_TRUE(press(WindowMessage::ReturnKey));
    EXPECT_TRUE(button.isOn());
}

// Faults: a value that stays as a press has it when the window closes or the other button comes in
// between, a control that goes on after the host has ended the interface.
TEST_F(ButtonsTest, APressEndsInManyWays) {
    const struct {
        const char *keys, *id;
        float kept;
    } rows[] = {
        {"class='Button' pushbutton='true' parameter='Switch'/>", "Switch", 0.0f},
        {"class='Trigger' parameter='Volume'/>", "Volume", 0.0f},
        {"class='Button' parameter='Mode'/>", "Mode", 0.0f},
        {"class='Knob' mousedown='inc' autoreset='true' parameter='Steps'/>", "Steps", 0.25f},
        {"class='Slider' autoreset='true' type='move' handle='two' parameter='Volume'/>", "Volume",
         0.5f},
        {"class='RadioButtons'><controls><b class='Button' parameter='Bend'/><c class='Button' "
         "parameter='Switch' latchbutton='true' width='30' height='30'/></controls></a>",
         "Bend", 0.0f},
    };
    enum class End { Closed, OtherButton, Destroyed };
    const auto bitmaps = editor->bitmaps;
    for (const auto& [keys, id, kept] : rows)
        for (const End end : {End::Closed, End::OtherButton, End::Destroyed}) {
            for (const char* const each : {"Switch", id})
                plugin.parameter(each).resetToDefault(FromHost);
            open(std::string("<a width='30' height='30' ") + keys);
            const Hearer host(plugin.parameter(id), [&](Message& message) {
                if (end == End::Destroyed &&
                    static_cast<ParameterMessage&>(message).mode == FromUser)
                    editor.reset();
            });
            point(Pointer::LeftDown, 4, 29);
            if (editor)
                point(Pointer::Move, 4, -50);
            if (end == End::Destroyed) {
                EXPECT_EQ(editor, nullptr) << keys;
                editor = std::make_unique<test::TestedEditor>(plugin);
                editor->bitmaps = bitmaps;
                continue;
            }
            if (end == End::Closed)
                editor->close();
            else
                for (const Pointer event : {Pointer::RightDown, Pointer::RightUp})
                    point(event, 4, -50);
            EXPECT_EQ(plugin.parameter(id).getNormalised(), kept) << keys << static_cast<int>(end);
        }
}

// Faults: a group with two buttons on, or with none; one that takes what is no button of its own.
TEST_F(ButtonsTest, OneOfAGroupIsOn) {
    const struct {
        const char* keys;
        std::string gestures;  // a click on the first or the second, or the host's change of one
        std::string expected;  // both after each
    } rows[] = {
        {"", "aabAxY", "10 10 01 10 10 01 "},
        {"", "yx", "00 10 "},
        {"value='1'", "xy", "00 01 "},
        {"value='-1'", "xybB", "00 00 01 01 "},
    };
    Parameter &one = plugin.parameter("One"), &two = plugin.parameter("Two");
    const auto show = [&](const std::string& keys) {
        open("");
        for (Parameter* const parameter : {&one, &two})
            parameter->setNormalised(0.0f, FromHost);
        open("<r class='RadioButtons' width='60' height='20' " + keys +
             "><controls><a class='Button' parameter='One' width='10' height='10'/>"
             "<b class='Button' parameter='Two' x='20' width='10' height='10'/>"
             "<t class='Text' parameter='Volume' x='40' width='9' height='9'/></controls></r>");
    };
    for (const auto& [keys, gestures, expected] : rows) {
        show(keys);
        std::string states;
        for (const char gesture : gestures) {
            Parameter& changed = gesture == 'A' || gesture == 'x' ? one : two;
            const float value = gesture == 'A' || gesture == 'Y' ? 1.0f : 0.0f;
            if (gesture == 'a' || gesture == 'b')
                click(gesture == 'a' ? 5 : 25, 5);
            else if (changed.getNormalised() != value)
                changed.setNormalised(value, FromHost);
            else
                changed.sendValue();
            for (const Parameter* const parameter : {&one, &two})
                states += parameter->getNormalised() > 0.0f ? '1' : '0';
            states += ' ';
        }
        EXPECT_EQ(states, expected) << keys;
    }
    show("value='1'");
    editor->setModule(1);
    EXPECT_EQ(two.getNormalised(), 0.0f) << "to look at another module changes nothing";
}

// Fault: a button that blinks while it is off, or not while it is on.
TEST_F(ButtonsTest, ABlinkingButtonBlinksWhileItIsOn) {
    ControlValueButton::setBlinkSpread(+[] { return 95; });
    open("<b class='Button' id='b' parameter='Switch' handle='two' blink='blink' blinkfreq='4'/>");
    EXPECT_FLOAT_EQ(probe<ControlValueButton>("b").getBlinkFrequency(), 3.8f);
    Parameter& parameter = plugin.parameter("Switch");
    const auto blink = [this] {
        tick(probe<Control>("b"), "CVBb");
        return look();
    };
    EXPECT_EQ(blink(), 'f');
    parameter.setNormalised(1.0f, FromUser);
    EXPECT_EQ(blink(), 'b');
    EXPECT_EQ(blink(), 'n');
    parameter.setNormalised(0.0f, FromUser);
    EXPECT_EQ(look(), 'f');
    EXPECT_EQ(blink(), 'f');
    open("<b class='Button' id='b' parameter='Switch' handle='two' blink='true' blinkfreq='99'/>");
    EXPECT_FLOAT_EQ(probe<ControlValueButton>("b").getBlinkFrequency(), 19.0f);
    parameter.setNormalised(1.0f, FromUser);
    EXPECT_EQ(blink(), 'f');
}

// Faults: a choice that is skipped or stuck at the end, one that a slide off leaves in place.
TEST_F(ButtonsTest, ChoicesGoRound) {
    struct Row {
        const char* keys;
        const char* id;
        const char* gestures;
        const char* expected;
    };
    const Row rows[] = {
        {"class='Button' handle='four'", "Mode", "duduDu", "d21 u21 d32 u32 D43 u43"},
        {"class='Button' handle='four'", "Mode", "doUi", "d21 of0 Uf0 if0"},
        {"class='Enum' handle='four'", "Mode", "du", "d32 u32"},  // by where it is pressed
        {"class='Button' handle='two' value='2'", "Mode", "dudu", "dn2 un2 df0 uf0"},
        {"class='Button' handle='two'", "None", "du", "df0 uf0"},
        {"class='Button' handle='two'", "Title", "du", "df0 uf0"},
        {"class='ButtonChoice' handle='four'", "Steps", "dudududu",
         "d32 u32 d33 u33 d44 u44 df0 uf0"},
    };
    editor->addClass<ControlEnum>("Enum");
    for (const auto& [keys, id, gestures, expected] : rows) {
        plugin.parameter(id).resetToDefault(FromHost);
        open(std::string("<b width='10' height='10' ") + keys + " parameter='" + id + "'/>");
        EXPECT_EQ(play(gestures, plugin.parameter(id)), std::string(" ") + expected) << id;
    }

    Parameter& mode = plugin.parameter("Mode");
    mode.setNormalised(0.0f, FromHost);
    open("<b class='Button' id='b' parameter='Mode' width='10' height='10'/>");
    auto& button = probe<ControlEnumButton>("b");
    EXPECT_TRUE(press(WindowMessage::TabKey) && press(WindowMessage::ReturnKey));
    point(Pointer::LeftDown, 5, 5);
    button.setParameterName("Nothing");
    point(Pointer::Move, 50, 50);
    point(Pointer::LeftUp, 50, 50);
    click();
    EXPECT_EQ(button.getChoice(), -1);
    EXPECT_FLOAT_EQ(mode.getNormalised() * 3.0f, 2.0f);
}

// Faults: a choice that isn't made, a preview that stays, a menu that opens over nothing, an
// interface that ends over a preview.
TEST_F(ButtonsTest, AMenuIsHeardWhileTheUserLooks) {
    Parameter& mode = plugin.parameter("Mode");
    const auto chosen = [&mode] { return std::lround(mode.getNormalised() * 3.0f); };
    const auto openMenu = [this](const std::string& keys) {
        open("<m class='PopupMenu' id='m' width='10' height='10' " + keys + "/>");
    };
    openMenu("parameter='Mode' handle='four' displaychoice='true'");
    EXPECT_EQ(chooseAt(Pointer::LeftDown, 5, 5, "High dB"), "Low dB*,Mid dB,3 dB,High dB,");
    EXPECT_EQ(chosen(), 3);
    EXPECT_EQ(editor->getCaptureControl(), nullptr);
    for (const auto& [id, expected] :
         {std::pair("Switch", "Off*,On,"), {"None", ""}, {"Title", ""}, {"Volume", ""}}) {
        openMenu(std::string("parameter='") + id + "'");
        EXPECT_EQ(chooseAt(Pointer::LeftDown, 5, 5, "On"), expected);
    }
    EXPECT_EQ(plugin.parameter("Switch").getNormalised(), 1.0f);

    std::function<std::optional<std::int32_t>(const std::vector<platform::MenuEntry>&)> look;
    desktop.menu = [&](const std::vector<platform::MenuEntry>& entries, platform::Spot) {
        return look(entries);
    };
    const auto highlight = [&](const platform::MenuEntry& entry) {
        const platform::Pixels drawn = window().owner->drawEntry(entry.id, true);
        const platform::Spot size = window().owner->measureEntry(entry.id);
        EXPECT_EQ(std::pair(size.x, size.y), std::pair(drawn.width, 22));
    };
    openMenu("parameter='Mode' live='true'");
    mode.setNormalised(0.0f, FromHost);
    look = [&](const auto& entries) {
        for (const bool isSelected : {false, true})
            test::expectPicture(*editor->drawMenuEntry(entries[0].id, isSelected, 1.5f),
                                isSelected ? "entry-selected-150" : "entry-150");
        highlight(entries[3]);
        EXPECT_EQ(chosen(), 3);
        EXPECT_EQ(window().owner->measureEntry(4711).x, 0);
        return std::optional<std::int32_t>();
    };
    const std::size_t undone = editor->getUndoList().getUndoCount();
    point(Pointer::LeftDown, 5, 5);
    press(WindowMessage::TabKey);
    press(WindowMessage::ReturnKey);
    EXPECT_EQ(chosen(), 0);
    EXPECT_EQ(editor->getUndoList().getUndoCount(), undone);
    look = [&](const auto& entries) {
        highlight(entries[3]);
        return std::optional(entries[3].id);
    };
    mode.setNormalised(1.0f / 3.0f, FromHost);
    EXPECT_TRUE(press(WindowMessage::TabKey) && press(WindowMessage::ReturnKey));
    EXPECT_EQ(editor->getCaptureControl(), nullptr);
    EXPECT_TRUE(chosen() == 3 && press('Z', {0x11}) && chosen() == 1);
    look = [](const auto& entries) { return std::optional(entries[0].id); };
    point(Pointer::LeftDown, 5, 5);
    EXPECT_EQ(chosen(), 0);
    // An end in the middle of a menu, and the host's change under one that the user only leaves.
    look = [&](const auto& entries) {
        highlight(entries[2]);
        editor->close();
        return std::optional(entries[2].id);
    };
    point(Pointer::LeftDown, 5, 5);
    EXPECT_EQ(chosen(), 0);
    ASSERT_TRUE(editor->open(nullptr, {}));
    look = [&](const auto&) {
        mode.setNormalised(1.0f, FromHost);
        return std::optional<std::int32_t>();
    };
    point(Pointer::LeftDown, 5, 5);
    EXPECT_EQ(chosen(), 3);
    look = [&](const auto& entries) {
        highlight(entries[1]);
        delete &probe<Control>("m");
        return std::optional(entries[1].id);
    };
    point(Pointer::LeftDown, 5, 5);
    openMenu("parameter='Mode'");
    const Hearer end(mode, [this](Message& message) {
        if (static_cast<ParameterMessage&>(message).mode == FromUser)
            editor.reset();
    });
    look = [&](const auto& entries) {
        EXPECT_EQ(window().owner->drawEntry(entries[3].id, true).bytes, nullptr);
        return std::optional(entries[3].id);
    };
    point(Pointer::LeftDown, 5, 5);
    EXPECT_EQ(editor, nullptr);
}

// Faults: a note without an end, an address that starts a program.
TEST_F(ButtonsTest, PadsAndLinks) {
    open(
        "<t class='Trigger' id='t' parameter='Volume' handle='two' down='down' width='10' "
        "height='40'/>");
    Parameter& volume = plugin.parameter("Volume");
    auto& engine = plugin.engine(0);
    const auto notes = [&engine] {
        std::string all;
        for (const NoteEvent& note : std::exchange(engine.notes, {}))
            all += std::to_string(note.type) + ":" + std::to_string(note.key) + ":" +
                   std::to_string(note.velocity) + " ";
        return all;
    };
    point(Pointer::LeftDown, 5, 10);
    EXPECT_FLOAT_EQ(volume.getFloat(), 0.75f);
    point(Pointer::Move, 5, 30);
    point(Pointer::LeftUp, 5, 30);
    EXPECT_FLOAT_EQ(volume.getFloat(), 0.0f);
    EXPECT_EQ(look(), 'f') << "let go";
    EXPECT_EQ(notes(), "1:60:95 2:60:0 ");
    ParameterMessage reset(nullptr, ParameterMessage::ResetToDefault, "Volume", 0, 0, 0.5f,
                           FromUser);
    probe<Control>("t").handle(reset);
    EXPECT_EQ(notes(), "1:60:64 ");
    std::thread([&engine] {
        Note note;
        note.setMidi(Note::NoteOnStatus, 0, 36, 100, 0, 0, 0);
        engine.Engine::noteEvent(note);
    }).join();
    editor->idle();
    EXPECT_EQ(volume.getFloat(), 1.0f);

    open("<q class='Quorl' handle='two' url='file:///bin/true'/>");
    click();
    EXPECT_EQ(look(), 'n');
    for (const std::string mark : {"", "*"}) {
        EXPECT_TRUE(chooseAt(Pointer::RightDown, 5, 5, "Enable CPU meters")
                        .starts_with("Troubleshooting[Enable CPU meters" + mark + ",],"));
        bool isOn = false;
        EXPECT_TRUE(Preferences::user()->getBool("ShowCPUMeters", isOn));
        EXPECT_EQ(isOn, mark.empty());
    }
}

// Faults: a favourite that is stored without Shift, not shown, or in no slot at all.
TEST_F(ButtonsTest, FavouritesAreStoredAndRecalled) {
    plugin.addPreset("Mine");
    open("<f class='FavoriteButton' on='2' handle='two'/>");
    EXPECT_EQ(look(), 'f');
    click();
    EXPECT_EQ(plugin.getCurrentIndex(), 1) << "nothing is stored yet";
    desktop.heldKeys = {0x10};
    click();
    EXPECT_EQ(look(), 'n');
    desktop.heldKeys.clear();
    plugin.setProgram(0);
    EXPECT_EQ(look(), 'f');
    click();
    EXPECT_EQ(plugin.getCurrentIndex(), 1);
    EXPECT_EQ(look(), 'n');
}

}  // namespace
}  // namespace tarn
