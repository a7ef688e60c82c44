// MIDI controllers: learning, ranges, and what they do to parameters.
#include "parameters/Definition.h"
#include "parameters/MidiMapper.h"
#include "parameters/ModuleDirectory.h"
#include "parameters/ParameterScheduler.h"
#include "support/AllocationCount.h"

#include <atomic>
#include <thread>

namespace tarn {
namespace {

using Mapper = MidiMapper<Parameter*>;

constexpr double Never = 1e7;  // ms

void turn(Mapper& mapper, std::int32_t controller) {
    const MidiEvent event{controller, 0.5f, 0};
    MidiMessage message(nullptr, MidiMessage::Event, &event, 0);
    mapper.receive(message);
}

// Faults: a tie that isn't made, goes to another controller, or stays when it is forgotten.
TEST(MidiMapper, LearnsTheNextController) {
    const Defined settings("<A class='ParameterText'/><B class='ParameterText'/>");
    Parameter* const a = &settings.get("A");
    Parameter* const b = &settings.get("B");
    Mapper mapper(nullptr, Never);
    class Notified : public Radio {
    public:
        using Radio::Radio;
        bool receive(Message& message) override {
            count += message.type == MessageType::System;
            return false;
        }
        int count = 0;
    } editor(nullptr);
    editor.tuneIn(&mapper);

    turn(mapper, 7);
    EXPECT_EQ(mapper.getTarget(7), nullptr);
    mapper.startLearning(a);
    for (const std::int32_t none : {-1, 130, 0xC0})
        turn(mapper, none);
    EXPECT_EQ(mapper.getLearning(), a);
    turn(mapper, 129);
    turn(mapper, 8);
    EXPECT_EQ(mapper.getTarget(129), a);
    EXPECT_EQ(mapper.getTarget(8), nullptr);
    EXPECT_EQ(editor.count, 1);
    EXPECT_EQ(mapper.getLearning(), nullptr);
    mapper.bind(3, a);
    EXPECT_EQ(mapper.getController(a), 3);
    EXPECT_EQ(mapper.getController(b), -1);
    EXPECT_EQ(mapper.getController(nullptr), -1);
    mapper.setRange(3, midi::Negative);
    mapper.bind(3, b);
    EXPECT_EQ(mapper.getRange(3), midi::Negative);
    EXPECT_EQ(mapper.getRange(4), midi::Full);
    mapper.startLearning(b);
    mapper.forget(a);
    EXPECT_EQ(mapper.getTarget(129), nullptr);
    EXPECT_EQ(mapper.getTarget(3), b);
    EXPECT_EQ(mapper.getLearning(), b);
    mapper.forget(b);
    turn(mapper, 5);
    EXPECT_EQ(mapper.getTarget(5), nullptr);
    mapper.bind(-1, a);
    mapper.setInverted(130, true);
    EXPECT_EQ(mapper.getTarget(-1), nullptr);
    EXPECT_FALSE(mapper.isInverted(130));
    EXPECT_EQ(mapper.getRange(-1), midi::Full);
    mapper.setRange(0, 7);
    EXPECT_EQ(mapper.getRange(0), midi::Full);

    EXPECT_STREQ(midi::getControllerName(2), "Breath Contoller");
    EXPECT_STREQ(midi::getControllerName(84), "Portamento Control");
    EXPECT_STREQ(midi::getControllerName(101), "Registered Parameter Number MSB");
    EXPECT_EQ(midi::getControllerText(129), "Aftertouch");
    for (const std::int32_t nameless : {-1, 3, 9, 20, 63, 85, 102, 127, 130})
        EXPECT_EQ(midi::getControllerText(nameless), "Controller #" + std::to_string(nameless));
}

// Faults: learning that never ends, or that an earlier one's end ends.
TEST(MidiMapper, LearningRunsOut) {
    const Defined settings("<A class='ParameterText'/>");
    Mapper brief(nullptr, 1.0);
    brief.startLearning(&settings.get("A"));
    while (brief.getLearning() != nullptr)
        std::this_thread::yield();
    turn(brief, 1);
    EXPECT_EQ(brief.getTarget(1), nullptr);
    TimerMessage other(nullptr, TimerMessage::Tick, fourCharacterCode("othr"), 0);
    Mapper lasting(nullptr, Never);
    lasting.startLearning(&settings.get("A"));
    lasting.receive(other);
    EXPECT_EQ(lasting.getLearning(), &settings.get("A"));
}

// Faults: a half of a range that is the other one, an inversion that turns the wrong half.
TEST(MidiMapper, ValuesInAHalfOfARange) {
    const Defined settings(
        "<Both class='ParameterValue' type='float' minval='-1' maxval='1'/>"
        "<Uneven class='ParameterValue' type='integer' minval='-1' maxval='3'/>"
        "<Above class='ParameterValue' type='float' minval='0' maxval='1'/>"
        "<On class='ParameterValue' type='bool'/>");
    Mapper mapper(nullptr, Never);
    struct Row {
        const char* id;
        std::int32_t range;
        bool isInverted;
        float at0, at1;
    };
    for (const auto& [id, range, isInverted, at0, at1] : {
             Row{"Both", midi::Positive, false, 0.5f, 1.0f},
             {"Both", midi::Negative, false, 0.5f, 0.0f},
             {"Both", midi::Full, false, 0.0f, 1.0f},
             {"Both", midi::Full, true, 1.0f, 0.0f},
             {"Both", midi::Positive, true, 1.0f, 0.5f},
             {"Both", midi::Negative, true, 0.0f, 0.5f},
             {"Uneven", midi::Positive, false, 0.25f, 1.0f},
             {"Uneven", midi::Negative, false, 0.25f, 0.0f},
             {"Uneven", midi::Positive, true, 1.0f, 0.25f},
             {"Uneven", midi::Negative, true, 0.0f, 0.25f},
             {"Above", midi::Positive, false, 0.0f, 1.0f},
             {"On", midi::Negative, true, 1.0f, 0.0f},
         }) {
        mapper.setRange(9, range);
        mapper.setInverted(9, isInverted);
        EXPECT_EQ(toNormalised(mapper, 9, settings.get(id), 0.0f), at0) << id << range;
        EXPECT_EQ(toNormalised(mapper, 9, settings.get(id), 1.0f), at1) << id << range;
    }
}

// Faults: a module that is left out, a position outside the block, an allocation on the way.
TEST(MidiMapper, AControllerReachesAllModules) {
    class Modules : public ModuleDirectory {
    public:
        int getModuleCount() const override { return 3; }
        Radio* getModule(int index) const override {
            return index < 2 ? &modules_[index] : nullptr;
        }
        std::string getModuleName(const Radio&) const override { return {}; }

    private:
        mutable Radio modules_[2]{Radio(nullptr), Radio(nullptr)};
    } modules;
    const std::string parameters =
        "<A class='ParameterValue' type='float' scope='module'/><section name='S'/>"
        "<section name='S'><A class='ParameterValue' type='float' scope='module'/></section>";
    Defined first(parameters, modules.getModule(0));
    Settings second(first, true);
    modules.getModule(0)->setSettings(&first);
    modules.getModule(1)->setSettings(&second);
    Mapper mapper(nullptr, Never);
    mapper.bind(1, &first.get("A", 1));
    Ears ears(first.get("A", 1));
    ears.heard.reserve(8);
    for (const auto& [position, place] : {std::pair{100, 100}, {-7, 0}, {9999, 255}}) {
        const long before = test::allocationsOfThisThread();
        EXPECT_TRUE(applyController(mapper, modules, 1, 0.75f, position, 256));
        EXPECT_EQ(test::allocationsOfThisThread() - before, 0);
        float at = 0.0f;
        EXPECT_TRUE(second.getScheduler().getScheduled("A", place, &at));
        EXPECT_EQ(at, 0.75f);
        EXPECT_FALSE(second.getScheduler().getScheduled("A", place + 128, &at));
        second.getScheduler().clear();
    }
    for (Settings* const settings : {static_cast<Settings*>(&first), &second}) {
        EXPECT_EQ(settings->find("A", 1)->getFloat(), 0.75f);
        EXPECT_EQ(settings->find("A", 0)->getFloat(), 0.5f);
    }
    EXPECT_EQ(ears.heard.back().mode, FromMidi);
    EXPECT_FALSE(applyController(mapper, modules, 2, 0.0f, 0, 256));
    EXPECT_TRUE(applyController(mapper, modules, 1, 0.0f, 5, 0));
}

// Faults: a binding that a state loses, or one that leads to nothing.
TEST(MidiMapper, ItsStateComesBack) {
    const Defined settings(
        "<A class='ParameterText'/><section name='S'/>"
        "<section name='S'><A class='ParameterText'/></section>");
    Mapper mapper(nullptr, Never);
    mapper.bind(1, &settings.get("A", 1));
    mapper.bind(128, &settings.get("A"));
    mapper.setInverted(1, true);
    mapper.setRange(129, midi::Positive);
    Dictionary state;
    const auto nameOf = [](Parameter* p) { return Mapper::Name{p->getId(), p->getClone()}; };
    mapper.write(state, nameOf);
    EXPECT_EQ(state.count("controller"), 3);

    Mapper other(nullptr, Never);
    other.bind(5, &settings.get("A"));
    const auto find = [&](const std::string& id, std::int32_t clone) {
        return settings.find(id, clone);
    };
    other.read(state, find);
    Dictionary again;
    other.write(again, nameOf);
    std::string before, after;
    state.toString(before);
    again.toString(after);
    EXPECT_EQ(after, before);
    EXPECT_EQ(other.getTarget(1), &settings.get("A", 1));
    EXPECT_EQ(other.getTarget(5), nullptr);

    other.read(savedState("<controller><number value='3'/><target value='None'/></controller>"
                          "<controller><number value='999'/><target value='A'/></controller>"
                          "<controller><target value='A'/></controller>"
                          "<controller><number value='4'/><range value='-1'/></controller>"),
               find);
    EXPECT_EQ(other.getController(&settings.get("A")), -1);
    EXPECT_EQ(other.getRange(4), midi::Full);
}

}  // namespace
}  // namespace tarn
