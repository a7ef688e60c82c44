#include "foundation/File.h"
#include "samples/Pack.h"
#include "samples/WaveBytes.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarn {
namespace {

using namespace test;

std::string wave(char level) {
    return waveFile(formatChunk(1, 8) + chunk("data", std::string(10, level)));
}

std::vector<std::string> namesIn(const std::string& bytes) {
    ByteStream stream(bytes.data(), bytes.size());
    std::vector<std::string> names;
    for (const PackEntry& entry : readPack(stream, nullptr)) {
        EXPECT_EQ(entry.sample->getFrames(), 10);
        names.push_back(entry.name);
    }
    return names;
}

// The faults it would catch: a broken entry that takes others with it, a body from beyond the end.
TEST(Pack, HoldsTheFilesThatLoad) {
    const ScratchFolder folder;
    const File file(folder.path("a.pack"));
    ASSERT_TRUE(writePack(file, {{"kick", wave('a')}, {"bad", "RIFF"}, {"snare", wave('b')}}));
    Radio owner(nullptr);
    const std::vector<PackEntry> entries = readPack(file, &owner);
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[1].name, "snare");
    EXPECT_EQ(entries[1].sample->getParent(), &owner);
    EXPECT_EQ(entries[1].sample->getData()[0], ('b' - 128) / 128.0f);

    const std::string whole = folder.read("a.pack");
    EXPECT_EQ(whole.substr(0, 16), std::string("Quorl.pack\0kick\0", 16));
    const std::size_t first = 16 + 4 + wave('a').size();
    const std::size_t second = whole.size() - 1;
    for (std::size_t size = 0; size <= whole.size(); ++size)
        EXPECT_EQ(namesIn(whole.substr(0, size)).size(), (size >= first) + (size >= second))
            << size;
    std::string other = whole;
    other[10] = 'x';
    EXPECT_THAT(namesIn(other), testing::ElementsAre("kick", "snare"));
    other[9] = 'x';
    EXPECT_THAT(namesIn(other), testing::IsEmpty());
    const std::string lying =
        whole.substr(0, first) + "no body" + std::string("\0\xff\xff\xff\xff", 5);
    EXPECT_THAT(namesIn(lying), testing::ElementsAre("kick"));
    EXPECT_THAT(readPack(File(folder.path("none.pack")), nullptr), testing::IsEmpty());
    EXPECT_FALSE(writePack(file, {{"", wave('a')}}));
    EXPECT_EQ(folder.read("a.pack"), whole);
}

}  // namespace
}  // namespace tarn
