#include "drawing/Pictures.h"
#include "editor/ControlValue.h"
#include "editor/ControlValueLED.h"
#include "editor/OpenEditor.h"

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <vector>

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
    "<Fives class='ParameterValue' type='integer' minval='0' maxval='100'/>"
    "<Alone class='ParameterValue' type='float' minval='3.0' maxval='3.0' defval='3.0'/>"
    "<Turned class='ParameterValue' type='float' minval='1.0' maxval='-1.0'/>"
    "<Choice class='ParameterEnum' type='integer'><values><a value='0' display='none'/>"
    "<b value='7' display='seven'/></values></Choice>"
    "</parameters></dict>";

class ValueControlsTest : public EditorTest {
protected:
    ValueControlsTest() : EditorTest(Settings) {}

    // A control "v" at the window's corner, 30 by 30 unless the keys, or elements behind them, say
    // otherwise.
    ControlValue& show(const std::string& keys) {
        open("<v id='v' " + keys + (keys.find('>') == std::string::npos ? "/>" : ">"));
        return probe<ControlValue>("v");
    }
    float value(const char* id) { return plugin.parameter(id).getNormalised(); }
    void drag(Point from, Point to) {
        point(Pointer::LeftDown, from.x, from.y);
        point(Pointer::Move, to.x, to.y);
        point(Pointer::LeftUp, to.x, to.y);
    }
    void close() { editor->close(); }

    // A dark frame and a lit one beside it, each a little brighter towards its top left.
    void addStrip(const std::string& id, int width, int height) {
        std::string rgba;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < 2 * width; ++x)
                for (const int byte : x < width ? std::array{40 - y, 50 - x, 60, 255}
                                                : std::array{250 - y, 190 - x, 20, 255})
                    rgba += static_cast<char>(byte);
        std::istringstream stream(test::pngFile(static_cast<png_uint_32>(2 * width),
                                                static_cast<png_uint_32>(height), rgba));
        auto bitmap = std::make_shared<Bitmap>();
        ASSERT_TRUE(bitmap->load(stream).isOk());
        bitmap->setFrames({0, 0, width, height}, 2, 1);
        editor->bitmaps[id] = bitmap;
    }
};

// Faults: a dead zone, a factor or a lock that isn't there, a detent that holds for too long or
// jumps, a drag that adds up where it should follow the pointer.
TEST_F(ValueControlsTest, ADragFollowsThePointer) {
    const std::string knob = "class='Knob' parameter='Volume' ";
    const struct {
        std::string keys;
        float start;
        Point to;  // from 15, 15
        float end;
    } drags[] = {
        {knob, 0.5f, {15, 15}, 0.5f},  // nothing happens
        {knob, 0.5f, {15, 9}, 0.5f},   // the dead zone
        {knob, 0.5f, {15, 5}, 0.51f},  // 4 pixels behind it
        {knob, 0.5f, {15, 25}, 0.49f},
        {knob, 0.5f, {35, 15}, 0.5f},  // across, 20 count as 5
        {knob, 0.5f, {55, 15}, 0.51f},
        {knob, 0.5f, {23, -5}, 0.535f},  // the larger one alone
        {knob, 0.5f, {23, 7}, 0.505f},   // a tie is the height's
        {knob, 0.5f, {20, 12}, 0.5f},    // both, as long as they are small
        {knob, 0.0f, {15, -391}, 1.0f},
        {knob, 0.5f, {15, -999}, 1.0f},
        {knob + "dragspeed='2'", 0.5f, {15, 5}, 0.52f},
        {knob + "invert='true'", 0.5f, {15, 5}, 0.49f},
        {knob + "detent='0'", 0.4f, {15, -45}, 0.52f},
        {knob + "detent='0'", 0.4f, {15, -35}, 0.5f},
        {knob + "detent='0'", 0.4f, {15, -25}, 0.485f},
        {knob + "detent='0'", 0.6f, {15, 65}, 0.5f},
        {knob + "detent='0'", 0.6f, {15, 75}, 0.48f},
        {knob + "detent='0'", 0.495f, {15, 5}, 0.505f},  // too near to hold it
        {knob + "autoreset='true'", 0.5f, {15, 5}, 0.25f},
        {knob + "editable='false'", 0.5f, {15, 5}, 0.5f},
    };
    for (const auto& [keys, start, to, end] : drags) {
        show(keys);
        plugin.parameter("Volume").setNormalised(start, FromHost);
        drag({15, 15}, to);
        EXPECT_NEAR(value("Volume"), end, 1e-5f) << keys << " to " << to.x << ", " << to.y;
        close();
    }
    // A move back leads back, and after the release nothing moves.
    show(knob);
    plugin.parameter("Volume").setNormalised(0.5f, FromHost);
    point(Pointer::LeftDown, 15, 15);
    for (const int y : {-100, 300, 5})
        point(Pointer::Move, 15, y);
    EXPECT_NEAR(value("Volume"), 0.51f, 1e-5f);
    point(Pointer::LeftUp, 15, 5);
    point(Pointer::Move, 15, -100);
    EXPECT_NEAR(value("Volume"), 0.51f, 1e-5f);
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
    const std::string falling = "<p value='0' position='1'/><p value='1'/>";
    const struct {
        std::string keys;
        float position, value;
    } places[] = {
        {"class='Knob' parameter='Volume'", 0.3f, 0.3f},
        {table(curve), 0.25f, 0.05f},
        {table(curve), 0.5f, 0.1f},
        {table(curve), 0.75f, 0.55f},
        {table(curve), 1.0f, 1.0f},
        {table(curve), 0.0f, 0.0f},
        {table(placed), 0.1f, 0.25f},
        {table(placed), 0.6f, 0.75f},
        {table(falling), 0.25f, 0.25f},
        {"min='0.5' class='Knob' parameter='Volume'", 0.75f, 0.75f},
        {"max='0.5' class='Knob' parameter='Volume'", 0.25f, 0.25f},
        {"invert='true' class='Knob' parameter='Volume'", 0.2f, 0.8f},
    };
    for (const auto& [keys, position, expected] : places) {
        ControlValue& control = show(keys);
        control.setPosition(position);
        EXPECT_NEAR(value("Volume"), expected, 1e-5f) << keys;
        EXPECT_NEAR(control.getPosition(), position, 1e-5f) << keys;
        close();
    }
    // The host's value beyond the control's part is its end; equal ends are no number.
    ControlValue& half = show("max='0.5' class='Knob' parameter='Volume'");
    plugin.parameter("Volume").setNormalised(0.9f, FromHost);
    EXPECT_EQ(half.getPosition(), 0.5f);
    close();
    for (const std::string& keys :
         {std::string("min='0.5' max='0.5' class='Knob' parameter='Volume'"),
          table("<p value='0.5' position='0.5'/>"),
          table("<p value='0.5' position='0.2'/><p value='0.5' position='0.2'/>"),
          table("<p value='nan'/><p value='inf' position='inf'/>")}) {
        ControlValue& control = show(keys);
        for (const float position : {0.0f, 0.3f, 1.0f, NAN, INFINITY}) {
            control.setPosition(position);
            EXPECT_TRUE(control.getPosition() >= 0.0f && control.getPosition() <= 1.0f) << keys;
            EXPECT_TRUE(value("Volume") >= 0.0f && value("Volume") <= 1.0f) << keys;
        }
        close();
    }
    // Without a parameter.
    ControlValue& own = show("class='Knob'");
    own.setPosition(0.7f);
    EXPECT_NEAR(own.getPosition(), 0.7f, 1e-6f);
}

// Faults: a wheel that doesn't reach the next step, keys that go the wrong way, an end that is
// walked over or not.
TEST_F(ValueControlsTest, TheWheelTheKeysAndPressesMakeSteps) {
    enum Input { Wheel, Key, Press };
    const struct {
        const char* keys;
        const char* parameter;
        float start;
        Input input;
        int amount;  // notches times 120, or the key's code
        float end;
    } steps[] = {
        {"", "Volume", 0.5f, Wheel, 120, 0.525f},
        {"", "Volume", 0.5f, Wheel, -240, 0.45f},
        {"dragspeed='2'", "Volume", 0.5f, Wheel, 60, 0.525f},
        {"", "Steps", 0.5f, Wheel, 30, 0.75f},
        {"", "Steps", 0.5f, Wheel, -120, 0.25f},
        {"", "Steps", 1.0f, Wheel, 120, 1.0f},
        {"wrap='true'", "Steps", 1.0f, Wheel, 120, 0.0f},
        {"wrap='true'", "Steps", 0.0f, Wheel, -120, 1.0f},
        {"wrap='true'", "Volume", 0.99f, Wheel, 120, 0.015f},
        {"editable='false'", "Volume", 0.5f, Wheel, 120, 0.5f},
        {"", "Choice", 0.0f, Wheel, 120, 1.0f},
        {"", "Volume", 0.5f, Key, 0x26, 0.51f},
        {"", "Volume", 0.5f, Key, 0x28, 0.49f},
        {"", "Volume", 0.5f, Key, 0x27, 0.51f},
        {"", "Volume", 0.5f, Key, 0x25, 0.49f},
        {"", "Volume", 0.5f, Key, 0x21, 0.6f},
        {"", "Volume", 0.5f, Key, 0x22, 0.4f},
        {"", "Volume", 0.5f, Key, 0x20, 0.5f},
        {"", "Steps", 0.5f, Key, 0x26, 0.75f},
        {"", "Bend", 0.5f, Key, 0x26, 0.5f},  // not automatable
        {"mousedown='increment'", "Steps", 0.5f, Press, 0, 0.75f},
        {"mousedown='drag'", "Steps", 0.5f, Press, 0, 0.5f},
    };
    for (const auto& [keys, parameter, start, input, amount, end] : steps) {
        show("class='Knob' parameter='" + std::string(parameter) + "' " + keys);
        plugin.parameter(parameter).setNormalised(start, FromHost);
        point(Pointer::Move, 15, 15);
        if (input == Wheel)
            window().owner->wheel({15, 15}, amount);
        else if (input == Key)
            window().owner->key(amount, 0, true);
        else
            drag({15, 15}, {15, 15});
        EXPECT_NEAR(value(parameter), end, 1e-5f) << parameter << " " << keys << " " << amount;
        close();
    }
}

// Faults: a knob that turns the other way or jumps where the circle closes, a choice that isn't
// kept.
TEST_F(ValueControlsTest, AKnobTurnsAsTheUserPrefers) {
    show("class='Knob' parameter='Volume'");
    const auto choose = [this](const std::string& text) {
        user = {text, {}};
        point(Pointer::RightDown, 15, 15);
        return user.offered;
    };
    EXPECT_THAT(choose("Circular"), HasSubstr("Knob Mode[Linear*,Circular,"));
    EXPECT_THAT(choose("Circular Relative"), HasSubstr("Knob Mode[Linear,Circular*,"));
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
    close();
    show("class='Knob' parameter='Volume' minangle='-90' maxangle='90'");
    follow(top, {{right, 1.0f}, {{22, 8}, 0.75f}});
    close();
    show("class='Knob' parameter='Volume' minangle='90' maxangle='90'");
    follow({15, 15}, {{{15, 5}, 0.51f}});
}

// Faults: a slider that doesn't follow the pointer one to one, that jumps under a hand that holds
// it, or not to where it is pressed.
TEST_F(ValueControlsTest, ASliderFollowsItsHandle) {
    addBitmap("image");  // frames of 5 by 8
    const std::string slider = "class='Slider' parameter='Volume' handle='image' ";
    const struct {
        std::string keys;
        Point press;
        float pressed;
        Point to;
        float end;
    } drags[] = {
        {slider + "type='move' width='20' height='60'", {2, 50}, 0.1154f, {2, 34}, 0.2821f},
        {slider + "type='move' width='20' height='60'", {2, 40}, 0.5f, {2, 24}, 0.6667f},
        {slider + "type='move' width='20' height='60' grabanywhere='true'",
         {2, 50},
         0.5f,
         {2, 34},
         0.6667f},
        {slider + "type='move' width='65' height='8'", {2, 4}, 0.0f, {68, 4}, 0.9231f},
        {slider + "type='fill' width='5' height='80'", {2, 20}, 0.75f, {2, 34}, 0.65f},
        {slider + "type='fill' width='5' height='80'", {2, 46}, 0.5f, {2, 46}, 0.5f},
        {slider + "width='60' height='8'", {45, 4}, 0.75f, {39, 4}, 0.75f},
        {"class='Slider' parameter='Volume' width='20' height='60'",
         {2, 5},
         0.5f,
         {2, -11},
         0.6667f},
    };
    for (const auto& [keys, press, pressed, to, end] : drags) {
        show(keys);
        plugin.parameter("Volume").setNormalised(0.5f, FromHost);
        point(Pointer::LeftDown, press.x, press.y);
        EXPECT_NEAR(value("Volume"), pressed, 1e-4f) << keys;
        point(Pointer::Move, to.x, to.y);
        EXPECT_NEAR(value("Volume"), end, 1e-4f) << keys;
        point(Pointer::LeftUp, to.x, to.y);
        close();
    }
    // Children take the pointer first, and a transparent image lets nothing through.
    open("<v id='v' " + slider +
         "width='20' height='60'><controls>"
         "<p class='Probe' id='p' x='5' y='5' width='5' height='5'/></controls></v>");
    Control& control = probe<Control>("v");
    EXPECT_EQ(control.findControlAt({6, 6}), &probe("p"));
    EXPECT_EQ(control.findControlAt({19, 50}), &control);
    control.setFlags(Control::Enabled, false);
    EXPECT_EQ(control.findControlAt({19, 50}), nullptr);
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
    drag({5, 5}, {70, 5});
    EXPECT_EQ(asked, 0);
    drag({5, 5}, {9, 9});
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(plugin.parameter("Title").getText(), "Name!");
    close();
    show("class='TextValue' parameter='Volume' width='60' height='20'");
    plugin.parameter("Volume").setNormalised(0.5f, FromHost);
    drag({5, 15}, {5, 5});
    EXPECT_NEAR(value("Volume"), 0.51f, 1e-5f);
    EXPECT_EQ(asked, 1);
}

// Faults: a picture that doesn't follow the value, digits that are cut or miss their sign, a bar
// that grows from the wrong end or out of its place.
TEST_F(ValueControlsTest, PictureOfValues) {
    addStrip("tall", 8, 30);
    addStrip("wide", 30, 8);
    addStrip("small", 8, 8);
    std::string controls;
    int x = 2, y = 2;
    const auto add = [&](const std::string& keys, int width, int height) {
        if (x + width > 238) {
            x = 2;
            y += 34;
        }
        controls += "<v x='" + std::to_string(x) + "' y='" + std::to_string(y) + "' width='" +
                    std::to_string(width) + "' height='" + std::to_string(height) + "' " + keys +
                    "/>";
        x += width + 4;
    };
    for (const char* parameter : {"Volume", "Bend", "Turned", "Alone", "gone"})
        add("class='Knob' foreground='#ffc000' parameter='" + std::string(parameter) + "'", 30, 30);
    add("class='Knob' handle='tall' parameter='Volume'", 12, 30);
    add("class='Slider' parameter='Volume'", 14, 30);
    for (const char* direction : {"bottomfill", "topfill", "centerfill", "centergrow"})
        for (const char* fill : {"0", "6"})
            add("class='Slider' handle='tall' parameter='Volume' direction='" +
                    std::string(direction) + "' minfill='" + fill + "'",
                8, 30);
    add("class='Slider' handle='wide' parameter='Volume'", 30, 8);
    add("class='Slider' handle='small' type='move' parameter='Volume'", 30, 8);
    add("class='Slider' handle='small' type='move' parameter='Bend'", 8, 30);
    for (const std::string& direction : std::vector<std::string>{"min2max", "max2min", "centered"})
        for (const bool isWide : {true, false}) {
            const std::string keys = "class='Range' parameter='Bend' direction='" + direction +
                                     "' horizontal='" + (isWide ? "true'" : "false'");
            add(keys, 20, 20);
            add(keys + " background='#404850' handle='" + (isWide ? "wide'" : "tall'"),
                isWide ? 30 : 8, isWide ? 8 : 30);
        }
    for (const char* on : {"", "valueon='0.7'", "valueon='0.6'"})
        add("class='LED' handle='small' parameter='Volume' " + std::string(on), 5, 8);
    for (const char* digits : {"parameter='Steps'", "parameter='Steps' digits='4'",
                               "parameter='Fives' maxval='42'", "parameter='Choice'"})
        add("class='Display' textcolor='#a0ffa0' " + std::string(digits), 40, 16);
    for (const char* text : {"parameter='Volume' prefix='at ' postfix=' of 1'",
                             "parameter='Title' align='right'", "parameter='gone' prefix='no'"})
        add("class='TextValue' background='#404850' " + std::string(text), 70, 16);
    ASSERT_TRUE(load("<dict>" + test::Header +
                     "<controls><c class='Background' id='special::background' width='240' "
                     "height='176' background='#607080'><controls>" +
                     controls + "</controls></c></controls></dict>"));
    plugin.parameter("Title").setText("Title", FromHost);
    for (const char* id : {"Volume", "Bend", "Turned", "Steps", "Fives"})
        plugin.parameter(id).setNormalised(id[0] == 'B' ? 0.2f : 0.7f, FromHost);
    plugin.parameter("Steps").setFloat(-2.0f, FromHost);
    plugin.parameter("Fives").setFloat(77.0f, FromHost);
    ASSERT_TRUE(editor->open(nullptr, {}));
    for (Control* const control : editor->getControls())
        control->refresh();
    editor->idle();
    test::expectPicture(*editor->getCanvas()->getPixels(), "values-100");
}

// Faults: a skin that moves what the user has set when it is saved or chosen again.
TEST_F(ValueControlsTest, ASkinsFirstValuesHoldOnce) {
    const std::string keys = "class='Knob' parameter='Volume' midi='7' defval='0.75'";
    show(keys);
    EXPECT_NEAR(value("Volume"), 0.75f, 1e-6f);
    EXPECT_EQ(plugin.getMidiMapper().getController(&plugin.parameter("Volume")), 7);
    plugin.parameter("Volume").setNormalised(0.1f, FromUser);
    close();
    show(keys);
    EXPECT_NEAR(value("Volume"), 0.1f, 1e-6f);
    Dictionary written, again;
    probe<ControlValue>("v").exportDictionary(written);
    float detent = 0.0f, speed = 0.0f;
    EXPECT_TRUE(written.getFloat("detent", detent) && written.getFloat("dragspeed", speed));
    EXPECT_EQ(speed, 1.0f);
    // What can't be shown is no control.
    close();
    EXPECT_THROW(load(skin("<v class='Display' parameter='Volume'/>")), Error);
    EXPECT_THROW(load(skin("<v class='Display'/>")), Error);
}

}  // namespace
}  // namespace tarn
