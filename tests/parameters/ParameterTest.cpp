// What all parameters have in common: the definition's keys, names for the host, how changes
// travel; then choices, lists and texts.
#include "parameters/Definition.h"
#include "parameters/ParameterArray.h"
#include "parameters/ParameterEnum.h"
#include "parameters/ParameterText.h"
#include "support/Hearer.h"
#include "support/ScratchStore.h"

#include <memory>
#include <vector>

namespace tarn {
namespace {

using Keys = Range<std::int16_t>;

std::string named(const std::string& id, const std::string& more) {
    return "<" + id + " class='ParameterText' name='Output Level' " + more + "</" + id + ">";
}

// Faults: a key that sets another field, an absent one that changes one, a wrong one that is taken.
TEST(Parameter, KeysOfADefinition) {
    const Defined settings(
        named("Plain", ">") +
        named("All",
              "automatable='true' meta='true' persistent='true' export='false' "
              "scope='zone' realm='hostile' broadcast='editor' version='1.5'>") +
        named("Kept",
              "automatable='false' meta='false' persistent='false' export='true' "
              "scope='none' realm='plugin' broadcast='sometimes'>") +
        named("Module", "scope='module'>") + named("Program", "scope='program'>"));
    const auto flags = [&](const char* id) {
        std::uint32_t set = 0;
        for (std::uint32_t bit = 1; bit <= 64; bit *= 2)
            set |= settings.get(id).hasFlag(bit) ? bit : 0;
        return set;
    };
    for (const char* const id : {"Plain", "Kept"}) {
        EXPECT_EQ(flags(id), 4u) << id;
        EXPECT_EQ(settings.get(id).getScope(), Parameter::PluginScope) << id;
        EXPECT_EQ(settings.get(id).getBroadcast(), Parameter::BroadcastChange) << id;
        EXPECT_FALSE(settings.get(id).inRealm(Parameter::HostRealm)) << id;
    }
    const Parameter& all = settings.get("All");
    EXPECT_EQ(flags("All"), 35u);
    EXPECT_TRUE(all.inScope(Parameter::ZoneScope) && all.inRealm(Parameter::HostRealm));
    EXPECT_EQ(all.getBroadcast(), Parameter::BroadcastInEditor);
    EXPECT_EQ(all.getVersion(), 1.5f);
    EXPECT_EQ(settings.get("Module").getScope(), Parameter::ModuleScope);
    EXPECT_EQ(settings.get("Program").getScope(), Parameter::ProgramScope);
}

// Faults: names that are too long for the host's field, or the same for two parameters.
TEST(Parameter, NamesForTheHost) {
    Modules modules;
    const Defined settings(named("Long", ">") +
                               named("Short",
                                     "><info><alias value='Out Lev'/><alias value='OL'/>"
                                     "<alias value='Output'/></info>") +
                               "<section name='EQ'>" + named("Gain", ">") + "</section>",
                           modules.getModule(0));
    settings.get("Gain").setParent(modules.getModule(1));
    settings.get("Gain").setName("Gain");
    EXPECT_EQ(settings.get("Short").getShortestName(), "OL");
    EXPECT_EQ(settings.get("Long").getShortestName(), "Output Level");
    const auto expect = [&](const char* id, int length, const char* name) {
        EXPECT_EQ(settings.get(id).getHostName(length), name);
    };
    expect("Gain", 24, "[B] Gain (EQ)");
    expect("Gain", 15, "B Gain EQ");
    expect("Gain", 7, "B Ga EQ");
    expect("Gain", 2, "B  EQ");
    expect("Long", 16, "[A] Output Level");
    EXPECT_EQ(settings.findByHostName("B Ga EQ", 7), &settings.get("Gain"));
    EXPECT_EQ(settings.findByHostName("B Gb EQ", 7), nullptr);
    modules.count = 1;
    expect("Long", 8, "Output L");
    expect("Short", 8, "Out Lev");
    expect("Short", 6, "Output");
    expect("Short", 1, "O");
    expect("Short", -1, "");
    settings.get("Long").setName("Lautstärke");
    expect("Long", 7, "Lautst");  // no half of a letter
    modules.count = 2;
    Radio stranger(&modules);
    settings.get("Long").setParent(&stranger);
    expect("Long", 40, "[UNKNOW MODULE ID] Lautstärke");
}

// Faults: listeners that are left with an older value than the parameter's, because another one
// changed it while the first message was on its way; texts that are gone while they are looked at.
TEST(Parameter, TheLastMessageThatEachListenerGetsIsTrue) {
    const Defined settings(
        "<N class='ParameterValue' type='integer' minval='0' maxval='9' "
        "defval='0'/><T class='ParameterText'/>");
    Parameter& number = settings.get("N");
    auto& text = settings.get<ParameterText>("T");
    std::vector<std::unique_ptr<Radio>> listeners;  // on both sides of those that meddle
    float told[9]{};
    std::string toldText[9];
    int fromUser = 0;
    for (int i = 0; i < 9; ++i) {
        listeners.push_back(std::make_unique<Hearer>(number, [&, i](Message& change) {
            const auto& message = static_cast<ParameterMessage&>(change);
            if (i == 4 && message.mode == FromUser)
                number.setFloat(5.0f, FromInternal);
            told[i] = message.value * 9;
            fromUser += message.mode == FromUser;
        }));
        listeners.push_back(std::make_unique<Hearer>(text, [&, i](Message& change) {
            const auto& message = static_cast<ParameterMessage&>(change);
            toldText[i] = message.hasText ? message.text.str() : "";
            const std::string_view seen = fromPayload<const char*>(message.payload);
            if (i == 4 && message.mode == FromUser) {
                text.setValue("a longer text, on the heap, than the first", FromInternal);
                EXPECT_EQ(seen, "first");
            }
        }));
    }
    number.setFloat(3.0f, FromUser);
    text.setValue("first", FromUser);
    EXPECT_EQ(fromUser, 9);
    EXPECT_EQ(std::count(std::begin(toldText), std::end(toldText), text.getValue()), 9);
    told[4] = 5.0f;  // its own message came to an end after that
    EXPECT_THAT(told, testing::Each(5.0f));
}

// Faults: entries that are lost or in the wrong order, an index beyond them, the wrong share of
// the host's range.
TEST(ParameterEnum, ChoosesAmongItsEntries) {
    const Defined settings(
        "<P class='ParameterEnum' type='string' unit='x' defval='2' value='1'>"
        "<values><v value='a' display='Alpha'/><!-- none -->"
        "<v value='b' display='Beta'/><v value='7.5' display='Gamma'/></values></P>"
        "<I class='ParameterEnum' type='integer'><values><v value='-4'/></values></I>"
        "<F class='ParameterEnum' type='float'><values><v value='0.5'/></values></F>"
        "<Empty class='ParameterEnum' type='float'/>");
    auto& choice = settings.get<ParameterEnum<std::string>>();
    EXPECT_EQ(choice.getStepCount() + choice.getStep(), 3.5);
    EXPECT_EQ(choice.getValue() + choice.getText() + choice.getUnit(), "bBetax");
    Ears ears(choice);
    take(choice,
         "n 0.5; : Beta; n 1; : Gamma; n 0.34; : Beta; n 0; : Alpha; n 7; : Gamma; "
         "n -1; : Alpha; n nan; : Alpha; v 3; v -1; v 1.6; = 7.5; v 0; : Alpha; v 2; t Third; : "
         "Third");
    EXPECT_EQ(ears.heard(),
              "P0 0.5 1 from 3; P0 1 2 from 2; P0 0.5 1 from 2; P0 0 0 from 2; "
              "P0 1 2 from 2; P0 0 0 from 2; P0 1 2 from 2; P0 0 0 from 2; P0 1 2 from 2; ");
    ParameterMessage select(nullptr, ParameterMessage::ValueChanged, "", 0, 1, 0.0f, FromHost);
    EXPECT_FALSE(choice.receive(select));
    select.payload = std::uint64_t{1} << 32;
    choice.receive(select);  // the first can't be selected so
    choice.setIndex(3, FromUser);
    choice.setIndex(-1, FromUser);
    choice.resetToDefault(FromUser);
    choice.addEntry("d", "Delta");
    EXPECT_EQ(ears.heard(), "P0 0.5 1 from 0; P0 1 2 from 2; P0 0.666667 2 from 3; ");
    take(settings.get("I"), "= -4; % 0; n 0.5; v 1; = -4");
    take(settings.get("F"), "= 0.5");
    take(settings.get("Empty"), "n 0.5; : ; = 0; t x; : ");
    EXPECT_EQ(settings.get("I").getType() * 10 + settings.get("F").getType(), 23);
    EXPECT_EQ(choice.getTypeName(), "enum");
}

// Faults: ranges that swallow one another, a list that isn't sorted, entries that come back twice.
TEST(ParameterArray, KeyRangesGiveWayToOneAnother) {
    Defined settings("<P class='ParameterArray' type='custom' value='61:96|36:60'/>");
    auto& keys = settings.get<ParameterKeyranges>();
    EXPECT_EQ(keys.getText(), "36:60|61:96");
    Ears ears(keys);
    keys.addEntry(Keys{97, 127}, FromUser);
    struct Edit {
        std::int32_t index;
        Keys keys;
        const char* result;
    };
    for (const Edit& edit : {
             Edit{0, {30, 70}, "30:60|61:96|97:127"},  // up to the next one's beginning
             {1, {50, 100}, "30:60|61:96|97:127"},     // between its neighbours
             {2, {0, 40}, "0:29|30:60|61:96"},
             {0, {40, 45}, "30:60|40:45|61:96"},  // within another: nothing to trim
             {2, {30, 60}, "30:60|40:45|60:60"},  // all covered: a key is left
             {3, {1, 2}, "30:60|40:45|60:60"},
         }) {
        keys.setEntry(edit.index, edit.keys, FromMidi);
        EXPECT_EQ(keys.getText(), edit.result);
    }
    EXPECT_EQ(ears.heard(),
              "P0 0 1 from 3; P0 0 2 from 2; P0 0 0 from 4; P0 0 1 from 4; "
              "P0 0 2 from 4; P0 0 0 from 4; P0 0 2 from 4; P0 0 3 from 4; ");
    keys.removeEntry(1);
    keys.removeEntry(7);
    EXPECT_EQ(keys.getText(), "30:60|60:60");
    EXPECT_EQ(keys.getTypeName(), "unknown");
    settings.read(savedState("<P value=' 1 - 2|x|99999:-99999'/>"), Parameter::AllScopes, 1, true);
    EXPECT_EQ(keys.getText(), "0:0|1:2|32767:-32768");
    settings.read(savedState("<P/>"), Parameter::AllScopes, 1, true);
    EXPECT_EQ(keys.getStepCount(), 0);
    EXPECT_EQ(keys.getEntry(0), Keys());

    ParameterKeyranges loose(ParameterKeyranges(nullptr, "", "", false, true));
    loose.setText("9:99|1:50", FromUser);
    EXPECT_EQ(loose.getText(), "9:99|1:50");
    loose.setEntry(0, Keys{2, 99}, FromUser);
    EXPECT_EQ(loose.getText(), "1:50|2:99");
    ParameterArray<std::string> names(nullptr, "N", "");
    names.setText("b|a c||d", FromUser);
    EXPECT_EQ(names.getEntry(1) + names.getText(), "a cb|a c||d");
}

// Faults: a text that is taken against the rule, told of wrongly, or gone after a state is loaded.
TEST(ParameterText, IsToldAndSaved) {
    Defined settings(
        "<T class='ParameterText' value='one'/>"
        "<C class='ParameterCustom' type='any' value='two'/>"
        "<Never class='ParameterCustom' broadcast='never' value='two'/>"
        "<section name='S'/><section name='S'><T class='ParameterText' value='s'/>"
        "<C class='ParameterCustom' value='c'/></section>");
    const std::pair<const char*, int> all[] = {{"T", 0}, {"C", 0}, {"T", 1}, {"C", 1}};
    const auto texts = [&] {
        std::string joined;
        for (const auto& [id, clone] : all)
            joined += settings.get(id, clone).getText() + "|";
        return joined;
    };
    EXPECT_EQ(texts(), "one|two|s|c|");
    int told[2]{};
    for (int i = 0; i < 2; ++i) {
        Ears ears(settings.get(all[i].first));
        for (const char* const text : {"two", "two", "<&\"'ä>"})
            settings.setParameterText(all[i].first, text, FromUser);
        const std::string heard = ears.heard();
        told[i] = static_cast<int>(std::ranges::count(heard, ';'));
    }
    EXPECT_EQ(told[0] * 10 + told[1], 42);  // the first at every call
    take(settings.get("Never"), "t three; : two; v 1; n 1; % 0; = 0");
    const std::string saved = stateOf(settings);
    settings.get("T", 1).setText("", FromUser);
    const std::string without = stateOf(settings);
    for (const auto& [id, clone] : all)
        EXPECT_TRUE(settings.get(id, clone).setText("other", FromUser));
    settings.read(Dictionary(saved), Parameter::AllScopes, 1, false);
    EXPECT_EQ(texts(), "<&\"'ä>|<&\"'ä>|s|c|");
    settings.read(Dictionary(without), Parameter::AllScopes, 1, false);
    EXPECT_EQ(texts(), "<&\"'ä>|<&\"'ä>||c|");
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
    Defined second(parameters);
    second.start();
    for (const char* const id : {"F", "I", "B", "E"})
        take(second.get(id), "= 1");
    take(second.get("T"), ": 1");
    take(second.get("Not"), "= 0.5");
    Preferences::setStores(nullptr, nullptr);
}

}  // namespace
}  // namespace tarn
