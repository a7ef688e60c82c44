#include "foundation/AllocationCount.h"
#include "foundation/Message.h"
#include "foundation/Radio.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

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
    bool keeps = true;
    std::unique_ptr<Message> kept;
};

const std::string longText(5000, 'x');

// Fault: an allocation on the audio thread, which sends these in every block.
TEST(Message, MakingAndTransmittingAllocatesNothing) {
    Keeper station;
    Keeper listeners[16];
    for (Keeper& listener : listeners) {
        listener.tuneIn(&station);
        listener.keeps = false;
    }
    const MidiEvent event{7, 0.5F, 0};
    const std::size_t before = allocationCount();
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
    EXPECT_EQ(allocationCount(), before);
    EXPECT_TRUE(ok);
    EXPECT_NE((std::string(100, 'y'), allocationCount()), before);  // the count counts
}

// Fault: a queued message that reads a text or a type of a stack that is gone.
TEST(Message, ACopyOutlivesWhatItWasMadeFrom) {
    Keeper station;
    Keeper listener;
    listener.tuneIn(&station);
    {
        auto name = std::make_unique<std::string>(longText);
        ParameterMessage message(&station, ParameterMessage::ValueChanged, *name, 4,
                                 toPayload(true), 0.25F, 2);
        station.transmit(message);
        EXPECT_EQ(message.parameterName.view().data(), name->data());
    }
    {
        const auto& kept = dynamic_cast<ParameterMessage&>(*listener.kept);
        EXPECT_EQ(kept.sender, &station);
        EXPECT_EQ(kept.type, MessageType::Parameter);
        EXPECT_TRUE(kept.parameterName == longText);
        EXPECT_EQ(kept.cloneNumber, 4);
        EXPECT_TRUE(fromPayload<bool>(kept.payload));
        EXPECT_EQ(kept.value, 0.25F);
        EXPECT_EQ(kept.mode, 2);
        const std::unique_ptr<Message> again = kept.clone();
        listener.kept.reset();
        EXPECT_TRUE(dynamic_cast<ParameterMessage&>(*again).parameterName == longText);
    }
    {
        const std::string path = "C:/Samples/Glocke.wav";
        WindowMessage message(&station, WindowMessage::DropSample, Point{3, 4},
                              DroppedText{path, 100, 2000});
        station.transmit(message);
    }
    const auto& dropped = dynamic_cast<WindowMessage&>(*listener.kept);
    EXPECT_TRUE(dropped.text == "C:/Samples/Glocke.wav");
    EXPECT_EQ(dropped.position, (Point{3, 4}));
    EXPECT_EQ(dropped.regionEnd - dropped.regionStart, 1900);
}

TEST(Message, FamiliesFillWhatTheirConstructorsTell) {
    int window = 0;
    for (std::int32_t code = WindowMessage::LeftDown; code <= WindowMessage::SetPaintTarget;
         ++code) {
        const std::int32_t button = code <= 3002 ? 1 : code <= 3005 ? 4 : 0;
        EXPECT_EQ(WindowMessage(nullptr, code, &window).button, button);
        EXPECT_EQ(WindowMessage(nullptr, code, &window, Point{1, 2}, 0).button, button);
        EXPECT_EQ(WindowMessage(nullptr, code, Point{1, 2}, DroppedText{}).button, button);
        EXPECT_EQ(WindowMessage(nullptr, code, &window, WindowPosition{}, 0).button, button);
    }
    const WindowMessage key(nullptr, WindowMessage::KeyPress, &window, {{1, 2}, 0x26}, 5);
    EXPECT_EQ(key.target, &window);
    EXPECT_EQ(key.position, (Point{1, 2}));
    EXPECT_EQ(key.keyCode, 0x26);
    EXPECT_EQ(key.payload, 5U);

    const MidiEvent event{7, 0.5F, 9};
    const MidiMessage controller(nullptr, MidiMessage::Event, &event, -3);
    EXPECT_EQ(controller.event.controller, 7);
    EXPECT_EQ(controller.event.value, 0.5F);
    EXPECT_EQ(controller.event.extra, 9);
    EXPECT_EQ(controller.data(), &event);
    EXPECT_EQ(controller.companion, -3);
    const MidiMessage note(nullptr, MidiMessage::NoteOn, &event, 0);
    EXPECT_EQ(note.event.controller, -1);
    EXPECT_EQ(MidiMessage(nullptr, MidiMessage::Event, nullptr, 0).event.controller, -1);

    EXPECT_EQ(toPayload(-1.0F), 0xBF800000U);
    EXPECT_EQ(fourCharacterCode("MMto"), 0x4D4D746FU);
}

}  // namespace
}  // namespace tarn
