// Base of the engines that play notes.
#pragma once

#include "audio/Engine.h"

#include <memory>

namespace tarn {

class Choir;

/// A product's own class renders the voices in its `process`.
class EngineSynth : public Engine {
public:
    /// Resets the choir. Without one, which null is, notes are told to the listeners and not heard.
    EngineSynth(Radio* module, std::unique_ptr<Choir> choir);
    ~EngineSynth() override;

    void start() override;
    void reset() override;

    /// The choir plays or ends the note before the listeners hear of it.
    void noteEvent(const Note& note) override;

    /// Silent: not even previews are heard.
    void process(const IOPinConfig& in, IOPinConfig& out, int frames) noexcept override;

    /// Any thread.
    virtual int getActiveVoiceCount() const;

private:
    std::unique_ptr<Choir> choir_;
};

}  // namespace tarn
