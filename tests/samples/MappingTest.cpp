// What stands around samples: notes, the samples that they sound, and the scale.
#include "audio/SampleRegion.h"
#include "foundation/Dictionary.h"
#include "samples/Note.h"
#include "samples/SampleManager.h"
#include "samples/Tuning.h"

#include <gmock/gmock.h>

namespace tarn {
namespace {

using testing::ElementsAre;

// Faults: a change that isn't told, a key that leads out of a table of 128.
TEST(Note, TakesAMidiMessage) {
    Radio owner(nullptr);
    Note note(&owner, {7, 0.5f, 3});
    EXPECT_TRUE(note.getOwner() == &owner && note.getEvent().extra == 3 && note.hasChanged());
    EXPECT_TRUE(note.getType() == Note::None && note.getForcedVoice() < 0);
    note.setUnchanged();
    note.setMidi(0x90, 1, 60, 3, 4, 5, 6);
    EXPECT_THAT((std::array<int, 6>{note.getType(), note.getChannel(), note.getKey(),
                                    note.getVelocity(), note.getExtra(), note.hasChanged()}),
                ElementsAre(Note::NoteOn, 1, 60, 3, 4, 1));
    EXPECT_THAT(note.getData(), ElementsAre(5, 6));
    note.setUnchanged();
    note.setKey(60);
    EXPECT_FALSE(note.hasChanged());
    note.setKey(128);
    EXPECT_TRUE(note.hasChanged() && note.getKey() == 127);
    note.setMidi(0xB0, 0, -1, 0, 0, 0, 0);
    EXPECT_TRUE(note.getType() == Note::NoteOn && note.getKey() == 0);
    note.setMidi(0x80, 0, 0, 0, 0, 0, 0);
    EXPECT_EQ(note.getType(), Note::NoteOff);
}

TEST(SampleManager, TheFirstNameWhoseRangesHoldTheNoteWins) {
    SampleManager manager(nullptr);
    manager.setMapping("b", 7, {0, 60}, {0, 127});
    manager.setMapping("a", 8, {60, 127}, {64, 127});
    const auto soundsFor = [&](std::int16_t key, std::int16_t velocity) {
        Note note;
        note.setMidi(Note::NoteOnStatus, 0, key, velocity, 0, 0, 0);
        return manager.findSample(note);
    };
    EXPECT_EQ(soundsFor(60, 64), "a");
    EXPECT_EQ(soundsFor(60, 63), "b");
    EXPECT_EQ(soundsFor(61, 63), "");
    EXPECT_TRUE(manager.setVelocityRange("a", {3, 10}) && manager.setKeyRange("b", {61, 62}));
    EXPECT_EQ(manager.getVelocityRange("a"), (Range<std::int16_t>{3, 10}));
    EXPECT_EQ(manager.getKeyRange("b"), (Range<std::int16_t>{61, 62}));
    EXPECT_EQ(soundsFor(60, 64), "");
    EXPECT_EQ(soundsFor(61, 63), "b");
    EXPECT_FALSE(manager.setKeyRange("c", {0, 1}) || manager.setVelocityRange("c", {0, 1}));
    EXPECT_EQ(manager.getKeyRange("c"), (Range<std::int16_t>{0, 0}));
}

// Faults: a factor that is lost or stays, a value that is rounded on the way, a scale at 0 Hz.
TEST(Tuning, TravelsInADictionary) {
    struct Fifth : Tuning {
        Fifth() { factors_ = {1.5}; }
        bool isCustom() const override { return true; }
    } fifth;
    Tuning equal, read;
    equal.setEqualTemperament();
    EXPECT_NEAR(equal.getFactors()[6], 1.4983, 0.00005);
    EXPECT_EQ(equal.getFactors().back(), 2.0);
    Dictionary bells, state, stateOfFifth;
    bells.setString("description", "Bells");
    bells.setInteger("anchor", 9);
    bells.setString("frequency", "55.5");
    read.read(bells);
    for (const char* text : {"loud", "0", "-440"}) {
        bells.setString("frequency", text);
        read.read(bells);
        EXPECT_TRUE(read.getAnchor() == 9 && read.getFrequency() == 55.5) << text;
    }
    fifth.write(stateOfFifth);
    read.read(stateOfFifth);
    EXPECT_EQ(read.getFactors(), std::vector<double>{1.5});
    EXPECT_EQ(read.getAnchor(), 0);
    equal.write(state);
    read.read(state);
    EXPECT_TRUE(read == equal && read.getFrequency() == 6.875);
    EXPECT_EQ(read.getFactors(), equal.getFactors());
    read.read(Dictionary());
    EXPECT_TRUE(read.getFactors().empty());
}

TEST(SampleRegion, TravelsInADictionary) {
    const SampleRegion written{"", 3, 8};
    Dictionary state;
    written.write(state);
    SampleRegion read;
    read.read(state);
    EXPECT_EQ(read, written);
}

}  // namespace
}  // namespace tarn
