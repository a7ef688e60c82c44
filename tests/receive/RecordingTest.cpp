#include "Listing.h"
#include "Recording.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cstring>
#include <vector>

namespace tarn::receive {
namespace {

namespace fs = std::filesystem;

fs::path pathOf(const std::string& utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

std::vector<char> bytesOf(const std::string& path) {
    std::ifstream file(pathOf(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// libsndfile over bytes in memory, whose last ones may be only promised.
struct Memory {
    std::vector<char> bytes;
    sf_count_t size;
    sf_count_t position = 0;
};

SF_INFO read(Memory memory, std::vector<float>* samples) {
    SF_VIRTUAL_IO io{
        [](void* m) { return static_cast<Memory*>(m)->size; },
        [](sf_count_t offset, int whence, void* m) {
            auto& self = *static_cast<Memory*>(m);
            return self.position = offset + (whence == SEEK_SET   ? 0
                                             : whence == SEEK_CUR ? self.position
                                                                  : self.size);
        },
        [](void* to, sf_count_t count, void* m) {
            auto& self = *static_cast<Memory*>(m);
            const auto left = static_cast<sf_count_t>(self.bytes.size()) - self.position;
            count = std::max<sf_count_t>(std::min(count, left), 0);
            std::memcpy(to, self.bytes.data() + self.position, static_cast<std::size_t>(count));
            self.position += count;
            return count;
        },
        nullptr,
        [](void* m) { return static_cast<Memory*>(m)->position; },
    };
    SF_INFO info{};
    SNDFILE* file = sf_open_virtual(&io, SFM_READ, &info, &memory);
    EXPECT_NE(file, nullptr) << sf_strerror(nullptr);
    if (file != nullptr && samples != nullptr) {
        samples->resize(static_cast<std::size_t>(info.frames));
        samples->resize(
            static_cast<std::size_t>(sf_readf_float(file, samples->data(), info.frames)));
    }
    sf_close(file);
    return info;
}

class RecordingTest : public testing::Test {
protected:
    RecordingTest() { fs::create_directories(pathOf(folder_)); }
    ~RecordingTest() override { fs::remove_all(pathOf(folder_)); }

    const std::string folder_ =
        "Zo\u00eb \u5c71\u7530 " +
        std::string(testing::UnitTest::GetInstance()->current_test_info()->name());
};

// The fault it would catch: a recording whose header is right only after it was closed.
TEST_F(RecordingTest, TheFileIsWholeAfterEveryAppend) {
    const std::string path = folder_ + "/take \u00fc.wav";
    Recording recording(path, 44100, false);
    ASSERT_EQ(recording.error(), "");
    std::vector<float> all;
    for (std::size_t part : {0u, 1u, 999u, 20'000u}) {
        std::vector<float> samples(part);
        for (std::size_t i = 0; i < part; ++i)
            samples[i] = static_cast<float>(all.size() + i) / 3.0f;
        all.insert(all.end(), samples.begin(), samples.end());
        ASSERT_TRUE(recording.append(samples));
        const auto bytes = bytesOf(path);
        std::vector<float> back;
        const SF_INFO info = read({bytes, static_cast<sf_count_t>(bytes.size())}, &back);
        EXPECT_EQ(info.samplerate, 44100);
        EXPECT_EQ(info.channels, 1);
        EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
        EXPECT_EQ(back, all);
    }
    EXPECT_EQ(Recording(path, 44100, false).error(), path + " is there already");
    EXPECT_EQ(recording.samples(), 21'000u);
    EXPECT_EQ(Recording(path, 44100, true).error(), "");
    EXPECT_NE(Recording(folder_ + "/no folder/x.wav", 44100, true).error(), "");
}

TEST_F(RecordingTest, BeyondFourGigabytesItIsRF64) {
    const std::uint64_t lastRiff = (0xFFFFFFFFull - (WavHeaderBytes - 8)) / 4;
    for (const std::uint64_t samples : {lastRiff, lastRiff + 1, std::uint64_t{5'000'000'000}}) {
        const auto header = wavHeader(48000, samples);
        EXPECT_EQ(std::string(header.data(), 4), samples > lastRiff ? "RF64" : "RIFF");
        const std::vector<char> bytes(header.begin(), header.end());
        const SF_INFO info =
            read({bytes, static_cast<sf_count_t>(WavHeaderBytes + 4 * samples)}, nullptr);
        EXPECT_EQ(info.frames, static_cast<sf_count_t>(samples));
    }
}

TEST(Listing, NamesCantSteerATerminal) {
    struct {
        const char* name;
        const char* shown;
    } const cases[] = {
        {"Zo\u00eb \u5c71\u7530", "Zo\u00eb \u5c71\u7530"},
        {"a\x1b[2Jb\n", "a?[2Jb?"},
        {"\xff\xc0\x80\xe2\x82", "?????"},
        {"\xed\xa0\x80\xc2\x9b", "????"},
    };
    for (const auto& each : cases)
        EXPECT_EQ(printable(each.name), each.shown);
}

TEST(Listing, SaysWhatAUserAsks) {
    const std::vector<ConnectionInfo> connections = {
        {0, ConnectionInUse | ConnectionFresh | ConnectionHasSlave, "guitar", 1000, 64},
        {4, ConnectionInUse, "bass", 0, 0},
    };
    EXPECT_EQ(listingText({}, 0), "There is no connection.\n");
    EXPECT_EQ(listingText(connections, 1002),
              "No.  Slot  Bits  Last write    Latency  State                    Name\n"
              "  1     0  UFS   2 s ago            64  sending, received        guitar\n"
              "  5     4  U--   never               0  silent so far            bass\n");
    EXPECT_NE(listingJson(connections, 1002).find("\"age\": 2.0"), std::string::npos);
    EXPECT_NE(listingJson(connections, 1002).find("\"age\": null"), std::string::npos);
}

}  // namespace
}  // namespace tarn::receive
