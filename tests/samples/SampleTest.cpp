#include "audio/Peak.h"
#include "foundation/File.h"
#include "samples/Note.h"
#include "samples/Sample.h"
#include "samples/SampleManager.h"
#include "samples/Tuning.h"
#include "samples/WaveBytes.h"
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
    return sample.getData() != nullptr ? Values(sample.getData(), sample.getData() + count)
                                       : Values();
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
    for (const char* key : {"SampleStart", "SampleLoopEnd", "SampleDetuneCoarse"})
        state.setInteger(key, 2);
    state.setInteger("samplerate", 96000);
    state.setInteger("WaveRootNote", 40);
    state.setInteger("SampleRootNote", 41);
    state.setBool("export", false);
    SampleOf sample(state);
    EXPECT_EQ(sample.getEnd(), -1);  // the counts weren't known when the end was read
    EXPECT_EQ(sample.getLoopMode(), Sample::ForwardLoop);
    EXPECT_FALSE(sample.hasFlag(Sample::Export));
    sample.read(state);

    Dictionary written, without;
    sample.write(written);
    sample.write(without);
    sample.writeData(written);
    SampleOf copy(written);
    copy.read(without);
    EXPECT_EQ(valuesOf(copy), values);
    EXPECT_EQ(valuesOf(*copy.clone()), values);
    EXPECT_THAT((std::array{copy.getStart(), copy.getEnd(), copy.getLoopEnd(), copy.getRootNote(),
                            copy.getDetuneCoarse(), copy.getSampleRate()}),
                ElementsAre(2, 2, 2, 41, 2, 96000));

    Dictionary uncounted;
    uncounted.setData("sampledata", values.data(), sizeof(float) * 2);
    EXPECT_EQ(valuesOf(SampleOf(uncounted)), (Values{1, 2}));
}

// The fault it would catch: scrambled audio that is played, or that no second time brings back.
TEST(Sample, ResidentAudioIsScrambled) {
    SampleOf sample(stateOf(1, 3, {1, 2, 6}));
    Dictionary resident;
    resident.setBool("resident", true);
    sample.read(resident);
    EXPECT_TRUE(sample.hasFlag(Sample::Resident));
    EXPECT_EQ(std::bit_cast<std::uint32_t>(sample.getData()[2]),
              std::bit_cast<std::uint32_t>(6.0f) ^ 0x4C17B3u);
    sample.read(resident);
    resident.setBool("unencrypted", true);
    sample.read(resident);
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
        state.setBool("export", false);
        SampleOf sample(stateOf(2, 2, four));
        EXPECT_THROW(sample.read(state), Exception::SampleDataCorrupt);
        EXPECT_TRUE(sample.getData() == nullptr && sample.getFrames() == 0);
        EXPECT_TRUE(sample.getStart() == 0 && sample.hasFlag(Sample::Export));
        EXPECT_EQ(sample.getChannels(), 2);
    }
    SampleOf sample(stateOf(2, 2, four));
    sample.read(stateOf(1, 100'000'000, {}));  // counts alone end the audio that isn't theirs
    EXPECT_EQ(sample.getData(), nullptr);
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

// Faults: a line that is no marker, a file that is no sample, a loop apart from its regions.
TEST(Sample, AFileComesWithTheMarkersBesideIt) {
    const ScratchFolder folder;
    folder.write("tone.WAV", waveFile(formatChunk(1, 8) + chunk("data", std::string(100, 'a'))));
    folder.write("other.wav", "RIFFnothing");
    const File file(folder.path("tone.WAV"));
    const auto regionsWith = [&](const char* markers) {
        if (markers != nullptr)
            folder.write("tone.mrk", markers);
        const auto sample = Sample::create(file, true);
        EXPECT_EQ(sample->getFrames(), 100);
        return sample->getRegions();
    };
    using Regions = std::vector<SampleRegion>;
    EXPECT_EQ(regionsWith(nullptr), (Regions{{{}, 0, 98}}));
    EXPECT_EQ(regionsWith("Pos=\nname=Pos=3\npos=5\nPos=-4\nPos=99999999999\n"), Regions());
    EXPECT_EQ(regionsWith("[1]\r\nPos=10\r\nPos= 20 x\nPos=70"),
              (Regions{{{}, 10, 19}, {{}, 20, 69}, {{}, 70, 98}}));
    EXPECT_EQ(Sample::create(file, true)->getLoopStart(), 10);
    EXPECT_EQ(Sample::create(file, false)->getData(), nullptr);
    for (const char* name : {"other.wav", "none.wav", "tone.mrk"})
        EXPECT_FALSE(Sample::create(File(folder.path(name)), true)) << name;
    EXPECT_TRUE(Sample::canImport(File("a.Aiff")));
    EXPECT_FALSE(Sample::canImport(File("wav")));
    EXPECT_FALSE(Sample::canImport(File("a.mp3")));
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
    read.read(Dictionary());
    EXPECT_TRUE(read.getAnchor() == 9 && read.getFrequency() == 55.5);
    EXPECT_TRUE(read.getFactors().empty());
    equal.write(state);
    read.read(state);
    EXPECT_TRUE(read == equal && read.getFrequency() == 6.875);
    EXPECT_EQ(read.getFactors(), equal.getFactors());
    EXPECT_EQ(read.getFactors().back(), 2.0);
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
