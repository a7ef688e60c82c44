#include "editor/ControlTriggerButton.h"

#include "audio/Engine.h"
#include "audio/Module.h"
#include "editor/Editor.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"
#include "samples/Note.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tarn {

namespace {

constexpr std::int32_t FirstKey = 36;
constexpr std::int16_t PlayedKey = 60;
constexpr float LoudestVelocity = 127.0f;

}  // namespace

ControlTriggerButton::ControlTriggerButton(Editor& editor) : ControlValueButton(editor) {
    followEngine();
}

void ControlTriggerButton::setRadioHost(Radio* module) {
    ControlValueButton::setRadioHost(module);
    followEngine();
}

void ControlTriggerButton::followEngine() {
    const auto* const module = dynamic_cast<const Module*>(getParent());
    Engine* const engine = module != nullptr ? module->getEngine() : nullptr;
    if (engine == engine_)
        return;
    if (engine_ != nullptr)
        tuneOut(engine_);
    engine_ = engine;
    if (engine_ != nullptr)
        tuneIn(engine_);
}

bool ControlTriggerButton::handle(Message& message) {
    if (message.type == MessageType::Midi) {
        const auto& midi = static_cast<const MidiMessage&>(message);
        const bool isNote = midi.code == MidiMessage::NoteOn || midi.code == MidiMessage::OtherNote;
        if (!isNote || midi.note.key != parameterIndex_ + FirstKey)
            return false;
        setOn(midi.code == MidiMessage::NoteOn, FromMidi);
        return true;
    }
    if (message.type == MessageType::Parameter) {
        const auto& change = static_cast<const ParameterMessage&>(message);
        const bool isChange = change.code == ParameterMessage::ValueChanged ||
                              change.code == ParameterMessage::ResetToDefault;
        if (isChange && change.mode == FromUser && !parameterName_.empty() &&
            change.parameterName == parameterName_ && change.cloneNumber == parameterIndex_)
            playNote(change.value);
    }
    return ControlValueButton::handle(message);
}

void ControlTriggerButton::playNote(float value) {
    const auto* const module = dynamic_cast<const Module*>(getParent());
    Engine* const engine = module != nullptr ? module->getEngine() : nullptr;
    if (engine == nullptr)
        return;
    Note note(engine);
    const float velocity = std::clamp(value, 0.0f, 1.0f) * LoudestVelocity;
    note.setMidi(value > 0.0f ? Note::NoteOnStatus : Note::NoteOffStatus, 0, PlayedKey,
                 static_cast<std::int16_t>(std::lround(velocity)), 0, 0, 0);
    engine->noteEvent(note);
}

bool ControlTriggerButton::press(const WindowMessage& message) {
    const std::int32_t height = std::max(getRect().height(), 1);
    const float fromTop =
        static_cast<float>(std::clamp(message.position.y, 0, height)) / static_cast<float>(height);
    hold();
    if (Parameter* const parameter = getParameter(); parameter != nullptr && !isIncrementing())
        parameter->setNormalised(1.0f - fromTop, FromUser);
    return true;
}

bool ControlTriggerButton::letGo(const WindowMessage& /*message*/) {
    stopHolding();
    const auto alive = editor().life();
    setOn(false, FromUser);
    if (!alive.expired())
        followBlinking(isOn());
    return true;
}

}  // namespace tarn
