// One note event, as it goes from the host's MIDI or the on-screen keyboard to the voices.
#pragma once

#include "foundation/Message.h"

#include <array>
#include <cstdint>

namespace tarn {

class Radio;

/// A value, made and copied without an allocation. Written by whoever makes it, then read on the
/// audio thread. Keys are always 0 to 127, whatever comes in.
class Note {
public:
    enum Type : std::int32_t { None = 0, NoteOn = 1, NoteOff = 2 };

    // Status bytes of MIDI without the channel; others make neither of the two.
    static constexpr std::int32_t NoteOnStatus = 0x90;
    static constexpr std::int32_t NoteOffStatus = 0x80;

    /// Of no type yet. The owner, who may be null, isn't owned: the choir or engine that the note
    /// is for.
    explicit Note(Radio* owner = nullptr) : owner_(owner) {}

    /// With a copy of the event, which alone makes no note of it.
    Note(Radio* owner, const MidiEvent& event) : event_(event), owner_(owner) {}

    /// With the values that a message brought.
    Note(Radio* owner, const NoteEvent& values) noexcept;

    Note(const Note&) = default;
    Note& operator=(const Note&) = default;
    virtual ~Note() = default;

    /// Takes a MIDI message's values; the type follows from the status, and stays at any other than
    /// the two above. `data` are words that the maker may add, such as an offset in frames.
    void setMidi(std::int32_t status, std::int16_t channel, std::int16_t key, std::int16_t velocity,
                 std::int16_t extra, std::uint32_t data0, std::uint32_t data1) noexcept;

    /// A change only where the key is another one.
    void setKey(std::int16_t key) noexcept;

    /// The voice that is to play the note, by its number; negative for any.
    void setForcedVoice(std::int16_t voice) noexcept { values_.forcedVoice = voice; }

    void setUnchanged() noexcept { hasChanged_ = false; }

    /// What a message takes along.
    NoteEvent toEvent() const noexcept { return values_; }

    std::int32_t getType() const noexcept { return values_.type; }
    const MidiEvent& getEvent() const noexcept { return event_; }
    std::int16_t getChannel() const noexcept { return values_.channel; }
    std::int16_t getKey() const noexcept { return values_.key; }
    std::int16_t getVelocity() const noexcept { return values_.velocity; }  // 0 to 127 in MIDI
    std::int16_t getExtra() const noexcept { return values_.extra; }
    const std::array<std::uint32_t, 2>& getData() const noexcept { return values_.data; }
    std::int16_t getForcedVoice() const noexcept { return values_.forcedVoice; }
    Radio* getOwner() const noexcept { return owner_; }

    /// Since it was made, or since `setUnchanged`: true for a new note.
    bool hasChanged() const noexcept { return hasChanged_; }

    // Of the product's own meaning.
    float scaleA = 0.5f;
    float scaleB = 1.0f;
    std::uint32_t sequence = 0;

private:
    NoteEvent values_;
    MidiEvent event_{0, 0.0f, 0};
    Radio* owner_;
    bool hasChanged_ = true;
};

}  // namespace tarn
