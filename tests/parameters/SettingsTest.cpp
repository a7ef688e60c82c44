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
    EXPECT_EQ(settings.getParameterCount(), 9);
    settings.get<ParameterKeyranges>("K");
    settings.get<ParameterCustom>("C");
    settings.get<ParameterEnum<std::string>>("Es");
    settings.get<ParameterEnum<std::int32_t>>("Ei");
    settings.get<ParameterEnum<float>>("Ef");
    settings.get<ParameterText>("T");
    EXPECT_TRUE(settings.get<ParameterValue<bool>>("B").getDefault());
    const auto& real = settings.get<ParameterValue<float>>("F");
    EXPECT_THAT((std::vector{real.getMinimum(), real.getValue(), real.getMaximum()}),
                ElementsAre(0.0f, 0.5f, 1.0f));
    const auto& whole = settings.get<ParameterValue<std::int32_t>>("I");
    EXPECT_THAT((std::vector{whole.getMinimum(), whole.getValue(), whole.getMaximum()}),
                ElementsAre(std::numeric_limits<std::int32_t>::lowest(), 3,
                            std::numeric_limits<std::int32_t>::max()));

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
    EXPECT_EQ(&settings.get("F"), &real);
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
        if (renamed == std::string("P4"))
            grown.start();
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
    const std::string parameters =
        value("M") + value("Z", "scope='zone'") + value("P", "") +
        value("Not", "scope='module' export='false'") + value("H", "scope='module' realm='host'") +
        value("a.b-c") +
        section("My Band!", value("Q") + value("Not", "scope='module' export='false'")) +
        section("My Band!", section("2nd", value("Q"))) + section("Empty", "") +
        section("Empty", "");
    Defined settings(parameters);
    const std::vector<std::pair<const char*, int>> all{{"M", 0},   {"Z", 0}, {"P", 0},
                                                       {"Not", 0}, {"H", 0}, {"a.b-c", 0}};
    Parameter* const inner = settings.getSections()[1].child->find("Q", 0);
    const auto set = [&](float to) {
        for (const auto& [id, clone] : all)
            settings.get(id, clone).setFloat(to, FromUser);
        settings.getSections()[0].child->find("Q", 0)->setFloat(to, FromUser);
        settings.getSections()[0].child->find("Not", 0)->setFloat(to, FromUser);
        inner->setFloat(to, FromUser);
    };
    const auto values = [&] {
        std::string text;
        for (const auto& [id, clone] : all)
            text += std::to_string(static_cast<int>(settings.get(id, clone).getFloat() * 4));
        return text +
               std::to_string(static_cast<int>(
                   settings.getSections()[0].child->find("Q", 0)->getFloat() * 4)) +
               std::to_string(static_cast<int>(
                   settings.getSections()[0].child->find("Not", 0)->getFloat() * 4)) +
               std::to_string(static_cast<int>(inner->getFloat() * 4));
    };
    set(0.25f);
    const std::string saved = stateOf(settings);
    EXPECT_THAT(saved, HasSubstr("<MyBand clone=\"1\">"));
    EXPECT_THAT(saved, HasSubstr("<_2nd>"));
    EXPECT_THAT(saved, HasSubstr("<M value=\"0.2500000000000000\" />"));
    EXPECT_THAT(saved, Not(HasSubstr("Not")));
    EXPECT_THAT(saved, Not(HasSubstr("<Empty clone")));
    EXPECT_THAT(stateOf(settings, Parameter::ModuleScope), Not(HasSubstr("<P ")));
    EXPECT_THAT(stateOf(settings, Parameter::AllScopes, true), HasSubstr("<Not "));

    set(1.0f);
    settings.read(Dictionary(saved), Parameter::AllScopes, Parameter::PluginRealm, false);
    EXPECT_EQ(values(), "111441141");  // H is the host's, Not isn't saved
    set(1.0f);
    settings.read(savedState("<M value='0.25'/>"), Parameter::ModuleScope, 3, false);
    EXPECT_EQ(values(), "144422242");  // the defaults of what is missing
    Ears ears(settings.get("M"));
    settings.read(savedState("<M value='0.75'/><Q value='0.0'/><Not value='0'/>"),
                  Parameter::ModuleScope, 3, true);
    EXPECT_EQ(values(), "344022040");  // a flat one fills the sections, all of the top alone
    EXPECT_EQ(ears.heard.back().mode, FromLoad);

    Parameter& moved = settings.get("M");
    moved.setId("-.-x y");
    EXPECT_THAT(stateOf(settings), HasSubstr("<xy value=\"0.7500000000000000\" />"));
    moved.setId("ä");
    EXPECT_THAT(stateOf(settings), HasSubstr("<_ value="));
    settings.resetAll();
    EXPECT_EQ(moved.getFloat() + settings.get("P").getFloat() + inner->getFloat(), 1.5f);
}

// Faults: copies that share what is a module's own, or have two of what belongs to all.
TEST(Settings, CopiesShareWhatIsNoModules) {
    Radio first(nullptr), second(nullptr);
    auto original = std::make_unique<Defined>(
        value("M", "scope='module' automatable='true'") + value("Z", "scope='zone'") +
            value("P", "scope='program'") + section("S", value("M2") + value("P2", "")) +
            section("S",
                    "<Es class='ParameterEnum' type='string' scope='zone'><values>"
                    "<v value='1' display='One'/></values></Es>"
                    "<Ei class='ParameterEnum' type='integer' scope='zone'/>"
                    "<Ef class='ParameterEnum' type='float' scope='zone'/>"
                    "<K class='ParameterArray' type='custom' scope='zone' value='1:2'/>"
                    "<T class='ParameterText' scope='zone' value='t'/>"
                    "<C class='ParameterCustom' scope='zone' value='c' name='Name' unit='u'/>"
                    "<B class='ParameterValue' type='bool' scope='zone' value='true'/>"
                    "<I class='ParameterValue' type='integer' scope='zone' value='7'/>"),
        &first);
    original->get("M").setFloat(0.75f, FromUser);
    Settings copy(*original, true);
    copy.setParent(&second);
    for (const char* const id : {"M", "Z", "M2"})
        EXPECT_NE(copy.find(id, 0), &original->get(id)) << id;
    Parameter* const shared = copy.find("P2", 0);
    EXPECT_EQ(shared, &original->get("P2"));
    EXPECT_EQ(copy.find("P", 0), &original->get("P"));
    EXPECT_EQ(copy.find("M", 0)->getFloat(), 0.75f);
    EXPECT_EQ(copy.getAutomatable().size(), original->getAutomatable().size());
    EXPECT_EQ(copy.getSections()[1].child->getPath(), "S.2");
    EXPECT_EQ(copy.find("Es", 1)->getText(), "One");
    EXPECT_EQ(stateOf(copy), stateOf(*original));
    EXPECT_EQ(copy.find("C", 1)->getName(), "Name");
    original->get("M").setFloat(0.0f, FromUser);
    EXPECT_EQ(copy.find("M", 0)->getFloat(), 0.75f);
    original->start();
    copy.start();
    EXPECT_EQ(copy.find("Es", 1)->getParent(), &second);
    EXPECT_EQ(shared->getParent(), &first);
    original.reset();
    EXPECT_EQ(shared->getFloat(), 0.5f);
    EXPECT_EQ(shared->getSettings(), nullptr);

    class Unknown : public Parameter {
    public:
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
    } unknown;
    try {
        Defined::manager().createCopy(&unknown);
        FAIL() << "copied";
    } catch (const ErrorNoSuchParameterType& error) {
        EXPECT_STREQ(error.what(), "Unknown parameter type bool<>");
    }
}

// Faults: radios that tune in to the wrong parameter or to none, when they have moved too; a list
// for the host with what it mustn't see.
TEST(Settings, RadiosFindTheirParameters) {
    Radio first(nullptr), second(nullptr);
    Defined settings(value("M") + value("P", "") + value("Not", "export='false'") +
                         section("S", value("M", "scope='module' automatable='true'")),
                     &first);
    Settings copy(settings, true);
    copy.setParent(&second);
    first.setSettings(&settings);
    second.setSettings(&copy);
    EXPECT_EQ(settingsOf(settings.get("M")), &settings);
    EXPECT_EQ(settings.getAutomatable().size(), 3u);

    class Follower : public Ears {
    public:
        explicit Follower(Radio& parent) : Ears(parent) { setParent(&parent); }
    } follower(first);
    for (const char* const name : {"M", "P", "None"})
        follower.tuneInByName(name);
    EXPECT_EQ(follower.take().size(), 2u);  // clone 1 is asked for, and isn't there
    follower.setParent(&second);
    EXPECT_EQ(follower.take().size(), 1u);
    settings.get("M").setFloat(1.0f, FromUser);
    EXPECT_TRUE(follower.heard.empty());
    copy.find("M", 0)->setFloat(1.0f, FromUser);
    settings.get("P").setFloat(1.0f, FromUser);
    EXPECT_EQ(follower.take().size(), 2u);

    ParameterMessage change(nullptr, 77, "M", 0, 0, 0.25f, FromUser);
    EXPECT_TRUE(settings.receive(change));
    EXPECT_EQ(settings.get("M").getFloat(), 0.25f);
    change.cloneNumber = 9;
    testing::internal::CaptureStderr();
    EXPECT_TRUE(settings.receive(change));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "UNKNOWN PARAMETER M\n");
    TimerMessage tick(nullptr, TimerMessage::Tick, 0, 0);
    EXPECT_FALSE(settings.receive(tick));
}

// Faults: a value at the wrong place of a block, one that isn't forgotten, an allocation on the
// audio thread, memory without end.
TEST(ParameterScheduler, RemembersValuesByPlaces) {
    Defined settings(section("S", value("A")));
    settings.setBlockSize(512);
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
    settings.scheduleValue("A", 511, 1.0f);
    EXPECT_EQ(test::allocationsOfThisThread(), before);
    EXPECT_EQ(at(-5), 0.25f);
    EXPECT_EQ(at(32), 0.0f);
    EXPECT_EQ(at(64), 0.75f);
    EXPECT_EQ(at(511), 1.0f);
    EXPECT_EQ(at(639), -1.0f);
    settings.scheduleValue("A", 33, 0.125f);
    EXPECT_EQ(at(159), 0.0f);
    EXPECT_EQ(at(160), -1.0f);
    scheduler.schedule("B", 1 << 20, 1.0f);
    scheduler.schedule("B", std::numeric_limits<std::int32_t>::max(), 1.0f);
    EXPECT_FALSE(scheduler.getScheduled("B", 0, &out));
    scheduler.clear();
    EXPECT_EQ(at(0), -1.0f);
    ParameterScheduler coarse(nullptr, 0);
    coarse.schedule("A", 7, 1.0f);
    EXPECT_TRUE(coarse.getScheduled("A", 7, &out) && !coarse.getScheduled("A", 11, &out));
}

}  // namespace
}  // namespace tarn
