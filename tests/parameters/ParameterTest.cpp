// What all parameters have in common: the definition's keys, names for the host, how changes
// travel; then choices, lists and texts.
#include "parameters/Definition.h"
#include "parameters/ModuleDirectory.h"
#include "parameters/ParameterArray.h"
#include "parameters/ParameterEnum.h"
#include "parameters/ParameterText.h"
#include "support/ScratchStore.h"

#include <functional>

namespace tarn {
namespace {

using testing::ElementsAre;

using Names = ParameterArray<std::string>;
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
        named("M", "scope='module'>") + named("Pr", "scope='program'>") +
        named("Pl", "scope='plugin'>"));
    for (const char* const id : {"Plain", "Kept"}) {
        const Parameter& plain = settings.get(id);
        EXPECT_FALSE(plain.hasFlag(~std::uint32_t{Parameter::Export})) << id;
        EXPECT_TRUE(plain.hasFlag(Parameter::Export)) << id;
        EXPECT_EQ(plain.getScope(), Parameter::PluginScope) << id;
        EXPECT_FALSE(plain.inRealm(Parameter::HostRealm)) << id;
        EXPECT_EQ(plain.getBroadcast(), Parameter::BroadcastChange) << id;
    }
    const Parameter& all = settings.get("All");
    EXPECT_EQ(all.hasFlag(Parameter::Automatable) + all.hasFlag(Parameter::Meta) +
                  all.hasFlag(Parameter::Persistent) + all.hasFlag(Parameter::Export),
              3);
    EXPECT_FALSE(all.hasFlag(Parameter::Export));
    EXPECT_EQ(all.getScope(), Parameter::ZoneScope);
    EXPECT_TRUE(all.inRealm(Parameter::HostRealm));
    EXPECT_FALSE(all.inRealm(Parameter::PluginRealm));
    EXPECT_EQ(all.getBroadcast(), Parameter::BroadcastInEditor);
    EXPECT_EQ(all.getVersion(), 1.5f);
    EXPECT_EQ(settings.get("M").getScope(), Parameter::ModuleScope);
    EXPECT_EQ(settings.get("Pr").getScope(), Parameter::ProgramScope);

    Defined broken("");
    try {
        broken.loadText(definition(named("P", "scope='sometimes'>")));
        FAIL() << "taken";
    } catch (const GeneralError& error) {
        EXPECT_STREQ(error.what(), "unknown scope!");
        EXPECT_EQ(error.context,
                  "void __thiscall tarn::Parameter::read(const class tarn::Dictionary &)");
    }
}

// The modules "A" and "B" of an instance.
class TwoModules : public Radio, public ModuleDirectory {
public:
    TwoModules() : Radio(nullptr), a_(this), b_(this) {}
    Radio* getPlugin() const override { return const_cast<TwoModules*>(this); }
    int getModuleCount() const override { return count; }
    Radio* getModule(int index) const override {
        return const_cast<Radio*>(index == 0 ? &a_ : &b_);
    }
    std::string getModuleName(const Radio& module) const override {
        return &module == &a_ ? "A" : &module == &b_ ? "B" : "";
    }

    int count = 2;

private:
    Radio a_;
    Radio b_;
};

// Faults: names that are too long for the host's field, or the same for two parameters.
TEST(Parameter, NamesForTheHost) {
    TwoModules modules;
    const Defined settings(named("Long", ">") +
                               named("Short",
                                     "><info><alias value='Out Lev'/><alias value='OL'/>"
                                     "<alias value='Output'/></info>") +
                               "<section name='EQ'>" + named("Gain", ">") + "</section>",
                           modules.getModule(0));
    settings.get("Gain").setParent(modules.getModule(1));
    settings.get("Gain").setName("Gain");
    const auto hostName = [&](const char* id, int length) {
        return settings.get(id).getHostName(length);
    };
    EXPECT_EQ(settings.get("Short").getShortestName(), "OL");
    EXPECT_EQ(settings.get("Long").getShortestName(), "Output Level");
    EXPECT_EQ(hostName("Gain", 24), "[B] Gain (EQ)");
    EXPECT_EQ(hostName("Gain", 15), "B Gain EQ");
    EXPECT_EQ(hostName("Gain", 7), "B Ga EQ");
    EXPECT_EQ(hostName("Gain", 2), "B  EQ");
    EXPECT_EQ(hostName("Long", 16), "[A] Output Level");
    EXPECT_EQ(settings.findByHostName("A Ou EQ", 7), nullptr);
    EXPECT_EQ(settings.findByHostName("B Ga EQ", 7), &settings.get("Gain"));
    modules.count = 1;
    EXPECT_EQ(hostName("Long", 8), "Output L");
    EXPECT_EQ(hostName("Short", 8), "Out Lev");
    EXPECT_EQ(hostName("Short", 6), "Output");
    EXPECT_EQ(hostName("Short", 1), "O");
    EXPECT_EQ(hostName("Short", -1), "");
    settings.get("Long").setName("Lautstärke");
    EXPECT_EQ(hostName("Long", 7), "Lautst");  // no half of a letter
    modules.count = 2;
    Radio stranger(&modules);
    settings.get("Long").setParent(&stranger);
    EXPECT_EQ(hostName("Long", 40), "[UNKNOW MODULE ID] Lautstärke");
}

// Faults: listeners that are left with an older value than the parameter's, because another one
// changed it while the first message was on its way; texts that are gone while they are looked at.
TEST(Parameter, TheLastMessageThatEachListenerGetsIsTrue) {
    class Meddler : public Radio {
    public:
        Meddler(Radio& station, std::function<void(ParameterMessage&)> act)
            : Radio(nullptr), act_(std::move(act)) {
            tuneIn(&station);
        }
        bool receive(Message& message) override {
            act_(static_cast<ParameterMessage&>(message));
            return false;
        }

    private:
        std::function<void(ParameterMessage&)> act_;
    };

    const Defined settings(
        "<N class='ParameterValue' type='integer' minval='0' maxval='9' "
        "defval='0'/><T class='ParameterText'/>");
    Parameter& number = settings.get("N");
    auto& text = settings.get<ParameterText>("T");
    std::vector<std::unique_ptr<Ears>> before;
    for (int i = 0; i < 4; ++i)
        before.push_back(std::make_unique<Ears>(number));
    const Meddler raise(number, [&](ParameterMessage& message) {
        if (message.mode == FromUser)
            number.setFloat(5.0f, FromInternal);
    });
    for (int i = 0; i < 4; ++i)
        before.push_back(std::make_unique<Ears>(number));
    std::string last;
    const Meddler reader(
        text, [&](ParameterMessage& message) { last = fromPayload<const char*>(message.payload); });
    const Meddler writer(text, [&](ParameterMessage& message) {
        const std::string_view seen = fromPayload<const char*>(message.payload);
        if (message.mode == FromUser)
            text.setValue("a longer text, on the heap, than the first", FromInternal);
        EXPECT_EQ(seen, message.mode == FromUser ? "first" : seen);
    });
    number.setFloat(3.0f, FromUser);
    for (const auto& ears : before) {
        EXPECT_EQ(ears->heard.back().payload, 5);
        EXPECT_EQ(std::ranges::count(ears->heard, FromUser, &Ears::Heard::mode), 1);
    }
    text.setValue("first", FromUser);
    EXPECT_EQ(last, text.getValue());
}

// Faults: entries that are lost or in the wrong order, an index beyond them, the wrong share of
// the host's range.
TEST(ParameterEnum, ChoosesAmongItsEntries) {
    Defined settings(
        "<E class='ParameterEnum' type='string' unit='x' defval='2' value='1'>"
        "<values><v value='a' display='Alpha'/><!-- none -->"
        "<v value='b' display='Beta'/><v value='7.5' display='Gamma'/></values></E>"
        "<I class='ParameterEnum' type='integer'><values><v value='-4'/></values></I>"
        "<F class='ParameterEnum' type='float'><values><v value='0.5'/></values></F>"
        "<Empty class='ParameterEnum' type='float'/>");
    auto& choice = settings.get<ParameterEnum<std::string>>("E");
    EXPECT_EQ(choice.getStepCount(), 3);
    EXPECT_EQ(choice.getStep(), 0.5);
    EXPECT_EQ(choice.getValue() + choice.getText() + choice.getUnit(), "bBetax");
    Ears ears(choice);
    EXPECT_EQ(ears.take(), (std::vector<Ears::Heard>{{"E", 0.5f, 1, 0, FromInternal}}));
    for (const auto& [normalised, index] : {std::pair{0.5f, 1},
                                            {1.0f, 2},
                                            {0.34f, 1},
                                            {0.0f, 0},
                                            {7.0f, 2},
                                            {-1.0f, 0},
                                            {std::numeric_limits<float>::quiet_NaN(), 0}}) {
        choice.setNormalised(normalised, FromHost);
        EXPECT_EQ(choice.getIndex(), index) << normalised;
    }
    ears.take();
    choice.setIndex(0, FromUser);
    choice.setIndex(3, FromUser);
    choice.setIndex(-1, FromUser);
    EXPECT_TRUE(ears.heard.empty());
    choice.setFloat(1.6f, FromUser);
    EXPECT_EQ(ears.take(), (std::vector<Ears::Heard>{{"E", 1.0f, 2, 0, FromUser}}));
    EXPECT_EQ(choice.getFloat(), 7.5f);
    EXPECT_TRUE(choice.setText("Third", FromUser));
    EXPECT_EQ(choice.getText(), "Third");
    ParameterMessage select(nullptr, ParameterMessage::ValueChanged, "", 0, 1, 0.0f, FromUser);
    EXPECT_FALSE(choice.receive(select));
    EXPECT_EQ(choice.getIndex(), 1);
    select.payload = std::uint64_t{1} << 32;
    choice.receive(select);  // the first can't be selected so
    EXPECT_EQ(choice.getIndex(), 1);
    choice.resetToDefault(FromUser);
    EXPECT_EQ(choice.getIndex(), 2);
    EXPECT_THAT(stateOf(settings), testing::HasSubstr("<E value=\"2\""));
    ears.take();
    choice.addEntry("d", "Delta");
    EXPECT_EQ(ears.take(), (std::vector<Ears::Heard>{{"E", 2.0f / 3, 2, 0, FromInternal}}));

    EXPECT_EQ(settings.get("I").getFloat(), -4.0f);
    EXPECT_EQ(settings.get("F").getFloat(), 0.5f);
    EXPECT_EQ(settings.get("I").getNormalised(), 0.0f);
    settings.get("Empty").setNormalised(0.5f, FromHost);
    EXPECT_EQ(settings.get("Empty").getText(), "");
    EXPECT_EQ(settings.get("Empty").getFloat(), 0.0f);
    EXPECT_EQ(settings.get("I").getType() * 10 + settings.get("F").getType(), 23);
    EXPECT_EQ(choice.getTypeName(), "enum");
}

// Faults: ranges that swallow one another, a list that isn't sorted, entries that come back twice.
TEST(ParameterArray, KeyRangesGiveWayToOneAnother) {
    Defined settings("<K class='ParameterArray' type='custom' value='61:96|36:60'/>");
    auto& keys = settings.get<ParameterKeyranges>("K");
    const auto all = [&keys] {
        std::vector<std::pair<int, int>> ranges;
        for (std::int32_t i = 0; i < keys.getStepCount(); ++i)
            ranges.emplace_back(keys.getEntry(i).low, keys.getEntry(i).high);
        return ranges;
    };
    using Pair = std::pair<int, int>;
    EXPECT_THAT(all(), ElementsAre(Pair{36, 60}, Pair{61, 96}));
    EXPECT_EQ(keys.getText(), "36:60|61:96");
    EXPECT_EQ(keys.getTypeName(), "unknown");
    Ears ears(keys);
    ears.take();
    keys.addEntry(Keys{97, 127}, FromUser);
    keys.setEntry(0, Keys{30, 70}, FromUser);  // up to the next one's beginning
    EXPECT_THAT(all(), ElementsAre(Pair{30, 60}, Pair{61, 96}, Pair{97, 127}));
    keys.setEntry(1, Keys{50, 100}, FromMidi);  // behind the one before, and before the next
    EXPECT_THAT(all(), ElementsAre(Pair{30, 60}, Pair{61, 96}, Pair{97, 127}));
    keys.setEntry(2, Keys{0, 40}, FromUser);  // inside the first, which begins there: a key is left
    EXPECT_THAT(all(), ElementsAre(Pair{0, 29}, Pair{30, 60}, Pair{61, 96}));
    keys.setEntry(0, Keys{40, 45}, FromUser);  // wholly within another, nothing to trim
    EXPECT_THAT(all(), ElementsAre(Pair{30, 60}, Pair{40, 45}, Pair{61, 96}));
    keys.setEntry(9, Keys{1, 2}, FromUser);
    std::vector<int> told;
    for (const auto& heard : ears.take())
        told.push_back(heard.payload);
    EXPECT_THAT(told, ElementsAre(2, 0, 1, 2, 0, 9));
    keys.removeEntry(1);
    keys.removeEntry(7);
    EXPECT_TRUE(ears.heard.empty());
    EXPECT_EQ(keys.getText(), "30:60|61:96");

    settings.read(savedState("<K value=' 1 - 2|x|99999:-99999'/>"), Parameter::AllScopes, 1, true);
    EXPECT_EQ(keys.getText(), "0:0|1:2|32767:-32768");
    settings.read(savedState("<K/>"), Parameter::AllScopes, 1, true);
    EXPECT_EQ(keys.getStepCount(), 0);
    EXPECT_EQ(keys.getEntry(0), Keys());

    Names names(nullptr, "N", "");
    names.setText("b|a c||d", FromUser);
    EXPECT_EQ(names.getEntry(1) + names.getEntry(3), "a cd");
    EXPECT_EQ(names.getText(), "b|a c||d");
    const ParameterKeyranges free(nullptr, "", "", false, true);
    ParameterKeyranges loose(free);
    loose.setText("9:99|1:50", FromUser);
    EXPECT_EQ(loose.getText(), "9:99|1:50");
    loose.setEntry(0, Keys{2, 99}, FromUser);
    EXPECT_EQ(loose.getText(), "1:50|2:99");
}

// Faults: a text that is taken against the rule, told of wrongly, or gone after a state is loaded.
TEST(ParameterText, IsToldAndSaved) {
    Defined settings(
        "<T class='ParameterText' value='one'/>"
        "<C class='ParameterCustom' type='any' value='two'/>"
        "<Never class='ParameterCustom' broadcast='never' value='two'/>"
        "<section name='S'/><section name='S'><T class='ParameterText' value='s'/>"
        "<C class='ParameterCustom' value='c'/></section>");
    auto& text = settings.get<ParameterText>("T");
    auto& custom = settings.get<ParameterCustom>("C");
    Ears texts(text), customs(custom);
    EXPECT_EQ(texts.take().size() + customs.take().size(), 2u);
    text.setValue("one", FromUser);
    custom.setValue("two", FromUser);
    EXPECT_EQ(texts.take().size(), 1u);
    EXPECT_EQ(customs.take().size(), 0u);
    custom.setText("three", FromHost);
    EXPECT_EQ(customs.take().back().mode, FromHost);
    settings.setParameterText("Never", "three", FromUser);
    EXPECT_EQ(settings.get("Never").getText(), "two");
    settings.setParameterText("T", "<&\"'ä>", FromUser);
    settings.get("T", 1).setText("ess", FromUser);
    for (const Parameter* const parameter : {&settings.get("T"), &settings.get("C")}) {
        EXPECT_EQ(parameter->getType(), Parameter::String);
        EXPECT_EQ(parameter->getNormalised() + parameter->getFloat(), 0.0f);
    }

    const std::string saved = stateOf(settings);
    settings.get("T", 1).setText("", FromUser);
    const std::string without = stateOf(settings);
    for (const char* const id : {"T", "C"})
        for (const std::int32_t clone : {0, 1})
            settings.get(id, clone).setText("other", FromUser);
    settings.read(Dictionary(saved), Parameter::AllScopes, 1, false);
    EXPECT_EQ(text.getValue() + custom.getText(), "<&\"'ä>three");
    EXPECT_EQ(settings.get("T", 1).getText() + settings.get("C", 1).getText(), "essc");
    settings.read(Dictionary(without), Parameter::AllScopes, 1, false);
    EXPECT_EQ(settings.get("T", 1).getText(), "");
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
        "<E class='ParameterEnum' type='float' persistent='true'><values><v/><v/></values></E>"
        "<section name='S'><T class='ParameterText' persistent='true'/></section>"
        "<Not class='ParameterValue' type='float'/>";
    const std::vector<const char*> ids{"F", "I", "B", "E", "T", "Not"};
    {
        Defined first(parameters);
        for (const char* const id : ids) {
            first.get(id).setFloat(1.0f, FromUser);
            first.get(id).setText("1", FromUser);
        }
        first.stop();
    }
    Defined second(parameters);
    second.start();
    std::string values;
    for (const char* const id : ids)
        values += second.get(id).getFloat() == 1.0f || second.get(id).getText() == "1" ? "1" : "0";
    EXPECT_EQ(second.get("E").getNormalised(), 1.0f);
    EXPECT_EQ(values, "111010");
    Preferences::setStores(nullptr, nullptr);
}

}  // namespace
}  // namespace tarn
