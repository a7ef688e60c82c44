#include "audio/CPUMeter.h"
#include "drawing/Pictures.h"
#include "editor/ControlCPUMeter.h"
#include "editor/ControlDebugInfo.h"
#include "editor/ControlLevelMeter.h"
#include "editor/OpenEditor.h"
#include "foundation/Preferences.h"
#include "foundation/Timer.h"
#include "platform/Clock.h"

#include <atomic>
#include <cmath>
#include <thread>

namespace tarn {
namespace {

using test::EditorTest;
using test::Probe;

std::atomic<double> clockNow{0.0};
std::atomic<double> perLook{0.0};  // so much later at each look

// Writes down when it takes part in the ticks.
struct WatchedMeter : ControlLevelMeter {
    using ControlLevelMeter::ControlLevelMeter;
    void tuneIn(Radio* station) override {
        joined += dynamic_cast<Timer*>(station) != nullptr;
        ControlLevelMeter::tuneIn(station);
    }
    void tuneOut(Radio* station) override {
        joined -= dynamic_cast<Timer*>(station) != nullptr;
        ControlLevelMeter::tuneOut(station);
    }
    void tick(double seconds) override {
        ++ticks;
        ControlLevelMeter::tick(seconds);
    }
    int joined = 0, ticks = 0;
};

struct MeterManager : test::ProbeManager {
    using ProbeManager::ProbeManager;
    std::unique_ptr<Control> createControl(const Dictionary& dictionary, const std::string& name,
                                           const Parameter* parameter,
                                           Editor& editor) const override {
        if (name == "Watched")
            return std::make_unique<WatchedMeter>(editor);
        return ProbeManager::createControl(dictionary, name, parameter, editor);
    }
};

struct MeterEditor : test::TestedEditor {
    explicit MeterEditor(Plugin& plugin) : TestedEditor(plugin) {
        manager_ = std::make_unique<MeterManager>(*this);
    }
};

// 3 dB for each of a meter's 20 pixels.
const std::string Scale =
    "<scaling><a position='0' value='-60'/><b position='1' value='0'/></scaling>";

class MetersTest : public EditorTest {
protected:
    MetersTest() {
        editor = std::make_unique<MeterEditor>(plugin);
        clockNow = 1000.0;
        platform::setHighResolutionClock([]() noexcept { return clockNow = clockNow + perLook; });
        // Dark and lit, side by side, and one above the other.
        addStrip("tall", {8, 20}, 2, 1, litFrom<1>);
        addStrip("wide", {20, 8}, 1, 2, litFrom<1>);
        addStrip("five", {8, 20}, 5, 1, [](int frame, int) { return frame * 60; });
        addStrip("leds", {8, 4}, 1, 8, litFrom<4>);
        addStrip("row", {4, 8}, 8, 1, litFrom<4>);
        editor->bitmaps["empty"] = std::make_shared<Bitmap>();
        plugin.parameter("Volume").setNormalised(0.0f, FromInternal);
    }
    ~MetersTest() override {
        perLook = 0.0;
        platform::setHighResolutionClock(nullptr);
    }

    template <int Lit>
    static int litFrom(int frame, int) {
        return frame >= Lit ? 255 : 40;
    }
    // Its red is the frame's, its green tells pixels apart.
    void addStrip(const std::string& id, Point frame, int columns, int rows, int (*red)(int, int)) {
        std::string rgba;
        for (int y = 0; y < frame.y * rows; ++y)
            for (int x = 0; x < frame.x * columns; ++x) {
                const int index = y / frame.y * columns + x / frame.x;
                for (const int byte : {red(index, 0), y % frame.y * 12, x % frame.x * 6, 255})
                    rgba += static_cast<char>(byte);
            }
        std::istringstream stream(test::pngFile(static_cast<png_uint_32>(frame.x * columns),
                                                static_cast<png_uint_32>(frame.y * rows), rgba));
        auto bitmap = std::make_shared<Bitmap>();
        ASSERT_TRUE(bitmap->load(stream).isOk());
        bitmap->setFrames({0, 0, frame.x, frame.y}, columns, rows);
        editor->bitmaps[id] = bitmap;
    }
    static std::string meter(const std::string& className, const std::string& keys,
                             const std::string& inside = Scale) {
        return "<a class='" + className + "' " + keys + ">" + inside + "</a>";
    }
    std::unique_ptr<Canvas> draw(Control& control, float scale = 1.0f) {
        const Rect area = control.getLocalRect();
        auto canvas = std::make_unique<Canvas>(area, scale);
        canvas->beginFrame(area);
        control.draw(*canvas, area);
        return canvas;
    }
    // What is shown along the meter, from the top or the left: lit, or dark.
    std::string shown(Control& control) {
        const auto canvas = draw(control);
        const PixelsData& pixels = *canvas->getPixels();
        const bool isTall = pixels.getHeight() > pixels.getWidth();
        std::string along;
        for (std::int32_t i = 0; i < std::max(pixels.getHeight(), pixels.getWidth()); ++i)
            along += (isTall ? pixels.row(i)[2] : pixels.row(0)[i * 4 + 2]) > 128 ? '#' : '.';
        return along;
    }
    // Whether the control asked to be drawn.
    static bool takeDirt(Control& control) {
        const bool isDirty = control.testFlags(Control::Dirty);
        control.setFlags(Control::Dirty, false);
        return isDirty;
    }
    void setDecibels(float dB) {
        plugin.parameter("Volume").setNormalised(std::pow(10.0f, dB / 20.0f), FromInternal);
    }
    static void tick(Control& control, double seconds) {
        TimerMessage message(nullptr, TimerMessage::Tick, fourCharacterCode("CVUt"), 0);
        message.sinceLastTick = seconds;
        message.elapsed = 1e6;
        EXPECT_TRUE(control.handle(message));
    }
    static std::string lit(int dark, int count) {
        return std::string(static_cast<std::size_t>(dark), '.') +
               std::string(static_cast<std::size_t>(count), '#') +
               std::string(static_cast<std::size_t>(20 - dark - count), '.');
    }
};

// Faults: a frame, an edge or a colour in the wrong place, at each kind of meter in each direction.
TEST_F(MetersTest, PictureOfMeters) {
    std::string controls;
    int count = 0;
    const auto add = [&](const std::string& className, const char* strip, const char* keys) {
        const std::string place = "x='" + std::to_string(4 + count % 6 * 26) + "' y='" +
                                  std::to_string(4 + count / 6 * 28) + "' parameter='Volume' ";
        controls += meter(className, place + "handle='" + strip + "' " + keys);
        ++count;
    };
    const char *plain = "", *down = "attenuation='true'",
               *bars =
                   "width='12' height='20' "
                   "foreground='#80c0ff'",
               *colored = "holdcolor='#00ffff'";
    for (const char* strip : {"tall", "wide", "five"})
        for (const char* keys : {plain, down})
            add("VUMeter", strip, keys);
    for (const char* strip : {"tall", "wide"})
        for (const char* keys : {plain, colored})
            add("LevelMeter", strip, keys);
    add("VUMeter", "none", bars);
    add("VUMeterLED", "leds", "width='8' height='16'");
    add("VUMeterLED", "row", "width='16' height='8'");
    ASSERT_TRUE(load("<dict>" + test::Header +
                     "<controls><c class='Background' "
                     "id='special::background' width='160' height='84' background='#202830'>"
                     "<controls>" +
                     controls + "</controls></c></controls></dict>"));
    for (const float scale : {1.0f, 1.5f}) {
        ASSERT_TRUE(editor->open(nullptr, {}, scale));
        for (const float dB : {-9.0f, -21.0f}) {
            setDecibels(dB);
            clockNow = clockNow + 0.7;
            for (Control* const control : editor->getControls())
                if (dB == -9.0f ? dynamic_cast<ControlVUMeter*>(control) != nullptr
                                : dynamic_cast<ControlLevelMeter*>(control) != nullptr)
                    tick(*control, 0.7);
        }
        test::expectPicture(*draw(*editor->getRootControl(), scale)->getPixels(),
                            "meters-" + std::to_string(static_cast<int>(scale * 100)));
        editor->close();
    }
}

// Faults: a peak that isn't held, is held for ever or falls slowly; a meter that is drawn for what
// can't be seen, or in part with other levels than the rest.
TEST_F(MetersTest, APeakIsHeldAndThenFallsToTheLevel) {
    open(meter("VUMeter", "id='m' parameter='Volume' handle='tall'") +
         meter("VUMeter", "id='w' x='20' parameter='Volume' handle='wide'"));
    Control& control = probe<Control>("m");
    EXPECT_FALSE(control.testFlags(Control::Editable) || control.testFlags(Control::TextEntry));
    EXPECT_EQ(shown(control), lit(0, 0));
    takeDirt(control);
    struct Step {
        float dB;
        double seconds;  // until a tick; 0 for none
        bool isDirty;
        std::string shown;
    };
    const std::string held = lit(10, 2).substr(0, 15) + "#####";
    const Step steps[] = {
        {-30.0f, 0.0, true, lit(10, 10)}, {-45.0f, 0.0, false, held},
        {-45.5f, 0.2, false, held},       {-45.0f, 0.06, true, lit(14, 6)},
        {-30.0f, 0.0, true, lit(10, 10)}, {-30.0f, 0.3, false, lit(10, 10)},
        {-29.9f, 0.0, true, lit(8, 12)},  {-20.0f, 0.2, true, lit(6, 14)},
        {-60.0f, 0.06, true, lit(0, 0)},  {6.0f, 0.0, true, lit(0, 20)},
        {-300.0f, 0.3, true, lit(0, 0)},
    };
    for (const Step& step : steps) {
        setDecibels(step.dB);
        if (step.seconds > 0.0)
            tick(control, step.seconds);
        EXPECT_EQ(takeDirt(control), step.isDirty) << step.dB;
        EXPECT_EQ(shown(control), step.shown) << step.dB;
    }
    // Only what is drawn as a whole may show another level.
    setDecibels(-30.0f);
    shown(control);
    setDecibels(-45.0f);
    Canvas canvas({0, 0, 8, 20});
    canvas.beginFrame({0, 0, 8, 20});
    control.draw(canvas, {0, 0, 8, 16});
    EXPECT_GT(canvas.getPixels()->row(13)[2], 128);

    Control& wide = probe<Control>("w");
    EXPECT_EQ(shown(wide), "#####.............##");
    setDecibels(0.0f);
    EXPECT_EQ(shown(wide), lit(0, 20));
}

// Faults: a meter that is upset by what isn't its own parameter's level, or by a skin without one.
TEST_F(MetersTest, StandsWhateverSkinAndParameterAre) {
    open(
        meter("VUMeter", "id='m' parameter='Volume' handle='tall'") +
        meter("VUMeter", "parameter='Title' handle='tall'") +
        meter("LevelMeter", "parameter='None' handle='empty'") +
        meter("VUMeterLED", "parameter='Switch' handle='empty'") +
        meter("VUMeterLED", "handle='none' width='9' height='9'") +
        meter("LevelMeter", "handle='leds' parameter='Volume' height='3' width='90'", "") +
        meter("VUMeter", "parameter='Volume' handle='tall'", "<scaling><a value='-9'/></scaling>"));
    Control& control = probe<Control>("m");
    ParameterMessage other(nullptr, ParameterMessage::ValueChanged, "Switch", 0, 0, 1.0f, 0);
    ParameterMessage clone(nullptr, ParameterMessage::ValueChanged, "Volume", 1, 0, 1.0f, 0);
    ParameterMessage reset(nullptr, ParameterMessage::ResetToDefault, "Volume", 0, 0, 1.0f, 0);
    ParameterMessage nan(nullptr, ParameterMessage::ValueChanged, "Volume", 0, 0, NAN, 0);
    ParameterMessage infinite(nullptr, ParameterMessage::ValueChanged, "Volume", 0, 0, INFINITY, 0);
    for (ParameterMessage* const message : {&other, &clone, &reset, &nan}) {
        control.handle(*message);
        EXPECT_EQ(shown(control), lit(0, 0)) << message->cloneNumber;
    }
    control.handle(infinite);
    EXPECT_EQ(shown(control), lit(0, 20));
    control.handle(nan);
    tick(control, 1.0);
    EXPECT_EQ(shown(control), lit(0, 0));
    TimerMessage fade(nullptr, TimerMessage::Tick, fourCharacterCode("Cfoc"), 0);
    EXPECT_FALSE(control.handle(fade));
    for (Control* const each : editor->getControls()) {
        for (ParameterMessage* const message : {&other, &nan, &infinite})
            each->handle(*message);
        if (dynamic_cast<ControlVUMeter*>(each) != nullptr)
            tick(*each, 1.0);
        EXPECT_NE(draw(*each), nullptr);
    }
    EXPECT_EQ(probe<Control>("m").getRect(), (Rect{0, 0, 8, 20}));
}

// Faults: an LED that is lit at another level than its own, or from the wrong end.
TEST_F(MetersTest, LedsAreLitUpToThePeak) {
    struct Row {
        const char* values;
        float dB;
        std::size_t count;
    };
    const Row rows[] = {
        {"", -10.0f, 0},      {"", -9.4f, 1},
        {"", -8.9f, 1},       {"", -3.0f, 3},
        {"", -0.6f, 3},       {"", -0.4f, 4},
        {"-2", -5.4f, 1},     {"-2", -4.4f, 2},
        {"-2", -2.0f, 4},     {"-6", -3.0f, 0},
        {"0 -10", -25.0f, 1}, {"0 -10", -19.6f, 2},
        {"0 -10", -10.0f, 3}, {"-1 -2 -3 -50 -51", -49.0f, 1},
    };
    for (const Row& row : rows) {
        std::string values;
        std::istringstream list(row.values);
        for (std::string value; list >> value;)
            values += "<v value='" + value + "'/>";
        setDecibels(-200.0f);
        const std::string inside = values.empty() ? "" : "<values>" + values + "</values>";
        open(meter("VUMeterLED", "id='m' parameter='Volume' width='8' height='16' handle='leds'",
                   inside) +
             meter("VUMeterLED", "id='w' parameter='Volume' width='16' height='8' handle='row'",
                   inside));
        setDecibels(row.dB);
        EXPECT_EQ(shown(probe<Control>("m")),
                  std::string(16 - 4 * row.count, '.') + std::string(4 * row.count, '#'))
            << row.values << ", " << row.dB;
        EXPECT_EQ(shown(probe<Control>("w")),
                  std::string(4 * row.count, '#') + std::string(16 - 4 * row.count, '.'));
    }
}

// Faults: a needle that jumps, sticks at a level that isn't told again, or misses a short one;
// ticks or pictures where nothing moves.
TEST_F(MetersTest, ALevelFallsEvenlyAndRestsAtTheBottom) {
    open(meter("Watched", "id='m' parameter='Volume' handle='tall'"));
    auto& control = probe<WatchedMeter>("m");
    const auto after = [&](double seconds) {
        takeDirt(control);
        clockNow = clockNow + seconds;
        tick(control, seconds);
        return takeDirt(control);
    };
    EXPECT_EQ(control.joined, 0) << "silent from the beginning";
    setDecibels(0.0f);
    EXPECT_EQ(control.joined, 1);
    setDecibels(-300.0f);
    EXPECT_TRUE(after(0.05));
    EXPECT_EQ(shown(control), lit(0, 20)) << "a short one";
    EXPECT_FALSE(after(0.05)) << "0.6 dB";
    EXPECT_TRUE(after(0.8));
    EXPECT_EQ(shown(control), "##" + std::string(1, '.') + std::string(17, '#'));
    EXPECT_TRUE(after(0.5));
    EXPECT_EQ(shown(control), "##" + std::string(3, '.') + std::string(15, '#'));
    EXPECT_TRUE(after(0.25));
    EXPECT_EQ(shown(control), lit(6, 14)) << "the peak's end";
    setDecibels(-6.0f);
    for (int i = 0; i < 100; ++i)
        after(0.05);
    EXPECT_EQ(shown(control), lit(2, 18)) << "a level that stays";
    EXPECT_EQ(control.joined, 1);
    setDecibels(-300.0f);
    EXPECT_TRUE(after(4.0));
    EXPECT_TRUE(after(2.0));
    EXPECT_EQ(shown(control), lit(0, 0));
    EXPECT_EQ(control.joined, 0);
    setDecibels(-20.0f);
    EXPECT_EQ(control.joined, 1);

    // What is opened again shows what is there, at once.
    after(0.05);
    editor->close();
    EXPECT_EQ(control.joined, 0);
    setDecibels(-30.0f);
    EXPECT_EQ(control.joined, 0);
    clockNow = clockNow + 0.01;
    ASSERT_TRUE(editor->open(nullptr, {}));
    EXPECT_EQ(shown(control), lit(10, 10));
}

// Faults: a timer that no meter hears, that the last one leaves behind, or of an old rate.
TEST_F(MetersTest, MetersShareATimer) {
    open(meter("Watched", "id='a' parameter='Volume' handle='tall'") +
         meter("Watched", "id='b' parameter='Volume' handle='tall'") +
         meter("VUMeter", "id='c' parameter='Volume' handle='tall'"));
    setDecibels(-20.0f);
    const auto awaitTick = [this](const char* id) {
        auto& control = probe<WatchedMeter>(id);
        for (const int before = control.ticks; control.ticks == before; std::this_thread::yield())
            editor->idle();
    };
    awaitTick("a");
    awaitTick("b");
    delete &probe<Control>("a");
    awaitTick("b");
    std::thread([this] { setDecibels(-3.0f); }).join();
    EXPECT_EQ(shown(probe<Control>("c")), lit(6, 14));
    editor->idle();
    EXPECT_EQ(shown(probe<Control>("c")), lit(0, 20));
    editor->close();
    ASSERT_TRUE(editor->open(nullptr, {}));
    awaitTick("b");
}

// Faults: rows of other meters than theirs, an interface that is moved away from the pointer, or
// metered while nobody looks.
TEST_F(MetersTest, PictureOfTheDebugDisplay) {
    Preferences::user()->setBool("ShowCPUMeters", true);
    ASSERT_TRUE(load("<dict>" + test::Header +
                     "<controls><p class='Probe' width='1' height='1'/><c class='Probe' "
                     "id='special::background' width='30' height='200' background='#202830' "
                     "label=''><controls><a class='Probe' id='under' x='10' y='10' width='9' "
                     "height='9'/></controls></c></controls></dict>"));
    auto& debug = dynamic_cast<ControlDebugInfo&>(*editor->getRootControl());
    EXPECT_EQ(editor->getClientRect(), (Rect{0, 0, 190, 200}));
    EXPECT_EQ(editor->getStatusRect(), (Rect{0, 0, 190, 12}));
    ASSERT_TRUE(editor->open(nullptr, {}));
    EXPECT_EQ(&debug.rows()[0]->meter(), &plugin.getCpuMeter(Plugin::AudioSection));
    EXPECT_EQ(&debug.rows()[2]->meter(), &plugin.getCpuMeter(Plugin::MidiSection));
    plugin.setCpuMetering(false);  // the test ticks itself
    TimerMessage ticked(nullptr, TimerMessage::Tick, fourCharacterCode("CPUx"), 0);
    for (std::size_t i : {0, 1, 2, 3})
        debug.rows()[i]->meter().stop();
    EXPECT_TRUE(debug.rows()[0]->handle(ticked));
    takeDirt(*debug.rows()[0]);
    for (std::size_t i : {0, 1, 2, 3}) {
        CPUMeter& meter = debug.rows()[i]->meter();
        meter.receive(ticked);
        for (int second = 0; second < 100; ++second) {
            meter.begin();
            clockNow = clockNow + second * 0.003 * static_cast<double>(i + 1);
            meter.end();
            clockNow = clockNow + 1.0 - second * 0.003 * static_cast<double>(i + 1);
            meter.receive(ticked);
        }
    }
    EXPECT_TRUE(takeDirt(*debug.rows()[0]));
    test::expectPicture(*draw(debug)->getPixels(), "debug-100");

    point(Pointer::Move, 171, 11);
    EXPECT_EQ(editor->getHoverControl(), &probe("under"));
    const auto loadOf = [&](std::size_t row) {
        CPUMeter& meter = debug.rows()[row]->meter();
        meter.receive(ticked);
        return meter.getLoad(-1);
    };
    loadOf(1);
    loadOf(3);
    perLook = 0.125;
    editor->redrawAll();
    editor->idle();
    perLook = 0.0;
    EXPECT_GT(loadOf(1), 0.1);
    EXPECT_GE(loadOf(3), 0.25);
    EXPECT_TRUE(load(skin("")));
    Preferences::user()->setBool("ShowCPUMeters", false);
    EXPECT_TRUE(load(skin("")));
    EXPECT_EQ(editor->getClientRect(), (Rect{0, 0, 100, 80}));
}

}  // namespace
}  // namespace tarn
