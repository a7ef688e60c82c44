#include "audio/Peak.h"
#include "foundation/File.h"
#include "samples/Sample.h"
#include "samples/WaveBytes.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>

#include <array>
#include <bit>
#include <limits>

namespace tarn {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::FloatNear;
using testing::Pointwise;
using Values = std::vector<float>;

constexpr std::int32_t Least = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t Most = std::numeric_limits<std::int32_t>::max();

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
    Dictionary state = stateOf(2, 3, values), written, without;
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
}

// Faults: a field that the copy loses, a buffer that two share.
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
    EXPECT_EQ(clone->getData()[4], 0.25f);
    process(*clone, {});
    EXPECT_EQ(valuesOf(*clone), values);
    EXPECT_EQ(numbersOf(*clone), numbers);
    EXPECT_EQ(clone->getRegions(), sample.getRegions());
}

// The fault it would catch: frame numbers from anywhere that lead a player out of the audio.
TEST(Sample, APlayerSeesOnlyFramesThatExist) {
    const SampleOf mono(stateOf(1, 4, {1, 2, 3, 4})), stereo(stateOf(2, 2, {1, 2, 3, 4}));
    const std::tuple<std::int32_t, std::int32_t, Values> runs[] = {
        {1, 2, {2, 3}}, {Least, Most, {1, 2, 3, 4}}, {4, Most, {}}, {Most, Least, {}}};
    for (const auto& [first, last, values] : runs)
        EXPECT_THAT(mono.view(first, last), ElementsAreArray(values)) << first << " to " << last;
    EXPECT_TRUE(stereo.view(0, 1).empty());
}

// The fault it would catch: scrambled audio that is played, or that no second time brings back.
TEST(Sample, ResidentAudioIsScrambled) {
    SampleOf sample(stateOf(1, 3, {1, 2, 6}));
    for (const auto& [isPlain, last] :
         {std::pair(false, 0x40C00000 ^ 0x4C17B3), {false, 0x40C00000}, {true, 0x40C00000}}) {
        Dictionary state;
        state.setBool("resident", true);
        state.setBool("unencrypted", isPlain);
        sample.read(state);
        EXPECT_EQ(std::bit_cast<std::int32_t>(sample.getData()[2]), last);
    }
}

// The fault it would catch: counts that lead past the buffer.
TEST(Sample, AStateWhoseAudioIsNotWhatItsCountsSayIsCorrupt) {
    const Values four = {1, 2, 3, 4};
    Dictionary broken = stateOf(1, 4, {});
    broken.setString("sampledata", "A/no base64");
    for (Dictionary state :
         {stateOf(1, 3, four), stateOf(1, 5, four), stateOf(2, 4, four), stateOf(0, 4, four),
          stateOf(-1, -4, four), stateOf(1, 0, four), stateOf(65536, 65536, {}),
          stateOf(Most, Most, four), stateOf(1, -1, {}), broken}) {
        state.setInteger("SampleStart", 7);
        SampleOf sample(stateOf(2, 2, four));
        EXPECT_THROW(sample.read(state), Exception::SampleDataCorrupt);
        EXPECT_TRUE(!sample.hasData() && sample.getFrames() == 0 && sample.getStart() == 0);
    }
    SampleOf sample(stateOf(2, 2, four));
    sample.read(stateOf(1, 100'000'000, {}));  // counts alone end the audio that isn't theirs
    EXPECT_TRUE(!sample.hasData() && sample.getFrames() == 0);
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
    planar.mixToMono();
    EXPECT_EQ(valuesOf(planar), (Values{9, 12}));
    EXPECT_EQ(planar.getData()[2], 9.0f);
    interleaved.mixToMono();
    EXPECT_EQ(valuesOf(interleaved), (Values{6, 15}));
}

// Faults: a line that is no marker, a place beyond the audio, a loop apart from its regions, cues
// of the file that are lost.
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
    EXPECT_EQ(regionsAndLoop(cues + loop, "[1]\r\nPos=10\r\n" + std::string(300, 'x') +
                                              "Pos=7\nPos= 20 x\nPos=2000000000"),
              (Regions{{{}, 10, 19}, {{}, 20, 98}, {{}, 99, 98}, {"loop", 10, 98}}));
    EXPECT_FALSE(Sample::create(File(folder.path("none.wav")), true));
}

}  // namespace
}  // namespace tarn
