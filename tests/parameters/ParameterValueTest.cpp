// Numbers: the way from the host's 0.0 to 1.0 to the value, to what is shown, and back.
#include "foundation/CommaLocale.h"
#include "parameters/Definition.h"

#include <cmath>
#include <tuple>

namespace tarn {
namespace {

using Float = ParameterValue<float>;
using Integer = ParameterValue<std::int32_t>;

// A parameter "P" from `low` to `high`.
std::string number(const std::string& type, const std::string& low, const std::string& high,
                   const std::string& more = ">") {
    return "<P class='ParameterValue' type='" + type + "' minval='" + low + "' maxval='" + high +
           "' " + more + "</P>";
}

std::string shown(const std::string& display, const std::string& low = "0",
                  const std::string& high = "1") {
    return number("float", low, high, "><display " + display + "/>");
}

// Faults: a scale with a wrong formula, or a way back that isn't its inverse.
TEST(ParameterValue, EachScaleShowsByItsFormulaAndComesBack) {
    using Scale = std::tuple<std::string, std::string, std::string, double (*)(double)>;
    std::mt19937 random(1);
    for (const auto& [low, high, display, formula] : {
             Scale{"-2", "6", "min='-60' max='12'", [](double n) { return 72 * n - 60; }},
             {"6", "-2", "scaling='linear'", [](double n) { return 6 - 8 * n; }},
             {"0", "1", "scaling='logarithmic' min='20' max='20000' base='7'",
              [](double n) { return 20 * std::pow(1000.0, n); }},
             {"0", "1", "scaling='exponential' min='0' max='10'",
              [](double n) { return std::log(31 * n + 1) * 10 / std::log(32.0); }},
         }) {
        const Defined settings(shown(display, low, high));
        auto& parameter = settings.get<Float>();
        const float span = parameter.getDisplayMaximum() - parameter.getDisplayMinimum();
        for (int i = 0; i <= 1000; ++i) {
            const float n = i < 2 ? static_cast<float>(i) : static_cast<float>(random()) * 0x1p-32f;
            const float value = parameter.toDisplayValue(n);
            ASSERT_NEAR(value, formula(n), 1e-6 * std::max(1.0f, std::abs(value)));
            parameter.setDisplayValue(value, FromUser);
            ASSERT_NEAR(parameter.getDisplayValue(), value, std::abs(span) * 0x1p-22f);
            parameter.setNormalised(n, FromHost);
            ASSERT_NEAR(parameter.getNormalised(), n, 0x1p-22f);
        }
    }
}

// Faults: an index that automation can't hold.
TEST(ParameterValue, WholeNumbersComeBackFromTheHost) {
    using Ends = std::pair<std::int32_t, std::int32_t>;
    for (const auto& [low, high] : {Ends{1, 1000}, {-100000, 100000}, {9, -9}}) {
        Integer parameter(nullptr, "P", "", low, high, low);
        for (std::int32_t value = std::min(low, high); value <= std::max(low, high); ++value) {
            parameter.setValue(value, FromUser);
            const float normalised = parameter.getNormalised();
            parameter.setNormalised(value == low ? 1.0f : 0.0f, FromUser);
            parameter.setNormalised(normalised, FromHost);
            ASSERT_EQ(parameter.getValue(), value) << low << ' ' << high;
        }
    }
}

// Faults: values beyond the range, non-numbers and denormals that reach an engine; steps that are
// left, or that lead out of the range; what is shown and typed at the edges.
TEST(ParameterValue, ValuesStepByStep) {
    const std::string wide = shown("precision='3' nrdigits='4'", "-200", "200");
    const std::string mix = shown("type='mix' min='-100' max='100'");
    for (const auto& [parameter, steps] : {
             std::pair{number("float", "-1", "2"),
                       "v 1; v nan; v inf; n nan; n -inf; d nan; = 1; v 5; = 2; n -7; = -1; "
                       "v 1e-40; % 0.333333333; v 1.17549435e-38; : 0.00"},
             {number("float", "-3e38", "3e38"), "n 0.5; = 0.5; v 2e38; % 0"},
             {number("float", "1", "1"), "n 0.5; = 1; % 0"},
             {number("integer", "0", "7"), "n 0.5; = 3; n nan; = 3; v 6.9; = 6; v 1e20; = 7"},
             {number("integer", "-2147483648", "2147483647"),
              "n 1; = 2147483647; n 0; = -2147483648; v 16777217; = 16777216"},
             {number("bool", "0", "0"), "n 0.4; = 0; n 0.5; = 1; t 0; = 0; t 1.0; = 1"},
             {number("integer", "-10", "10", "steps='9'>"), "v 4; = 5; v 3; = 2; : 2.0"},
             // Texts, shown and typed.
             {shown("type='pan'", "-1", "1"), "v 0.004; : center; v 0.02; : R 2%"},
             {mix, "n 0; : 100/0; n 1; : 0/100; t 50/50; = 1"},
             {shown("type='ratio'"),
              "n 0; : 1:1; n 0.99; : 100.0:1; n 0.991; : oo:1; t 2; = 0.5; t 1:0; = 0.5; t x; = 0"},
             {wide,
              "v 0; : 0.000; v -0.0004; : 0.000; v -0.002; : -0.002; v 1.23456; : 1.235; "
              "v 123.456; : 123.5; v 10; : 10.00; t  +2.5 dB; : 2.500; t dB; : 2.500; t ; : 2.500"},
             // Scales on which what is typed doesn't come back as it is shown.
             {shown("scaling='dB'", "0.1", "1"), "n 0; ~ -20; v 0.5; ~ -6.0206; d -10; % 0.5"},
             {shown("scaling='logarithmic' min='1' max='10'"),
              "v 0.25; d 5; = 0.25; : 1.0"},  // a division by 0
         }) {
        SCOPED_TRACE(parameter);
        take(Defined(parameter).get(), steps);
    }
    const CommaLocale comma;  // a host's
    take(Defined(wide).get(), "v 1.23456; : 1.235; t 2.5; : 2.500");
    EXPECT_THAT(stateOf(Defined(wide)), testing::HasSubstr("\"0.5000000000000000\""));
    EXPECT_FALSE(Defined(wide).get().setText("1e999", FromUser));
    EXPECT_TRUE(Defined(mix).get().setText("50/50", FromUser));
}

// Faults: changes that nobody hears of, that are told twice, or with another's source; requests
// that aren't obeyed.
TEST(ParameterValue, ChangesAreToldByTheBroadcastRule) {
    const Defined settings(number("float", "0", "4", "defval='1'>") +
                           "<Never class='ParameterValue' type='float' broadcast='never'/>"
                           "<Always class='ParameterValue' type='bool' broadcast='always'/>");
    auto& parameter = settings.get<Float>();
    Ears ears(parameter);
    parameter.setValue(1.0f, FromUser);
    parameter.setNormalised(0.5f, FromMidi);
    parameter.sendValue();
    ParameterMessage change(nullptr, ParameterMessage::ValueChanged, "", 0, 0, 0.75f, FromUser);
    parameter.receive(change);
    change.code = ParameterMessage::ResetToDefault;
    parameter.receive(change);
    EXPECT_EQ(ears.heard(),
              "P0 0.25 1 from 3; P0 0.5 2 from 4; P0 0.5 2 from 3; P0 0.75 3 from 2; "
              "P0 0.25 1 from 2; ");

    take(settings.get("Never"), "n 1; = 0.5");
    Ears always(settings.get("Always"));
    take(settings.get("Always"), "v 0; v 1");
    EXPECT_EQ(always.heard(), "Always0 0 0 from 3; Always0 0 0 from 2; Always0 1 1 from 2; ");
}

}  // namespace
}  // namespace tarn
