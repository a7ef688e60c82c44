#include "samples/Choir.h"
#include "samples/EngineSynth.h"
#include "samples/Note.h"
#include "support/Hearer.h"

#include <gtest/gtest.h>

#include <string>

namespace tarn {
namespace {

struct Voices : Choir {
    explicit Voices(std::string& log) : Choir(nullptr), story(log) {}
    void start() override { story += "start,"; }
    void reset() override { story += "reset,"; }
    void noteOn(const Note& note) override { story += std::to_string(note.getKey()) + " on,"; }
    void noteOff(const Note& note, bool immediate) override {
        story += std::to_string(note.getKey()) + (immediate ? " end," : " off,");
    }
    int getActiveVoiceCount() const override { return 3; }

    std::string& story;
};

// Faults: a listener that hears of a note before the choir, a choir that is there and not asked, or
// the other way round.
TEST(EngineSynth, TheChoirHearsNotesBeforeTheListeners) {
    for (const bool hasChoir : {true, false}) {
        std::string story;
        EngineSynth engine(nullptr, hasChoir ? std::make_unique<Voices>(story) : nullptr);
        const Hearer hearer(engine, [&](Message& heard) {
            story += std::to_string(dynamic_cast<MidiMessage&>(heard).note.key) + ",";
        });
        Note note;
        engine.start();
        engine.noteEvent(note);
        note.setMidi(Note::NoteOnStatus, 0, 60, 9, 0, 0, 0);
        engine.noteEvent(note);
        note.setMidi(Note::NoteOffStatus, 0, 61, 9, 0, 0, 0);
        engine.noteEvent(note);
        engine.reset();
        EXPECT_EQ(story, hasChoir ? "reset,start,0,60 on,60,61 off,61,reset," : "0,60,61,");
        EXPECT_EQ(engine.getActiveVoiceCount(), hasChoir ? 3 : 0);
    }
}

}  // namespace
}  // namespace tarn
