// What all parameters have in common: names for the host, and what is kept from one run to the
// next; then choices and texts.
#include "parameters/Definition.h"
#include "parameters/ParameterEnum.h"
#include "support/ScratchStore.h"

namespace tarn {
namespace {

// Faults: names that are too long for the host's field, or the same for two parameters.
TEST(Parameter, NamesForTheHost) {
    Modules modules;
    const Defined settings(
        "<Long class='ParameterText' name='Output Level'/><Short class='ParameterText'><info>"
        "<alias value='Out Lev'/><alias value='OL'/><alias value='Output'/></info></Short>"
        "<section name='EQ'><Gain class='ParameterText' name='Gain'/></section>",
        modules.getModule(0));
    settings.get("Gain").setParent(modules.getModule(1));
    const auto expect = [&](const char* id, int length, const char* name) {
        EXPECT_EQ(settings.get(id).getHostName(length), name);
    };
    expect("Gain", 24, "[B] Gain (EQ)");
    expect("Gain", 15, "B Gain EQ");
    modules.count = 1;
    expect("Short", 7, "Out Lev");
    expect("Short", 6, "Output");
    expect("Short", 0, "");
    settings.get("Long").setName("Lautstärke");
    expect("Long", 7, "Lautst");  // no half of a letter
}

// Faults: a value that isn't kept from one run to the next, or in another type.
TEST(Parameter, PersistentValuesAreKept) {
    const test::ScratchStore scratch;
    Preferences user = scratch.openUser();
    Preferences::setStores(nullptr, &user);
    const std::string parameters =
        "<F class='ParameterValue' type='float' persistent='true'/>"
        "<I class='ParameterValue' type='integer' minval='0' maxval='9' persistent='true'/>"
        "<B class='ParameterValue' type='bool' persistent='true'/>"
        "<E class='ParameterEnum' type='float' persistent='true'><values><v/><v value='1'/>"
        "</values></E><section name='S'><T class='ParameterText' persistent='true'/></section>"
        "<Not class='ParameterValue' type='float'/>";
    Defined first(parameters);
    for (const char* const id : {"F", "I", "B", "E", "Not"})
        first.get(id).setFloat(1.0f, FromUser);
    first.get("T").setText("1", FromUser);
    first.stop();
    const Defined second(parameters);
    for (const char* const id : {"F", "I", "B", "E"})
        take(second.get(id), "= 1");
    take(second.get("T"), ": 1");
    take(second.get("Not"), "= 0.5");
    Preferences::setStores(nullptr, nullptr);
}

// Faults: entries that are lost or in the wrong order, an index beyond them, the wrong share of
// the host's range.
TEST(ParameterEnum, ChoosesAmongItsEntries) {
    const Defined settings(
        "<P class='ParameterEnum' type='string' unit='x' defval='2' value='1'>"
        "<values><v value='a' display='Alpha'/><!-- none -->"
        "<v value='b' display='Beta'/><v value='7.5' display='Gamma'/></values></P>"
        "<I class='ParameterEnum' type='integer'><values><v value='-4'/></values></I>");
    auto& choice = settings.get<ParameterEnum<std::string>>();
    EXPECT_EQ(std::tuple(choice.getStepCount(), choice.getStep()), std::tuple(3, 0.5));
    EXPECT_EQ(choice.getValue() + choice.getText() + choice.getUnit(), "bBetax");
    Ears ears(choice);
    take(choice,
         "n 1; : Gamma; n 0.34; : Beta; n 0; : Alpha; n 7; : Gamma; n -1; : Alpha; n nan; : Alpha; "
         "v 3; v -1; v 1.6; = 7.5; v 0; : Alpha; t First; : First");
    EXPECT_EQ(ears.heard(),
              "P0 0.5 1 from 3; P0 1 2 from 2; P0 0.5 1 from 2; P0 0 0 from 2; "
              "P0 1 2 from 2; P0 0 0 from 2; P0 1 2 from 2; P0 0 0 from 2; ");
    choice.setIndex(3, FromUser);
    choice.setIndex(-1, FromUser);
    choice.resetToDefault(FromUser);
    EXPECT_EQ(ears.heard(), "P0 1 2 from 2; ");
    take(settings.get("I"), "= -4; % 0; n 0.5; v 1; = -4");
}

// Faults: a text that is taken against the rule, told of wrongly, or gone after a state is loaded.
TEST(ParameterText, IsToldAndSaved) {
    const std::string both = "<T class='ParameterText' value='one'/><C class='ParameterCustom' ";
    Defined settings(both + "value='two'/><Never class='ParameterCustom' broadcast='never'/>" +
                     "<section name='S'/><section name='S'>" + both + "value='c'/></section>");
    const auto texts = [&] {
        std::string joined;
        forEachParameter(settings, [&](const Parameter& p) { joined += p.getText() + "|"; });
        return joined;
    };
    EXPECT_EQ(texts(), "one|two||one|c|");
    for (const auto& [id, messages] : {std::pair{"T", 4}, {"C", 2}, {"Never", 1}}) {
        Ears ears(settings.get(id));
        for (const char* const text : {"two", "two", "<&\"'ä>"})
            settings.setParameterText(id, text, FromUser);
        const std::string heard = ears.heard();
        EXPECT_EQ(std::ranges::count(heard, ';'), messages);  // the present text among them
    }
    settings.get("T", 1).setText("", FromUser);
    EXPECT_EQ(texts(), "<&\"'ä>|<&\"'ä>|||c|");
    const std::string saved = stateOf(settings);
    forEachParameter(settings, [](Parameter& p) { p.setText("other", FromUser); });
    settings.read(Dictionary(saved), Parameter::AllScopes, 1, false);
    EXPECT_EQ(texts(), "<&\"'ä>|<&\"'ä>|||c|");
}

}  // namespace
}  // namespace tarn
