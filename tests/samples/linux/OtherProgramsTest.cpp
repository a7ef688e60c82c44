// Files as programs that have nothing to do with ours write them.
#include "foundation/File.h"
#include "samples/SampleWav.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <sndfile.hh>
#include <string>
#include <vector>

namespace tarn {
namespace {

using test::ScratchFolder;

void run(const std::string& command) {
    ASSERT_EQ(std::system(command.c_str()), 0) << command;  // NOLINT(concurrency-mt-unsafe)
}

std::string quoted(const std::string& path) {
    return " '" + path + "' ";
}

// The values are those that libsndfile reads, within one step of the format.
void expectAsLibrary(const std::string& path, int bits) {
    SCOPED_TRACE(path);
    SampleWav sample;
    ASSERT_TRUE(sample.load(File(path), true).isOk());
    SndfileHandle file(path);
    ASSERT_GT(file.frames(), 1000);
    ASSERT_EQ(sample.getFrames(), file.frames());
    ASSERT_EQ(sample.getBitDepth(), bits);
    ASSERT_EQ(sample.getSampleRate(), file.samplerate());
    const auto channels = static_cast<std::size_t>(file.channels());
    std::vector<double> values(channels * static_cast<std::size_t>(file.frames()));
    file.readf(values.data(), file.frames());
    const double step = bits == 32 ? 1e-7 : std::ldexp(2.0, -bits);
    for (std::size_t i = 0; i < values.size(); i += channels) {
        double mean = 0.0;
        for (std::size_t channel = 0; channel < channels; ++channel)
            mean += values[i + channel] / static_cast<double>(channels);
        ASSERT_NEAR(sample.getData()[i / channels], mean, step) << i;
    }
}

TEST(OtherPrograms, TheirFilesLoadWithTheSameValues) {
    const ScratchFolder folder;
    struct {
        int bits;
        const char *sox, *convert;
    } const formats[] = {{8, "unsigned-integer", "pcmu8"},
                         {16, "signed-integer", "pcm16"},
                         {24, "signed-integer", "pcm24"},
                         {32, "floating-point", "float32"}};
    for (const auto& format : formats)
        for (int channels = 1; channels <= 6; ++channels) {
            const std::string name = std::to_string(format.bits) + "-" + std::to_string(channels);
            const std::string made = folder.path("sox" + name + ".wav");
            const std::string converted = folder.path("converted" + name + ".wav");
            run("sox -R -r 22050 -n -c " + std::to_string(channels) + " -e " + format.sox + " -b " +
                std::to_string(format.bits) + quoted(made) + "synth 1001s noise gain -3");
            expectAsLibrary(made, format.bits);
            run("sndfile-convert -" + std::string(format.convert) + quoted(made) +
                quoted(converted) + ">/dev/null");
            expectAsLibrary(converted, format.bits);
        }
}

TEST(OtherPrograms, TheirLoopsCuesAndOddChunksAreUnderstood) {
    const ScratchFolder folder;
    const std::string path = folder.path("loop.wav");
    {
        SndfileHandle file(path, SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 1, 44100);
        SF_INSTRUMENT instrument{};
        instrument.basenote = 52;
        instrument.loop_count = 1;
        instrument.loops[0] = {SF_LOOP_FORWARD, 200, 900, 0};
        file.command(SFC_SET_INSTRUMENT, &instrument, sizeof instrument);
        SF_CUES cues{};
        cues.cue_count = 2;
        cues.cue_points[0] = {1, 0, 0x61746164, 0, 0, 100, "one"};
        cues.cue_points[1] = {2, 0, 0x61746164, 0, 0, 600, "two"};
        file.command(SFC_SET_CUE, &cues, sizeof cues);
        file.setString(SF_STR_TITLE, "a title");
        std::vector<float> ramp(1001);
        for (std::size_t i = 0; i < ramp.size(); ++i)
            ramp[i] = static_cast<float>(i) / 1001.0f;
        file.writef(ramp.data(), 1001);
    }
    expectAsLibrary(path, 8);
    SampleWav sample;
    ASSERT_TRUE(sample.load(File(path), true).isOk());
    EXPECT_EQ(sample.getRootNote(), 52);
    EXPECT_EQ(sample.getLoopStart(), 200);
    EXPECT_EQ(sample.getLoopEnd(), 899);  // the library counts up to the end, the file includes it
    const std::vector<SampleRegion> regions = {{{}, 100, 599}, {{}, 600, 1000}};
    EXPECT_EQ(sample.getRegions(), regions);
}

}  // namespace
}  // namespace tarn
