#include "editor/ControlLevelMeter.h"
#include "editor/OpenEditor.h"
#include "foundation/Timer.h"
#include "support/TestClock.h"

#include <cmath>
#include <sstream>
#include <thread>

namespace tarn {
namespace {

using test::EditorTest;
using test::TestClock;

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

// 3 dB for each of a meter's 20 pixels.
const std::string Scale =
    "<scaling><a position='0' value='-60'/><b position='1' value='0'/></scaling>";

class MetersTest : public EditorTest {
protected:
    MetersTest() {
        editor->addClass<WatchedMeter>("Watched");
        // Dark and lit, side by side, and one above the other.
        addStrip("tall", {8, 20}, 2, 1);
        addStrip("wide", {20, 8}, 1, 2);
        addStrip("leds", {8, 4}, 1, 8);
        addStrip("row", {4, 8}, 8, 1);
        editor->bitmaps["empty"] = std::make_shared<Bitmap>();
        plugin.parameter("Volume").setNormalised(0.0f, FromInternal);
    }

    static std::string meter(const std::string& className, const std::string& keys,
                             const std::string& inside = Scale) {
        return "<a class='" + className + "' " + keys + ">" + inside + "</a>";
    }
    // What is shown along the meter, from the top or the left: lit, or dark.
    std::string shown(Control& control) {
        const auto canvas = draw(control);
        const PixelsData& pixels = *canvas->getPixels();
        const bool isTall = pixels.getHeight() > pixels.getWidth();
        std::string along;
        for (std::int32_t i = 0; i < std::max(pixels.getHeight(), pixels.getWidth()); ++i)
            along += (isTall ? pixels.row(i)[2] : pixels.row(0)[i * 4 + 2]) > 145 ? '#' : '.';
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
    static std::string lit(int dark, int count) {
        return std::string(static_cast<std::size_t>(dark), '.') +
               std::string(static_cast<std::size_t>(count), '#') +
               std::string(static_cast<std::size_t>(20 - dark - count), '.');
    }

    const TestClock clock{1000.0};
};

// Faults: a meter that is upset by what isn't its own parameter's level, or by a skin without one.
TEST_F(MetersTest, StandsWhateverSkinAndParameterAre) {
    open(
        meter("VUMeter", "id='m' parameter='Volume' handle='tall'") +
        meter("VUMeter", "parameter='Title' handle='tall'") +
        meter("LevelMeter", "parameter='None' handle='empty'") +
        meter("VUMeterLED", "handle='none' width='9' height='9'") +
        meter("LevelMeter", "handle='leds' parameter='Volume' height='3' width='90'", "") +
        meter("VUMeter", "parameter='Volume' handle='tall'", "<scaling><a value='-9'/></scaling>"));
    Control& control = probe<Control>("m");
    ParameterMessage other(nullptr, ParameterMessage::ValueChanged, "Switch", 0, 0, 1.0f, 0);
    ParameterMessage nan(nullptr, ParameterMessage::ValueChanged, "Volume", 0, 0, NAN, 0);
    ParameterMessage infinite(nullptr, ParameterMessage::ValueChanged, "Volume", 0, 0, INFINITY, 0);
    for (ParameterMessage* const message : {&other, &nan}) {
        control.handle(*message);
        EXPECT_EQ(shown(control), lit(0, 0));
    }
    control.handle(infinite);
    EXPECT_EQ(shown(control), lit(0, 20));
    control.handle(nan);
    tick(control, "CVUt", 1, 0.0f, 1.0);
    EXPECT_EQ(shown(control), lit(0, 0));
    for (Control* const each : editor->getControls()) {
        for (ParameterMessage* const message : {&other, &nan, &infinite})
            each->handle(*message);
        if (dynamic_cast<ControlVUMeter*>(each) != nullptr)
            tick(*each, "CVUt", 1, 0.0f, 1.0);
        EXPECT_NE(draw(*each), nullptr);
    }
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
        TestClock::pass(seconds);
        tick(control, "CVUt", 1, 0.0f, seconds);
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
    EXPECT_EQ(shown(control), "##." + std::string(17, '#'));
    EXPECT_TRUE(after(0.75));
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

    // What is opened again shows what is there, at once.
    setDecibels(-20.0f);
    after(0.05);
    editor->close();
    EXPECT_EQ(control.joined, 0);
    setDecibels(-30.0f);
    TestClock::pass(0.01);
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
    delete &probe<Control>("a");
    awaitTick("b");
    std::thread([this] { setDecibels(-3.0f); }).join();
    editor->idle();
    EXPECT_EQ(shown(probe<Control>("c")), lit(0, 20));
    editor->close();
    ASSERT_TRUE(editor->open(nullptr, {}));
    awaitTick("b");
}

}  // namespace
}  // namespace tarn
