#include "drawing/Pictures.h"
#include "editor/ControlEnumButton.h"
#include "editor/ControlEnumPopupMenu.h"
#include "editor/ControlFavoriteButton.h"
#include "editor/ControlValueButton.h"
#include "editor/ControlValueButtonChoice.h"
#include "editor/OpenEditor.h"
#include "foundation/Preferences.h"
#include "parameters/ParameterEnum.h"
#include "support/Hearer.h"

#include <array>
#include <thread>

namespace tarn {
namespace {

using test::EditorTest;

std::string settings() {
    std::string text = test::SettingsText;
    const std::string more =
        "<Mode class='ParameterEnum' type='string' unit='dB'><values><x value='a' display='Low'/>"
        "<x value='b' display='Mid'/><x value='c' display=''/><x value='d' display='High'/>"
        "</values></Mode><Level class='ParameterEnum' type='float'><values><x value='0.5' "
        "display='half'/></values></Level><None class='ParameterEnum' type='integer'/>"
        "<Steps class='ParameterValue' type='integer' minval='-1' maxval='3' defval='0'/>"
        "<Thirds class='ParameterValue' type='float' minval='0' maxval='3' defval='0' steps='3'/>"
        "<S1 class='ParameterValue' type='bool' scope='module'/><S2 class='ParameterValue' "
        "type='bool' "
        "scope='module'/><S3 class='ParameterValue' type='bool' scope='module'/>";
    return text.insert(text.find("</parameters>"), more);
}

class ButtonsTest : public EditorTest {
protected:
    ButtonsTest() : EditorTest(settings()) {
        addStrip("off", {"#101010"});
        addStrip("on", {"#f0f0f0"});
        addStrip("down", {"#a00000"});
        addStrip("downon", {"#ff0000"});
        addStrip("blink", {"#00ff00"});
        addStrip("two", {"#101010", "#f0f0f0"});
        addStrip("glow", {"#101010", "#f0f0f0", "#0000ff"});
        addStrip("four", {"#101010", "#404040", "#808080", "#c0c0c0"});
    }
    ~ButtonsTest() override { ControlValueButton::setBlinkSpread(nullptr); }

    // Frames of 10 by 10, one under the other, each of one colour.
    void addStrip(const std::string& id, const std::vector<const char*>& colors) {
        const auto count = static_cast<std::int32_t>(colors.size());
        const Rect all{0, 0, 10, 10 * count};
        Canvas canvas(all);
        canvas.beginFrame(all);
        for (std::int32_t i = 0; i < count; ++i) {
            Color color;
            ASSERT_TRUE(color.parse(colors[static_cast<std::size_t>(i)]));
            canvas.setFillColor(color);
            canvas.fillRect({0, 10 * i, 10, 10 * i + 10});
        }
        const auto bitmap = std::make_shared<Bitmap>(canvas.grab(all));
        bitmap->setFrames({0, 0, 10, 10}, 1, count);
        editor->bitmaps[id] = bitmap;
    }
    // What the window shows at a place: a letter for each of the colours above.
    char look(std::int32_t x = 5, std::int32_t y = 5) {
        editor->idle();
        const PixelsData& shown = *editor->getCanvas()->getPixels();
        const std::uint8_t* const pixel = shown.row(y) + 4 * x;
        const std::array<int, 3> color{pixel[2], pixel[1], pixel[0]};
        for (const auto& [letter, red, green, blue] : {std::tuple{'f', 16, 16, 16},
                                                       {'n', 240, 240, 240},
                                                       {'d', 160, 0, 0},
                                                       {'D', 255, 0, 0},
                                                       {'b', 0, 255, 0},
                                                       {'v', 0, 0, 255},
                                                       {'2', 64, 64, 64},
                                                       {'3', 128, 128, 128},
                                                       {'4', 192, 192, 192}})
            if (color == std::array<int, 3>{red, green, blue})
                return letter;
        return '?';
    }
    // Presses, slides off and back on, lets go, sets by the host on and off; and what is seen and
    // set after each.
    std::string play(const std::string& gestures, Parameter& parameter) {
        std::string all;
        for (const char gesture : gestures) {
            if (gesture == 'd' || gesture == 'u')
                point(gesture == 'd' ? Pointer::LeftDown : Pointer::LeftUp, 5, 5);
            else if (gesture == 'r' || gesture == 'R')
                point(gesture == 'r' ? Pointer::RightDown : Pointer::RightUp, 5, 5);
            else if (gesture == 'D')
                point(Pointer::LeftDouble, 5, 5);
            else if (gesture == 'U')
                point(Pointer::LeftUp, 50, 50);
            else if (gesture == 'o' || gesture == 'i')
                point(Pointer::Move, gesture == 'o' ? 50 : 5, 5);
            else
                parameter.setNormalised(gesture == 's' ? 1.0f : 0.0f, FromHost);
            all += std::string(" ") + gesture + look() +
                   std::to_string(static_cast<int>(std::lround(parameter.getFloat())));
        }
        return all;
    }
    void click(int x = 5, int y = 5) {
        point(Pointer::LeftDown, x, y);
        point(Pointer::LeftUp, x, y);
    }
    std::string open(const std::string& controls) {
        EXPECT_TRUE(load(
            skin("<a class='Text' width='100' height='80' background='#303030'/>" + controls)));
        EXPECT_TRUE(editor->open(nullptr, {}));
        return controls;
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
        {pictures, "dudu", " dd0 un1 dD1 uf0"},
        {pictures, "doUdoiu", " dd0 of0 Uf0 dd0 of0 id0 un1"},
        {pictures, "dsudcu", " dd0 sD1 uf0 dd0 cd0 un1"},
        {pictures, "duDu", " dd0 un1 DD1 uf0"},
        {pictures, "rR", " rf0 Rf0"},
        {pictures + " pushbutton='true'", "dudoU", " dD1 uf0 dD1 oD1 Uf0"},
        {pictures + " pushbutton='true'", "sdoiusdcu", " sn1 dd0 od0 id0 un1 sn1 dd0 cd0 un1"},
        {pictures + " latchbutton='true'", "dudoiu", " dD1 un1 dd0 of0 id0 uf0"},
        {pictures + " stayon='true'", "dudusdcdu", " dd0 un1 dn1 un1 sn1 dn1 cf0 dd0 un1"},
        {pictures + " autoreset='true'", "dudoU", " dd0 uf0 dd0 of0 Uf0"},
        {pictures + " editable='false'", "du", " df0 uf0"},
        {"handle='two'", "dudu", " df0 un1 dn1 uf0"},
        {"handle='two' down='down'", "dudu", " dd0 un1 dd1 uf0"},
        {"handle='off'", "du", " df0 uf1"},
        {"handle='glow'", "dus", " df0 un1 sn1"},
        {"handle='none' up='down'", "du", " dd0 ud1"},
        {"handle='off' over='blink'", "odu", " of0 db0 uf1"},
        {"handle='two' over='blink' focuswhenoff='false' focuswhenon='true'", "odu",
         " of0 df0 ub1"},
    };
    Parameter& parameter = plugin.parameter("Switch");
    for (const Row& row : rows) {
        parameter.setNormalised(0.0f, FromHost);
        open("<b class='Button' parameter='Switch' width='10' height='10' " + row.keys + "/>");
        EXPECT_EQ(play(row.gestures, parameter), row.expected) << row.keys;
        editor->close();
    }
    // Values of its own, and who is told what.
    std::string sources;
    Parameter& steps = plugin.parameter("Steps");
    const auto note = [&](Message& message) {
        sources += std::to_string(static_cast<ParameterMessage&>(message).mode);
    };
    for (const auto& [keys, expected] : {std::pair("on='3' off='1'", " sf3 df1 uf1"),
                                         {"on='2' off='0'", " sf3 df0 uf0"},
                                         {"on='two'", " sf3 df-1 uf-1"},
                                         {"off='2.0'", " sf3 df2 uf2"},
                                         {"on='true' off='false'", " sf3 df0 uf0"}}) {
        open(std::string("<b class='Button' parameter='Steps' width='10' height='10' "
                         "handle='off' latchbutton='true' ") +
             keys + "/>");
        EXPECT_EQ(play("sdu", steps), expected) << keys;
        editor->close();
    }
    open("<b class='Button' id='b' parameter='Switch' autoreset='true' width='10' height='10'/>");
    parameter.setNormalised(0.0f, FromHost);
    {
        const Hearer hearer(parameter, note);
        sources.clear();
        click();
        EXPECT_EQ(sources, "23");
        probe<ControlValueButton>("b").pressAndRelease();
        EXPECT_EQ(sources, "2323");
    }

    // A parameter that goes, a press that the interface's end cuts off.
    auto& button = probe<ControlValueButton>("b");
    point(Pointer::LeftDown, 5, 5);
    button.setParameterName("Nothing");
    point(Pointer::LeftUp, 5, 5);
    EXPECT_FALSE(button.isOn());
    button.clearFlags(Control::AutoReset);
    button.pressAndRelease();
    EXPECT_TRUE(button.isOn());
    button.setParameterName("Title");
    click();
    button.setParameterName("Switch");
    point(Pointer::LeftDown, 5, 5);
    editor->close();
    ASSERT_TRUE(editor->open(nullptr, {}));
    point(Pointer::LeftUp, 5, 5);
    EXPECT_FALSE(button.isOn());
    const auto press = [this](std::int32_t key) {
        return window().owner->key(key, 0, true) &&
               plugin.parameter("Switch").getNormalised() == 1.0f;
    };
    point(Pointer::LeftDown, 50, 50);
    point(Pointer::LeftUp, 50, 50);
    window().owner->key(WindowMessage::TabKey, 0, true);
    EXPECT_TRUE(press(WindowMessage::ReturnKey));
    EXPECT_FALSE(press(WindowMessage::SpaceKey));
    const Hearer end(parameter, [this](Message& message) {
        if (static_cast<ParameterMessage&>(message).mode == FromUser)
            editor.reset();
    });
    click();
    EXPECT_EQ(editor, nullptr);
}

// Faults: a button that blinks while it is off or nobody looks, two that blink as one.
TEST_F(ButtonsTest, ABlinkingButtonBlinksWhileItIsOn) {
    for (const auto& [spread, expected] : {std::pair(
                                               +[] { return 95; }, 3.8f),
                                           {+[] { return 105; }, 4.2f}}) {
        ControlValueButton::setBlinkSpread(spread);
        open(
            "<b class='Button' id='b' parameter='Switch' handle='two' blink='blink' "
            "blinkfreq='4'/>");
        EXPECT_FLOAT_EQ(probe<ControlValueButton>("b").getBlinkFrequency(), expected);
    }
    ControlValueButton::setBlinkSpread(nullptr);
    for (int i = 0; i < 50; ++i) {
        open(
            "<b class='Button' id='b' parameter='Switch' handle='two' blink='true' "
            "blinkfreq='1'/>");
        const float frequency = probe<ControlValueButton>("b").getBlinkFrequency();
        EXPECT_TRUE(frequency >= 0.949f && frequency <= 1.051f) << frequency;
    }
    Parameter& parameter = plugin.parameter("Switch");
    const auto tick = [this] {
        TimerMessage message(nullptr, TimerMessage::Tick, fourCharacterCode("CVBb"), 0);
        probe<Control>("b").handle(message);
        return look();
    };
    for (const auto& [key, other] : {std::pair("true", 'f'), {"blink", 'b'}}) {
        parameter.setNormalised(0.0f, FromHost);
        open(std::string("<b class='Button' id='b' parameter='Switch' handle='two' blink='") + key +
             "'/>");
        EXPECT_EQ(tick(), 'f');
        parameter.setNormalised(1.0f, FromHost);
        EXPECT_EQ(tick(), 'n');
        parameter.setNormalised(0.0f, FromHost);
        parameter.setNormalised(1.0f, FromUser);
        EXPECT_EQ(tick(), other);
        EXPECT_EQ(tick(), 'n');
        EXPECT_EQ(tick(), other);
        parameter.setNormalised(0.0f, FromUser);
        EXPECT_EQ(look(), 'f');
        EXPECT_EQ(tick(), 'f');
        click();
        EXPECT_EQ(tick(), other);
        editor->close();
        ASSERT_TRUE(editor->open(nullptr, {}));
        EXPECT_EQ(look(), 'n');
        EXPECT_EQ(tick(), other);
        click();
        EXPECT_EQ(tick(), 'f');
    }
    // The timer of its own.
    click();
    const char first = look();
    while (look() == first)
        std::this_thread::yield();
}

// Faults: a choice that is skipped or stuck at the end, one that a slide off leaves in place.
TEST_F(ButtonsTest, ChoicesGoRound) {
    const auto played = [this](const char* gestures, const char* id) {
        Parameter& parameter = plugin.parameter(id);
        std::string all;
        for (const char gesture : std::string(gestures)) {
            play(std::string(1, gesture), parameter);
            const float last = static_cast<float>(parameter.getStepCount() - 1);
            all += std::to_string(std::lround(parameter.getNormalised() * last));
            all += look();
        }
        return all;
    };
    struct Row {
        const char* keys;
        const char* gestures;
        const char* expected;
    };
    const Row rows[] = {
        {"class='Button' parameter='Mode' handle='four'", "dudurRDu",
         "12122323"
         "34340f0f"},
        {"class='Button' parameter='Mode' handle='four'", "doiUo", "120f121212"},
        {"class='Button' parameter='Mode' handle='four'", "doUi", "120f0f0f"},
        {"class='Button' parameter='Mode' handle='two' value='2'", "dudusdu", "2n2n0f0f3f0f0f"},
        {"class='Button' parameter='Mode' handle='four' value='2'", "dudu", "23230f0f"},
        {"class='Button' parameter='Mode' handle='two' value='9'", "du", "0f0f"},
        {"class='Button' parameter='Level' handle='two'", "du", "0f0f"},
        {"class='Button' parameter='None' handle='two'", "du", "0f0f"},
        {"class='Button' parameter='Title' handle='two'", "du", "0f0f"},
        {"class='ButtonChoice' parameter='Steps' handle='four'", "dudududuDu",
         "2323333344440f0f1212"},
        {"class='ButtonChoice' parameter='Steps' handle='four'", "doU", "232323"},
        {"class='ButtonChoice' parameter='Level' handle='four'", "du", "0f0f"},
    };
    for (const Row& row : rows) {
        const std::string keys = row.keys, id = keys.substr(keys.find("parameter='") + 11);
        const std::string name = id.substr(0, id.find('\''));
        plugin.parameter(name.c_str()).resetToDefault(FromHost);
        open("<b width='10' height='10' " + keys + "/>");
        EXPECT_EQ(played(row.gestures, name.c_str()), row.expected) << keys;
        editor->close();
    }
    for (const auto& [id, expected] : {std::pair("Thirds", " d32 u32 d43 u43 df0 uf0"),
                                       {"Volume", " d41 u41 df0 uf0 d41 u41"}}) {
        open(std::string("<b class='ButtonChoice' handle='four' parameter='") + id + "'/>");
        EXPECT_EQ(play("dududu", plugin.parameter(id)), expected);
        editor->close();
    }

    // A control that is only the list, from its top to its bottom, and parameters that go.
    struct List : ControlEnum {
        using ControlEnum::ControlEnum;
    };
    List list(*editor);
    list.setSize({0, 0, 10, 40});
    list.setParameterName("Mode");
    Parameter& mode = plugin.parameter("Mode");
    for (const auto& [y, expected] : {std::pair(11, 1.0f), {39, 3.0f}, {-5, 0.0f}, {99, 3.0f}}) {
        WindowMessage press(nullptr, WindowMessage::LeftDown, nullptr, Point{0, y}, 0);
        EXPECT_TRUE(list.handle(press));
        EXPECT_FLOAT_EQ(mode.getNormalised() * 3.0f, expected);
    }
    list.setSize({});
    WindowMessage press(nullptr, WindowMessage::LeftDown, nullptr, Point{0, 9}, 0);
    EXPECT_FALSE(list.handle(press));
    list.disconnect();
    open("<b class='Button' id='b' parameter='Mode' width='10' height='10'/>");
    auto& button = probe<ControlEnumButton>("b");
    button.pressAndRelease();
    EXPECT_EQ(mode.getNormalised(), 0.0f);
    point(Pointer::LeftDown, 5, 5);
    button.setParameterName("Nothing");
    point(Pointer::Move, 50, 50);
    point(Pointer::LeftUp, 50, 50);
    button.pressAndRelease();
    click();
    EXPECT_EQ(button.getChoice(), -1);
    EXPECT_FLOAT_EQ(mode.getNormalised() * 3.0f, 1.0f);
}

// Faults: a class for the wrong parameter, one that is missing.
TEST_F(ButtonsTest, TheClassFollowsTheParameter) {
    struct Row {
        const char* className;
        const char* parameters;
        const char* made;
    };
    for (const Row& row :
         {Row{"Button", "Switch Steps Volume Mode Level None Title Nothing", "vvveeee-"},
          {"ButtonChoice", "Switch Steps Volume Mode Level None Title Nothing", "-cc-cc--"},
          {"PopupMenu", "Switch Steps Volume Mode Level None Title Nothing", "ppppppp-"}}) {
        std::istringstream names(row.parameters);
        std::string made;
        for (std::string name; names >> name;) {
            const std::string skinText = skin(std::string("<b id='b' class='") + row.className +
                                              "' parameter='" + name + "'/>");
            try {
                load(skinText);
                const Control& control = probe<Control>("b");
                made += dynamic_cast<const ControlValueButton*>(&control)         ? 'v'
                        : dynamic_cast<const ControlEnumButton*>(&control)        ? 'e'
                        : dynamic_cast<const ControlValueButtonChoice*>(&control) ? 'c'
                        : dynamic_cast<const ControlEnumPopupMenu*>(&control)     ? 'p'
                                                                                  : '?';
            } catch (const Error&) {
                made += '-';
            }
        }
        EXPECT_EQ(made, row.made) << row.className;
    }
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
    EXPECT_EQ(chooseAt(Pointer::RightDown, 5, 5, "3 dB"), "Low dB,Mid dB,3 dB,High dB*,");
    EXPECT_EQ(chosen(), 2);
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
        EXPECT_TRUE(entry.isOwnerDrawn);
        const platform::Spot size = window().owner->measureEntry(entry.id);
        const platform::Pixels picture = window().owner->drawEntry(entry.id, true);
        EXPECT_EQ(size.x, picture.width);
        EXPECT_EQ(size.y, picture.height);
        EXPECT_GT(size.y, 12);
    };
    std::string sources;
    for (const std::string live : {"true", "false"}) {
        openMenu("parameter='Mode' live='" + live + "'");
        mode.setNormalised(0.0f, FromHost);
        look = [&](const auto& entries) {
            EXPECT_EQ(entries[3].isOwnerDrawn, live == "true");
            if (live == "true") {
                highlight(entries[3]);
                EXPECT_EQ(chosen(), 3);
                window().owner->drawEntry(entries[1].id, false);
                EXPECT_EQ(chosen(), 3);
                highlight(entries[1]);
                EXPECT_EQ(chosen(), 1);
                EXPECT_EQ(window().owner->measureEntry(4711).x, 0);
            }
            return std::optional<std::int32_t>();
        };
        const std::size_t undone = editor->getUndoList().getUndoCount();
        point(Pointer::LeftDown, 5, 5);
        EXPECT_EQ(chosen(), 0);
        EXPECT_EQ(editor->getUndoList().getUndoCount(), undone);
    }
    openMenu("parameter='Mode'");
    look = [&](const auto& entries) {
        highlight(entries[3]);
        return std::optional(entries[2].id);
    };
    {
        const Hearer hearer(mode, [&sources](Message& message) {
            sources += std::to_string(static_cast<ParameterMessage&>(message).mode);
        });
        sources.clear();
        probe<ControlEnumPopupMenu>("m").pressAndRelease();
        point(Pointer::LeftUp, 50, 50);
        EXPECT_EQ(chosen(), 2);
        EXPECT_EQ(sources, "22");
    }
    // The host's change under a menu that the user only leaves, and an end in its middle.
    look = [&](const auto&) {
        mode.setNormalised(1.0f, FromHost);
        return std::optional<std::int32_t>();
    };
    point(Pointer::LeftDown, 5, 5);
    EXPECT_EQ(chosen(), 3);
    look = [&](const auto& entries) {
        highlight(entries[1]);
        editor->close();
        return std::optional(entries[1].id);
    };
    point(Pointer::LeftDown, 5, 5);
    EXPECT_EQ(chosen(), 3);
    ASSERT_TRUE(editor->open(nullptr, {}));
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

// Faults: two that are on, none that is, another module's that changes when it is only shown.
TEST_F(ButtonsTest, OneOfAGroupIsOn) {
    const auto group = [](const std::string& keys) {
        std::string text =
            "<r class='RadioButtons' id='group' width='60' height='10' " + keys + "><controls>";
        for (const char* const id : {"S1", "S2", "S3"})
            text += std::string("<b class='Button' handle='two' parameter='") + id + "' x='" +
                    std::to_string(20 * (id[1] - '1')) + "'/>";
        return text + "<t class='Text' x='12' width='6' height='10'/></controls></r>";
    };
    const auto state = [this](int module = 0) {
        std::string all;
        for (const char* const id : {"S1", "S2", "S3"})
            all += plugin.parameter(id, module).getNormalised() > 0.5f ? '1' : '0';
        return all;
    };
    const auto set = [&](const char* id, float value, std::int32_t source) {
        plugin.parameter(id).setNormalised(value, source);
        return state();
    };
    open(group("value='1'"));
    EXPECT_EQ(state(), "000");
    EXPECT_EQ(set("S2", 1.0f, FromHost), "010");
    EXPECT_EQ(set("S2", 0.0f, FromHost), "010");
    EXPECT_EQ(set("S1", 0.0f, FromHost), "010");
    click(5);
    EXPECT_EQ(state() + look(5) + look(25), "100nf");
    click(5);
    EXPECT_EQ(state(), "100");
    click(45);
    EXPECT_EQ(state(), "001");
    EXPECT_EQ(set("S3", 0.0f, FromInternal), "001");
    click(14);
    EXPECT_NE(editor->getHoverControl(), &probe<Control>("group"));
    std::thread([&] {
        set("S1", 1.0f, FromHost);
        set("S3", 1.0f, FromHost);
        set("S2", 1.0f, FromHost);
    }).join();
    editor->idle();
    EXPECT_EQ(std::ranges::count(state(), '1'), 1);

    std::string heard;
    const Hearer hearer(plugin.parameter("S2"), [&heard](Message& message) {
        heard += std::to_string(static_cast<ParameterMessage&>(message).mode);
    });
    set("S2", 1.0f, FromMidi);
    heard.clear();
    set("S1", 1.0f, FromMidi);
    EXPECT_EQ(heard, std::to_string(FromMidi));

    // None is made up for a module that has none, until a user chooses.
    editor->setModule(1);
    EXPECT_EQ(state(1), "000");
    editor->close();
    ASSERT_TRUE(editor->open(nullptr, {}));
    EXPECT_EQ(state(1), "000");
    click(25);
    EXPECT_EQ(state(1), "010");
    EXPECT_EQ(state(), "100");
    EXPECT_TRUE(load(skin(group("visible='false' value='-7'"))));
}

// Faults: a favourite that is lost when it moves, a note without an end, a pad of another key, an
// address that starts a program, a menu without its mark.
TEST_F(ButtonsTest, ButtonsOfOneKind) {
    ASSERT_TRUE(plugin.addPreset("Second"));
    ASSERT_TRUE(plugin.addPreset("Third"));
    const auto favourite = [](int slot, int x) {
        return "<f class='FavoriteButton' handle='two' id='f" + std::to_string(slot) + "' on='" +
               std::to_string(slot) + "' x='" + std::to_string(x) + "'/>";
    };
    open(favourite(0, 0) + favourite(4, 20) + favourite(-3, 40));
    const auto slots = [this] {
        return std::to_string(plugin.getFavorite(0)) + " " + std::to_string(plugin.getFavorite(4)) +
               " " + std::to_string(plugin.getCurrentIndex()) + " " + look(5) + look(25) + look(45);
    };
    click(5);
    EXPECT_EQ(slots(), "-1 -1 2 fff");
    probe<ControlFavoriteButton>("f0").storeCurrent();
    probe<ControlFavoriteButton>("f-3").storeCurrent();
    EXPECT_EQ(slots(), "2 -1 2 nff");
    plugin.setProgram(1);
    probe<ControlFavoriteButton>("f4").storeCurrent();
    EXPECT_EQ(slots(), "2 1 1 fnf");
    probe<ControlFavoriteButton>("f0").storeCurrent();
    EXPECT_EQ(slots(), "1 2 1 nff");
    click(25);
    EXPECT_EQ(slots(), "1 2 2 fnf");
    point(Pointer::LeftDown, 25, 5);
    EXPECT_EQ(editor->getCaptureControl(), nullptr);
    probe<ControlFavoriteButton>("f0").pressAndRelease();
    EXPECT_EQ(slots(), "1 2 1 nff");
    desktop.heldKeys = {0x10};
    click(25);
    desktop.heldKeys.clear();
    EXPECT_EQ(slots(), "2 1 1 fnf");

    open(
        "<t class='Trigger' parameter='Volume' handle='two' width='10' height='40'/>"
        "<t class='Trigger' parameter='Bend' mousedown='inc' handle='two' x='20' width='10' "
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
    EXPECT_EQ(notes(), "1:60:95 2:60:0 ");
    click(25, 10);
    EXPECT_EQ(notes(), "2:60:0 ");
    volume.setNormalised(1.0f, FromHost);
    EXPECT_EQ(notes(), "");
    for (const auto& [key, status, expected] : {std::tuple{36, Note::NoteOffStatus, 0.0f},
                                                {37, Note::NoteOnStatus, 0.0f},
                                                {36, Note::NoteOnStatus, 1.0f},
                                                {37, Note::NoteOffStatus, 1.0f}}) {
        std::thread([&engine, key = key, status = status] {
            Note note;
            note.setMidi(status, 0, static_cast<std::int16_t>(key), 100, 0, 0, 0);
            engine.Engine::noteEvent(note);
        }).join();
        editor->idle();
        EXPECT_EQ(volume.getFloat(), expected) << key;
    }
    editor->setModule(1);
    click(5, 10);
    EXPECT_EQ(notes(), "");
    EXPECT_EQ(plugin.engine(1).notes.size(), 2u);

    open(
        "<q class='Quorl' id='q' handle='two' url='file:///bin/true'/><u class='URL' x='20' "
        "handle='two' url='x:y' autoreset='true'/>");
    click(5);
    EXPECT_EQ(look(5), 'n');
    click(25);
    EXPECT_EQ(look(25), 'f');
    EXPECT_NE(chooseAt(Pointer::RightDown, 5, 5, "Enable CPU meters")
                  .find("Troubleshooting[Enable CPU meters,],"),
              std::string::npos);
    EXPECT_EQ(product.product->messages.size(), 1u);
    EXPECT_NE(chooseAt(Pointer::RightDown, 5, 5, "").find("Enable CPU meters*"), std::string::npos);
    ControlMessage diagnostics(nullptr, ControlMessage::MenuChoice, {}, toPayload(2002));
    EXPECT_TRUE(probe<Control>("q").handle(diagnostics));
    bool isOn = false;
    EXPECT_TRUE(Preferences::user()->getBool("SubmitDiagnostics", isOn) && isOn);
}

// Faults: a text in the wrong state or colour, a glow that comes at once or stays, a menu that
// can't be read.
TEST_F(ButtonsTest, PictureOfButtons) {
    const std::string button = " class='Button' parameter='Switch' ";
    ASSERT_TRUE(load(
        "<dict>" + test::Header +
        "<controls><c class='Text' id='special::background' width='170' "
        "height='70' background='#303030'><controls><a" +
        button +
        "x='4' y='4' width='160' height='16' foreground='#3060a0' text='Mute output' "
        "texton='Output "
        "muted, still sending' textcoloron='#ffc000' background='#404040'/><a" +
        button +
        "x='4' y='24' width='60' height='16' textcolor='#808080' foreground='#3060a0'/><a" +
        button + "x='70' y='24' handle='glow'/><a" + button +
        "x='84' y='24' handle='two' text='T' textcolor='#ff8080'/><m class='PopupMenu' "
        "parameter='Mode' x='100' y='24' width='50' height='14' background='#404040'/><b "
        "class='Button' parameter='Mode' x='4' y='44' width='50' height='14'/><b "
        "class='ButtonChoice' parameter='Steps' x='60' y='44' handle='four'/><m class='PopupMenu' "
        "parameter='Mode' handle='four' displaychoice='true' width='60' height='10' x='100' "
        "y='44'/></controls></c></controls></dict>"));
    const Rect area{0, 0, 170, 70};
    Canvas sheet({0, 0, 340, 240});
    sheet.beginFrame({0, 0, 340, 240});
    ASSERT_TRUE(editor->open(nullptr, {}));
    const auto copy = [&](Point place) {
        editor->idle();
        sheet.copyFrom(*editor->getCanvas(), area, area.movedBy(place));
    };
    const auto fade = [this](float level) {
        // Of a real animation's length, which nobody waits for here.
        for (Control* const control : editor->getControls())
            if (control->getRect().left == 70)
                while (look(75, 29) != (level > 0.0f ? 'v' : 'f'))
                    std::this_thread::yield();
    };
    copy({0, 0});
    point(Pointer::Move, 75, 29);
    fade(1.0f);
    copy({170, 0});
    point(Pointer::Move, 160, 65);
    fade(0.0f);
    plugin.parameter("Switch").setNormalised(1.0f, FromHost);
    plugin.parameter("Mode").setNormalised(1.0f, FromHost);
    copy({0, 70});
    point(Pointer::LeftDown, 10, 30);
    copy({170, 70});
    point(Pointer::LeftUp, 160, 65);
    std::int32_t y = 144;
    desktop.menu = [&](const std::vector<platform::MenuEntry>& entries, platform::Spot) {
        for (const platform::MenuEntry& entry : entries) {
            const bool isSelected = &entry == &entries[3];
            const platform::Pixels drawn = window().owner->drawEntry(entry.id, isSelected);
            PixelsData pixels(drawn.width, drawn.height);
            for (std::int32_t row = 0; row < drawn.height; ++row)
                std::copy_n(drawn.bytes + std::size_t{4} * drawn.width * (drawn.height - 1 - row),
                            4 * drawn.width, pixels.row(row));
            Canvas shown(pixels);
            sheet.copyFrom(shown, {0, 0, drawn.width, drawn.height},
                           Rect{4, y, 4 + drawn.width, y + drawn.height});
            y += drawn.height;
        }
        return std::optional<std::int32_t>();
    };
    point(Pointer::LeftDown, 110, 30);
    Canvas opaque({0, 0, 340, 240});
    opaque.beginFrame({0, 0, 340, 240});
    opaque.setFillColor(Color());
    opaque.fillRect({0, 0, 340, 240});
    opaque.copyFrom(sheet, {0, 0, 340, 240}, {0, 0, 340, 240});
    test::expectPicture(*opaque.getPixels(), "buttons-100");
}

}  // namespace
}  // namespace tarn
