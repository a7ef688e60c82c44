// What an instrument's engine asks of its voices.
#pragma once

#include "foundation/Radio.h"

namespace tarn {

class Note;

/// Hands notes to voices. The parent is the engine's module. `start` makes the voices, on the
/// control thread.
class Choir : public Radio {
public:
    using Radio::Radio;

    /// Silences all voices and forgets all keys. Control thread.
    virtual void reset() = 0;

    /// A key goes down, or up; `immediate` ends the voice without its fading out. Audio and
    /// interface thread; allocates nothing.
    virtual void noteOn(const Note& note) = 0;
    virtual void noteOff(const Note& note, bool immediate) = 0;

    /// How many voices sound. Any thread.
    virtual int getActiveVoiceCount() const = 0;
};

}  // namespace tarn
