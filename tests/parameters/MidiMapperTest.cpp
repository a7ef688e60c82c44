// MIDI controllers: learning, ranges, and what they do to parameters.
#include "parameters/Definition.h"
#include "parameters/MidiMapper.h"
#include "parameters/ParameterScheduler.h"
#include "support/AllocationCount.h"

namespace tarn {
namespace {

using Mapper = MidiMapper<Parameter*>;

constexpr double Never = 1e7;  // ms

void turn(Mapper& mapper, std::int32_t controller) {
    const MidiEvent event{controller, 0.5f, 0};
    MidiMessage message(nullptr, MidiMessage::Event, &event, 0);
    mapper.receive(message);
}

// Faults: a tie that isn't made, goes to another controller, or stays when it is forgotten;
// learning that never ends.
TEST(MidiMapper, LearnsTheNextController) {
    const Defined settings("<A class='ParameterText'/><B class='ParameterText'/>");
    Parameter *const a = &settings.get("A"), *const b = &settings.get("B");
    Mapper mapper(nullptr, Never);
    turn(mapper, 7);
    mapper.startLearning(a);
    for (const std::int32_t controller : {-1, 130, 0xC0, 129, 8})
        turn(mapper, controller);
    EXPECT_EQ(mapper.getController(a), 129);
    for (const std::int32_t other : {-1, 7, 8})
        EXPECT_EQ(mapper.getTarget(other), nullptr) << other;
    mapper.bind(3, a);
    EXPECT_EQ(mapper.getController(a), 3);
    mapper.startLearning(b);
    mapper.forget(a);
    EXPECT_TRUE(mapper.getController(a) == -1 && mapper.getLearning() == b);
    mapper.forget(b);
    turn(mapper, 5);
    EXPECT_EQ(mapper.getTarget(5), nullptr);
}

// Faults: a module that is left out, a position outside the block, an allocation on the way.
TEST(MidiMapper, AControllerReachesAllModules) {
    Modules modules;
    modules.count = 3;
    const std::string id = "LongerThanAStringKeepsInsideItself";
    const std::string element = "<" + id + " class='ParameterValue' type='float' scope='module'/>";
    Defined first(element + "<section name='S'/><section name='S'>" + element + "</section>",
                  modules.getModule(0));
    Settings second(first, true);
    modules.getModule(0)->setSettings(&first);
    modules.getModule(1)->setSettings(&second);
    Mapper mapper(nullptr, Never);
    mapper.bind(1, &first.get(id, 1));
    Radio listener(nullptr);
    listener.tuneIn(&first.get(id, 1));
    for (const auto& [position, place] : {std::pair{-7, 0}, {9999, 255}}) {
        const long before = test::allocationsOfThisThread();
        EXPECT_TRUE(applyController(mapper, modules, 1, 0.75f, position, 256));
        EXPECT_EQ(test::allocationsOfThisThread(), before);
        float at = 0.0f;
        EXPECT_TRUE(second.getScheduler().getScheduled(id, place, &at) && at == 0.75f);
        EXPECT_FALSE(second.getScheduler().getScheduled(id, place + 128, &at));
        second.getScheduler().clear();
        first.get(id, 1).setFloat(0.0f, FromUser);
    }
    EXPECT_TRUE(applyController(mapper, modules, 1, 0.25f, 5, 0));
    take(first.get(id, 1), "= 0.25");
    take(*second.find(id, 1), "= 0.25");
}

// Faults: a binding that a state loses, or one that leads to nothing.
TEST(MidiMapper, ItsStateComesBack) {
    const Defined settings(
        "<A class='ParameterText'/><section name='S'/>"
        "<section name='S'><A class='ParameterText'/></section>");
    const auto find = [&](const std::string& id, std::int32_t clone) {
        return settings.find(id, clone);
    };
    Mapper mapper(nullptr, Never), other(nullptr, Never);
    mapper.bind(0, &settings.get("A", 1));
    mapper.bind(128, &settings.get("A"));
    mapper.setInverted(0, true);
    mapper.setRange(129, midi::Negative);
    other.bind(5, &settings.get("A"));
    Dictionary state = savedState("");
    mapper.write(state, [](Parameter* p) { return Mapper::Name{p->getId(), p->getClone()}; });
    EXPECT_EQ(state.count("controller"), 3);
    other.read(state, find);
    EXPECT_EQ(other.getTarget(0), &settings.get("A", 1));
    EXPECT_EQ(other.getController(&settings.get("A")), 128);
    EXPECT_TRUE(other.isInverted(0));
    EXPECT_EQ(other.getRange(129), midi::Negative);
    other.read(savedState("<controller><number value='3'/><target value='None'/></controller>"
                          "<controller><number value='999'/><target value='A'/></controller>"
                          "<controller><target value='A'/></controller>"
                          "<controller><number value='4'/><range value='-1'/></controller>"),
               find);
    Dictionary none = savedState("");
    other.write(none, {});
    EXPECT_EQ(none.count("controller"), 0);
}

}  // namespace
}  // namespace tarn
