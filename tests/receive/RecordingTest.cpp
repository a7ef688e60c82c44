#include "Recording.h"
#include "common/Text.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <numeric>
#include <sndfile.hh>

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
        EXPECT_TRUE(folder.read("take \u00fc.wav") ==
                    std::string(header.begin(), header.end())
                        .append(reinterpret_cast<const char*>(all.data()), all.size() * 4))
            << part;
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

// The fault it would catch: a sender's name that steers the user's terminal.
TEST(Text, NamesCantSteerATerminal) {
    const std::pair<const char*, const char*> cases[] = {
        {"Zo\u00eb \u5c71\u7530", "Zo\u00eb \u5c71\u7530"},
        {"a\x1b[2Jb\n", "a?[2Jb?"},
        {"\xff\xc0\x80\xe2\x82", "?????"},
        {"\xed\xa0\x80\xc2\x9b", "????"},
        {"\u202egnp.exe", "?gnp.exe"}};
    for (const auto& [name, shown] : cases)
        EXPECT_EQ(tools::printable(name), shown);
}

}  // namespace
}  // namespace tarn::receive
