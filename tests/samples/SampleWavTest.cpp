#include "foundation/File.h"
#include "foundation/LogFolder.h"
#include "samples/Pack.h"
#include "samples/SampleWav.h"
#include "samples/WaveBytes.h"
#include "support/AllocationCount.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <random>
#include <sndfile.hh>

namespace tarn {
namespace {

using namespace test;
using namespace testing;

bool loads(SampleWav& sample, const std::string& bytes, bool readData = true) {
    ByteStream stream(bytes.data(), bytes.size());
    const Error error = sample.load(stream, readData);
    EXPECT_TRUE(error.isOk() || error.code == "EIFL") << error.code;
    return error.isOk();
}

using Playback = std::array<std::int32_t, 5>;
using Regions = std::vector<SampleRegion>;
constexpr std::int32_t Forward = Sample::ForwardLoop;

Playback playbackOf(const Sample& sample) {
    return {sample.getRootNote(), sample.getLoopMode(), sample.getLoopStart(), sample.getLoopEnd(),
            sample.getEnd()};
}

// Faults: a vector's remainder left out, bytes in the wrong order, a portion begun too early, a
// depth rounded down. The values are those that another program reads from its own files.
TEST(SampleWav, FilesOfAnotherProgramLoadAsItReadsThem) {
    const ScratchFolder folder("brimtide-test-");  // a path that the other program can open
    const std::string path = folder.path("a.wav");
    SF_INSTRUMENT instrument{};
    instrument.basenote = 52;
    instrument.loop_count = 1;
    instrument.loops[0] = {SF_LOOP_FORWARD, 2, 7, 0};
    SF_CUES cues{1, {{1, 0, 0x61746164, 0, 0, 3, "one"}}};
    std::minstd_rand random;
    for (const int bits : {1, 8, 9, 16, 17, 24, 32})
        for (const int channels : {1, 2, 3, 6})
            for (const int frames : {7, 8, 9, 70'003}) {
                const int format = (frames == 8 ? SF_FORMAT_WAV : SF_FORMAT_WAVEX) |
                                   (bits <= 8    ? SF_FORMAT_PCM_U8
                                    : bits <= 16 ? SF_FORMAT_PCM_16
                                    : bits <= 24 ? SF_FORMAT_PCM_24
                                                 : SF_FORMAT_FLOAT);
                std::vector<float> values(static_cast<std::size_t>(channels * frames));
                for (float& value : values)  // floats may be louder than anything else
                    value = std::ldexp(static_cast<float>(random()), bits == 32 ? 0 : -31);
                {
                    SndfileHandle file(path, SFM_WRITE, format, channels, 22050);
                    file.command(SFC_SET_INSTRUMENT, &instrument, sizeof instrument);
                    file.command(SFC_SET_CUE, &cues, sizeof cues);
                    file.writef(values.data(), frames);
                }
                SndfileHandle(path).readf(values.data(), frames);
                std::string bytes = folder.read("a.wav");
                bytes[34] = static_cast<char>(bits);
                SampleWav sample;
                ASSERT_TRUE(loads(sample, bytes)) << bits << ", " << channels;
                ASSERT_EQ(playbackOf(sample), (Playback{52, Forward, 2, 6, frames - 1}));
                ASSERT_EQ(sample.getRegions().at(0), (SampleRegion{{}, 3, frames - 1}));
                for (int i = 0; i < frames; ++i) {
                    float sum = 0.0f;
                    const float* const frame = values.data() + i * channels;
                    for (int channel = 0; channel < channels; ++channel)
                        sum += frame[channel] / static_cast<float>(channels);
                    ASSERT_EQ(sample.getData()[i], sum) << bits << ", " << channels << ", " << i;
                }
                ASSERT_EQ(sample.getData()[frames], sample.getData()[0]);
                ASSERT_EQ(sample.getStart(), 0);
            }
}

// Faults: a chunk that hides another one, swapped fields, a number that leads beyond the audio.
TEST(SampleWav, ChunksInAnyOrderTellNoteLoopAndRegions) {
    SampleWav sample;
    const auto playback = [&sample](const std::string& chunks) {
        EXPECT_TRUE(loads(sample, waveFile(chunks)));
        return playbackOf(sample);
    };
    const std::string segments = bytesOf(1u, 1u, 2u, 3u), instrument = "\1\2\3\4\5\6\7",
                      acid = bytesOf(1u, 0x3'003Eu, 4u, 5u, 0x7'0006u, 120.0f);
    const std::string rest = chunk("junk", "odd") + formatChunk(1, 8) + formatChunk(1, 8) +
                             cueChunk(bytesOf(5u, 50u, 4'000'000'000u)) + chunk("plst", segments) +
                             chunk("acid", acid) + chunk("inst", instrument) + chunk("strc", "?");
    const std::string audio = chunk("data", std::string(101, '\xC0'));
    const std::string loop = bytesOf(1u, 0u, 10u, 90u, 0u, 0u);
    EXPECT_THAT(playback(samplerChunk(61, 0x80000000, 1, loop) + audio + rest),
                ElementsAre(61, Forward, 10, 90, 100));
    EXPECT_EQ(sample.getDetuneCoarse(), 50);
    EXPECT_EQ(sample.getRegions(), (Regions{{{}, 5, 49}, {{}, 50, 99}, {{}, 100, 100}}));
    const auto& [cueId, length, repeats] = sample.getChunks().playlist.segments.at(0);
    EXPECT_EQ(bytesOf(1u, cueId, length, repeats), segments);
    const AcidChunk& a = sample.getChunks().acid;
    EXPECT_EQ(bytesOf(a.flags, a.rootNote, a.reserved1, a.reserved2, a.beats, a.meterDenominator,
                      a.meterNumerator, a.tempo),
              acid);
    const InstrumentChunk& i = sample.getChunks().instrument;
    EXPECT_EQ(bytesOf(i.unshiftedNote, i.fineTune, i.gain, i.lowNote, i.highNote, i.lowVelocity,
                      i.highVelocity),
              instrument);

    EXPECT_THAT(playback(audio + samplerChunk(128, 9, 0, "") + rest),
                ElementsAre(62, Sample::NoLoop, 50, 100, 100));
    const std::string beyond = bytesOf(1u, 0u, 500u, 0xFFFFFFFFu, 0u, 0u);
    EXPECT_THAT(playback(audio + samplerChunk(127, 0, 1, beyond) + formatChunk(1, 8)),
                ElementsAre(127, Forward, 100, 100, 100));

    ASSERT_TRUE(loads(sample, waveFile(rest + chunk("data", "a", 0xFFFFFFFE)), false));
    EXPECT_TRUE(!sample.hasData() && sample.getFrames() == 0);
    EXPECT_EQ(sample.getRegions().size(), 3u);
}

// Faults: good audio that is refused for what stands beside it, or for what its writer couldn't
// know.
TEST(SampleWav, LoadsWhateverAudioIsWhole) {
    const std::string front = formatChunk(2, 24), audio = chunk("data", std::string(60, 'a'));
    std::vector<std::string> good = {front + samplerChunk(61, 0, 2, std::string(24, 'l')) + audio,
                                     front + audio + chunk("cue ", bytesOf(3u), 60)};
    for (const std::string& broken :
         {chunk("inst", "abcdef"), chunk("acid", std::string(20, 'a')), chunk("labl", ""),
          chunk("note", "no"), chunk("cue ", ""), chunk("ltxt", ""), chunk("plst", bytesOf(1u)),
          cueChunk(std::string(200'000, 'c')),
          chunk("cue ", bytesOf(0xFFFFFFFFu) + std::string(48, 'c'))})
        good.push_back(front + broken + audio);
    for (const std::uint32_t unknown : {0x7FFFF000u, 0x7FFFFFFFu, 0xFFFFFFFFu})
        good.push_back(front + chunk("data", std::string(62, 'a'), unknown));
    LogFolder log;
    log.open(LogWarning);
    for (const std::string& chunks : good) {
        SampleWav sample;
        EXPECT_TRUE(loads(sample, waveFile(chunks))) << chunks.substr(24, 40);
        EXPECT_TRUE(sample.hasData() && sample.getFrames() == 10 && sample.getRegions().empty());
        EXPECT_EQ(sample.getRootNote(), 60);
    }
    EXPECT_EQ(log.lines().size(), 3u);  // of lengths that weren't known
}

// A file that is none leaves a sample without audio, and all else as it was.
TEST(SampleWav, BadFilesAreRefused) {
    const std::string good = formatChunk(2, 16);
    const std::string audio = chunk("data", std::string(40, 'a'));
    const std::string large = chunk("data", std::string(800'000, 'a'));
    std::vector<std::string> bad = {"", "RIFX" + waveFile(good + audio).substr(4),
                                    waveFile(good + audio).replace(8, 4, "AVI ")};
    for (const std::string& chunks :
         {good, good + chunk("data", ""), good + chunk("data", "abc"), good + large,
          good + chunk("data", audio, 0x7FFFEFFF), formatChunk(1, 32) + chunk("data", bytesOf(-5))})
        bad.push_back(waveFile(chunks));
    for (const std::string& format :
         {std::string(), chunk("fmt ", ""), chunk("fmt ", good.substr(8, 14)),
          good + formatChunk(1, 16), formatChunk(0, 16), formatChunk(65535, 16),
          formatChunk(2, 16, 0), formatChunk(2, 16, 5), formatChunk(2, 0), formatChunk(2, 40),
          formatChunk(2, 65535), formatChunk(2, 16, -1, 0), formatChunk(2, 16, -1, 0x80000000)})
        bad.push_back(waveFile(format + audio));
    const std::string before =
        waveFile(formatChunk(1, 8) + chunk("data", "abcd") + cueChunk(bytesOf(2u)));
    const AllocationLimit limit(700'000);  // too short for the large one's frames
    for (const std::string& bytes : bad) {
        SampleWav sample;
        ASSERT_TRUE(loads(sample, before));
        EXPECT_FALSE(loads(sample, bytes)) << (&bytes - bad.data());
        EXPECT_TRUE(!sample.hasData() && sample.getFrames() == 0);
        EXPECT_TRUE(sample.getBitDepth() == 8 && sample.getRegions().size() == 1);
        EXPECT_EQ(sample.getChunks().format.channels, 1);
    }
}

// Faults: a broken entry that takes others with it, a body from beyond the end, a name that forges
// a line of the log, memory that is short.
TEST(Pack, HoldsTheFilesThatLoad) {
    using Names = std::vector<std::string>;
    const auto wave = [](char level) { return byteWave(std::string(10, level)); };
    const auto namesIn = [](const std::string& bytes) {
        ByteStream stream(bytes.data(), bytes.size());
        Names names;
        for (const PackEntry& entry : readPack(stream, nullptr))
            names.push_back(entry.sample->getFrames() == 10 ? entry.name : "broken");
        return names;
    };
    const ScratchFolder folder;
    const File file(folder.path("a.pack"));
    ASSERT_TRUE(writePack(file, {{"kick", wave('a')}, {"bad", "RIFF"}, {"snare", wave('b')}}));
    const std::string whole = folder.read("a.pack");
    EXPECT_EQ(whole.substr(0, 16), std::string("Quorl.pack\0kick\0", 16));
    for (const std::string& name : {std::string(), std::string("a\0b", 3)})
        EXPECT_FALSE(writePack(file, {{name, wave('a')}}));
    const std::vector<PackedFile> large = {{"l", std::string(200'000, 'l')}};
    EXPECT_FALSE((AllocationLimit(100'000), writePack(file, large)));
    EXPECT_EQ(folder.read("a.pack"), whole);

    Radio owner(nullptr);
    const std::vector<PackEntry> entries = readPack(file, &owner);
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[1].sample->getParent(), &owner);
    EXPECT_EQ(entries[1].sample->getData()[0], ('b' - 128) / 128.0f);
    EXPECT_TRUE(readPack(File(folder.path("none.pack")), nullptr).empty());

    const std::size_t first = 16 + 4 + wave('a').size();
    EXPECT_EQ(namesIn(whole.substr(0, whole.size() - 1)), Names({"kick", "snare"}));
    EXPECT_EQ(namesIn(whole.substr(0, whole.size() - 2)), Names{"kick"});
    EXPECT_EQ(namesIn(std::string(whole).replace(10, 1, "x")), Names({"kick", "snare"}));
    EXPECT_EQ(namesIn(std::string(whole).replace(9, 1, "x")), Names());
    const std::string lying = std::string("no body\0\xff\xff\xff\xff", 12);
    EXPECT_EQ(namesIn(whole.substr(0, first) + lying), Names{"kick"});

    ASSERT_TRUE(writePack(file, {large[0], {"a\r\n!\x1b\xff", wave('a')}}));
    const std::string pack = folder.read("a.pack");
    LogFolder log;
    log.open(LogDetail);
    const AllocationLimit limit(100'000);
    EXPECT_EQ(namesIn(pack), Names{"a\r\n!\x1b\xff"});
    EXPECT_THAT(log.lines(), Contains(HasSubstr("a\?\?!\?\? (54 bytes)")));
}

}  // namespace
}  // namespace tarn
