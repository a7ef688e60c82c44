#include "Recording.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <sndfile.hh>
#include <vector>

namespace tarn::receive {
namespace {

// A file in memory, the last of whose `size` bytes may be only promised.
struct Memory {
    std::string bytes;
    sf_count_t size;
    sf_count_t position = 0;
};

// As libsndfile reads it.
SndfileHandle opened(Memory& memory) {
    SF_VIRTUAL_IO io{
        [](void* m) { return static_cast<Memory*>(m)->size; },
        [](sf_count_t offset, int whence, void* m) {
            auto& [bytes, size, position] = *static_cast<Memory*>(m);
            const sf_count_t origin = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position : size;
            return position = origin + offset;
        },
        [](void* to, sf_count_t count, void* m) {
            auto& [bytes, size, position] = *static_cast<Memory*>(m);
            const auto from = std::min(static_cast<std::size_t>(position), bytes.size());
            const auto copied =
                bytes.copy(static_cast<char*>(to), static_cast<std::size_t>(count), from);
            position += static_cast<sf_count_t>(copied);
            return static_cast<sf_count_t>(copied);
        },
        nullptr,
        [](void* m) { return static_cast<Memory*>(m)->position; },
    };
    return SndfileHandle(io, &memory);
}

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
        const std::string bytes = folder.read("take \u00fc.wav");
        Memory memory{bytes, static_cast<sf_count_t>(bytes.size())};
        SndfileHandle file = opened(memory);
        EXPECT_EQ(file.samplerate(), 44100);
        EXPECT_EQ(file.channels(), 1);
        EXPECT_EQ(file.format(), SF_FORMAT_WAV | SF_FORMAT_FLOAT);
        std::vector<float> back(static_cast<std::size_t>(file.frames()));
        EXPECT_EQ(file.readf(back.data(), file.frames()), file.frames());
        EXPECT_EQ(back, all);
    }
    EXPECT_EQ(recording.samples(), 21'000u);
    EXPECT_EQ(Recording(path, 44100, false).error(), path + " is there already; -f replaces it");
    EXPECT_EQ(Recording(path, 44100, true).error(), "");
    EXPECT_NE(Recording(folder.path("no folder/x.wav"), 44100, true).error(), "");
}

// The fault it would catch: a size that is cut to 32 bits, or RF64 where it isn't needed.
TEST(Recording, BeyondFourGigabytesItIsRF64) {
    const std::uint64_t lastRiff = (0xFFFFFFFFull - (WavHeaderBytes - 8)) / 4;
    for (const std::uint64_t samples : {lastRiff, lastRiff + 1, std::uint64_t{5'000'000'000}}) {
        const auto header = wavHeader(48000, samples);
        Memory memory{{header.begin(), header.end()},
                      static_cast<sf_count_t>(WavHeaderBytes + 4 * samples)};
        EXPECT_EQ(memory.bytes.substr(0, 4), samples > lastRiff ? "RF64" : "RIFF");
        EXPECT_EQ(opened(memory).frames(), static_cast<sf_count_t>(samples));
    }
}

}  // namespace
}  // namespace tarn::receive
