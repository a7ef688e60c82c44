#include "drawing/Pictures.h"
#include "editor/ControlValue.h"
#include "editor/OpenEditor.h"

#include <gmock/gmock.h>

#include <array>
#include <cmath>

namespace tarn {
namespace {

using test::EditorTest;
using testing::HasSubstr;

const std::string Settings =
    "<dict>" + test::Header +
    "<parameters>"
    "<Title class='ParameterText' scope='plugin'/>"
    "<Volume class='ParameterValue' type='float' automatable='true' defval='0.25'/>"
    "<Bend class='ParameterValue' type='float' minval='-1.0' maxval='1.0' defval='0.0'/>"
    "<Steps class='ParameterValue' type='integer' minval='-2' maxval='2' defval='0' "
    "automatable='true'/>"
    "<Down class='ParameterValue' type='integer' minval='10' maxval='0' automatable='true'/>"
    "<section name='Band'><Gain class='ParameterValue' type='bool'/></section>"
    "<section name='Band'><Gain class='ParameterValue' type='bool'/></section>"
    "</parameters></dict>";

class ValueControlsTest : public EditorTest {
protected:
    ValueControlsTest() : EditorTest(Settings) {}

    // A control "v" at the window's corner, 30 by 30 unless the keys, or elements behind them, say
    // otherwise.
    ControlValue& show(const std::string& keys) {
        editor->close();
        open("<v id='v' " + keys + (keys.find('>') == std::string::npos ? "/>" : ">"));
        return probe<ControlValue>("v");
    }
    float value(const char* id) { return plugin.parameter(id).getNormalised(); }
    void drag(Point from, Point to) {
        point(Pointer::LeftDown, from.x, from.y);
        point(Pointer::Move, to.x, to.y);
        point(Pointer::LeftUp, to.x, to.y);
    }
};

// Faults: a dead zone, a factor or a lock that isn't there, a detent that holds for too long or
// jumps, a drag that adds up where it should follow the pointer.
TEST_F(ValueControlsTest, ADragFollowsThePointer) {
    const std::string knob = "class='Knob' parameter='Volume' ", detent = knob + "detent='0'",
                      slider = "class='Slider' parameter='Volume' width='40' height='30'";
    const struct {
        std::string keys;
        float start;
        Point to;  // from 15, 15
        float end;
    } drags[] = {
        // The dead zone, 4 pixels behind it, and 40 across, which count as 10.
        {knob, 0.5f, {15, 9}, 0.5f},
        {knob, 0.5f, {15, 5}, 0.51f},
        {knob, 0.5f, {55, 15}, 0.51f},
        {slider, 0.5f, {25, 15}, 0.6f},
        {"class='Slider' parameter='Volume' width='30' height='40'", 0.5f, {15, 5}, 0.6f},
        {"class='TextValue' parameter='Volume' width='30' height='30'", 0.5f, {15, 5}, 0.51f},
        {"class='Range' parameter='Volume' width='30' height='30'", 0.5f, {15, 5}, 0.5f},
        {knob, 0.5f, {15, -999}, 1.0f},
        // From 7 on the larger one alone.
        {knob, 0.5f, {21, 9}, 0.50375f},
        {knob, 0.5f, {22, 9}, 0.5f},
        {knob, 0.5f, {23, -5}, 0.535f},
        {detent, 0.4f, {15, -45}, 0.52f},
        {detent, 0.4f, {15, -34}, 0.5f},
        {detent, 0.6f, {15, 75}, 0.48f},
        {detent, 0.51f, {15, 41}, 0.46f},
        {knob + "dragspeed='2'", 0.5f, {15, 5}, 0.52f},
        {knob + "invert='true'", 0.5f, {15, 5}, 0.49f},
        {knob + "autoreset='true'", 0.5f, {15, 5}, 0.25f},
    };
    for (const auto& [keys, start, to, end] : drags) {
        show(keys);
        plugin.parameter("Volume").setNormalised(start, FromHost);
        drag({15, 15}, to);
        EXPECT_NEAR(value("Volume"), end, 1e-5f) << keys << " to " << to.x << ", " << to.y;
    }
    // A step of 1 leaves a drag as fast as it is.
    show("class='Knob' parameter='Steps'");
    drag({15, 15}, {15, -97});
    EXPECT_EQ(value("Steps"), 0.75f);
    // A move back leads back, and after the release nothing moves.
    show(knob);
    plugin.parameter("Volume").setNormalised(0.5f, FromHost);
    point(Pointer::LeftDown, 15, 15);
    for (const int y : {-100, 300, 5})
        point(Pointer::Move, 15, y);
    EXPECT_NEAR(value("Volume"), 0.51f, 1e-5f);
    desktop.heldKeys = {0x10};  // Shift
    point(Pointer::Move, 15, -15);
    EXPECT_NEAR(value("Volume"), 0.512f, 1e-5f);
    point(Pointer::LeftUp, 15, 5);
    point(Pointer::Move, 15, -100);
    EXPECT_NEAR(value("Volume"), 0.512f, 1e-5f);
    desktop.heldKeys = {0x11};  // Ctrl
    click(15, 15);
    EXPECT_EQ(value("Volume"), 0.25f);
}

// Faults: a handle that doesn't come to the pointer, or is moved by a press that is near enough.
TEST_F(ValueControlsTest, APressBesideTheHandleTakesItThere) {
    addStrip("tall", {8, 10}, 2, 1);
    addStrip("wide", {8, 8}, 2, 1);
    addBitmap("image");
    const std::string moved =
                          "class='Slider' parameter='Volume' handle='tall' type='move' width='8"
                          "' height='60' ",
                      filled =
                          "class='Slider' parameter='Volume' handle='tall' width='8' "
                          "height='60' ",
                      across =
                          "class='Slider' parameter='Volume' handle='wide' width='60' "
                          "height='8' ";
    const struct {
        std::string keys;
        float start;
        Point press;
        float end;
    } presses[] = {
        {moved, 0.0f, {6, 15}, 0.8f},
        {moved + "background='image'", 0.0f, {6, 15}, 0.8f},  // in a hole of it
        {moved, 0.8f, {6, 27}, 0.8f},
        {moved, 0.8f, {6, 28}, 0.54f},
        {moved, 0.8f, {6, 2}, 0.8f},
        {moved, 0.8f, {6, 1}, 1.0f},
        {moved + "grabanywhere='true'", 0.8f, {6, 50}, 0.8f},
        {filled, 0.0f, {6, 15}, 0.75f},
        {filled, 0.0f, {6, 52}, 0.0f},
        {filled, 0.0f, {6, 51}, 0.15f},
        {across, 0.0f, {45, 4}, 0.75f},
        {across + "type='move'", 0.0f, {30, 4}, 0.5f},
        {across + "type='move'", 0.5f, {26, 4}, 0.5f},
    };
    for (const auto& [keys, start, press, end] : presses) {
        show(keys);
        plugin.parameter("Volume").setNormalised(start, FromHost);
        click(press.x, press.y);
        EXPECT_NEAR(value("Volume"), end, 1e-5f) << keys << " at " << press.x << ", " << press.y;
    }
}

// Faults: a table that is read in the wrong order or only one way, an end that can't be reached,
// a division by nothing.
TEST_F(ValueControlsTest, TheTableMapsPositionsAndBack) {
    const auto table = [](const std::string& points) {
        return "class='Knob' parameter='Volume'><scaling>" + points + "</scaling></v>";
    };
    const std::string curve = "<p value='1'/><p value='0'/><p value='0.1'/>";
    const std::string placed =
        "<p value='1' position='1'/><p value='0.5' position='0.2'/><p value='0'/>";
    const struct {
        std::string keys;
        float position, value;
    } places[] = {
        {table(curve), 0.25f, 0.05f},
        {table(placed), 0.6f, 0.75f},
        {table("<p value='1'/><p value='0.5' position='0.2'/><p position='1'/>"), 0.6f, 0.75f},
        {"min='0.5' class='Knob' parameter='Volume'", 0.75f, 0.75f},
        {"invert='true' class='Knob' parameter='Volume'", 0.2f, 0.8f},
        {"invert='true' min='0.2' max='0.8' class='Knob' parameter='Volume'", 0.3f, 0.7f},
    };
    for (const auto& [keys, position, expected] : places) {
        ControlValue& control = show(keys);
        control.setPosition(position);
        EXPECT_NEAR(value("Volume"), expected, 1e-5f) << keys;
        EXPECT_NEAR(control.getPosition(), position, 1e-5f) << keys;
    }
    show("min='0.5' class='Knob' parameter='Volume'").setPosition(0.2f);
    EXPECT_EQ(value("Volume"), 0.5f) << "not beyond the control's part of the range";
    // Equal ends are no number.
    for (const std::string& keys :
         {std::string("min='0.5' max='0.5' class='Knob' parameter='Volume'"),
          table("<p value='0.5' position='0.2'/><p value='0.5' position='0.2'/>"),
          table("<p value='nan'/><p value='inf' position='inf'/>")}) {
        ControlValue& control = show(keys);
        for (const float position : {0.0f, 0.3f, 1.0f, NAN, INFINITY}) {
            control.setPosition(position);
            EXPECT_TRUE(control.getPosition() >= 0.0f && control.getPosition() <= 1.0f) << keys;
            EXPECT_TRUE(value("Volume") >= 0.0f && value("Volume") <= 1.0f) << keys;
        }
    }
}

// Faults: a wheel that doesn't reach the next step, keys that go the wrong way, an end that is
// walked over or not.
TEST_F(ValueControlsTest, TheWheelAndTheKeysMakeSteps) {
    enum Input { Wheel, Key, ShiftedKey };
    const struct {
        const char* keys;
        const char* parameter;
        float start;
        Input input;
        int amount;  // notches times 120, or the key's code
        float end;
    } steps[] = {
        {"", "Volume", 0.5f, Wheel, 120, 0.525f},
        {"", "Steps", 0.5f, Wheel, 30, 0.75f},
        {"", "Down", 0.1f, Wheel, -120, 0.0f},
        {"wrap='true'", "Steps", 1.0f, Wheel, 120, 0.0f},
        {"wrap='true' dragspeed='90'", "Steps", 0.5f, Wheel, 120, 0.25f},
        {"wrap='true' dragspeed='90'", "Steps", 0.5f, Wheel, -120, 0.75f},
        {"editable='false'", "Volume", 0.5f, Wheel, 120, 0.5f},
        {"class='Range' width='30' height='30'", "Volume", 0.5f, Wheel, 120, 0.5f},
        {"class='VUMeter' width='30' height='30'", "Volume", 0.5f, Wheel, 120, 0.5f},
        {"class='Display' width='30' height='30'", "Steps", 0.5f, Wheel, 120, 0.75f},
        {"", "Volume", 0.5f, Key, 0x26, 0.51f},
        {"", "Volume", 0.5f, Key, 0x25, 0.49f},
        {"", "Volume", 0.5f, Key, 0x21, 0.6f},
        {"", "Volume", 0.5f, ShiftedKey, 0x28, 0.4f},
        {"", "Volume", 0.5f, Key, 'A', 0.5f},
        {"", "Bend", 0.5f, Key, 0x26, 0.5f},
        {"editable='false'", "Volume", 0.5f, Key, 0x26, 0.5f},
    };
    for (const auto& [keys, parameter, start, input, amount, end] : steps) {
        show("parameter='" + std::string(parameter) + "' " +
             (std::string_view(keys).starts_with("class") ? "" : "class='Knob' ") + keys);
        plugin.parameter(parameter).setNormalised(start, FromHost);
        point(Pointer::Move, 15, 15);
        if (input == Wheel)
            EXPECT_EQ(window().owner->wheel({15, 15}, amount), start != end);
        else
            EXPECT_EQ(press(amount, input == Key ? std::set<int>() : std::set{0x10}), start != end);
        EXPECT_NEAR(value(parameter), end, 1e-5f) << parameter << " " << keys << " " << amount;
    }
}

// Faults: a knob that turns the other way or jumps where the circle closes, a choice that isn't
// kept.
TEST_F(ValueControlsTest, AKnobTurnsAsTheUserPrefers) {
    show("class='Knob' parameter='Volume'");
    for (const auto& [mode, offered] : {std::pair("Circular", "Knob Mode[Linear*,Circular,"),
                                        {"Circular Relative", "Knob Mode[Linear,Circular*,"}})
        EXPECT_THAT(chooseAt(Pointer::RightDown, 15, 15, mode), HasSubstr(offered));
    const Point top{15, 5}, right{25, 15}, bottom{15, 25}, left{5, 15};
    const auto follow = [this](Point from, std::initializer_list<std::pair<Point, float>> path) {
        plugin.parameter("Volume").setNormalised(0.5f, FromHost);
        point(Pointer::LeftDown, from.x, from.y);
        for (const auto& [to, end] : path) {
            point(Pointer::Move, to.x, to.y);
            EXPECT_NEAR(value("Volume"), end, 1e-4f) << to.x << ", " << to.y;
        }
        point(Pointer::LeftUp, from.x, from.y);
    };
    follow(right, {{bottom, 0.7733f},
                   {left, 1.0f},
                   {top, 1.0f},
                   {left, 1.0f},
                   {bottom, 0.7733f},
                   {right, 0.5f},
                   {top, 0.2267f},
                   {left, 0.0f},
                   {top, 0.2267f}});
    editor->setKnobMode(Editor::Circular);
    follow(top, {{top, 0.5f}, {right, 0.8333f}, {left, 0.1667f}, {{24, 24}, 1.0f}});
    show("class='Knob' parameter='Volume' minangle='-90' maxangle='90'");
    follow(top, {{right, 1.0f}, {{22, 8}, 0.75f}});
    show("class='Knob' parameter='Volume' minangle='90' maxangle='90'");
    follow({15, 15}, {{{15, 5}, 0.51f}});
}

// Faults: a box that opens where the user slid off or dragged, a text parameter that a drag
// changes, a click that does nothing.
TEST_F(ValueControlsTest, ATextIsEditedWithAClick) {
    int asked = 0;
    desktop.text = [&](const platform::TextRequest& request) {
        ++asked;
        EXPECT_EQ(request.area.right - request.area.left, 60);
        return std::optional<std::string>(request.text + "!");
    };
    show("class='TextValue' parameter='Title' edit='click' width='60' height='20'");
    plugin.parameter("Title").setText("Name", FromHost);
    point(Pointer::LeftDown, 5, 5);
    for (const int x : {6, 70})
        point(Pointer::Move, x, 5);
    point(Pointer::LeftUp, 70, 5);
    EXPECT_EQ(asked, 0) << "slid off";
    drag({5, 5}, {9, 9});
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(plugin.parameter("Title").getText(), "Name!");
    show("class='TextValue' parameter='Title' edit='click' textentry='false' width='60'");
    click();
    EXPECT_EQ(asked, 1) << "what can only be read";
}

// Faults: a control that follows another parameter of the same name, an image that stays switched.
TEST_F(ValueControlsTest, EachFollowsItsOwnClone) {
    addBitmap("image");
    addStrip("Gain", {8, 8}, 2, 1);
    const std::string keys = "width='8' height='8' background='#ff8000' parameter='Gain' ";
    open("<a class='LED' handle='Gain' " + keys + "/><b class='Container' x='20' " + keys +
         "/><c class='Text' x='40' " + keys +
         "><visibility parameter='Gain' normalized='1'/></c><d class='Bitmap' id='image' x='60'>"
         "<bitmaps><e value='Gain'/></bitmaps></d>");
    point(Pointer::LeftDown, 62, 2);
    EXPECT_EQ(editor->getCaptureControl(), nullptr) << "a picture takes no press";
    const auto shown = [this](std::int32_t clone, float value) {
        plugin.moduleAt(0)->settings().find("Gain", clone)->setNormalised(value, FromHost);
        return test::bytesOf(*draw(*editor->getRootControl())->getPixels());
    };
    const std::string off = shown(0, 0.0f);
    EXPECT_EQ(shown(1, 1.0f), off);
    const std::string on = shown(0, 1.0f);
    EXPECT_NE(on, off);
    EXPECT_EQ(shown(1, 0.0f), on);
    EXPECT_EQ(shown(0, 0.0f), off);
    const std::string hidden = "class='LED' handle='Gain' width='8' height='8' parameter='Gain'";
    open("<a id='led' " + hidden + "><show value='1' parameter='Gain'/></a>");
    for (const bool isOn : {true, false}) {
        shown(0, isOn ? 1.0f : 0.0f);
        EXPECT_EQ(probe<Control>("led").isVisible(), isOn);
    }
}

// Faults: a skin that moves what the user has set when it is saved or chosen again.
TEST_F(ValueControlsTest, ASkinsFirstValuesHoldOnce) {
    const std::string keys = "class='Knob' parameter='Volume' midi='7' defval='0.75'";
    Dictionary kept;
    show(keys);
    EXPECT_NEAR(value("Volume"), 0.75f, 1e-6f);
    EXPECT_EQ(plugin.getMidiMapper().getController(&plugin.parameter("Volume")), 7);
    plugin.parameter("Volume").setNormalised(0.1f, FromUser);
    show(keys + " detent='0.25' dragspeed='2' stayon='true' wrap='true'").exportDictionary(kept);
    std::string text;
    ASSERT_TRUE(kept.toString(text));
    for (const char* const each : {"detent value=\"0.25", "dragspeed value=\"2.0",
                                   "stayon value=\"true", "wrap value=\"true", "id value=\"v"})
        EXPECT_THAT(text, HasSubstr(each));
    EXPECT_NEAR(value("Volume"), 0.1f, 1e-6f);
    // What can't be shown is no control.
    EXPECT_THROW(load(skin("<v class='Display'/>")), Error);
}

}  // namespace
}  // namespace tarn
