// Every class of controls in its states, side by side in one picture a scale.
#include "drawing/Pictures.h"
#include "editor/ControlHelp.h"
#include "editor/ControlLevelMeter.h"
#include "editor/OpenEditor.h"
#include "foundation/Preferences.h"
#include "support/TestClock.h"

#include <cmath>

namespace tarn {
namespace {

using test::EditorTest;
using test::TestClock;

const std::string Settings =
    "<dict>" + test::Header +
    "<parameters><Title class='ParameterText' scope='plugin'/>"
    "<Quarter class='ParameterValue' type='float' defval='0.25'/>"
    "<Most class='ParameterValue' type='float' defval='0.7'/>"
    "<Level class='ParameterValue' type='float' defval='0'/>"
    "<Left class='ParameterValue' type='float' minval='-1.0' maxval='1.0' defval='-0.6'/>"
    "<Right class='ParameterValue' type='float' minval='-1.0' maxval='1.0' defval='0.4'/>"
    "<Steps class='ParameterValue' type='integer' minval='-2' maxval='2' defval='-2'/>"
    "<Down class='ParameterValue' type='integer' minval='10' maxval='0' defval='7'/>"
    "<Nought class='ParameterValue' type='integer' minval='0' maxval='9' defval='0'/>"
    "<Off class='ParameterValue' type='bool'/><On class='ParameterValue' type='bool'/>"
    "<About class='ParameterValue' type='bool'/>"
    "<Mode class='ParameterEnum' type='string' unit='dB'><values><x value='a' display='Low'/>"
    "<x value='b' display='Mid'/><x value='c' display=''/><x value='d' display='High'/>"
    "</values></Mode><None class='ParameterEnum' type='integer'/>"
    "<Number class='ParameterEnum' type='integer'><values><x value='0'/><x value='12'/></values>"
    "</Number><Zero class='ParameterEnum' type='integer'><values><x value='0'/></values></Zero>"
    "</parameters></dict>";

class ControlPicturesTest : public EditorTest {
protected:
    ControlPicturesTest() : EditorTest(Settings) {
        addBitmap("image");
        addBitmap("letters", "AB");
        addStrip("small", {8, 8}, 2, 1);
        addStrip("strip", {10, 10}, 1, 5);
        // Dark and lit, side by side, and one above the other.
        addStrip("tall", {8, 30}, 2, 1);
        addStrip("wide", {30, 8}, 1, 2);
        addStrip("leds", {8, 4}, 1, 8);
        addStrip("row", {4, 8}, 8, 1);
    }
    template <typename Meter>
    void tickMeters(float dB) {
        plugin.parameter("Level").setNormalised(std::pow(10.0f, dB / 20.0f), FromInternal);
        TestClock::pass(0.7);
        for (Control* const control : editor->getControls())
            if (dynamic_cast<Meter*>(control) != nullptr)
                tick(*control, "CVUt", 1, 0.0f, 0.7);
    }

    const TestClock clock{1000.0};
};

// Faults: a frame, an edge, a text or a colour in the wrong place, or of another state.
TEST_F(ControlPicturesTest, PictureOfEveryClass) {
    ASSERT_TRUE(loadSkin("classes"));
    plugin.parameter("Title").setText("A name that is too long", FromHost);
    plugin.addPreset("Another that is too long");
    plugin.parameter("Most").setNormalised(0.7f, FromUser);
    plugin.parameter("On").setNormalised(1.0f, FromHost);
    for (const char* const id : {"Mode", "Number"})
        plugin.parameter(id).setNormalised(0.67f, FromHost);
    for (const float scale : {1.0f, 1.5f}) {
        plugin.parameter("About").setNormalised(0.0f, FromUser);
        ASSERT_TRUE(editor->open(nullptr, {}, scale));
        plugin.parameter("About").setNormalised(1.0f, FromUser);
        tickMeters<ControlVUMeter>(-9.0f);
        tickMeters<ControlLevelMeter>(-21.0f);
        for (Control* const control : editor->getControls())
            if (control->getControlId() == "round")
                tick(*control, "CTst", control->getRect().height() > 8 ? 150 : 20);
        tick(probe<Control>("about"), "CASf", 1, 0.5f);
        const Point told = probe("told").getAbsoluteRect().topLeft() + Point{2, 2};
        point(Pointer::Move, static_cast<int>(static_cast<float>(told.x) * scale),
              static_cast<int>(static_cast<float>(told.y) * scale));
        tick(*editor->getHelpControl(), "CHds", 1);
        test::expectPicture(*draw(*editor->getRootControl(), scale)->getPixels(),
                            "classes-" + std::to_string(static_cast<int>(scale * 100)));
        editor->close();
    }
}

// Faults: a load that is drawn at the wrong place, height or colour; a meter without its words.
TEST_F(ControlPicturesTest, PictureOfTheLoads) {
    Preferences::user()->setBool("ShowCPUMeters", true);
    open("");
    editor->close();  // from here on no timer ticks in between
    CPUMeter& meter = plugin.getCpuMeter(Plugin::AudioSection);
    TimerMessage tick(nullptr, TimerMessage::Tick, 0, 0);
    for (int i = 0; i <= meter.getLength(); ++i) {
        meter.begin();
        TestClock::pass(0.0008 * (i % 120));
        meter.end();
        TestClock::pass(0.1 - 0.0008 * (i % 120));
        meter.receive(tick);
    }
    EXPECT_EQ(editor->getClientRect(), (Rect{0, 0, 260, 192}));
    Preferences::user()->setBool("ShowCPUMeters", false);
    test::expectPicture(*draw(*editor->getRootControl())->getPixels(), "loads-100");
}

}  // namespace
}  // namespace tarn
