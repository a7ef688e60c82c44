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

// A file of which there is the header alone.
struct Promised {
    std::string header;
    sf_count_t size;
    sf_count_t position = 0;
};

// The fault it would catch: a size that is cut to 32 bits, or RF64 where it isn't needed.
TEST(Recording, OthersReadTheHeaderBeyondFourGigabytesAsRF64) {
    SF_VIRTUAL_IO io{
        [](void* file) { return static_cast<Promised*>(file)->size; },
        [](sf_count_t offset, int whence, void* file) {
            auto& [header, size, position] = *static_cast<Promised*>(file);
            const sf_count_t origin = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position : size;
            return position = origin + offset;
        },
        [](void* to, sf_count_t count, void* file) {
            auto& [header, size, position] = *static_cast<Promised*>(file);
            const auto from = std::min(static_cast<std::size_t>(position), header.size());
            count = static_cast<sf_count_t>(
                header.copy(static_cast<char*>(to), static_cast<std::size_t>(count), from));
            position += count;
            return count;
        },
        nullptr,
        [](void* file) { return static_cast<Promised*>(file)->position; },
    };
    const std::uint64_t lastRiff = (0xFFFFFFFFull - (WavHeaderBytes - 8)) / 4;
    for (const std::uint64_t samples :
         {std::uint64_t{21'000}, lastRiff, lastRiff + 1, std::uint64_t{5'000'000'000}}) {
        const auto header = wavHeader(44100, samples);
        Promised promised{{header.begin(), header.end()},
                          static_cast<sf_count_t>(WavHeaderBytes + 4 * samples)};
        EXPECT_EQ(promised.header.substr(0, 4), samples > lastRiff ? "RF64" : "RIFF");
        SndfileHandle file(io, &promised);
        EXPECT_EQ(file.frames(), static_cast<sf_count_t>(samples));
        EXPECT_EQ(file.samplerate(), 44100);
        EXPECT_EQ(file.channels(), 1);
        EXPECT_EQ(file.format() & SF_FORMAT_SUBMASK, SF_FORMAT_FLOAT);
    }
}

}  // namespace
}  // namespace tarn::receive
