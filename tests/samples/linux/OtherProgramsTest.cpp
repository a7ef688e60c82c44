// Files as programs that have nothing to do with ours write them.
#include "foundation/File.h"
#include "samples/SampleWav.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numeric>
#include <sndfile.hh>
#include <string>
#include <tuple>
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
    ASSERT_EQ(sample.getFrames(), 1001);
    ASSERT_EQ(file.frames(), 1001);
    ASSERT_EQ(sample.getBitDepth(), bits);
    ASSERT_EQ(sample.getSampleRate(), file.samplerate());
    const int channels = file.channels();
    std::vector<double> values(static_cast<std::size_t>(channels) * 1001);
    file.readf(values.data(), 1001);
    const double step = bits == 32 ? 1e-7 : std::ldexp(2.0, -bits);
    for (auto frame = values.begin(); frame != values.end(); frame += channels) {
        const double mean = std::accumulate(frame, frame + channels, 0.0) / channels;
        const auto index = (frame - values.begin()) / channels;
        ASSERT_NEAR(sample.getData()[index], mean, step) << index;
    }
}

TEST(OtherPrograms, TheirFilesLoadWithTheSameValues) {
    const ScratchFolder folder;
    const std::tuple<int, std::string, std::string> formats[] = {{8, "unsigned-integer", "pcmu8"},
                                                                 {16, "signed-integer", "pcm16"},
                                                                 {24, "signed-integer", "pcm24"},
                                                                 {32, "floating-point", "float32"}};
    const std::string made = folder.path("sox.wav"), converted = folder.path("converted.wav");
    for (const auto& [bits, sox, convert] : formats)
        for (int channels = 1; channels <= 6; ++channels) {
            run("sox -R -r 22050 -n -c " + std::to_string(channels) + " -e " + sox + " -b " +
                std::to_string(bits) + quoted(made) + "synth 1001s noise gain -3");
            expectAsLibrary(made, bits);
            run("sndfile-convert -" + convert + quoted(made) + quoted(converted) + ">/dev/null");
            expectAsLibrary(converted, bits);
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
    EXPECT_EQ(sample.getLoopEnd(), 899);  // counted up to by the library, included by the file
    const std::vector<SampleRegion> regions = {{{}, 100, 599}, {{}, 600, 1000}};
    EXPECT_EQ(sample.getRegions(), regions);
}

}  // namespace
}  // namespace tarn
