#include "drawing/Pictures.h"
#include "editor/OpenEditor.h"

namespace tarn {
namespace {

using test::EditorTest;
using test::Probe;

constexpr int Shift = 0x10, ControlKey = 0x11;
constexpr std::int32_t Tab = WindowMessage::TabKey, Return = WindowMessage::ReturnKey,
                       Escape = WindowMessage::EscapeKey, Space = WindowMessage::SpaceKey;

class KeyboardTest : public EditorTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(loadSkin("keyboard") && editor->open(nullptr, {}));
        editor->idle();
        for (const char* const id : {"special::background", "plain", "first", "second"})
            probe(id).takes = false;
    }
    // The control that has the keyboard, with a star if a frame shows that.
    std::string focused() {
        const Control* const control = editor->getKeyboardControl();
        return control != nullptr
                   ? control->getControlId() + (editor->showsKeyboardOn(*control) ? "*" : "")
                   : "";
    }
    Control& control(const char* id) { return probe<Control>(id); }
};

// Faults: a control that no key reaches, one that can't be seen and gets the keys, a click that
// leaves the keys elsewhere or draws a frame, a space bar that the user meant for the transport.
TEST_F(KeyboardTest, KeysAndPressesMoveTheKeyboard) {
    int boxes = 0;
    desktop.text = [&](const platform::TextRequest&) {
        return std::optional("typed " + std::to_string(++boxes));
    };
    constexpr std::int32_t Click = -1;  // at what is held
    const struct {
        std::int32_t key;
        std::set<int> held;
        bool isUsed;
        std::string focus;
    } steps[] = {
        {Escape, {}, false, ""},
        {Tab, {ControlKey}, false, ""},
        {Return, {}, false, ""},
        {Tab, {Shift}, true, "third*"},
        {Return, {}, true, "third*"},
        {Tab, {}, true, "first*"},
        {Tab, {}, true, "second*"},
        {Space, {Shift}, false, "second*"},
        {Return, {}, true, "second*"},
        {Space, {}, true, "second*"},
        {Escape, {}, true, ""},
        {Click, {5, 6}, false, ""},
        {Click, {45, 46}, true, "second"},
        {Space, {}, false, "second"},
    };
    int step = 0;
    for (const auto& [key, held, isUsed, focus] : steps) {
        if (key == Click) {
            click(*held.begin(), 5);
            EXPECT_EQ(window().hasFocus, isUsed) << step;
        } else {
            EXPECT_EQ(press(key, held), isUsed) << step;
        }
        EXPECT_EQ(focused(), focus) << step++;
    }
    EXPECT_EQ(probe("second").activated, 2);
    EXPECT_EQ(plugin.parameter("Title").getText(), "typed 1");
    ASSERT_TRUE(load(skin("")));
    EXPECT_FALSE(press(Tab));
}

// Fault: the keyboard of a control that is hidden, gone, or beneath a dialog.
TEST_F(KeyboardTest, WhateverEndsTheControlsUseTakesTheKeyboard) {
    const std::function<void()> ends[] = {
        [this] { control("second").setVisible(false); },
        [this] { delete &control("second"); },
        [this] { control("box").clearFlags(Control::Enabled); },
        [this] { editor->enterModal(control("plain")); },
        [this] { editor->close(); },
        [this] { EXPECT_TRUE(loadSkin("keyboard")); },
        [this] {
            desktop.text = [this](const platform::TextRequest&) {
                editor->close();
                return std::optional<std::string>("late");
            };
            press(Tab);
            press(Return);
        },
    };
    for (const auto& end : ends) {
        SetUp();
        press(Tab);
        press(Tab);
        ASSERT_EQ(focused(), "second*");
        end();
        EXPECT_EQ(focused(), "");
    }
    SetUp();
    editor->enterModal(control("box"));
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(press(Tab));
        EXPECT_EQ(focused(), "second*");
    }
}

// Faults: a key that two controls get, or that skips one; a press that the host sees half of.
TEST_F(KeyboardTest, AKeyIsTheFirstOnesThatUsesIt) {
    press(Tab);
    point(Pointer::Move, 5, 5);
    Probe &first = probe("first"), &plain = probe("plain");
    first.take();
    plain.take();
    const auto heard = [&](std::int32_t key) {
        const bool isUsed = press(key);
        return "first " + first.take() + "plain " + plain.take() + (isUsed ? "used" : "");
    };
    EXPECT_EQ(heard('A'), "first 24@0,0 plain 24@0,0 ");
    plain.takes = true;
    EXPECT_EQ(heard(Space), "first 24@0,0 plain 24@0,0 used");
    first.takes = true;
    EXPECT_EQ(heard(Tab), "first 24@0,0 plain used");
}

// Faults: a frame that stays, is cut, or stands over what lies above it; one that neighbours draw
// over or that draws over them.
TEST_F(KeyboardTest, PictureOfTheFrame) {
    ASSERT_TRUE(loadSkin("frame"));
    ASSERT_TRUE(editor->open(nullptr, {}, 1.5f));
    editor->idle();
    const auto plain = window().shown;
    for (const char* const id : {"one", "two"}) {
        probe(id).takes = false;
        press(Tab);
        EXPECT_EQ(focused(), std::string(id) + "*");
        editor->idle();
        const auto drawn = window().shown;
        for (const Rect& part : {Rect{30, 0, 36, 60}, {50, 3, 90, 6}}) {
            editor->redraw(part);
            editor->idle();
            EXPECT_TRUE(window().shown == drawn) << id;
        }
    }
    test::expectPicture(*editor->getCanvas()->getPixels(), "keyboard-150");
    press(Escape);
    editor->idle();
    EXPECT_TRUE(window().shown == plain);
}

}  // namespace
}  // namespace tarn
