// The tree of parameters: what a definition makes, how it is looked up in, saved and read back.
#include "parameters/Definition.h"

namespace tarn {
namespace {

using namespace testing;

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

    for (const auto& [wrong, text] :
         {std::pair{"<section><A class='ParameterArray' type='string'/></section>",
                    "Unknown parameter type ParameterArray<string>"},
          {"<A class='ParameterText' scope='x'/>", "unknown scope!"}})
        try {
            loadText(settings, value("Before") + wrong);
            ADD_FAILURE() << wrong;
        } catch (const Error& error) {
            EXPECT_STREQ(error.what(), text);
        }
    for (const char* const text : {"<dict", "<dict><file-format value='0.7'/></dict>"})
        EXPECT_EQ(loadText(settings, text).code, ErrorImportFailed::Code) << text;
    std::string kinds;
    forEachParameter(settings, [&](const Parameter& parameter) {
        kinds += parameter.getId() + std::to_string(parameter.getType()) + " ";
    });
    EXPECT_EQ(kinds, "K5 C4 Es1 Ei2 Ef3 T4 B0 F3 I2 ");
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
}

// Faults: copies that share what is a module's own, or have two of what belongs to all; a list for
// the host that leaves sections out; a parameter that is gone with its first owner.
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
}

// Faults: a parameter that the framework looks up and doesn't find, one that the host automates or
// a project saves though it mustn't.
TEST(Settings, TheProductsOwnDefinition) {
    Defined settings("");
    ASSERT_TRUE(settings.load(File(PROJECT_FOLDER "/product/Settings.xml")).isOk());
    EXPECT_EQ(settings.getAutomatable(),
              (std::vector{&settings.get("BrimtideID"), &settings.get("MuteOutput")}));
    for (const auto& parameter : settings.getParameters())
        EXPECT_EQ(parameter->hasFlag(Parameter::Automatable), parameter->getId() == "MuteOutput");
    take(settings.get("MuteOutput"), "= 0; n 0.5; : 1");
    take(settings.get("OutputLevel"), ": -oo; v 0.5; : -6.0");
    take(settings.get("CurrentProgram"), "v 4095; : 4095");
    take(settings.get("CurrentModule"), "v 3; : 3");
}

}  // namespace
}  // namespace tarn
