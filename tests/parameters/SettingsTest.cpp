// The tree of parameters: what a definition makes, how it is looked up in, saved and read back.
#include "parameters/Definition.h"
#include "parameters/ParameterArray.h"
#include "parameters/ParameterEnum.h"
#include "parameters/ParameterScheduler.h"
#include "parameters/ParameterText.h"
#include "support/AllocationCount.h"

#include <functional>
#include <random>

namespace tarn {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string value(const std::string& id, const std::string& more = "scope='module'") {
    return "<" + id + " class='ParameterValue' type='float' defval='0.5' " + more + "/>";
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
    std::string kinds;
    for (const auto& parameter : settings.getParameters())
        kinds += parameter->getId() + std::to_string(parameter->getType()) + " ";
    EXPECT_EQ(kinds, "K5 C4 Es1 Ei2 Ef3 T4 B0 F3 I2 ");
    take(settings.get("B"), "v 0; n 1; = 1");
    take(settings.get("F"), "= 0.5; n 0; = 0; n 1; = 1");
    take(settings.get("I"), "= 3; n 0; = -2147483648; n 1; = 2147483647");
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
            settings.loadText(definition(value("Before") + wrong));
            ADD_FAILURE() << wrong;
        } catch (const Error& error) {
            EXPECT_STREQ(error.what(), text);
        }
    for (const std::string text : {"", "<", "<dict><file-format value='0.7'/></dict>"})
        EXPECT_EQ(settings.loadText(text).code, ErrorImportFailed::Code) << text;
    EXPECT_EQ(settings.load(File("nowhere")).code, ErrorImportFailed::Code);
    EXPECT_EQ(settings.getParameterCount(), 9);
    EXPECT_EQ(settings.find("Before", 0), nullptr);
    EXPECT_TRUE(settings.loadText(definition(value("After"))).isOk());
    EXPECT_EQ(settings.getParameterCount(), 1);
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
    Defined grown(value("First") + grow(5));
    const std::function<Parameter*(const Settings&, const std::string&, int)> walk =
        [&walk](const Settings& level, const std::string& id, int clone) -> Parameter* {
        for (const auto& parameter : level.getParameters())
            if ((clone == 0 || clone == level.getClone()) && parameter->getId() == id)
                return parameter.get();
        for (const auto& below : level.getSections())
            if (Parameter* const found = walk(*below.child, id, clone))
                return found;
        return nullptr;
    };
    for (const char* const renamed : {"First", "P3"}) {
        grown.getParameters()[0]->setId(renamed);
        for (int i = 0; i < 10; ++i)
            for (int clone = -1; clone < 5; ++clone) {
                const std::string id = i < 9 ? "P" + std::to_string(i) : "First";
                ASSERT_EQ(grown.find(id, clone), walk(grown, id, clone)) << id << clone;
            }
    }
}

// Faults: values that a state loses, takes though it mustn't, or leaves behind in place of
// defaults.
TEST(Settings, StatesComeBackAsTheyWere) {
    Defined settings(
        value("M") + value("Z", "scope='zone'") + value("P", "") +
        value("Not", "scope='module' export='false'") + value("H", "scope='module' realm='host'") +
        section("My Band!", value("Q") + value("Not", "scope='module' export='false'")) +
        section("My Band!", section("2nd", value("Q", "scope='module' persistent='true'"))) +
        section("Empty", "") + section("Empty", ""));
    std::vector<Parameter*> all;
    forEachParameter(settings, [&](Parameter& parameter) { all.push_back(&parameter); });
    const auto expectAfter = [&](const Dictionary& state, std::uint32_t scopes, bool isAll,
                                 const char* values, std::uint32_t realms = 3) {
        for (Parameter* const parameter : all)
            parameter->setFloat(1.0f, FromUser);
        settings.read(state, scopes, realms, isAll);
        std::string quarters;
        for (const Parameter* const parameter : all)
            quarters += std::to_string(static_cast<int>(parameter->getFloat() * 4));
        EXPECT_EQ(quarters, values);
    };
    for (Parameter* const parameter : all)
        parameter->setFloat(0.25f, FromUser);
    const std::string saved = stateOf(settings);
    for (const char* const there :
         {"<MyBand clone=\"1\">", "<_2nd>", "<P value=\"0.2500000000000000\" />"})
        EXPECT_THAT(saved, HasSubstr(there));
    for (const char* const missing : {"Not", "<Empty clone"})
        EXPECT_THAT(saved, Not(HasSubstr(missing)));
    EXPECT_THAT(stateOf(settings, Parameter::ModuleScope), Not(HasSubstr("<P ")));
    EXPECT_THAT(stateOf(settings, Parameter::AllScopes, true), HasSubstr("<Not "));

    // M, Z, P, Not, H, and of the sections Q, Not, Q: in quarters. What keeps its 1.0 is a 4.
    expectAfter(Dictionary(saved), Parameter::AllScopes, false, "11144141", Parameter::PluginRealm);
    expectAfter(savedState("<M value='0.25'/>"), Parameter::ModuleScope, false, "14442242");
    expectAfter(savedState("<M value='0.75'/><MyBand/><Q value='0'/><Not value='0'/>"),
                Parameter::ModuleScope, true, "34402040");  // a flat one; all of the top alone
    expectAfter(savedState("<M scope='x' value='0'/><Z value='0'/>"), Parameter::AllScopes, false,
                "40242242");
    Ears ears(*all[0]);
    settings.read(savedState("<M value='0.5'/>"), Parameter::AllScopes, 3, true);
    EXPECT_EQ(ears.heard(), "M0 1 1 from 3; M0 0.5 0.5 from 1; ");

    all[0]->setId("-.-x 9");
    EXPECT_THAT(stateOf(settings), HasSubstr("<x9 value="));
    all[0]->setId("ä");
    EXPECT_THAT(stateOf(settings), HasSubstr("<_ value="));
    settings.get("P").setFloat(1.0f, FromUser);
    settings.resetAll();
    take(*all[0], "= 0.5");
    take(settings.get("P"), "= 1");
}

// Faults: copies that share what is a module's own, or have two of what belongs to all.
TEST(Settings, CopiesShareWhatIsNoModules) {
    Radio first(nullptr), second(nullptr);
    auto original = std::make_unique<Defined>(
        AllClasses + value("M") + value("P", "scope='program'") + section("S", value("P2", "")),
        &first);
    original->get("M").setFloat(0.75f, FromUser);
    Settings copy(*original, true);
    copy.setParent(&second);
    std::vector<const Parameter*> copies;
    forEachParameter(copy, [&](const Parameter& parameter) { copies.push_back(&parameter); });
    auto next = copies.begin();
    forEachParameter(*original, [&](const Parameter& parameter) {
        EXPECT_EQ(*next == &parameter, parameter.getScope() > Parameter::ModuleScope);
        EXPECT_EQ((*next++)->getText(), parameter.getText());
    });
    EXPECT_EQ(stateOf(copy), stateOf(*original));
    EXPECT_EQ(copy.getSections()[1].child->getPath(), "Band.2");
    EXPECT_NE(Settings(*copy.getSections()[1].child, true).find("Wave", 1), nullptr);
    EXPECT_EQ(copy.getAutomatable().size(), copies.size());
    original->get("M").setFloat(0.0f, FromUser);
    take(*copy.find("M", 0), "= 0.75");
    original->start();
    copy.start();
    Parameter* const shared = copy.find("P2", 0);
    EXPECT_EQ(copy.find("Wave", 1)->getParent(), &second);
    EXPECT_EQ(shared->getParent(), &first);
    original->loadText(definition(value("P")));
    original.reset();
    for (Parameter* const left : {copy.find("P", 0), shared}) {
        EXPECT_TRUE(left->getParent() == nullptr && left->getSettings() == nullptr);
        take(*left, "v 0.25; = 0.25");
    }
    copy.start();
    EXPECT_EQ(settingsOf(*shared), copy.getSections()[2].child.get());
    copy.setParent(nullptr);
    EXPECT_EQ(copy.find("Wave", 1)->getParent(), nullptr);
}

// Faults: radios that tune in to the wrong parameter or to none, when they have moved too; a list
// for the host with what it mustn't see.
TEST(Settings, RadiosFindTheirParameters) {
    Radio first(nullptr), second(nullptr);
    Defined settings(
        value("M") + value("P", "") + value("Not", "export='false'") +
            section("S", value("M", "scope='module' export='false' automatable='true'")),
        &first);
    Settings copy(settings, true);
    first.setSettings(&settings);
    second.setSettings(&copy);
    EXPECT_EQ(settingsOf(settings.get("M")), &settings);
    EXPECT_EQ(settings.getAutomatable().size(), 3u);
    EXPECT_EQ(settings.getAutomatable()[2]->getParent(), &first);
    Ears ears;
    ears.setParent(&first);
    for (const char* const name : {"M", "P", "None"})
        ears.tuneInByName(name);
    EXPECT_EQ(ears.heard(), "M0 0.5 0.5 from 3; P0 0.5 0.5 from 3; ");
    ears.setParent(&second);
    settings.get("M").setFloat(1.0f, FromUser);
    copy.find("M", 0)->setFloat(0.25f, FromUser);
    settings.get("P").setFloat(1.0f, FromUser);
    EXPECT_EQ(ears.heard(), "M0 0.5 0.5 from 3; M0 0.25 0.25 from 2; P0 1 1 from 2; ");

    ParameterMessage change(nullptr, 77, "M", 0, 0, 0.75f, FromUser);
    EXPECT_TRUE(settings.receive(change));
    take(settings.get("M"), "= 0.75");
    change.cloneNumber = 9;
    testing::internal::CaptureStderr();
    EXPECT_TRUE(settings.receive(change));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "UNKNOWN PARAMETER M\n");
    SystemMessage other(nullptr, SystemMessage::Notification, 0);
    EXPECT_FALSE(settings.receive(other));
}

// Faults: a value at the wrong place of a block, one that isn't forgotten, an allocation on the
// audio thread, memory without end.
TEST(ParameterScheduler, RemembersValuesByPlaces) {
    Defined settings(section("S", value("A")));
    settings.setBlockSize(4096);
    settings.get("A").setId("A");
    settings.start();
    ParameterScheduler& scheduler = settings.getScheduler();
    float out = -1.0f;
    const auto at = [&](std::int32_t position) {
        return scheduler.getScheduled("A", position, &out) ? out : -1.0f;
    };
    EXPECT_EQ(at(0), -1.0f);
    const long before = test::allocationsOfThisThread();
    for (const auto& [position, scheduled] :
         {std::pair{31, 0.25f}, {64, 0.5f}, {95, 0.75f}, {4095, 1.0f}})
        settings.scheduleValue("A", position, scheduled);
    EXPECT_EQ(test::allocationsOfThisThread(), before);
    for (const auto& [position, expected] :
         {std::pair{-5, 0.25f}, {32, 0.0f}, {64, 0.75f}, {4095, 1.0f}, {4223, -1.0f}})
        EXPECT_EQ(at(position), expected) << position;
    settings.scheduleValue("A", 33, 0.125f);
    EXPECT_EQ(at(159) + at(160), -1.0f);
    scheduler.schedule("B", 1 << 20, 1.0f);
    scheduler.schedule("B", std::numeric_limits<std::int32_t>::max(), 1.0f);
    EXPECT_FALSE(scheduler.getScheduled("B", 0, &out));
    scheduler.clear();
    EXPECT_EQ(at(0), -1.0f);
}

}  // namespace
}  // namespace tarn
