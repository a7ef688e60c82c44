#include "host/AudioFile.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstring>
#include <limits>

namespace tarn::host {
namespace {

// What the file's format could change: infinities, payloads of NaN, denormals, names, lengths.
TEST(AudioFile, FloatsComeBackBitForBitUnderAnyName) {
    const test::ScratchFolder folder;
    const std::string path = folder.path("mö日.wav");
    const std::vector<float> left = {0.1f, std::numeric_limits<float>::infinity(), 1e-42f, 0, 0},
                             right = {-0.0f, 3.5f, std::bit_cast<float>(0x7fc12345), 0, 0};
    AudioWriter writer(path, 2, 96000.0);
    writer.write(std::array{std::span(left).first(3), std::span(right).first(3)});
    writer.finish();

    AudioReader reader(path);
    EXPECT_TRUE(reader.rate() == 96000.0 && reader.frames() == 3);
    Channels read(3);
    reader.read(read, 5);
    for (const auto& [channel, expected] : {std::pair(0, left), {1, right}, {2, right}})
        EXPECT_EQ(std::memcmp(read[channel].data(), expected.data(), 20), 0) << channel;
}

}  // namespace
}  // namespace tarn::host
