// One note event, as it goes from the host's MIDI to the voices.
#pragma once

#include <cstdint>

namespace tarn {

/// A value. Written by whoever makes it, read on the audio thread.
class Note {
public:
    Note() = default;
    Note(const Note&) = default;
    Note& operator=(const Note&) = default;
    virtual ~Note() = default;

    std::int16_t key = 0;       // MIDI, 0 to 127
    std::int16_t velocity = 0;  // MIDI, 0 to 127
};

}  // namespace tarn
