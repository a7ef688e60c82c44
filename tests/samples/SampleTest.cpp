#include "foundation/File.h"
#include "samples/Note.h"
#include "samples/Sample.h"
#include "samples/SampleManager.h"
#include "samples/Tuning.h"
#include "samples/WaveBytes.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

namespace tarn {
namespace {

using namespace test;
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

Dictionary processing(bool normalize, bool reverse, bool invert) {
    Dictionary parameters;
    parameters.setBool("SampleNormalize", normalize);
    parameters.setBool("SampleReverse", reverse);
    parameters.setBool("SampleInvertPhase", invert);
    return parameters;
}

Values noise(std::size_t count, float level, unsigned seed) {
    std::mt19937 random(seed);
    Values values(count);
    for (float& value : values)
        value = std::uniform_real_distribution<float>(-level, level)(random);
    return values;
}

TEST(Sample, AStateBringsBackAllThatItHolds) {
    Dictionary state = stateOf(2, 3, {1, 2, 3, 4, 5, 6});
    state.setInteger("samplerate", 96000);
    state.setInteger("bitdepth", 24);
    for (const char* key : {"SampleStart", "SampleLoopEnd", "SampleDetuneCoarse"})
        state.setInteger(key, 2);
    state.setInteger("WaveRootNote", 40);
    state.setInteger("SampleRootNote", 41);
    state.setBool("export", false);
    Sample sample;
    sample.read(state);
    EXPECT_EQ(sample.getEnd(), -1);  // the counts weren't known when the end was read
    EXPECT_EQ(sample.getRootNote(), 41);
    EXPECT_EQ(sample.getLoopMode(), Sample::ForwardLoop);
    EXPECT_FALSE(sample.hasFlag(Sample::Export));
    Dictionary withoutCounts;
    withoutCounts.setData("sampledata", "12345678", 8);
    Sample uncounted;
    uncounted.read(withoutCounts);
    EXPECT_EQ(uncounted.getFrames() * uncounted.getChannels(), 2);
    sample.read(state);
    EXPECT_EQ(sample.getEnd(), 2);

    Dictionary written;
    sample.write(written);
    sample.writeData(written);
    Sample copy;
    copy.read(written);
    EXPECT_EQ(valuesOf(copy), (Values{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(copy.getEnd(), 2);
    EXPECT_EQ(copy.getSampleRate(), 96000);
    EXPECT_EQ(copy.getDetuneCoarse(), 2);

    Dictionary without;
    sample.write(without);
    copy.read(without);
    EXPECT_EQ(valuesOf(copy), valuesOf(sample));
    EXPECT_EQ(valuesOf(*copy.clone()), valuesOf(sample));

    Dictionary resident;
    resident.setBool("resident", true);
    copy.read(resident);
    EXPECT_TRUE(copy.hasFlag(Sample::Resident));
    EXPECT_EQ(std::bit_cast<std::uint32_t>(copy.getData()[5]),
              std::bit_cast<std::uint32_t>(6.0f) ^ 0x4C17B3u);
    copy.read(resident);
    resident.setBool("unencrypted", true);
    copy.read(resident);
    EXPECT_EQ(valuesOf(copy), valuesOf(sample));
    resident.setBool("resident", false);
    copy.read(resident);
    EXPECT_FALSE(copy.hasFlag(Sample::Resident));
    copy.unload();
    EXPECT_EQ(copy.getData(), nullptr);
}

// The fault it would catch: counts that lead past the buffer.
TEST(Sample, AStateWhoseAudioIsNotWhatItsCountsSayIsCorrupt) {
    const Values four = {1, 2, 3, 4};
    Dictionary broken = stateOf(1, 4, {});
    broken.setString("sampledata", "A/no base64");
    Dictionary empty = stateOf(1, 4, {});
    empty.addDict("sampledata");
    constexpr std::int32_t Most = std::numeric_limits<std::int32_t>::max();
    const Dictionary corrupt[] = {
        stateOf(1, 3, four),
        stateOf(1, 5, four),
        stateOf(2, 4, four),
        stateOf(0, 4, four),
        stateOf(-1, -4, four),
        stateOf(1, 0, four),
        stateOf(65536, 65536, {}),
        stateOf(Most, Most, four),
        stateOf(1, -1, {}),
        stateOf(-1, 1, {}),
        broken,
        empty,
    };
    for (Dictionary state : corrupt) {
        state.setInteger("SampleStart", 7);
        state.setBool("export", false);
        Sample sample;
        sample.read(stateOf(2, 2, four));
        EXPECT_THROW(sample.read(state), Exception::SampleDataCorrupt);
        EXPECT_EQ(sample.getStart(), 0);
        EXPECT_TRUE(sample.hasFlag(Sample::Export));
        EXPECT_EQ(sample.getFrames(), 0);
        EXPECT_EQ(sample.getData(), nullptr);
        EXPECT_EQ(sample.getChannels(), 2);
    }
    Sample sample;
    sample.read(stateOf(2, 2, four));
    sample.read(stateOf(1, 100'000'000, {}));  // counts alone end the audio that isn't theirs
    EXPECT_EQ(sample.getData(), nullptr);
    sample.applyParameters(processing(true, true, true));
    sample.mixToMono();
}

TEST(Sample, ProcessingTwiceRestoresAnySample) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        const auto frames = static_cast<std::int32_t>(seed % 40 + 1);
        const float level = seed == 0 ? 0.0f : std::ldexp(1.0f, static_cast<int>(seed % 60) - 40);
        const Values values = noise(static_cast<std::size_t>(frames), level, seed);
        Dictionary state = stateOf(1, frames, values);
        state.setInteger("SampleStart", static_cast<std::int32_t>(seed * 12'345'678));
        state.setInteger("SampleLoopEnd", std::numeric_limits<std::int32_t>::min());
        Sample sample;
        sample.read(state);
        const std::int32_t end = sample.getEnd();

        sample.applyParameters(processing(false, true, true));
        EXPECT_TRUE(sample.hasProcessing());
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_EQ(sample.getData()[i], -values[values.size() - 1 - i]);
        EXPECT_EQ(sample.getData()[frames], sample.getData()[0]);
        EXPECT_EQ(sample.getStart(), frames - end - 1);
        sample.applyParameters(processing(false, true, true));
        sample.applyParameters(Dictionary());
        EXPECT_EQ(valuesOf(sample), values);
        EXPECT_EQ(sample.getStart(), static_cast<std::int32_t>(seed * 12'345'678));
        EXPECT_EQ(sample.getLoopEnd(), std::numeric_limits<std::int32_t>::min());

        sample.applyParameters(processing(true, false, false));
        float peak = 0.0f;
        for (const float value : valuesOf(sample))
            peak = std::max(peak, std::fabs(value));
        EXPECT_NEAR(peak, level > 0.0f ? 1.0f : 0.0f, 1e-6f);
        sample.applyParameters(processing(false, false, false));
        EXPECT_FALSE(sample.hasProcessing());
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_NEAR(sample.getData()[i], values[i], level * 1e-6f);
    }
}

TEST(Sample, ChannelsAreMixedByLayout) {
    Sample planar;
    planar.read(stateOf(3, 2, {3, 6, 9, 12, 15, 18}));
    planar.applyParameters(processing(true, false, false));  // as many values as frames
    EXPECT_EQ(valuesOf(planar), (Values{3 / 18.0f, 6 / 18.0f, 9, 12, 15, 18}));
    planar.applyParameters(processing(false, false, false));
    planar.mixToMono();
    EXPECT_EQ(valuesOf(planar), (Values{9, 12}));
    EXPECT_EQ(planar.getData()[2], 9.0f);

    struct InterleavedSample : Sample {
        InterleavedSample() { layout_ = Interleaved; }
    } interleaved;
    interleaved.read(stateOf(3, 2, {3, 6, 9, 12, 15, 18}));
    interleaved.mixToMono();
    EXPECT_EQ(valuesOf(interleaved), (Values{6, 15}));
}

TEST(SampleRegion, TravelsInADictionary) {
    Dictionary state;
    SampleRegion{"", 3, 8}.write(state);
    SampleRegion region;
    region.read(state);
    EXPECT_EQ(region, (SampleRegion{"", 3, 8}));
    EXPECT_NE(state.getEntry(0, "end"), nullptr);
}

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
    EXPECT_THAT(regionsWith(nullptr), testing::ElementsAre(SampleRegion{{}, 0, 98}));
    EXPECT_THAT(regionsWith("Pos=\nname=Pos=3\npos=5\nPos=-4\nPos=99999999999\n"),
                testing::IsEmpty());
    EXPECT_THAT(regionsWith("[1]\r\nPos=10\r\nPos= 20 x\nPos=70"),
                testing::ElementsAre(SampleRegion{{}, 10, 19}, SampleRegion{{}, 20, 69},
                                     SampleRegion{{}, 70, 98}));
    EXPECT_EQ(Sample::create(file, true)->getLoopStart(), 10);
    EXPECT_EQ(Sample::create(file, false)->getData(), nullptr);
    EXPECT_FALSE(Sample::create(File(folder.path("other.wav")), true));
    EXPECT_FALSE(Sample::create(File(folder.path("none.wav")), true));
    EXPECT_FALSE(Sample::create(File(folder.path("tone.mrk")), true));
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
        note.key = key;
        note.velocity = velocity;
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
    EXPECT_EQ(manager.getVelocityRange("a"), (Range<std::int16_t>{0, 10}));
    EXPECT_EQ(manager.getKeyRange("c"), (Range<std::int16_t>{0, 0}));
    EXPECT_EQ(manager.getMapping("b")->value, 7);
}

TEST(Tuning, TravelsInADictionary) {
    Tuning equal;
    equal.setEqualTemperament();
    ASSERT_EQ(equal.getFactors().size(), 12u);
    EXPECT_EQ(equal.getFactors()[11], 2.0);
    EXPECT_NEAR(equal.getFactors()[6], 1.4983, 0.00005);
    Dictionary state;
    equal.write(state);
    Tuning read;
    Dictionary bells;
    bells.setString("description", "Bells");
    bells.setInteger("anchor", 9);
    bells.setString("frequency", "55.5");
    bells.setFloat("factor", 1.5f);
    read.read(bells);
    EXPECT_FALSE(read == equal);
    EXPECT_EQ(read.getFrequency(), 55.5);
    EXPECT_EQ(read.getFactors(), std::vector<double>{1.5});
    read.read(Dictionary());
    EXPECT_EQ(read.getAnchor(), 9);
    EXPECT_TRUE(read.getFactors().empty());
    read.read(state);
    EXPECT_TRUE(read == equal);
    EXPECT_EQ(read.getFactors(), equal.getFactors());
    EXPECT_EQ(read.getFrequency(), 6.875);
}

}  // namespace
}  // namespace tarn
