#include "foundation/Message.h"
#include "foundation/Radio.h"
#include "support/AllocationCount.h"

#include <gtest/gtest.h>

using namespace tarn;

namespace {

const std::string longText(5000, 'x');

}  // namespace

// Fault: an allocation on the audio thread, for those messages that hold a text.
TEST(Message, MakingAndTransmittingAllocatesNothing) {
    Radio station(nullptr);
    Radio listener(nullptr);
    listener.tuneIn(&station);
    const long before = test::allocationsOfThisThread();
    ParameterMessage parameter(&station, ParameterMessage::ValueChanged, longText, 0, 0, 0.5F, 0);
    PluginMessage plugin(&station, PluginMessage::ProgramChanged, 3);
    plugin.text = longText;
    ResourceMessage resource(&station, ResourceMessage::ResourceLoaded, longText, 0);
    WindowMessage window(&station, WindowMessage::DropFile, Point{1, 2}, DroppedText{longText});
    for (Message* message :
         std::initializer_list<Message*>{&parameter, &plugin, &resource, &window})
        station.transmit(*message);
    EXPECT_EQ(test::allocationsOfThisThread(), before);
    listener.disconnect();
}

// Fault: a queued message that reads a text, an event or a type of a stack that is gone, or that
// confuses its fields.
TEST(Message, ACopyOutlivesWhatItWasMadeFrom) {
    const auto copyOf = [](const Message& message) { return message.clone()->clone(); };
    const auto changed = copyOf(ParameterMessage(nullptr, ParameterMessage::ValueChanged,
                                                 std::string_view(std::string(longText)), 4,
                                                 toPayload(true), 0.25F, 2));
    const auto& parameter = dynamic_cast<ParameterMessage&>(*changed);
    EXPECT_TRUE(parameter.parameterName == longText && fromPayload<bool>(parameter.payload));
    EXPECT_TRUE(parameter.cloneNumber == 4 && parameter.value == 0.25F && parameter.mode == 2);

    const auto drop = copyOf(WindowMessage(nullptr, WindowMessage::DropSample, Point{3, 4},
                                           DroppedText{std::string(longText), 100, 2000}));
    const auto& dropped = dynamic_cast<WindowMessage&>(*drop);
    EXPECT_TRUE(dropped.text == longText && dropped.position == (Point{3, 4}));
    EXPECT_TRUE(dropped.regionStart == 100 && dropped.regionEnd == 2000);

    auto event = std::make_unique<MidiEvent>(MidiEvent{7, 0.5F, 9});
    const void* const source = event.get();
    const auto turned = copyOf(MidiMessage(nullptr, MidiMessage::Event, source, -3));
    event.reset();
    const auto& controller = dynamic_cast<MidiMessage&>(*turned);
    EXPECT_TRUE(controller.event.controller == 7 && controller.companion == -3);
    EXPECT_EQ(controller.data(), source);
    EXPECT_EQ(MidiMessage(nullptr, MidiMessage::NoteOn, longText.data(), 0).event.controller, -1);
    EXPECT_EQ(MidiMessage(nullptr, MidiMessage::Event, nullptr, 0).event.controller, -1);
}

// Fault: a click of the left button that acts as one of the right.
TEST(Message, TellsTheButtonOfTheWindowsEvents) {
    for (std::int32_t code = WindowMessage::LeftDown; code <= WindowMessage::MouseMove; ++code)
        EXPECT_EQ(WindowMessage(nullptr, code, nullptr).button,
                  code < 3003   ? WindowMessage::LeftButton
                  : code < 3006 ? WindowMessage::RightButton
                                : WindowMessage::NoButton);
}
