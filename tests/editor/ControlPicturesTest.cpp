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
    "<Off class='ParameterValue' type='bool'/><On class='ParameterValue' type='bool'/>"
    "<About class='ParameterValue' type='bool'/>"
    "<Mode class='ParameterEnum' type='string' unit='dB'><values><x value='a' display='Low'/>"
    "<x value='b' display='Mid'/><x value='c' display=''/><x value='d' display='High'/>"
    "</values></Mode><None class='ParameterEnum' type='integer'/>"
    "<Number class='ParameterEnum' type='integer'><values><x value='0'/><x value='12'/></values>"
    "</Number><Zero class='ParameterEnum' type='integer'><values><x value='0'/></values></Zero>"
    "</parameters></dict>";

// 3 dB for each of a meter's 20 pixels.
const std::string Decibels =
    "><scaling><a position='0' value='-60'/><b position='1' value='0'/></scaling></c>";

const struct {
    Point size;  // or that of the control's image
    std::string keys;
} Cells[] = {
    {{30, 30}, "class='Knob' foreground='#ffc000' parameter='Quarter'"},
    {{40, 26}, "class='Knob' foreground='#ffc000' parameter='Most' invert='true'"},
    {{}, "class='Knob' handle='strip' parameter='Quarter'"},
    {{24, 24}, "class='Knob' handle='strip' parameter='Most'"},
    {{14, 30}, "class='Slider' parameter='Quarter'"},
    {{26, 30}, "class='Slider' parameter='Most'"},
    {{}, "class='Slider' handle='tall' parameter='Most'"},
    {{}, "class='Slider' handle='tall' parameter='Quarter' direction='topfill'"},
    {{}, "class='Slider' handle='tall' parameter='Quarter' direction='centerfill'"},
    {{}, "class='Slider' handle='tall' parameter='Most' direction='centerfill'"},
    {{}, "class='Slider' handle='tall' parameter='Most' direction='centergrow'"},
    {{}, "class='Slider' handle='tall' minfill='6'"},
    {{}, "class='Slider' handle='tall' minfill='9' parameter='Quarter' direction='topfill'"},
    {{}, "class='Slider' handle='tall' minfill='15' parameter='Quarter' direction='centerfill'"},
    {{}, "class='Slider' handle='wide' parameter='Most'"},
    {{30, 8}, "class='Slider' handle='small' type='move' parameter='Most'"},
    {{8, 30}, "class='Slider' handle='strip' type='move' parameter='Quarter'"},
    {{20, 30}, "class='Range' parameter='Most'"},
    {{20, 30}, "class='Range' parameter='Quarter' direction='max2min'"},
    {{30, 12}, "class='Range' parameter='Quarter' horizontal='true' direction='max2min'"},
    {{30, 8}, "class='Range' parameter='Left' horizontal='true' direction='centered'"},
    {{8, 30}, "class='Range' handle='tall' parameter='Left' direction='centered'"},
    {{8, 30}, "class='Range' handle='tall' parameter='Right' direction='centered'"},
    {{30, 8}, "class='Range' handle='wide' parameter='Left' direction='min2max' horizontal='true'"},
    {{}, "class='LED' handle='small'"},
    {{}, "class='LED' handle='small' parameter='Most'"},
    {{}, "class='LED' handle='small' parameter='Most' valueon='0.7'"},
    {{}, "class='LED' handle='small' parameter='Steps' valueon='0.25'"},
    {{20, 14}, "class='Display' parameter='Steps'"},
    {{24, 14}, "class='Display' parameter='Steps' digits='4' align='right'"},
    {{24, 14}, "class='Display' parameter='Down'"},
    {{24, 14}, "class='Display' parameter='Down' digits='3' textcolor='#a0ffa0'"},
    {{24, 14}, "class='Display' parameter='Down' minval='8' digits='0'"},
    {{24, 14}, "class='Display' parameter='Down' maxval='3'"},
    {{24, 14}, "class='Display' parameter='Number' digits='3'"},
    {{24, 14}, "class='Display' parameter='Zero' digits='3'"},
    {{70, 14}, "class='TextValue' parameter='Most' prefix='at ' postfix=' of 1' marginleft='4'"},
    {{40, 14}, "class='TextValue' parameter='Most' marginright='9' align='right' alpha='0.5'"},
    {{30, 14}, "class='TextValue' parameter='Title' marginleft='-9' marginright='-9'"},
    {{60, 16},
     "class='Button' parameter='Off' text='Sound' foreground='#3060a0' background='#404040'"},
    {{60, 16},
     "class='Button' parameter='On' text='Sound' texton='No sound' textcoloron='#ffc000'"},
    {{24, 16}, "class='Button' parameter='Off' textcolor='#808080' foreground='#3060a0'"},
    {{24, 16}, "class='Button' parameter='On' textcolor='#808080' foreground='#3060a0'"},
    {{}, "class='Button' parameter='On' handle='strip' text='T' textcolor='#ff8080'"},
    {{20, 14}, "class='ButtonChoice' parameter='Steps' handle='strip'"},
    {{}, "class='ButtonChoice' parameter='Most' handle='strip'"},
    {{50, 14}, "class='Button' parameter='Mode'"},
    {{30, 14}, "class='Button' parameter='None'"},
    {{}, "class='Button' parameter='Mode' value='1' handle='small'"},
    {{}, "class='Button' parameter='Mode' value='2' handle='small'"},
    {{}, "class='Button' parameter='Mode' value='2' handle='strip'"},
    {{40, 14}, "class='PopupMenu' parameter='Mode' background='#404040'"},
    {{40, 14}, "class='PopupMenu' parameter='On'"},
    {{30, 14}, "class='PopupMenu' parameter='Most'"},
    {{}, "class='PopupMenu' parameter='Off' handle='small' displaychoice='true' textsize='0.5'"},
    {{70, 16}, "class='PresetsMenu' textcolor='#ffffff'"},
    {{30, 12}, "class='PresetStep' label='x'"},
    {{}, "class='PresetStep' handle='strip'"},
    {{}, "class='FavoriteButton' handle='strip'"},
    {{}, "class='VUMeter' parameter='Level' handle='tall'" + Decibels},
    {{}, "class='VUMeter' parameter='Level' handle='wide'" + Decibels},
    {{}, "class='VUMeter' parameter='Level' handle='tall' attenuation='true'" + Decibels},
    {{}, "class='VUMeter' parameter='Level' handle='wide' attenuation='true'" + Decibels},
    {{}, "class='VUMeter' parameter='Level' handle='strip'" + Decibels},
    {{}, "class='VUMeter' parameter='Level' handle='strip' attenuation='true'" + Decibels},
    {{12, 30}, "class='VUMeter' parameter='Level' foreground='#80c0ff'" + Decibels},
    {{}, "class='LevelMeter' parameter='Level' handle='tall'" + Decibels},
    {{}, "class='LevelMeter' parameter='Level' handle='wide' holdcolor='#00ffff'" + Decibels},
    {{12, 30}, "class='LevelMeter' parameter='Level' foreground='#80c0ff'" + Decibels},
    {{8, 16}, "class='VUMeterLED' parameter='Level' handle='leds'"},
    {{16, 8}, "class='VUMeterLED' parameter='Level' handle='row'"},
    {{60, 14}, "class='Text' text='Left text' weight='3' background='#404850'"},
    {{60, 16}, "class='Text' text='Right' align='right' textcolor='#ffc000' textsize='1.2'"},
    {{60, 30}, "class='Text' text='Two&#10;lines' align='center'"},
    {{60, 30}, "class='Text' text='Far down' align='bottom'"},
    {{40, 14}, "class='Text' parameter='Most' text='not this'"},
    {{70, 16}, "class='Text' id='round' autoscroll='true' text='Goes round without end'"},
    {{23, 8}, "class='Text' id='round' autoscroll='true' alphabet='letters' text='abxABab'"},
    {{80, 14}, "class='VersionInfo' background='#404850'"},
    {{}, "class='Bitmap' id='image'"},
    {{3, 0}, "class='Bitmap' id='none' handle='image'"},
    {{5, 4}, "class='Bitmap' handle='image'><bitmaps><e value='On' handle='small'/></bitmaps></c>"},
    {{60, 30},
     "class='About' id='about' background='#506070' handle='image' parameter='About'>"
     "<controls><d class='Text' x='14' width='40' height='20' text='About'/></controls></c>"},
    {{20, 16}, "class='Probe' id='told' parameter='Most' tooltip='Volume of all'"},
};

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
    // Red tells the frames apart, green and blue the pixels of one.
    void addStrip(const std::string& id, Point frame, int columns, int rows) {
        addFrames(id, frame, columns, rows, [=](int x, int y) {
            const int number = y / frame.y * columns + x / frame.x;
            return std::array{40 + 210 * number / (columns * rows - 1), y % frame.y * 8,
                              x % frame.x * 8, 255};
        });
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
    constexpr int Width = 360, RowHeight = 34, Gap = 4;
    int x = Gap, y = Gap;
    std::string controls = "<h class='Help' id='special::help'/>";
    for (const auto& [size, keys] : Cells) {
        const int width = std::max(size.x, 10);
        if (x + width + Gap > Width) {
            x = Gap;
            y += RowHeight;
        }
        const auto key = [](const char* name, int value) {
            return value > 0 ? std::string(name) + "='" + std::to_string(value) + "' " : "";
        };
        controls += "<c " + key("x", x) + key("y", y) + key("width", size.x) +
                    key("height", size.y) + keys + (keys.ends_with("</c>") ? "" : "/>");
        x += (size.x == 0 && keys.find("'wide'") != std::string::npos ? 30 : width) + Gap;
    }
    ASSERT_TRUE(load(skin(controls, "class='Background' width='360' height='" +
                                        std::to_string(y + RowHeight) +
                                        "' handle='image' background='#202830'")));
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
