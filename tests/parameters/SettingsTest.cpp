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

    const auto textOfFailure = [&settings](const std::string& parameters) -> std::string {
        try {
            settings.loadText(definition(value("Before") + parameters));
        } catch (const Error& error) {
            return error.what();
        }
        return {};
    };
    EXPECT_EQ(textOfFailure("<A class='ParameterArray' type='string'/>"),
              "Unknown parameter type ParameterArray<string>");
    EXPECT_EQ(textOfFailure("<A class='ParameterEnum' type='bool'/>"),
              "Unknown parameter type ParameterEnum<bool>");
    EXPECT_EQ(textOfFailure(section("S", "<A class='ParameterValue'/>")),
              "Unknown parameter type ParameterValue<>");
    EXPECT_EQ(textOfFailure("<A class='ParameterText' scope='x'/>"), "unknown scope!");
    for (const std::string text : {"", "<", "<dict><file-format value='0.7'/></dict>"}) {
        const Error error = settings.loadText(text);
        EXPECT_EQ(error.code, ErrorImportFailed::Code) << text;
        EXPECT_THAT(error.context, HasSubstr("tarn::Settings::load("));
    }
    EXPECT_EQ(settings.load(File("nowhere")).code, ErrorImportFailed::Code);
    EXPECT_EQ(settings.getParameterCount(), 9);
    EXPECT_EQ(settings.find("Before", 0), nullptr);
    EXPECT_TRUE(settings.loadText(definition(value("After"))).isOk());
    EXPECT_EQ(settings.getParameterCount(), 1);
}

// Faults: the wrong parameter of several of a name, also where the index knows another answer than
// a walk through the tree.
TEST(Settings, FindsTheFirstOfAnIdAndANumber) {
    Defined settings(value("Gain") + value("Gain") + section("Band", value("Q") + value("Gain")) +
                     section("Other", value("Q")) +
                     section("Band", section("Band", value("Gain"))) +
                     section("Band", value("Gain")));
    const auto& sections = settings.getSections();
    EXPECT_EQ(settings.find("Gain", 0), settings.getParameters()[0].get());
    EXPECT_EQ(settings.find("Gain", 1), nullptr);  // the inner one is the first of its name
    EXPECT_EQ(settings.find("Gain", 2), sections[3].child->getParameters()[0].get());
    EXPECT_EQ(settings.find("Q", 0), sections[0].child->getParameters()[0].get());
    EXPECT_EQ(settings.find("gain", 0), nullptr);
    EXPECT_EQ(sections[2].child->find("Gain", 0),
              sections[2].child->getSections()[0].child->find("Gain", 0));
    EXPECT_EQ(sections[0].child->getPath(), "Band.1");
    EXPECT_EQ(sections[1].child->getPath(), "Other");
    EXPECT_EQ(sections[2].child->getSections()[0].child->getPath(), "Band.2.Band");
    EXPECT_EQ(settings.getPath(), "");

    // All of a tree at random, against a plain walk, before and after an id was changed.
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
    for (const char* const renamed : {"First", "P3", "P4"}) {
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
    const std::function<void(const Settings&)> collect = [&](const Settings& level) {
        for (const auto& parameter : level.getParameters())
            all.push_back(parameter.get());
        for (const auto& below : level.getSections())
            collect(*below.child);
    };
    collect(settings);
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

    all[0]->setId("-.-x y");
    EXPECT_THAT(stateOf(settings), HasSubstr("<xy value="));
    all[0]->setId("ä");
    EXPECT_THAT(stateOf(settings), HasSubstr("<_ value="));
    for (Parameter* const parameter : all)
        parameter->setFloat(1.0f, FromUser);
    settings.resetAll();
    take(*all[0], "= 0.5");
    take(*all[2], "= 1");
    take(*all[5], "= 1");
}

// Faults: copies that share what is a module's own, or have two of what belongs to all.
TEST(Settings, CopiesShareWhatIsNoModules) {
    Radio first(nullptr), second(nullptr);
    auto original = std::make_unique<Defined>(
        value("M", "scope='module' automatable='true'") + value("Z", "scope='zone'") +
            value("P", "scope='program'") + section("S", value("P2", "")) +
            section("S",
                    "<Es class='ParameterEnum' type='string' scope='zone'><values>"
                    "<v value='1' display='One'/></values></Es>"
                    "<Ei class='ParameterEnum' type='integer' scope='zone'/>"
                    "<Ef class='ParameterEnum' type='float' scope='zone'/>"
                    "<K class='ParameterArray' type='custom' scope='zone' value='1:2'/>"
                    "<T class='ParameterText' scope='zone' value='t'/>"
                    "<C class='ParameterCustom' scope='zone' value='c' name='Name'/>"
                    "<B class='ParameterValue' type='bool' scope='zone' value='true'/>"
                    "<I class='ParameterValue' type='integer' scope='zone' value='7'/>"),
        &first);
    original->get("M").setFloat(0.75f, FromUser);
    Settings copy(*original, true);
    copy.setParent(&second);
    for (const char* const id : {"M", "Z", "P", "P2", "Es", "Ei", "Ef", "K", "T", "C", "B", "I"})
        EXPECT_EQ(copy.find(id, 0) == original->find(id, 0), id[0] == 'P') << id;
    EXPECT_EQ(stateOf(copy), stateOf(*original));
    EXPECT_EQ(copy.find("Es", 1)->getText() + copy.find("C", 1)->getName(), "OneName");
    EXPECT_EQ(copy.getSections()[1].child->getPath(), "S.2");
    EXPECT_NE(Settings(*copy.getSections()[1].child, true).find("T", 1), nullptr);
    EXPECT_EQ(copy.getAutomatable().size(), 12u);
    original->get("M").setFloat(0.0f, FromUser);
    take(*copy.find("M", 0), "= 0.75");
    original->start();
    copy.start();
    Parameter* const shared = copy.find("P2", 0);
    EXPECT_EQ(copy.find("Es", 1)->getParent(), &second);
    EXPECT_EQ(shared->getParent(), &first);
    original->loadText(definition(value("P")));
    original.reset();
    for (Parameter* const left : {copy.find("P", 0), shared}) {
        EXPECT_TRUE(left->getParent() == nullptr && left->getSettings() == nullptr);
        take(*left, "v 0.25; = 0.25");
    }
    copy.start();
    EXPECT_EQ(settingsOf(*shared), copy.getSections()[0].child.get());
    copy.setParent(nullptr);
    EXPECT_EQ(copy.find("Es", 1)->getParent(), nullptr);

    struct Unknown : Parameter {
        Unknown() : Parameter(nullptr, "", "") {}
        float getNormalised() const override { return 0.0f; }
        void setNormalised(float, std::int32_t) override {}
        float getFloat() const override { return 0.0f; }
        void setFloat(float, std::int32_t) override {}
        std::string getText() const override { return {}; }
        bool setText(const std::string&, std::int32_t) override { return false; }
        std::int32_t getStepCount() const override { return 0; }
        std::int32_t getType() const override { return Bool; }
        void fill(Announcement&) const override {}
    } const unknown;
    EXPECT_THROW(Defined::manager().createCopy(&unknown), ErrorNoSuchParameterType);
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
    settings.scheduleValue("A", 31, 0.25f);
    settings.scheduleValue("A", 64, 0.5f);
    settings.scheduleValue("A", 95, 0.75f);
    settings.scheduleValue("A", 4095, 1.0f);
    EXPECT_EQ(test::allocationsOfThisThread(), before);
    EXPECT_EQ(at(-5), 0.25f);
    EXPECT_EQ(at(32), 0.0f);
    EXPECT_EQ(at(64), 0.75f);
    EXPECT_EQ(at(4095), 1.0f);
    EXPECT_EQ(at(4223), -1.0f);
    settings.scheduleValue("A", 33, 0.125f);
    EXPECT_EQ(at(159), 0.0f);
    EXPECT_EQ(at(160), -1.0f);
    scheduler.schedule("B", 1 << 20, 1.0f);
    scheduler.schedule("B", std::numeric_limits<std::int32_t>::max(), 1.0f);
    EXPECT_FALSE(scheduler.getScheduled("B", 0, &out));
    scheduler.clear();
    EXPECT_EQ(at(0), -1.0f);
    ParameterScheduler coarse(nullptr, 0);
    coarse.schedule("A", 0, 1.0f);
    EXPECT_TRUE(coarse.getScheduled("A", 0, &out) && out == 1.0f);
    EXPECT_FALSE(coarse.getScheduled("A", 4, &out));
}

}  // namespace
}  // namespace tarn
