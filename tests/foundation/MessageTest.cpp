#include "foundation/MessageSlot.h"
#include "foundation/Radio.h"
#include "support/AllocationCount.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace tarn;

namespace {

const std::string text = "longer than a string keeps inside itself";

// In a clone's clone and in a slot's copy; the slot allocates nothing.
template <typename Family, typename Fields>
void expectKept(const Family& message, Fields fields) {
    const auto clone = message.clone()->clone();
    MessageSlot slot;
    const long before = test::allocationsOfThisThread();
    EXPECT_TRUE(slot.store(PluginMessage(nullptr, 0, 0)) && slot.store(message));
    EXPECT_EQ(test::allocationsOfThisThread(), before);
    for (Message* copy : {clone.get(), slot.message()}) {
        EXPECT_TRUE(copy->sender == message.sender && copy->code == message.code);
        EXPECT_EQ(fields(dynamic_cast<Family&>(*copy)), fields(message));
    }
}

}  // namespace

// Faults: an allocation on the audio thread, which sends these in every block; a field that is left
// out of a copy, or taken for another one; a note that is read where it was before.
TEST(Message, SendingAllocatesNothingAndCopiesKeepEveryField) {
    Radio station(nullptr), listener(nullptr);
    listener.tuneIn(&station);
    const NoteEvent values{1, 2, 3, 4, 5, {6, 7}, 8};
    const long before = test::allocationsOfThisThread();
    MidiMessage note(&station, MidiMessage::NoteOn, &values, values, 9);
    ParameterMessage number(&station, 1, text, 1, 2, 0.5F, 3);
    ParameterMessage name(&station, 1, "Name", 4, text, 5);
    WindowMessage window(&station, WindowMessage::DropSample, {1, 2}, {text, 11, 12});
    window.target = &listener;
    window.keyCode = 3;
    window.payload = 4;
    window.previousPosition = {5, 6};
    window.rectangle = {7, 8, 9, 10};
    window.button = WindowMessage::RightButton;
    for (Message* message : std::initializer_list<Message*>{&note, &number, &name, &window})
        station.transmit(*message);
    EXPECT_EQ(test::allocationsOfThisThread(), before);
    listener.disconnect();

    for (const std::int32_t code : {MidiMessage::NoteOn, MidiMessage::OtherNote}) {
        note.code = code;
        expectKept(note, [&](auto& m) {
            return std::tuple(m.note, m.companion, m.data() == (&m == &note ? &values : nullptr));
        });
    }
    for (const ParameterMessage* parameter : {&number, &name})
        expectKept(*parameter, [](auto& m) {
            return std::tuple(m.parameterName.str(), m.text.str(), m.cloneNumber, m.value, m.mode,
                              m.hasText ? fromPayload<const char*>(m.payload) : std::string(),
                              m.hasText ? 0 : m.payload);
        });
    expectKept(window, [](auto& m) {
        return std::tuple(m.payload, m.target, m.position, m.keyCode, m.previousPosition,
                          m.rectangle, m.text.str(), m.regionStart, m.regionEnd, m.button);
    });
}

// Faults: a text that is read where it was before, half a character, a byte beyond the room, a name
// that stands for another one.
TEST(MessageSlot, CutsLongTextsBetweenCharactersAndRefusesLongIds) {
    const auto x = [](std::size_t count) { return std::string(count, 'x'); };
    MessageSlot slot;
    for (const auto& [given, kept] : {
             std::pair(x(255), x(255)),
             {x(256), x(252) + "\u2026"},
             {x(249) + "\U0001F3B8" + x(3), x(249) + "\u2026"},  // stands across it
             {std::string(300, '\x80'), std::string("\u2026")},  // isn't UTF-8
         }) {
        const auto source = std::make_unique<std::string>(given);
        slot.store(ParameterMessage(nullptr, 0, std::string_view(x(255)), 0, *source, 0));
        source->clear();
        EXPECT_EQ(fromPayload<const char*>(slot.message()->payload), kept);
        EXPECT_EQ(static_cast<ParameterMessage*>(slot.message())->parameterName, x(255));
    }
    for (const std::string& id : {x(255), x(256)}) {
        const bool fits = id.size() < 256;
        EXPECT_EQ(slot.store(ResourceMessage(nullptr, 0, id, 0)), fits);
        EXPECT_EQ(slot.message() != nullptr, fits);
        EXPECT_EQ(slot.store(ParameterMessage(nullptr, 0, id, 0, 0, 0.0F, 0)), fits);
    }
}
