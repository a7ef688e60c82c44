#include "drawing/Pictures.h"
#include "editor/ControlContainer.h"
#include "editor/OpenEditor.h"

#include <gmock/gmock.h>

namespace tarn {
namespace {

using test::EditorTest;
using test::Probe;
using testing::ElementsAre;

constexpr int Shift = 0x10, ControlKey = 0x11, Alt = 0x12;
constexpr std::int32_t Tab = WindowMessage::TabKey, Return = WindowMessage::ReturnKey,
                       Escape = WindowMessage::EscapeKey, Space = WindowMessage::SpaceKey,
                       Up = WindowMessage::UpKey;

constexpr const char* Skin =
    "<a class='Probe' id='plain' width='10' height='10'/>"
    "<b class='Probe' id='first' y='40' width='20' height='12' keyboard='true'/>"
    "<c class='Container' id='box' x='40' width='60' height='40'><controls>"
    "<d class='Probe' id='second' x='2' y='2' width='20' height='12' keyboard='true' "
    "button='true'/>"
    "<e class='Probe' id='hidden' width='20' height='12' keyboard='true' visible='false'/>"
    "<f class='Probe' id='off' width='20' height='12' keyboard='true' enabled='false'/>"
    "<g class='Probe' id='outside' x='90' width='20' height='12' keyboard='true'/></controls></c>"
    "<h class='Text' id='third' x='30' y='60' width='40' height='16' parameter='Title'/>"
    "<i class='Text' id='fixed' y='20' width='30' height='16' parameter='Title' editable='false'/>"
    "<j class='Text' id='bare' y='20' width='30' height='16' text='x'/>";

class KeyboardTest : public EditorTest {
protected:
    void SetUp() override {
        open(Skin);
        for (const char* const id : {"special::background", "plain", "first", "second"})
            probe(id).takes = false;
    }
    std::string focused() {
        const Control* const control = editor->getKeyboardControl();
        return control != nullptr
                   ? control->getControlId() + (editor->showsKeyboardOn(*control) ? "*" : "")
                   : "";
    }
    Control& control(const char* id) { return probe<Control>(id); }
    void click(std::int32_t x, std::int32_t y) {
        point(Pointer::LeftDown, x, y);
        if (!desktop.windows().empty())
            point(Pointer::LeftUp, x, y);
    }
};

// Faults: a control that no key reaches, one that can't be seen and gets the keys, a key that the
// host misses.
TEST_F(KeyboardTest, TabGoesRoundWhatCanBeSeenAndUsed) {
    const struct {
        std::int32_t key;
        std::set<int> held;
        bool isUsed;
        std::string focus;
    } steps[] = {
        {Escape, {}, false, ""},
        {Tab, {ControlKey}, false, ""},
        {Tab, {Alt}, false, ""},
        {Tab, {Shift}, true, "third*"},
        {Tab, {}, true, "first*"},
        {Tab, {}, true, "second*"},
        {Tab, {}, true, "third*"},
        {Tab, {}, true, "first*"},
        {Tab, {Shift}, true, "third*"},
        {Tab, {Shift}, true, "second*"},
        {Escape, {Shift}, false, "second*"},
        {Space, {Shift}, false, "second*"},
        {Escape, {}, true, ""},
        {Return, {}, false, ""},
        {Tab, {}, true, "first*"},
    };
    int step = 0;
    for (const auto& [key, held, isUsed, focus] : steps) {
        EXPECT_EQ(press(key, held), isUsed) << step;
        EXPECT_EQ(focused(), focus) << step++;
    }
    for (const char* const id : {"first", "second", "third"})
        control(id).setVisible(false);
    EXPECT_FALSE(press(Tab));
    ASSERT_TRUE(load(skin("")));
    EXPECT_FALSE(press(Tab));
}

// Faults: a click that leaves the keys elsewhere, a frame for those who use the pointer alone, a
// window that gets no keys.
TEST_F(KeyboardTest, APressGivesTheKeyboardWithoutAFrame) {
    EXPECT_FALSE(window().hasFocus);
    click(5, 5);
    EXPECT_FALSE(window().hasFocus);
    click(5, 45);
    EXPECT_EQ(focused(), "first");
    EXPECT_TRUE(window().hasFocus);
    press(Tab);
    EXPECT_EQ(focused(), "second*");
    point(Pointer::RightDown, 5, 45);
    EXPECT_EQ(focused(), "second*");
    click(45, 5);
    EXPECT_EQ(focused(), "second");
    click(5, 5);
    EXPECT_EQ(focused(), "");
}

// Fault: the keyboard of a control that is hidden, gone, or beneath a dialog.
TEST_F(KeyboardTest, WhateverEndsTheControlsUseTakesTheKeyboard) {
    const std::function<void()> ends[] = {
        [this] { control("second").setVisible(false); },
        [this] { control("box").setVisible(false); },
        [this] { control("second").clearFlags(Control::Enabled); },
        [this] { control("box").clearFlags(Control::Enabled); },
        [this] { control("box").setFlags(Control::ThumbnailMode); },
        [this] { editor->enterModal(control("plain")); },
        [this] { editor->close(); },
        [this] { EXPECT_TRUE(load(skin(Skin))); },
        [this] { EXPECT_TRUE(load(skin(""))); },
    };
    for (const auto& end : ends) {
        SetUp();
        press(Tab);
        press(Tab);
        ASSERT_EQ(focused(), "second*");
        end();
        EXPECT_EQ(focused(), "");
        editor->idle();
    }
    // A dialog keeps the keys to itself; and one that gets them may end everything.
    SetUp();
    editor->enterModal(control("box"));
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(press(Tab));
        EXPECT_EQ(focused(), "second*");
    }
    control("box").setVisible(false);
    press(Tab);
    EXPECT_EQ(focused(), "first*");
    control("third").setParameterName("");
    press(Tab);
    EXPECT_EQ(focused(), "first*");
    probe("first").onEvent = [this](const WindowMessage&) { editor->close(); };
    EXPECT_FALSE(press(Up));
    EXPECT_EQ(focused(), "");
    SetUp();
    desktop.text = [this](const platform::TextRequest&) {
        editor.reset();
        return std::optional<std::string>("late");
    };
    press(Tab, {Shift});
    EXPECT_TRUE(press(Return));
    EXPECT_TRUE(desktop.windows().empty());
    EXPECT_EQ(plugin.parameter("Title").getText(), "");
}

// Faults: a key that two controls get, or that skips one; a press that the host sees half of; a
// change that the host isn't told to record.
TEST_F(KeyboardTest, AKeyIsTheFirstOnesThatUsesIt) {
    struct Listener : Radio {
        Listener() : Radio(nullptr) {}
        bool receive(Message& message) override {
            codes += std::to_string(message.code) + " ";
            return false;
        }
        std::string codes;
    } listener;
    press(Tab);
    point(Pointer::Move, 5, 5);
    listener.tuneIn(editor.get());
    Probe &first = probe("first"), &plain = probe("plain");
    first.setParameterName("Volume");
    const auto heard = [&](std::int32_t key) {
        first.take();
        plain.take();
        const bool isUsed = press(key);
        return "first " + first.take() + "plain " + plain.take() + (isUsed ? "used" : "");
    };
    EXPECT_EQ(heard('A'), "first 24@0,0 plain 24@0,0 ");
    EXPECT_EQ(listener.codes, "");
    plain.takes = true;
    EXPECT_EQ(heard(WindowMessage::PageUpKey), "first 24@0,0 plain 24@0,0 used");
    EXPECT_EQ(heard(Space), "first 24@0,0 plain 24@0,0 used");
    first.takes = true;
    EXPECT_EQ(heard(Tab), "first 24@0,0 plain used");
    EXPECT_EQ(heard(WindowMessage::DownKey), "first 24@0,0 plain used");
    EXPECT_EQ(listener.codes, "6 7 6 7 ");
    point(Pointer::Move, 5, 45);
    first.takes = false;
    EXPECT_EQ(heard('A'), "first 24@0,0 plain ");
    first.takes = true;
    for (int repeats = 0; repeats < 3; ++repeats)
        EXPECT_TRUE(window().owner->key('A', 'a', true));
    EXPECT_TRUE(window().owner->key('A', 0, false));
    EXPECT_FALSE(window().owner->key('A', 0, false));
    EXPECT_FALSE(window().owner->key(-1, 0, false));
    EXPECT_TRUE(window().owner->key(0x7FFFFFFF, 0, true));
    listener.disconnect();
}

// Faults: a button that the space bar presses although the user meant the host's transport, a value
// that only the pointer can edit.
TEST_F(KeyboardTest, ReturnAndSpaceActivate) {
    int boxes = 0;
    desktop.text = [&](const platform::TextRequest&) {
        ++boxes;
        return std::optional<std::string>("typed");
    };
    EXPECT_FALSE(press(Return) || press(Space));
    click(45, 5);
    ASSERT_EQ(focused(), "second");
    EXPECT_FALSE(press(Space));
    EXPECT_TRUE(press(Return));
    EXPECT_EQ(probe("second").activated, 1);
    press(Tab);
    press(Tab);
    press(Tab);
    ASSERT_EQ(focused(), "second*");
    EXPECT_TRUE(press(Space));
    EXPECT_EQ(probe("second").activated, 2);
    EXPECT_FALSE(press(Space, {ControlKey}) || press(Return, {Alt}));
    press(Tab);
    ASSERT_EQ(focused(), "third*");
    EXPECT_FALSE(press(Space));
    EXPECT_EQ(boxes, 0);
    EXPECT_TRUE(press(Return));
    EXPECT_EQ(plugin.parameter("Title").getText(), "typed");
    EXPECT_EQ(boxes, 1);
    press(Tab);
    ASSERT_EQ(focused(), "first*");
    EXPECT_FALSE(press(Return));
}

// Fault: an event without the keys that are held with it.
TEST_F(KeyboardTest, EventsSayWhichModifiersAreHeld) {
    std::vector<std::uint32_t> modifiers;
    Probe& plain = probe("plain");
    plain.onEvent = [&](const WindowMessage& event) { modifiers.push_back(event.modifiers); };
    plain.takes = true;
    point(Pointer::Move, 5, 5);
    modifiers.clear();
    desktop.heldKeys = {Shift};
    point(Pointer::LeftDown, 5, 5);
    desktop.heldKeys = {Shift, ControlKey};
    point(Pointer::Move, 6, 5);
    desktop.heldKeys = {Alt};
    point(Pointer::LeftUp, 6, 5);
    desktop.heldKeys = {ControlKey};
    window().owner->wheel({5, 5}, 120);
    press('A', {Shift, ControlKey, Alt});
    EXPECT_THAT(modifiers, ElementsAre(1u, 1u, 3u, 4u, 2u, 7u));

    // All three move any control.
    plain.takes = false;
    point(Pointer::Left);
    Control& box = control("box");
    desktop.heldKeys = {Shift, ControlKey, Alt};
    point(Pointer::LeftDown, 70, 30);
    point(Pointer::Move, 65, 33);
    point(Pointer::LeftUp, 65, 33);
    EXPECT_EQ(box.getRect().topLeft(), (Point{35, 3}));
}

// Faults: a frame that stays, is cut, or stands over what lies above it; one that neighbours draw
// over or that draws over them.
TEST_F(KeyboardTest, PictureOfTheFrame) {
    const auto show = [this](float scale) {
        files.write("Controls.xml",
                    "<dict>" + test::Header +
                        "<controls><c class='Probe' id='special::background' width='100' "
                        "height='60' label='' background='#203040' focuscolor='#40e0ff'><controls>"
                        "<a class='Probe' id='one' x='4' y='4' width='30' height='20' label='One' "
                        "background='#705030' keyboard='true'/>"
                        "<b class='Probe' id='two' x='34' y='4' width='30' height='20' label='Two' "
                        "background='#307050' keyboard='true'/>"
                        "<c class='Probe' id='over' x='52' y='14' width='20' height='20' label='' "
                        "background='#903050'/>"
                        "<d class='Probe' id='tiny' x='80' y='4' width='4' height='3' label='' "
                        "keyboard='true'/>"
                        "<e class='Probe' id='thin' x='88' y='4' width='2' height='30' label='' "
                        "keyboard='true'/></controls></c></controls></dict>");
        ASSERT_TRUE(editor->loadControls(File(files.path("Controls.xml"))).isOk());
        ASSERT_TRUE(editor->open(nullptr, {}, scale));
        for (const char* const id : {"one", "two", "tiny", "thin"})
            probe(id).takes = false;
        editor->idle();
    };
    for (const float scale : {1.0f, 1.5f}) {
        show(scale);
        const auto plain = window().shown;
        for (const char* const id : {"one", "two", "tiny", "thin", "one", "two"}) {
            press(Tab);
            ASSERT_EQ(focused(), std::string(id) + "*");
            editor->idle();
            const auto drawn = window().shown;
            EXPECT_NE(drawn, plain) << id;
            for (const Rect& part : {Rect{30, 0, 36, 60}, Rect{0, 20, 100, 22}, Rect{50, 3, 90, 6}})
                editor->redraw(part);
            editor->idle();
            EXPECT_TRUE(window().shown == drawn) << id;
            editor->redrawAll();
            editor->idle();
            EXPECT_TRUE(window().shown == drawn) << id;
        }
        test::expectPicture(*editor->getCanvas()->getPixels(),
                            "keyboard-" + std::to_string(static_cast<int>(scale * 100)));
        press(Escape);
        editor->idle();
        EXPECT_TRUE(window().shown == plain);
    }
    ASSERT_TRUE(load(skin("")));
    EXPECT_EQ(editor->getFocusColor(), editor->getHighlightColor());
}

}  // namespace
}  // namespace tarn
