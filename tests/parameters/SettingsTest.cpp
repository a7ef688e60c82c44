// The tree of parameters: what a definition makes, how it is looked up in, saved and read back.
#include "parameters/Definition.h"
#include "parameters/ParameterScheduler.h"
#include "support/AllocationCount.h"

#include <functional>
#include <random>

namespace tarn {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string value(const std::string& id, const std::string& more = "scope='module'") {
    return "<" + id + " class='ParameterValue' type='float' " + more + "/>";
}

std::string section(const std::string& name, const std::string& content) {
    return "<section name='" + name + "'>" + content + "</section>";
}

// Faults: a class, a type or a start value that is taken for another, failures that lose the
// former tree.
TEST(Settings, WhatADefinitionMakes) {
    Defined settings(
        "<!-- none --><Other/><X class='Unknown' type='float'/>"
        "<K class='ParameterArray' type='custom'/><C class='ParameterCustom' type='any'/>"
        "<Es class='ParameterEnum' type='string'/><Ei class='ParameterEnum' type='integer'/>"
        "<Ef class='ParameterEnum' type='float'/><T class='ParameterText'/>"
        "<B class='ParameterValue' type='bool' value='true'/>"
        "<F class='ParameterValue' type='float'/>"
        "<I class='ParameterValue' type='integer' value='3'/>");
    take(settings.get("I"), "= 3; n 0; = -2147483648; n 1; = 2147483647");
    settings.get("B").setFloat(0.0f, FromUser);
    settings.get("B").resetToDefault(FromUser);
    take(settings.get("B"), "= 1");

    for (const auto& [wrong, text] :
         {std::pair{"<A class='ParameterArray' type='string'/>",
                    "Unknown parameter type ParameterArray<string>"},
          {"<section><A class='ParameterValue'/></section>",
           "Unknown parameter type ParameterValue<>"},
          {"<A class='ParameterEnum'/>", "Unknown parameter type ParameterEnum<>"},
          {"<A class='ParameterText' scope='x'/>", "unknown scope!"}})
        try {
            loadText(settings, value("Before") + wrong);
            ADD_FAILURE() << wrong;
        } catch (const Error& error) {
            EXPECT_STREQ(error.what(), text);
        }
    for (const char* const text : {"<dict", "<dict><file-format value='0.7'/></dict>"})
        EXPECT_EQ(loadText(settings, text).code, ErrorImportFailed::Code) << text;
    EXPECT_EQ(settings.load(File("nowhere")).code, ErrorImportFailed::Code);
    std::string kinds;
    forEachParameter(settings, [&](const Parameter& parameter) {
        kinds += parameter.getId() + std::to_string(parameter.getType()) + " ";
    });
    EXPECT_EQ(kinds, "K5 C4 Es1 Ei2 Ef3 T4 B0 F3 I2 ");
}

// Faults: another parameter than a walk through the tree finds, before or after an id was changed.
TEST(Settings, FindsTheFirstOfAnIdAndANumber) {
    std::mt19937 random(3);
    const std::function<std::string(int)> grow = [&](int depth) {
        std::string text;
        for (unsigned i = random() % 4; i > 0; --i)
            text += value("P" + std::to_string(random() % 9));
        for (unsigned i = depth > 0 ? random() % 4 : 0; i > 0; --i)
            text += section("S" + std::to_string(random() % 2), grow(depth - 1));
        return text;
    };
    const Defined grown(value("P9") + grow(5));
    const auto expectFirst = [&grown](const std::string& id, int clone) {
        const Parameter* first = nullptr;
        forEachParameter(grown, [&](const Parameter& parameter) {
            const bool isIt =
                parameter.getId() == id && (clone == 0 || clone == parameter.getClone());
            first = first == nullptr && isIt ? &parameter : first;
        });
        ASSERT_EQ(grown.find(id, clone), first) << id << clone;
    };
    for (const char* const renamed : {"P9", "P3"}) {
        grown.getParameters()[0]->setId(renamed);
        for (int i = 0; i < 10; ++i)
            for (int clone = -1; clone < 5; ++clone)
                expectFirst("P" + std::to_string(i), clone);
    }
}

// Faults: values that a state loses, takes though it mustn't, or leaves behind in place of
// defaults.
TEST(Settings, StatesComeBackAsTheyWere) {
    const std::string changesNothing =
        "scope='module' automatable='false' persistent='false' export='true' realm='plugin' "
        "broadcast='sometimes'";
    Defined settings(
        value("M", changesNothing) + value("Z", "scope='zone'") + value("P", "scope='none'") +
        value("Not", "scope='module' export='false'") + value("H", "scope='module' realm='host'") +
        section("My Band!", value("Q") + value("Not", "scope='module' export='false'")) +
        section("My Band!", section("2nd", value("Q"))) + section("Empty", "") +
        section("Empty", ""));
    const auto setAll = [&](float number) {
        forEachParameter(settings, [&](Parameter& p) { p.setFloat(number, FromUser); });
    };
    EXPECT_FALSE(settings.get("M").hasFlag(Parameter::Automatable | Parameter::Persistent));
    setAll(0.25f);
    const std::string saved = stateOf(settings);
    for (const char* const there :
         {"<MyBand clone=\"1\">", "<_2nd>", "<P value=\"0.2500000000000000\" />"})
        EXPECT_THAT(saved, HasSubstr(there));
    for (const char* const missing : {"Not", "<Empty clone"})
        EXPECT_THAT(saved, Not(HasSubstr(missing)));
    EXPECT_THAT(stateOf(settings, Parameter::ModuleScope), Not(HasSubstr("<P ")));
    EXPECT_THAT(stateOf(settings, Parameter::AllScopes, true), HasSubstr("<Not "));

    // M, Z, P, Not, H, and of the sections Q, Not, Q: in quarters. What keeps its 1.0 is a 4.
    const auto expectAfter = [&](const Dictionary& state, std::uint32_t scopes, bool isAll,
                                 std::uint32_t realms, const char* values) {
        setAll(1.0f);
        settings.read(state, scopes, realms, isAll);
        std::string quarters;
        forEachParameter(settings, [&](const Parameter& parameter) {
            quarters += std::to_string(static_cast<int>(parameter.getFloat() * 4));
        });
        EXPECT_EQ(quarters, values);
    };
    using P = Parameter;
    expectAfter(Dictionary(saved), P::AllScopes, false, P::PluginRealm, "11144141");
    expectAfter(savedState("<M value='0.25'/>"), P::ModuleScope, false, P::AllRealms, "14442242");
    expectAfter(savedState("<M value='0.75'/><MyBand/><Q value='0'/><Not value='0'/>"),
                P::ModuleScope, true, P::AllRealms, "34402040");  // flat; all of the top alone
    expectAfter(savedState("<M scope='x' value='0'/><Z value='0'/>"), P::AllScopes, false,
                P::AllRealms, "40242242");

    Parameter& first = settings.get("M");
    Ears ears(first);
    settings.read(savedState("<M value='0.5'/>"), P::AllScopes, P::AllRealms, true);
    EXPECT_EQ(ears.heard(), "M0 1 1 from 3; M0 0.5 0.5 from 1; ");
    for (const auto& [id, key] : {std::pair{"-.-z 9", "<z9 value="}, {"ä", "<_ value="}}) {
        first.setId(id);
        EXPECT_THAT(stateOf(settings), HasSubstr(key));
    }
}

// Faults: copies that share what is a module's own, or have two of what belongs to all; a list for
// the host that leaves sections out; a radio that hears the parameter of another module.
TEST(Settings, CopiesShareWhatIsNoModules) {
    Radio first(nullptr), second(nullptr);
    auto original =
        std::make_unique<Defined>(AllClasses + value("M") + section("S", value("P", "")), &first);
    original->get("M").setFloat(0.75f, FromUser);
    Settings copy(*original, true);
    copy.setParent(&second);
    std::vector<const Parameter*> copies;
    forEachParameter(copy, [&](const Parameter& parameter) { copies.push_back(&parameter); });
    auto next = copies.begin();
    forEachParameter(*original, [&](const Parameter& parameter) {
        EXPECT_EQ(*next++ == &parameter, parameter.getScope() > Parameter::ModuleScope);
    });
    EXPECT_EQ(stateOf(copy), stateOf(*original));
    EXPECT_EQ(copy.getAutomatable().size(), copies.size());
    EXPECT_EQ(copy.getSections()[1].child->getPath(), "Band.2");

    first.setSettings(original.get());
    second.setSettings(&copy);
    Ears ears;
    ears.setParent(&first);
    for (const char* const name : {"M", "P", "None"})
        ears.tuneInByName(name);
    ears.setParent(&second);
    original->get("M").setFloat(0.0f, FromUser);
    copy.find("M", 0)->setFloat(0.25f, FromUser);
    original->get("P").setFloat(1.0f, FromUser);
    EXPECT_EQ(ears.heard(),
              "M0 0.75 0.75 from 3; P0 0.5 0.5 from 3; M0 0.75 0.75 from 3; "
              "M0 0.25 0.25 from 2; P0 1 1 from 2; ");
    ParameterMessage change(nullptr, ParameterMessage::ValueChanged, "M", 0, 0, 0.5f, FromUser);
    EXPECT_TRUE(copy.receive(change));
    take(*copy.find("M", 0), "= 0.5");
    change.cloneNumber = 9;
    EXPECT_TRUE(copy.receive(change));

    // What is shared is the first one's while that is there, then the other's.
    original->start();
    copy.start();
    Parameter* const shared = copy.find("P", 0);
    EXPECT_EQ(copy.find("Wave", 1)->getParent(), &second);
    EXPECT_EQ(shared->getParent(), &first);
    loadText(*original, value("Other"));
    original.reset();
    EXPECT_EQ(shared->getParent(), nullptr);
    take(*shared, "v 0.25; = 0.25");
    copy.start();
    EXPECT_EQ(shared->getParent(), &second);
    EXPECT_EQ(settingsOf(*shared), copy.getSections()[2].child.get());
    copy.setParent(nullptr);
    EXPECT_EQ(copy.find("Wave", 1)->getParent(), nullptr);
}

// Faults: a value at the wrong place of a block, one that isn't forgotten, an allocation on the
// audio thread, memory without end.
TEST(ParameterScheduler, RemembersValuesByPlaces) {
    Defined settings(section("S", value("A")));
    settings.setBlockSize(4096);
    ParameterScheduler& scheduler = settings.getScheduler();
    const auto expectAt = [&](std::int32_t position, float expected) {
        float scheduled = -1.0f;
        scheduler.getScheduled("A", position, &scheduled);
        EXPECT_EQ(scheduled, expected) << position;
    };
    expectAt(0, -1.0f);
    const long before = test::allocationsOfThisThread();
    for (const auto& [position, scheduled] :
         {std::pair{31, 0.25f}, {64, 0.5f}, {95, 0.75f}, {4095, 1.0f}})
        settings.scheduleValue("A", position, scheduled);
    EXPECT_EQ(test::allocationsOfThisThread(), before);
    for (const auto& [position, expected] :
         {std::pair{-5, 0.25f}, {32, 0.0f}, {64, 0.75f}, {4095, 1.0f}, {4223, -1.0f}})
        expectAt(position, expected);
    settings.scheduleValue("A", 33, 0.125f);
    expectAt(160, -1.0f);
    scheduler.clear();
    settings.scheduleValue("A", std::numeric_limits<std::int32_t>::max(), 1.0f);
    expectAt(0, -1.0f);
}

}  // namespace
}  // namespace tarn
