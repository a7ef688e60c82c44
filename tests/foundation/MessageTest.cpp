#include "foundation/Message.h"
#include "foundation/Radio.h"
#include "support/AllocationCount.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

class Keeper : public Radio {
public:
    Keeper() : Radio(nullptr) {}
    bool receive(Message& message) override {
        if (keeps)
            kept = message.clone();
        return true;
    }
    bool keeps = false;
    std::unique_ptr<Message> kept;
};

const std::string longText(5000, 'x');

// Fault: an allocation on the audio thread, which sends these in every block.
TEST(Message, MakingAndTransmittingAllocatesNothing) {
    Keeper station;
    Keeper listeners[16];
    for (Keeper& listener : listeners)
        listener.tuneIn(&station);
    const MidiEvent event{7, 0.5F, 0};
    const long before = test::allocationsOfThisThread();
    ParameterMessage parameter(&station, ParameterMessage::ValueChanged, longText, 0, 0, 0.5F, 0);
    PluginMessage plugin(&station, PluginMessage::ProgramChanged, 3);
    plugin.text = longText;
    ResourceMessage resource(&station, ResourceMessage::ResourceLoaded, longText, 0);
    WindowMessage window(&station, WindowMessage::DropFile, Point{1, 2}, DroppedText{longText});
    MidiMessage midi(&station, MidiMessage::Event, &event, 1);
    ControlMessage control(&station, ControlMessage::HelpHide);
    TimerMessage timer(&station, TimerMessage::Tick, 0, 0);
    SystemMessage system(&station, SystemMessage::SampleRateChanged, 48000);
    bool ok = true;
    for (Message* message : std::initializer_list<Message*>{&parameter, &plugin, &resource, &window,
                                                            &midi, &control, &timer, &system})
        ok = station.transmit(*message).isOk() && ok;
    EXPECT_EQ(test::allocationsOfThisThread(), before);
    EXPECT_TRUE(ok);
    const std::string counted(100, 'y');
    EXPECT_NE(test::allocationsOfThisThread(), before);
}

// Fault: a queued message that reads a text, an event or a type of a stack that is gone.
TEST(Message, ACopyOutlivesWhatItWasMadeFrom) {
    Keeper station;
    Keeper listeners[3];
    const auto transmit = [&](Keeper& listener, Message&& message) {
        listener.keeps = true;
        listener.tuneIn(&station);
        station.transmit(message);
        listener.tuneOut(&station);
    };
    transmit(listeners[0], ParameterMessage(&station, ParameterMessage::ValueChanged,
                                            std::string_view(std::string(longText)), 4,
                                            toPayload(true), 0.25F, 2));
    listeners[0].kept = listeners[0].kept->clone();
    const auto& parameter = dynamic_cast<ParameterMessage&>(*listeners[0].kept);
    EXPECT_EQ(parameter.sender, &station);
    EXPECT_TRUE(parameter.parameterName == longText && fromPayload<bool>(parameter.payload));
    EXPECT_TRUE(parameter.cloneNumber == 4 && parameter.value == 0.25F && parameter.mode == 2);

    transmit(listeners[1],
             WindowMessage(&station, WindowMessage::DropSample, Point{3, 4},
                           DroppedText{std::string("C:/Samples/Glocke.wav"), 100, 2000}));
    const auto& dropped = dynamic_cast<WindowMessage&>(*listeners[1].kept);
    EXPECT_TRUE(dropped.text == "C:/Samples/Glocke.wav");
    EXPECT_EQ(dropped.position, (Point{3, 4}));
    EXPECT_EQ(dropped.regionEnd - dropped.regionStart, 1900);

    const auto event = std::make_unique<MidiEvent>(MidiEvent{7, 0.5F, 9});
    transmit(listeners[2], MidiMessage(&station, MidiMessage::Event, event.get(), -3));
    const auto& controller = dynamic_cast<MidiMessage&>(*listeners[2].kept);
    EXPECT_TRUE(controller.event.controller == 7 && controller.event.extra == 9);
    EXPECT_TRUE(controller.data() == event.get() && controller.companion == -3);
    EXPECT_EQ(MidiMessage(nullptr, MidiMessage::Event, nullptr, 0).event.controller, -1);
}

}  // namespace
}  // namespace tarn
