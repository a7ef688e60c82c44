#include "audio/Peak.h"
#include "foundation/File.h"
#include "samples/Note.h"
#include "samples/Sample.h"
#include "samples/SampleManager.h"
#include "samples/SampleWav.h"
#include "samples/Tuning.h"
#include "samples/WaveBytes.h"
#include "support/AllocationCount.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>

#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <random>

namespace tarn {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::FloatNear;
using testing::Pointwise;
using Values = std::vector<float>;

Values valuesOf(const Sample& sample) {
    const auto count = static_cast<std::size_t>(sample.getFrames() * sample.getChannels());
    return sample.hasData() ? Values(sample.getData(), sample.getData() + count) : Values();
}

Dictionary stateOf(std::int32_t channels, std::int32_t frames, const Values& values) {
    Dictionary state;
    state.setInteger("channels", channels);
    state.setInteger("samples", frames);
    if (!values.empty())
        state.setData("sampledata", values.data(), values.size() * sizeof(float));
    return state;
}

struct SampleOf : Sample {
    explicit SampleOf(const Dictionary& state) { read(state); }
};

// Turns these processings on and all others off.
void process(Sample& sample, std::initializer_list<const char*> names) {
    Dictionary parameters;
    for (const char* name : names)
        parameters.setBool(name, true);
    sample.applyParameters(parameters);
}

Values noise(std::size_t count, float level, unsigned seed) {
    std::mt19937 random(seed);
    Values values(count);
    for (float& value : values)
        value = std::uniform_real_distribution<float>(-level, level)(random);
    return values;
}

// Faults: a value that is lost on the way, audio that a state without any takes along.
TEST(Sample, AStateBringsBackAllThatItHolds) {
    const Values values = {1, 2, 3, 4, 5, 6};
    Dictionary state = stateOf(2, 3, values);
    const std::pair<const char*, int> numbers[] = {
        {"SampleStart", 1},        {"SampleEnd", 0},     {"SampleLoopStart", 3},
        {"SampleLoopEnd", 4},      {"samplerate", 5},    {"bitdepth", 6},
        {"SampleDetuneCoarse", 7}, {"WaveRootNote", 40}, {"SampleRootNote", 41}};
    for (const auto& [key, number] : numbers)
        state.setInteger(key, number);
    state.setBool("export", false);
    SampleOf sample(state);
    EXPECT_EQ(sample.getEnd(), -1);  // the counts weren't known when the end was read
    sample.read(state);
    EXPECT_FALSE(sample.hasFlag(Sample::Export));
    state.setBool("export", true);

    Dictionary written, without;
    sample.write(written);
    sample.write(without);
    sample.writeData(written);
    SampleOf copy(written);
    copy.read(without);
    copy.read(stateOf(2, 3, {}));  // the counts of the audio that is there
    EXPECT_EQ(valuesOf(copy), values);
    EXPECT_THAT((std::array{copy.getStart(), copy.getEnd(), copy.getLoopStart(), copy.getLoopEnd(),
                            copy.getSampleRate(), copy.getBitDepth(), copy.getDetuneCoarse(),
                            copy.getRootNote(), copy.getLoopMode()}),
                ElementsAre(1, 2, 3, 4, 5, 6, 7, 41, Sample::ForwardLoop));
    sample.read(state);
    EXPECT_TRUE(sample.hasFlag(Sample::Export));
    EXPECT_EQ(SampleOf(without).getLoopMode(), Sample::ForwardLoop);

    Dictionary uncounted;
    uncounted.setData("sampledata", values.data(), sizeof(float) * 2);
    EXPECT_EQ(valuesOf(SampleOf(uncounted)), (Values{1, 2}));
}

// Faults: a field that the copy loses, a buffer that two share, one that memory is too short for.
TEST(Sample, ACloneIsASampleOfItsOwn) {
    const Values values = {0.5f, -0.25f, 0.0f, 0.125f};
    SampleOf sample(stateOf(1, 4, values));
    sample.setRegions({{"a", 1, 2}});
    sample.setRootNote(50);
    sample.setLoop(Sample::ForwardLoop, 0, 2);
    process(sample, {"SampleNormalize", "SampleReverse"});
    const auto clone = sample.clone();
    process(sample, {"SampleInvertPhase"});
    EXPECT_EQ(clone->getData()[4], 0.25f);
    process(*clone, {});
    EXPECT_EQ(valuesOf(*clone), values);
    EXPECT_EQ(clone->getRegions(), sample.getRegions());
    EXPECT_THAT((std::array{clone->getRootNote(), clone->getLoopMode(), clone->getLoopStart(),
                            clone->getLoopEnd(), clone->getSampleRate()}),
                ElementsAre(50, Sample::ForwardLoop, 0, 2, 44100));

    const SampleOf large(stateOf(1, 50'000, Values(50'000)));
    const AllocationLimit limit(100'000);
    EXPECT_TRUE(!large.clone()->hasData() && large.clone()->getFrames() == 0);
}

// The fault it would catch: frame numbers from anywhere that lead a player out of the audio.
TEST(Sample, APlayerSeesOnlyFramesThatExist) {
    constexpr std::int32_t Least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t Most = std::numeric_limits<std::int32_t>::max();
    const SampleOf sample(stateOf(1, 4, {1, 2, 3, 4})), stereo(stateOf(2, 2, {1, 2, 3, 4}));
    const auto seen = [](const Sample& from, std::int32_t first, std::int32_t last) {
        const auto view = from.view(first, last);
        return Values(view.begin(), view.end());
    };
    EXPECT_EQ(seen(sample, 1, 2), (Values{2, 3}));
    EXPECT_EQ(seen(sample, -5, 0), Values{1});
    EXPECT_EQ(seen(sample, 3, 2'000'000'000), Values{4});
    EXPECT_EQ(seen(sample, Least, Most), valuesOf(sample));
    for (const auto& [first, last] : {std::pair(2, 1), {4, 9}, {Most, Least}, {-9, -1}})
        EXPECT_EQ(seen(sample, first, last), Values()) << first;
    EXPECT_EQ(seen(stereo, 0, 1), Values());
    EXPECT_EQ(seen(SampleOf(stateOf(1, 100, {})), 0, 99), Values());
}

// The fault it would catch: scrambled audio that is played, or that no second time brings back.
TEST(Sample, ResidentAudioIsScrambled) {
    SampleOf sample(stateOf(1, 3, {1, 2, 6}));
    Dictionary resident;
    resident.setBool("resident", true);
    sample.read(resident);
    EXPECT_TRUE(sample.hasFlag(Sample::Resident) && sample.hasFlag(Sample::Export));
    EXPECT_EQ(std::bit_cast<std::uint32_t>(sample.getData()[2]),
              std::bit_cast<std::uint32_t>(6.0f) ^ 0x4C17B3u);
    sample.read(resident);
    resident.setBool("unencrypted", true);
    sample.read(resident);
    resident.setBool("resident", false);
    sample.read(resident);
    EXPECT_FALSE(sample.hasFlag(Sample::Resident));
    EXPECT_EQ(valuesOf(sample), (Values{1, 2, 6}));
}

// The fault it would catch: counts that lead past the buffer.
TEST(Sample, AStateWhoseAudioIsNotWhatItsCountsSayIsCorrupt) {
    const Values four = {1, 2, 3, 4};
    Dictionary broken = stateOf(1, 4, {}), empty = broken;
    broken.setString("sampledata", "A/no base64");
    empty.addDict("sampledata");
    constexpr std::int32_t Most = std::numeric_limits<std::int32_t>::max();
    for (Dictionary state :
         {stateOf(1, 3, four), stateOf(1, 5, four), stateOf(2, 4, four), stateOf(0, 4, four),
          stateOf(-1, -4, four), stateOf(1, 0, four), stateOf(65536, 65536, {}),
          stateOf(Most, Most, four), stateOf(1, -1, {}), stateOf(-1, 1, {}), broken, empty}) {
        state.setInteger("SampleStart", 7);
        SampleOf sample(stateOf(2, 2, four));
        EXPECT_THROW(sample.read(state), Exception::SampleDataCorrupt);
        EXPECT_FALSE(sample.hasData());
        EXPECT_THAT((std::array{sample.getFrames(), sample.getStart(), sample.getChannels()}),
                    ElementsAre(0, 0, 2));
    }
    SampleOf sample(stateOf(2, 2, four));
    sample.read(stateOf(1, 100'000'000, {}));  // counts alone end the audio that isn't theirs
    EXPECT_TRUE(!sample.hasData() && sample.getFrames() == 0);
    process(sample, {"SampleNormalize", "SampleReverse", "SampleInvertPhase"});
    sample.mixToMono();
}

// Faults: a frame left out or moved twice, a gain of infinity, frame numbers that overflow.
TEST(Sample, ProcessingTwiceRestoresAnySample) {
    constexpr std::int32_t Least = std::numeric_limits<std::int32_t>::min();
    for (unsigned seed = 0; seed < 200; ++seed) {
        const auto frames = static_cast<std::int32_t>(seed % 40 + 1);
        const auto start = static_cast<std::int32_t>(seed * 12'345'678);
        const float level = seed == 0 ? 0.0f : std::ldexp(1.0f, static_cast<int>(seed % 60) - 40);
        const Values values = noise(static_cast<std::size_t>(frames), level, seed);
        Dictionary state = stateOf(1, frames, values);
        state.setInteger("SampleStart", start);
        state.setInteger("SampleLoopEnd", Least);
        SampleOf sample(state);
        const std::int32_t end = sample.getEnd();

        process(sample, {"SampleReverse", "SampleInvertPhase"});
        EXPECT_TRUE(sample.hasProcessing());
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_EQ(sample.getData()[i], -values[values.size() - 1 - i]);
        EXPECT_EQ(sample.getData()[frames], sample.getData()[0]);
        EXPECT_EQ(sample.getStart(), frames - end - 1);
        EXPECT_EQ(sample.getLoopStart(), frames - 1 + Least);
        process(sample, {"SampleReverse", "SampleInvertPhase"});
        process(sample, {});
        EXPECT_EQ(valuesOf(sample), values);
        EXPECT_EQ(sample.getStart(), start);
        EXPECT_EQ(sample.getLoopEnd(), Least);

        process(sample, {"SampleNormalize"});
        EXPECT_NEAR(peakOf(sample.getData(), frames), level > 0.0f ? 1.0f : 0.0f, 1e-6f);
        process(sample, {});
        EXPECT_FALSE(sample.hasProcessing());
        EXPECT_THAT(valuesOf(sample), Pointwise(FloatNear(level * 1e-6f), values));
    }
}

TEST(Sample, ChannelsAreMixedByLayout) {
    SampleOf planar(stateOf(3, 2, {3, 6, 9, 12, 15, 18}));
    process(planar, {"SampleNormalize"});  // as many values as frames
    EXPECT_EQ(valuesOf(planar), (Values{3 / 18.0f, 6 / 18.0f, 9, 12, 15, 18}));
    process(planar, {});
    planar.mixToMono();
    EXPECT_EQ(valuesOf(planar), (Values{9, 12}));
    EXPECT_EQ(planar.getData()[2], 9.0f);

    struct InterleavedSample : SampleOf {
        explicit InterleavedSample(const Dictionary& state) : SampleOf(state) {
            layout_ = Interleaved;
        }
    } interleaved(stateOf(3, 2, {3, 6, 9, 12, 15, 18}));
    interleaved.mixToMono();
    EXPECT_EQ(valuesOf(interleaved), (Values{6, 15}));
}

// Faults: a line that is no marker, a place beyond the audio, a loop apart from its regions, cues
// of the file that are lost.
TEST(Sample, AFileComesWithTheMarkersBesideItOrInIt) {
    const ScratchFolder folder;
    const std::string audio = formatChunk(1, 8) + chunk("data", std::string(100, 'a'));
    const File file(folder.path("tone.WAV"));
    const auto regionsAndLoop = [&](const std::string& more, const char* markers = nullptr) {
        folder.write("tone.WAV", waveFile(audio + more));
        if (markers != nullptr)
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
    EXPECT_EQ(regionsAndLoop(cues + loop, "[1]\r\nPos=10\r\nPos= 20 x\nPos=2000000000"),
              (Regions{{{}, 10, 19}, {{}, 20, 98}, {{}, 99, 98}, {"loop", 10, 98}}));
    EXPECT_FALSE(Sample::create(file, false)->hasData());
    folder.write("other.wav", "RIFFnothing");
    for (const char* name : {"other.wav", "none.wav", "tone.mrk"})
        EXPECT_FALSE(Sample::create(File(folder.path(name)), true)) << name;
    EXPECT_TRUE(Sample::canImport(File("a.Aiff")));
    EXPECT_FALSE(Sample::canImport(File("wav")) || Sample::canImport(File("a.mp3")));

    SampleWav reloaded;
    ASSERT_TRUE(reloaded.load(file, true).isOk());
    process(reloaded, {"SampleReverse", "SampleInvertPhase"});
    ASSERT_TRUE(reloaded.load(file, true).isOk());
    process(reloaded, {});
    EXPECT_EQ(valuesOf(reloaded), valuesOf(*Sample::create(file, true)));
}

TEST(SampleManager, TheFirstNameWhoseRangesHoldTheNoteWins) {
    SampleManager manager(nullptr);
    manager.setMapping("b", 7, {0, 60}, {0, 127});
    manager.setMapping("a", 8, {60, 128}, {64, 127});
    const auto soundsFor = [&](std::int16_t key, std::int16_t velocity) {
        Note note;
        note.setMidi(Note::NoteOnStatus, 0, key, velocity, 0, 0, 0);
        return manager.findSample(note);
    };
    EXPECT_EQ(soundsFor(60, 64), "a");
    EXPECT_EQ(soundsFor(60, 63), "b");
    EXPECT_EQ(soundsFor(61, 63), "");
    EXPECT_TRUE(manager.setVelocityRange("a", {0, 10}));
    EXPECT_TRUE(manager.setKeyRange("b", {61, 61}));
    EXPECT_EQ(soundsFor(60, 64), "");
    EXPECT_EQ(soundsFor(61, 63), "b");
    EXPECT_FALSE(manager.setKeyRange("c", {0, 1}));
}

// Faults: a change that isn't told, a key that leads out of a table of 128.
TEST(Note, TakesAMidiMessage) {
    Radio owner(nullptr);
    Note made(&owner, {7, 0.5f, 3});
    EXPECT_TRUE(made.getOwner() == &owner && made.getEvent().extra == 3 && made.hasChanged());
    EXPECT_TRUE(made.getType() == Note::None && made.getForcedVoice() < 0);
    made.setUnchanged();
    made.setMidi(0x90, 1, 60, 3, 4, 5, 6);
    Note note(made);
    EXPECT_THAT((std::array<std::uint32_t, 8>{
                    note.hasChanged(), static_cast<std::uint16_t>(note.getChannel()),
                    static_cast<std::uint16_t>(note.getKey()),
                    static_cast<std::uint16_t>(note.getVelocity()),
                    static_cast<std::uint16_t>(note.getExtra()), note.getData()[0],
                    note.getData()[1], static_cast<std::uint32_t>(note.getType())}),
                ElementsAre(1, 1, 60, 3, 4, 5, 6, Note::NoteOn));
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

// Faults: a factor that is lost or stays, a value that is rounded on the way.
TEST(Tuning, TravelsInADictionary) {
    Tuning equal, read;
    equal.setEqualTemperament();
    EXPECT_NEAR(equal.getFactors()[6], 1.4983, 0.00005);
    Dictionary bells, state;
    bells.setString("description", "Bells");
    bells.setInteger("anchor", 9);
    bells.setString("frequency", "55.5");
    bells.setFloat("factor", 1.5f);
    read.read(bells);
    EXPECT_EQ(read.getFactors(), std::vector<double>{1.5});
    for (const char* text : {"loud", "0", "-440"}) {
        state.setString("frequency", text);
        read.read(state);
        EXPECT_TRUE(read.getAnchor() == 9 && read.getFrequency() == 55.5) << text;
    }
    EXPECT_TRUE(read.getFactors().empty());
    state = Dictionary();
    equal.write(state);
    read.read(state);
    EXPECT_TRUE(read == equal && read.getFrequency() == 6.875);
    EXPECT_EQ(read.getFactors(), equal.getFactors());
    EXPECT_EQ(read.getFactors().back(), 2.0);

    struct Fifth : Tuning {
        Fifth() { factors_ = {1.5}; }
        bool isCustom() const override { return true; }
    };
    EXPECT_EQ(Fifth().getFactors(), std::vector<double>{1.5});
}

// The fault it would catch: an end that is left out where there is no name.
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
