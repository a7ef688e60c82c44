// Numbers: the way from the host's 0.0 to 1.0 to the value, to what is shown, and back.
#include "parameters/Definition.h"
#include "parameters/DisplayMapper.h"

#include <cmath>
#include <limits>
#include <random>

namespace tarn {
namespace {

using Float = ParameterValue<float>;
using Integer = ParameterValue<std::int32_t>;
using Switch = ParameterValue<bool>;

constexpr float NaN = std::numeric_limits<float>::quiet_NaN();
constexpr float Infinity = std::numeric_limits<float>::infinity();
constexpr std::int32_t Lowest = std::numeric_limits<std::int32_t>::lowest();
constexpr std::int32_t Highest = std::numeric_limits<std::int32_t>::max();

std::string floatFrom(const std::string& low, const std::string& high, const std::string& more) {
    return "<P class='ParameterValue' type='float' minval='" + low + "' maxval='" + high + "' " +
           more + "</P>";
}

float oneStep(float value) {
    return std::nextafter(std::abs(value), Infinity) - std::abs(value);
}

// Faults: a scale with a wrong formula, or a way back that isn't its inverse.
TEST(ParameterValue, EachScaleShowsByItsFormulaAndComesBack) {
    struct Scale {
        std::string low, high, display;
        double (*shown)(double n);
    };
    const Scale scales[] = {
        {"-2", "6", "<display min='-60' max='12'/>", [](double n) { return 72 * n - 60; }},
        {"0", "1", "<display scaling='linear'/>", [](double n) { return n; }},
        {"0", "1", "<display scaling='logarithmic' min='20' max='20000' base='7'/>",
         [](double n) { return 20 * std::pow(1000.0, n); }},
        {"0", "1", "<display scaling='exponential' min='0' max='10'/>",
         [](double n) { return std::log(31 * n + 1) * 10 / std::log(32.0); }},
        {"6", "-2", "<display/>", [](double n) { return 6 - 8 * n; }},
    };
    std::mt19937 random(1);
    for (const Scale& scale : scales) {
        const Defined settings(floatFrom(scale.low, scale.high, ">" + scale.display));
        auto& parameter = settings.get<Float>("P");
        for (int i = 0; i <= 1000; ++i) {
            const float n = i < 2 ? static_cast<float>(i) : static_cast<float>(random()) * 0x1p-32f;
            const double shown = scale.shown(n);
            const float display = parameter.toDisplayValue(n);
            ASSERT_NEAR(display, shown, 1e-6 * std::max(1.0, std::abs(shown))) << scale.display;
            parameter.setDisplayValue(display, FromUser);
            const float span = parameter.getDisplayMaximum() - parameter.getDisplayMinimum();
            ASSERT_NEAR(parameter.getDisplayValue(), display, 2 * oneStep(span)) << scale.display;
            parameter.setNormalised(n, FromHost);
            ASSERT_NEAR(parameter.getNormalised(), n, 4 * oneStep(1.0f));
        }
    }
}

// Faults: the kept asymmetries mended, or a converter that isn't asked.
TEST(ParameterValue, ScalesThatDontComeBack) {
    const Defined exponential(
        floatFrom("0", "1", "><display scaling='exponential' min='5' max='15'/>"));
    auto& shifted = exponential.get<Float>("P");
    EXPECT_EQ(shifted.toDisplayValue(0.0f), 5.0f);
    shifted.setDisplayValue(10.0f, FromUser);  // its minimum isn't taken off: that is the end
    EXPECT_EQ(shifted.getNormalised(), 1.0f);

    const Defined decibels(floatFrom("0.1", "1", "><display scaling='dB'/>"));
    auto& gain = decibels.get<Float>("P");
    EXPECT_NEAR(gain.getDisplayMinimum(), -20.0f, 1e-5);
    EXPECT_NEAR(gain.toDisplayValue(4.0f / 9.0f), -6.0206f, 1e-4);  // 0.5
    gain.setDisplayValue(-10.0f, FromUser);                         // halfway, in decibels
    EXPECT_NEAR(gain.getNormalised(), 0.5f, 1e-6);

    struct Double : DisplayMapper {
        float toNormalised(const Parameter*, float shown) override { return shown / 2; }
        float toDisplay(const Parameter*, float n) override { return n * 2; }
    } mapper;
    const Defined fed(floatFrom("0", "1", "><display scaling='feedback'/>"));
    auto& parameter = fed.get<Float>("P");
    parameter.setDisplayValue(1.0f, FromUser);
    EXPECT_EQ(parameter.getNormalised(), 0.0f);
    EXPECT_EQ(parameter.toDisplayValue(0.5f), 0.0f);
    parameter.setFeedback(&mapper);
    parameter.setDisplayValue(1.5f, FromUser);
    EXPECT_EQ(parameter.getNormalised(), 0.75f);
    EXPECT_EQ(parameter.getDisplayValue(), 1.5f);

    // A logarithm that divides by 0 is refused.
    const Defined broken(
        floatFrom("0", "1", "value='0.25'><display scaling='logarithmic' min='1' max='10'/>"));
    broken.get<Float>("P").setDisplayValue(5.0f, FromUser);
    EXPECT_EQ(broken.get<Float>("P").getValue(), 0.25f);
    EXPECT_EQ(broken.get<Float>("P").getText(), "1.0");
}

// Faults: an index that automation can't hold, a switch that is on at 0.1, a range that overflows.
TEST(ParameterValue, WholeNumbersComeBackFromTheHost) {
    const std::pair<std::int32_t, std::int32_t> ranges[] = {
        {0, 7}, {-50, 50}, {0, 127}, {1, 1000}, {-100000, 100000}, {10, -10}};
    for (const auto& [low, high] : ranges) {
        const Defined none("");
        Integer parameter(nullptr, "P", "", low, high, low);
        parameter.setSettings(const_cast<Defined*>(&none));
        for (std::int32_t value = std::min(low, high); value <= std::max(low, high); ++value) {
            parameter.setValue(value, FromUser);
            ASSERT_EQ(parameter.getValue(), value) << low << ' ' << high;
            const float normalised = parameter.getNormalised();
            parameter.setNormalised(value == low ? 1.0f : 0.0f, FromUser);
            parameter.setNormalised(normalised, FromHost);
            ASSERT_EQ(parameter.getValue(), value) << low << ' ' << high;
        }
    }
    Integer seven(nullptr, "P", "", 0, 7, 0);
    seven.setNormalised(0.5f, FromHost);
    EXPECT_EQ(seven.getValue(), 3);  // the fraction is cut off
    EXPECT_EQ(seven.getStep(), 1.0 / 7);
    EXPECT_EQ(seven.getStepCount(), 8);

    Integer widest(nullptr, "P", "", Lowest, Highest, 0);
    widest.setNormalised(1.0f, FromHost);
    EXPECT_EQ(widest.getValue(), Highest);
    widest.setNormalised(0.0f, FromHost);
    EXPECT_EQ(widest.getValue(), Lowest);
    widest.setFloat(1e20f, FromHost);
    EXPECT_EQ(widest.getValue(), Highest);
    EXPECT_EQ(widest.getStepCount(), Lowest);
    widest.setNormalised(NaN, FromHost);
    EXPECT_EQ(widest.getValue(), Highest);

    Switch mute(nullptr, "P", "", false, true, false);
    mute.setNormalised(0.4f, FromHost);
    EXPECT_FALSE(mute.getValue());
    mute.setNormalised(0.5f, FromHost);
    EXPECT_TRUE(mute.getValue());
    EXPECT_EQ(mute.getStepCount(), Lowest);
    const Defined settings("");
    mute.setSettings(const_cast<Defined*>(&settings));
    EXPECT_EQ(mute.getStepCount(), 2);
    EXPECT_EQ(mute.getStep(), 1.0);
}

// Faults: values beyond the range, non-numbers and denormals that reach an engine.
TEST(ParameterValue, NothingButNumbersInTheRangeGetsIn) {
    for (const bool isInverted : {false, true}) {
        Float parameter(nullptr, "P", "", isInverted ? 2.0f : -1.0f, isInverted ? -1.0f : 2.0f,
                        1.0f);
        Ears ears(parameter);
        ears.take();
        for (const float refused : {NaN, Infinity, -Infinity}) {
            parameter.setValue(refused, FromHost);
            parameter.setNormalised(refused, FromHost);
            parameter.setFloat(refused, FromHost);
            parameter.setDisplayValue(refused, FromHost);
        }
        EXPECT_EQ(parameter.getValue(), 1.0f);
        EXPECT_TRUE(ears.heard.empty());
        parameter.setValue(5.0f, FromHost);
        EXPECT_EQ(parameter.getValue(), 2.0f);
        parameter.setNormalised(isInverted ? 7.0f : -7.0f, FromHost);
        EXPECT_EQ(parameter.getValue(), -1.0f);
        parameter.setValue(1e-40f, FromHost);
        EXPECT_EQ(parameter.getValue(), 0.0f);
        parameter.setValue(std::numeric_limits<float>::min(), FromHost);
        EXPECT_EQ(parameter.getValue(), std::numeric_limits<float>::min());
        parameter.setRange(0.5f, 0.75f, FromInternal);
        EXPECT_EQ(parameter.getValue(), 0.5f);
        parameter.setMinimum(NaN);
        parameter.setMaximum(Infinity);
        EXPECT_EQ(parameter.getMinimum(), 0.5f);
        EXPECT_EQ(parameter.getMaximum(), 0.75f);
        parameter.setRange(0.25f, 0.25f, FromInternal);
        EXPECT_EQ(parameter.getNormalised(), 0.0f);
    }
    Float huge(nullptr, "P", "", -3e38f, 3e38f, 0.0f);
    huge.setNormalised(0.5f, FromHost);
    EXPECT_EQ(huge.getValue(), 0.0f);
}

// Faults: steps that settings don't ask for, or ask for in vain, or that leave the range.
TEST(ParameterValue, ValuesKeepToTheirSteps) {
    const Defined settings(floatFrom("0", "1", "steps='5'>") +
                           "<Always class='ParameterValue' type='float' steps='3'>"
                           "<integer name='steps' mode='always'/></Always>"
                           "<Whole class='ParameterValue' type='integer' minval='-10' maxval='10' "
                           "defval='0' steps='9'/>"
                           "<One class='ParameterValue' type='float' steps='1' minval='2' "
                           "maxval='3'/>");
    auto& stepped = settings.get<Float>("P");
    stepped.setNormalised(0.3f, FromHost);
    EXPECT_EQ(stepped.getValue(), 0.25f);
    EXPECT_EQ(stepped.getStepCount(), 4);
    EXPECT_FLOAT_EQ(stepped.toDisplayValue(0.4f), 0.5f);
    stepped.setStep(0.6f);
    stepped.setNormalised(1.0f, FromHost);  // 1.2 is no value
    EXPECT_EQ(stepped.getValue(), 1.0f);

    auto& always = settings.get<Float>("Always");
    for (Float* const parameter : {&stepped, &always})
        parameter->setSettings(nullptr);
    stepped.setNormalised(0.3f, FromHost);
    EXPECT_EQ(stepped.getValue(), 0.3f);
    EXPECT_EQ(stepped.getStep(), 2.220446049250313e-16);
    EXPECT_EQ(stepped.getStepCount(), Lowest);
    always.setNormalised(0.3f, FromHost);
    EXPECT_EQ(always.getValue(), 0.5f);

    auto& whole = settings.get<Integer>("Whole");  // 2.5 a step
    whole.setValue(4, FromUser);
    EXPECT_EQ(whole.getValue(), 5);
    whole.setValue(3, FromUser);
    EXPECT_EQ(whole.getValue(), 2);
    EXPECT_EQ(whole.toDisplayValue(0.63f), 2.0f);

    settings.get<Float>("One").setValue(2.7f, FromUser);
    EXPECT_EQ(settings.get<Float>("One").getValue(), 2.0f);
}

// Faults: places, signs and ends of what is shown, and of what is typed.
TEST(ParameterValue, TextsThatAreShownAndTyped) {
    struct Shown {
        std::string definition;
        float value;
        std::string text;
    };
    const std::string pan = "-1|1|<display type='pan'/>";
    const std::string mix = "0|1|<display type='mix' min='-100' max='100'/>";
    const std::string ratio = "0|1|<display type='ratio'/>";
    const std::string wide = "-200|200|<display precision='3' nrdigits='4'/>";
    const Shown table[] = {
        {pan, 0.0f, "center"},
        {pan, 0.004f, "center"},
        {pan, 0.02f, "R 2%"},
        {pan, -0.5f, "L 50%"},
        {pan, 1.0f, "R 100%"},
        {mix, 0.25f, "75/25"},
        {mix, 0.0f, "100/0"},
        {mix, 1.0f, "0/100"},
        {ratio, 0.5f, "2.0:1"},
        {ratio, 0.0f, "1:1"},
        {ratio, 0.99f, "100.0:1"},
        {ratio, 0.991f, "oo:1"},
        {wide, 0.0f, "0.000"},
        {wide, -0.0004f, "0.000"},
        {wide, -0.002f, "-0.002"},
        {wide, 1.23456f, "1.235"},
        {wide, 123.456f, "123.5"},
        {"0|90000|<display nrdigits='4'/>", 90000.0f, "90000"},
        {wide, 10.0f, "10.00"},
        {"0|1|<display scaling='dB'/>", 0.0f, "-oo"},
        {"0|1|<display scaling='dB'/>", 1.0f, "0.00"},
        {"0|1|<display precision='99' nrdigits='99'/>", 0.5f, "0.5000000000000000"},
        {"0|1|<display precision='-1'/>", 0.5f, "0"},
    };
    for (const auto& [text, value, expected] : table) {
        const auto bar = text.find('|'), second = text.find('|', bar + 1);
        const Defined settings(floatFrom(text.substr(0, bar),
                                         text.substr(bar + 1, second - bar - 1),
                                         ">" + text.substr(second + 1)));
        auto& parameter = settings.get<Float>("P");
        parameter.setValue(value, FromUser);
        EXPECT_EQ(parameter.getText(), expected) << text << value;
    }

    const Defined settings(floatFrom("0", "10", ">") +
                           "<Ratio class='ParameterValue' type='float'>"
                           "<display type='ratio'/></Ratio>"
                           "<Pan class='ParameterValue' type='float'><display type='pan'/></Pan>"
                           "<N class='ParameterValue' type='integer' minval='0' maxval='9'>"
                           "<display precision='0'/></N>"
                           "<On class='ParameterValue' type='bool'/>");
    auto& number = settings.get<Float>("P");
    EXPECT_TRUE(number.setText(" +2.5 dB", FromUser));
    EXPECT_EQ(number.getValue(), 2.5f);
    for (const char* const refused : {"", "dB", "-", "1e999"})
        EXPECT_FALSE(number.setText(refused, FromUser)) << refused;
    EXPECT_EQ(number.getValue(), 2.5f);
    for (const auto& [typed, normalised] :
         {std::pair{"1:4", 0.75f}, {"2", 0.5f}, {"1:0", 0.5f}, {"x", 0.0f}}) {
        EXPECT_TRUE(settings.get("Ratio").setText(typed, FromUser));
        EXPECT_EQ(settings.get("Ratio").getNormalised(), normalised) << typed;
    }
    EXPECT_TRUE(settings.get("Pan").setText("1", FromUser));
    EXPECT_EQ(settings.get("Pan").getNormalised(), 0.5f);
    EXPECT_TRUE(settings.get("N").setText("7.9", FromUser));
    EXPECT_EQ(settings.get("N").getText(), "7");
    EXPECT_TRUE(settings.get("On").setText("1", FromUser));
    EXPECT_EQ(settings.get("On").getFloat(), 1.0f);
}

// Faults: a curve with the wrong base, default or end.
TEST(ParameterValue, Curves) {
    Float parameter(nullptr, "P", "", 1.0f, 5.0f, 3.0f);
    EXPECT_EQ(parameter.getCurved(), 3.0f);
    parameter.setCurve(1, 3.0f);
    EXPECT_FLOAT_EQ(parameter.getCurved(), (27.0f - 1) * 4 / 2 + 1);
    parameter.setCurve(2, 3.0f);
    EXPECT_FLOAT_EQ(parameter.getCurved(), std::log(7.0f) * 4 / std::log(3.0f) + 1);
}

// Faults: changes that nobody hears of, that are told twice, or with another's source; requests
// that aren't obeyed.
TEST(ParameterValue, ChangesAreToldByTheBroadcastRule) {
    const Defined settings(floatFrom("0", "4", "defval='1'>") +
                           "<Never class='ParameterValue' type='float' broadcast='never'/>"
                           "<Always class='ParameterValue' type='integer' minval='0' maxval='4' "
                           "value='2' broadcast='always'/>"
                           "<On class='ParameterValue' type='bool' value='true'/>");
    auto& parameter = settings.get<Float>("P");
    Ears ears(parameter);
    EXPECT_EQ(
        ears.take(),
        (std::vector<Ears::Heard>{{"P", 0.25f, fromPayload<std::int32_t>(toPayload(1.0f)), 0, 3}}));
    parameter.setValue(1.0f, FromUser);
    EXPECT_TRUE(ears.heard.empty());
    parameter.setNormalised(0.5f, FromMidi);
    parameter.sendValue();
    const std::int32_t two = fromPayload<std::int32_t>(toPayload(2.0f));
    EXPECT_EQ(ears.take(), (std::vector<Ears::Heard>{{"P", 0.5f, two, 0, FromMidi},
                                                     {"P", 0.5f, two, 0, FromInternal}}));

    ParameterMessage change(nullptr, ParameterMessage::ValueChanged, "", 0, 0, 0.75f, FromUser);
    EXPECT_FALSE(parameter.receive(change));
    EXPECT_EQ(parameter.getValue(), 3.0f);
    change.code = ParameterMessage::ResetToDefault;
    parameter.receive(change);
    EXPECT_EQ(parameter.getValue(), 1.0f);
    EXPECT_EQ(ears.take().back().mode, FromUser);
    change.code = ParameterMessage::StoreSecondary;
    change.payload = toPayload(0.125f);
    parameter.receive(change);
    EXPECT_EQ(parameter.getSecondary(), 0.125f);
    EXPECT_TRUE(ears.heard.empty());

    settings.get("Never").setNormalised(1.0f, FromUser);
    EXPECT_EQ(settings.get("Never").getNormalised(), 0.5f);
    Ears always(settings.get("Always"));
    settings.get("Always").setFloat(2.0f, FromHost);
    EXPECT_EQ(always.heard.size(), 2u);
    Ears on(settings.get("On"));
    EXPECT_EQ(on.take()[0].payload, 1);
}

}  // namespace
}  // namespace tarn
