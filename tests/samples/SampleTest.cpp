#include "audio/Peak.h"
#include "foundation/File.h"
#include "foundation/TextOf.h"
#include "samples/Note.h"
#include "samples/SampleManager.h"
#include "samples/SampleWav.h"
#include "samples/Tuning.h"
#include "samples/WaveBytes.h"
#include "support/AllocationCount.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>

#include <bit>

namespace tarn {
namespace {

using namespace test;
using namespace testing;
using Values = std::vector<float>;

constexpr std::int32_t Least = INT32_MIN, Most = INT32_MAX;

Dictionary stateOf(std::int32_t channels, std::int32_t frames, const Values& values) {
    Dictionary state;
    state.setInteger("channels", channels);
    state.setInteger("samples", frames);
    if (!values.empty())
        state.setData("sampledata", values.data(), values.size() * sizeof(float));
    return state;
}

struct SampleOf : Sample {
    explicit SampleOf(const Dictionary& state, Layout layout = Planar) {
        layout_ = layout;
        read(state);
    }
};

Values valuesOf(const Sample& sample) {
    const auto count = static_cast<std::size_t>(sample.getFrames() * sample.getChannels());
    return sample.hasData() ? Values(sample.getData(), sample.getData() + count) : Values();
}

std::array<std::int32_t, 11> numbersOf(const Sample& sample) {
    return {sample.getChannels(),   sample.getFrames(),   sample.getStart(),
            sample.getEnd(),        sample.getLoopMode(), sample.getLoopStart(),
            sample.getLoopEnd(),    sample.getRootNote(), sample.getDetuneCoarse(),
            sample.getSampleRate(), sample.getBitDepth()};
}

// Turns these processings on and all others off.
void process(Sample& sample, std::initializer_list<const char*> names) {
    Dictionary parameters;
    for (const char* name : names)
        parameters.setBool(name, true);
    sample.applyParameters(parameters);
}

// Faults: a value that is lost on the way, audio that a state without any takes along.
TEST(Sample, AStateBringsBackAllThatItHolds) {
    const Values values = {1, 2, 3, 4, 5, 6};
    Dictionary state = stateOf(2, 3, values), written, without, uncounted;
    std::int32_t number = 0;
    for (const char* key :
         {"SampleStart", "SampleEnd", "SampleLoopStart", "SampleLoopEnd", "WaveRootNote",
          "SampleRootNote", "SampleDetuneCoarse", "samplerate", "bitdepth"})
        state.setInteger(key, ++number);
    const SampleOf sample(state);
    sample.write(written);
    sample.write(without);
    sample.writeData(written);
    SampleOf copy(written);
    copy.read(without);
    copy.read(stateOf(2, 3, {}));  // the counts of the audio that is there
    EXPECT_EQ(valuesOf(copy), values);
    EXPECT_THAT(numbersOf(copy), ElementsAre(2, 3, 1, 2, Sample::ForwardLoop, 3, 4, 6, 7, 8, 9));

    uncounted.setData("sampledata", values.data(), sizeof(float) * 2);
    uncounted.setInteger("SampleLoopEnd", 1);
    EXPECT_EQ(valuesOf(SampleOf(uncounted)), (Values{1, 2}));
    // The count of frames wasn't known when the end was read.
    EXPECT_THAT(numbersOf(SampleOf(uncounted)),
                ElementsAre(1, 2, 0, -1, Sample::ForwardLoop, 0, 1, 60, 0, 44100, 0));
}

// Faults: a field that the copy loses, a buffer that two share, one that memory is too short for.
TEST(Sample, ACloneIsASampleOfItsOwn) {
    const Values values = {0.5f, -0.25f, 0.0f, 0.125f};
    SampleOf sample(stateOf(1, 4, values));
    sample.setRegions({{"a", 1, 2}});
    sample.setRootNote(50);
    sample.setLoop(Sample::ForwardLoop, 0, 2);
    const auto numbers = numbersOf(sample);
    process(sample, {"SampleNormalize", "SampleReverse"});
    const auto clone = sample.clone();
    process(sample, {"SampleInvertPhase"});
    EXPECT_EQ(clone->getData()[4], 0.25f);  // the frame behind the last
    process(*clone, {});
    EXPECT_EQ(std::pair(valuesOf(*clone), numbersOf(*clone)), std::pair(values, numbers));
    EXPECT_EQ(clone->getRegions(), sample.getRegions());

    const SampleOf large(stateOf(1, 50'000, Values(50'000)));
    const AllocationLimit limit(100'000);
    EXPECT_TRUE(!large.clone()->hasData() && large.clone()->getFrames() == 0);
}

// The fault it would catch: frame numbers from anywhere that lead a player out of the audio.
TEST(Sample, APlayerSeesOnlyFramesThatExist) {
    const SampleOf mono(stateOf(1, 4, {1, 2, 3, 4})), stereo(stateOf(2, 2, {1, 2, 3, 4}));
    const std::tuple<std::int32_t, std::int32_t, Values> runs[] = {
        {1, 2, {2, 3}}, {-5, 0, {1}},  {3, Most, {4}}, {Least, Most, {1, 2, 3, 4}},
        {2, 1, {}},     {4, Most, {}}, {-9, -1, {}},   {Most, Least, {}}};
    for (const auto& [first, last, values] : runs)
        EXPECT_THAT(mono.view(first, last), ElementsAreArray(values)) << first << " to " << last;
    EXPECT_TRUE(stereo.view(0, 1).empty() && SampleOf(stateOf(1, 100, {})).view(0, 99).empty());
}

// The fault it would catch: scrambled audio that is played, or that no second time brings back.
TEST(Sample, ResidentAudioIsScrambled) {
    SampleOf sample(stateOf(1, 3, {1, 2, 6}));
    constexpr std::uint32_t Six = 0x40C00000;
    const std::tuple<bool, bool, std::uint32_t> steps[] = {{true, false, Six ^ 0x4C17B3},
                                                           {true, false, Six},
                                                           {false, true, Six},
                                                           {true, true, Six},
                                                           {false, false, Six}};
    for (const auto& [isOn, isPlain, last] : steps) {
        Dictionary state;
        for (const char* flag : {"resident", "export"})
            state.setBool(flag, isOn);
        state.setBool("unencrypted", isPlain);
        sample.read(state);
        EXPECT_EQ(std::bit_cast<std::uint32_t>(sample.getData()[2]), last);
        EXPECT_EQ(sample.hasFlag(Sample::Resident) + sample.hasFlag(Sample::Export), isOn ? 2 : 0);
    }
}

// The fault it would catch: counts that lead past the buffer.
TEST(Sample, AStateWhoseAudioIsNotWhatItsCountsSayIsCorrupt) {
    const Values four = {1, 2, 3, 4};
    Dictionary broken = stateOf(1, 4, {}), empty = broken;
    broken.setString("sampledata", "A/no base64");
    empty.addDict("sampledata");
    for (Dictionary state :
         {stateOf(1, 3, four), stateOf(1, 5, four), stateOf(2, 4, four), stateOf(0, 4, four),
          stateOf(-1, -4, four), stateOf(1, 0, four), stateOf(65536, 65536, {}),
          stateOf(Most, Most, four), stateOf(1, -1, {}), stateOf(-1, 1, {}), broken, empty}) {
        state.setInteger("SampleStart", 7);
        SampleOf sample(stateOf(2, 2, four));
        EXPECT_THROW(sample.read(state), Exception::SampleDataCorrupt);
        EXPECT_TRUE(!sample.hasData() && sample.getFrames() == 0 && sample.getStart() == 0);
    }
    SampleOf sample(stateOf(2, 2, four));
    sample.read(stateOf(1, 100'000'000, {}));  // counts alone end the audio that isn't theirs
    EXPECT_TRUE(!sample.hasData() && sample.getFrames() == 0);
    process(sample, {"SampleNormalize", "SampleReverse", "SampleInvertPhase"});
    sample.mixToMono();
}

// Faults: a frame left out or moved twice, a gain of infinity, frame numbers that overflow.
TEST(Sample, ProcessingTwiceRestoresAnySample) {
    for (const Values& values : {Values{0.25f},
                                 {0, 0, -0.0f},
                                 {1e-40f, 0},
                                 {3e38f, -1, 7, 0.5f},
                                 {-4, 1, 2, 3, 0.1f},
                                 Values(99, -1e-3f)}) {
        const auto frames = static_cast<std::int32_t>(values.size());
        SampleOf sample(stateOf(1, frames, values));
        sample.setLoop(Sample::NoLoop, 5, Least);
        const auto numbers = numbersOf(sample);
        process(sample, {"SampleReverse", "SampleInvertPhase"});
        EXPECT_TRUE(sample.hasProcessing());
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_EQ(sample.getData()[i], -values[values.size() - 1 - i]);
        EXPECT_EQ(sample.getData()[frames], sample.getData()[0]);
        EXPECT_THAT(numbersOf(sample),
                    ElementsAre(1, frames, frames, frames - 1, 0, frames - 1 + Least, frames - 6,
                                60, 0, 44100, 0));
        process(sample, {"SampleNormalize"});
        EXPECT_EQ(numbersOf(sample), numbers);
        const float peak = peakOf(values.data(), frames);
        EXPECT_NEAR(peakOf(sample.getData(), frames), peak > 1e-30f ? 1.0f : peak, 1e-6f);
        process(sample, {});
        EXPECT_FALSE(sample.hasProcessing());
        EXPECT_THAT(valuesOf(sample), Pointwise(FloatNear(peak * 1e-6f), values));
    }
}

TEST(Sample, ChannelsAreMixedByLayout) {
    const Dictionary state = stateOf(3, 2, {3, 6, 9, 12, 15, 18});
    SampleOf planar(state), interleaved(state, Sample::Interleaved);
    process(planar, {"SampleNormalize"});  // as many values as frames
    EXPECT_EQ(valuesOf(planar), (Values{3 / 18.0f, 6 / 18.0f, 9, 12, 15, 18}));
    process(planar, {});
    planar.mixToMono();
    EXPECT_EQ(std::tuple(valuesOf(planar), planar.getData()[2]), std::tuple((Values{9, 12}), 9.0f));
    interleaved.mixToMono();
    EXPECT_EQ(valuesOf(interleaved), (Values{6, 15}));
}

// Faults: a line that is no marker, a place beyond the audio, a loop apart from its regions, cues
// of the file that are lost, processing that outlives the audio.
TEST(Sample, AFileComesWithTheMarkersBesideItOrInIt) {
    const ScratchFolder folder;
    const std::string audio = formatChunk(1, 8) + chunk("data", std::string(99, 'a') + 'b');
    const File file(folder.path("tone.WAV"));
    const auto regionsAndLoop = [&](const std::string& more, const std::string& markers = "") {
        folder.write("tone.WAV", waveFile(audio + more));
        if (!markers.empty())
            folder.write("tone.mrk", markers);
        const auto sample = Sample::create(file, true);
        auto regions = sample->getRegions();
        regions.push_back({"loop", sample->getLoopStart(), sample->getLoopEnd()});
        return regions;
    };
    using Regions = std::vector<SampleRegion>;
    const std::string cues = cueChunk(bytesOf(5u, 50u));
    const std::string loop = samplerChunk(60, 0, 1, bytesOf(1u, 0u, 10u, 90u, 0u, 0u));
    EXPECT_EQ(regionsAndLoop(""), (Regions{{{}, 0, 98}, {"loop", 0, 98}}));
    EXPECT_EQ(regionsAndLoop(loop), (Regions{{{}, 0, 98}, {"loop", 10, 90}}));
    EXPECT_EQ(regionsAndLoop(cues), (Regions{{{}, 5, 49}, {{}, 50, 99}, {"loop", 5, 99}}));
    EXPECT_EQ(regionsAndLoop(cues, "Pos=\nname=Pos=3\npos=5\nPos=-4\nPos=99999999999\n"),
              (Regions{{"loop", 50, 99}}));
    EXPECT_EQ(regionsAndLoop(cues + loop, "[1]\r\nPos=10\r\n" + std::string(300, 'x') +
                                              "Pos=7\nPos= 20 x\nPos=2000000000"),
              (Regions{{{}, 10, 19}, {{}, 20, 98}, {{}, 99, 98}, {"loop", 10, 98}}));
    for (const char* name : {"none.wav", "tone.mrk"})
        EXPECT_FALSE(Sample::create(File(folder.path(name)), true)) << name;
    EXPECT_FALSE(Sample::create(file, false)->hasData());
    EXPECT_TRUE(Sample::canImport(File("a.Aiff")));
    EXPECT_FALSE(Sample::canImport(File("wav")) || Sample::canImport(File("a.mp3")));

    SampleWav reloaded;
    reloaded.load(file, true);
    const Values values = valuesOf(reloaded);
    process(reloaded, {"SampleReverse", "SampleInvertPhase"});
    reloaded.load(file, true);
    process(reloaded, {});
    EXPECT_EQ(valuesOf(reloaded), values);
}

// Faults: a change that isn't told, a key that leads out of a table of 128.
TEST(Note, TakesAMidiMessage) {
    Note note;
    const auto expect = [&note](bool isChanged, int type, int key) {
        EXPECT_EQ(std::tuple(note.hasChanged(), note.getType(), note.getKey()),
                  std::tuple(isChanged, type, key));
        note.setUnchanged();
    };
    expect(true, Note::None, 0);
    note.setMidi(0x90, 1, 60, 3, 4, 5, 6);
    expect(true, Note::NoteOn, 60);
    EXPECT_EQ(note.toEvent(), (NoteEvent{Note::NoteOn, 1, 60, 3, 4, {5, 6}}));
    note.setKey(60);
    expect(false, Note::NoteOn, 60);
    note.setKey(128);
    expect(true, Note::NoteOn, 127);
    note.setMidi(0xB0, 0, -1, 0, 0, 0, 0);
    expect(true, Note::NoteOn, 0);
    note.setMidi(0x80, 0, 0, 0, 0, 0, 0);
    expect(true, Note::NoteOff, 0);
    const NoteEvent values{Note::NoteOn, 1, 60, 3, 4, {5, 6}, 7};
    EXPECT_EQ(Note(nullptr, values).toEvent(), values);
    EXPECT_EQ(Note(nullptr, NoteEvent{Note::NoteOn, 0, -1}).getKey(), 0);
}

// Faults: a note that sounds by another name's ranges, a number of a state that is lost or
// overflows.
TEST(SampleManager, TheFirstNameWhoseRangesHoldTheNoteWins) {
    SampleManager manager(nullptr), other(nullptr);
    manager.setMapping("b", 7, {0, 60}, {0, 127});
    manager.setMapping("a", 8, {60, 127}, {64, 127});
    const auto soundsFor = [&](std::int16_t key, std::int16_t velocity) {
        return manager.findSample(Note(nullptr, NoteEvent{Note::NoteOn, 0, key, velocity}));
    };
    EXPECT_EQ(soundsFor(60, 64) + soundsFor(60, 63) + soundsFor(61, 63), "ab");
    EXPECT_TRUE(manager.setVelocityRange("a", {3, 10}) && manager.setKeyRange("b", {61, 62}));
    EXPECT_EQ(manager.getVelocityRange("a").low + manager.getKeyRange("b").high, 3 + 62);
    EXPECT_EQ(soundsFor(60, 64) + soundsFor(61, 63), "b");
    EXPECT_FALSE(manager.setKeyRange("c", {0, 1}) || manager.setVelocityRange("c", {0, 1}));

    Dictionary state, again, whole;
    manager.write(state);
    state.getEntry(1)->setInteger("keyHigh", 1'000'000);
    other.setMapping("c", 0, {0, 1}, {0, 1});
    other.read(state);
    EXPECT_THAT(other.getNames(), ElementsAre("a", "b"));
    EXPECT_EQ(other.getMapping("a")->value + other.getKeyRange("b").high, 8 + 32767);
    manager.setKeyRange("b", {61, 32767});
    manager.write(whole);
    other.write(again);
    EXPECT_THAT(textOf(again), AllOf(textOf(whole), HasSubstr("32767")));
}

// Faults: a value that is lost or rounded on the way, factors that stay, a scale at 0 Hz.
TEST(Tuning, TravelsInADictionaryAsRegionsDo) {
    Dictionary state, places, again;
    state.setString("description", "Fourths");
    state.setInteger("anchor", 9);
    state.setString("frequency", "55.5");
    state.setString("factor", "1.3333333333333333", 0, false);
    Tuning tuning, copy;
    for (int times = 0; times < 2; ++times)
        tuning.setEqualTemperament();
    EXPECT_EQ(tuning.getFactors().size(), 12u);
    EXPECT_NEAR(tuning.getFactors()[6], 1.4983, 0.00005);
    tuning.read(state);
    tuning.write(again);
    copy.read(again);
    EXPECT_THAT(copy.getFactors(), ElementsAre(4 / 3.0));
    EXPECT_TRUE(copy == tuning && copy.getAnchor() == 9 && !(copy == Tuning()));
    for (const char* text : {"loud", "0", "-440"}) {
        state.setString("frequency", text);
        copy.read(state);
        EXPECT_EQ(copy.getFrequency(), 55.5) << text;
    }
    copy.read(Dictionary());
    EXPECT_TRUE(copy.getFactors().empty());
    SampleRegion region;
    SampleRegion{"", 3, 8}.write(places);
    region.read(places);
    EXPECT_EQ(region, (SampleRegion{"", 3, 8}));
}

}  // namespace
}  // namespace tarn
