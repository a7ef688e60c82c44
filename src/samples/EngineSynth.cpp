#include "samples/EngineSynth.h"

#include "samples/Choir.h"
#include "samples/Note.h"

#include <utility>

namespace tarn {

EngineSynth::EngineSynth(Radio* module, std::unique_ptr<Choir> choir)
    : Engine(module), choir_(std::move(choir)) {
    if (choir_)
        choir_->reset();
}

EngineSynth::~EngineSynth() = default;

void EngineSynth::start() {
    if (choir_)
        choir_->start();
}

void EngineSynth::reset() {
    if (choir_)
        choir_->reset();
}

void EngineSynth::noteEvent(const Note& note) {
    if (choir_ && note.getType() == Note::NoteOn)
        choir_->noteOn(note);
    else if (choir_ && note.getType() == Note::NoteOff)
        choir_->noteOff(note, false);
    Engine::noteEvent(note);
}

void EngineSynth::process(const IOPinConfig& /*in*/, IOPinConfig& /*out*/,
                          int /*frames*/) noexcept {}

int EngineSynth::getActiveVoiceCount() const {
    return choir_ ? choir_->getActiveVoiceCount() : 0;
}

}  // namespace tarn
