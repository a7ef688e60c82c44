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
#include <vector>

namespace tarn {
namespace {

using test::ScratchFolder;

constexpr int Frames = 1001;

// The values are those that libsndfile reads, within one step of the format.
TEST(OtherPrograms, TheirFilesLoadWithTheSameValues) {
    const ScratchFolder folder;
    const std::string path = folder.path("sox.wav");
    for (const auto& [bits, encoding] : {std::pair(8, "unsigned-integer"),
                                         {16, "signed-integer"},
                                         {24, "signed-integer"},
                                         {32, "floating-point"}})
        for (int channels = 1; channels <= 6; ++channels) {
            const std::string command = "sox -R -r 22050 -n -c " + std::to_string(channels) +
                                        " -e " + encoding + " -b " + std::to_string(bits) + " '" +
                                        path + "' synth 1001s noise gain -3";
            ASSERT_EQ(std::system(command.c_str()), 0) << command;  // NOLINT(concurrency-mt-unsafe)
            SampleWav sample;
            ASSERT_TRUE(sample.load(File(path), true).isOk()) << command;
            SndfileHandle file(path);
            ASSERT_EQ(sample.getFrames(), file.frames());
            ASSERT_EQ(sample.getSampleRate(), 22050);
            std::vector<double> values(static_cast<std::size_t>(channels * Frames));
            file.readf(values.data(), Frames);
            const double step = bits == 32 ? 1e-7 : std::ldexp(2.0, -bits);
            for (int i = 0; i < Frames; ++i) {
                const auto frame = values.begin() + i * channels;
                const double mean = std::accumulate(frame, frame + channels, 0.0) / channels;
                ASSERT_NEAR(sample.getData()[i], mean, step) << command << ", " << i;
            }
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
        cues.cue_count = 1;
        cues.cue_points[0] = {1, 0, 0x61746164, 0, 0, 100, "one"};
        file.command(SFC_SET_CUE, &cues, sizeof cues);
        file.setString(SF_STR_TITLE, "a title");
        file.writef(std::vector<float>(Frames, 0.5f).data(), Frames);
    }
    SampleWav sample;
    ASSERT_TRUE(sample.load(File(path), true).isOk());
    EXPECT_EQ(sample.getData()[Frames - 1], 0.5f);
    EXPECT_EQ(sample.getRootNote(), 52);
    EXPECT_EQ(sample.getLoopStart(), 200);
    EXPECT_EQ(sample.getLoopEnd(), 899);  // counted up to by the library, included by the file
    EXPECT_EQ(sample.getRegions(), (std::vector<SampleRegion>{{{}, 100, Frames - 1}}));
}

}  // namespace
}  // namespace tarn
