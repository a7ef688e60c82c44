#include "Recording.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <numeric>
#include <sndfile.hh>
#include <vector>

namespace tarn::receive {
namespace {

// The fault it would catch: a recording whose header is right only after it was closed.
TEST(Recording, TheFileIsWholeAfterEveryAppend) {
    const test::ScratchFolder folder;
    const std::string path = folder.path("take \u00fc.wav");
    Recording recording(path, 44100, false);
    std::vector<float> all;
    for (const std::size_t part : {0u, 1u, 999u, 20'000u}) {
        std::vector<float> samples(part);
        std::iota(samples.begin(), samples.end(), static_cast<float>(all.size()) / 3.0f);
        all.insert(all.end(), samples.begin(), samples.end());
        ASSERT_TRUE(recording.append(samples)) << recording.error();
        const auto header = wavHeader(44100, all.size());
        std::string whole(header.begin(), header.end());
        whole.append(reinterpret_cast<const char*>(all.data()), all.size() * sizeof(float));
        EXPECT_TRUE(folder.read("take \u00fc.wav") == whole) << part;
    }
    EXPECT_EQ(Recording(path, 44100, false).error(), path + " is there already; -f replaces it");
    EXPECT_EQ(Recording(path, 44100, true).error(), "");
    EXPECT_NE(Recording(folder.path("no folder/x.wav"), 44100, true).error(), "");
}

// The fault it would catch: a size that is cut to 32 bits, or RF64 where it isn't needed.
TEST(Recording, OthersReadTheHeaderBeyondFourGigabytesAsRF64) {
    const test::ScratchFolder folder("tarn ");
    const std::string path = folder.path("long.wav");
    const std::uint64_t lastRiff = (0xFFFFFFFFull - (WavHeaderBytes - 8)) / 4;
    for (const std::uint64_t samples : {lastRiff, lastRiff + 1}) {
        const auto header = wavHeader(44100, samples);
        std::ofstream stream(path, std::ios::binary);
        stream.write(header.data(), WavHeaderBytes);
        stream.seekp(static_cast<std::streamoff>(WavHeaderBytes + 4 * samples - 1)).put('\0');
        stream.close();
        EXPECT_EQ(std::string(header.data(), 4), samples > lastRiff ? "RF64" : "RIFF");
        const SndfileHandle file(path);
        EXPECT_EQ(file.frames(), static_cast<sf_count_t>(samples));
        EXPECT_EQ(std::tuple(file.samplerate(), file.channels()), std::tuple(44100, 1));
        EXPECT_EQ(file.format() & SF_FORMAT_SUBMASK, SF_FORMAT_FLOAT);
    }
}

}  // namespace
}  // namespace tarn::receive
