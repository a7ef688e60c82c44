#include "foundation/File.h"
#include "foundation/LogFolder.h"
#include "samples/Pack.h"
#include "samples/WaveBytes.h"
#include "support/AllocationCount.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>

namespace tarn {
namespace {

using namespace test;
using namespace testing;

std::string wave(char level) {
    return byteWave(std::string(10, level));
}

std::vector<std::string> namesIn(const std::string& bytes) {
    ByteStream stream(bytes.data(), bytes.size());
    std::vector<std::string> names;
    for (const PackEntry& entry : readPack(stream, nullptr))
        names.push_back(entry.sample->getFrames() == 10 ? entry.name : "broken");
    return names;
}

// Faults: a broken entry that takes others with it, a body from beyond the end, a name that forges
// a line of the log, memory that is short.
TEST(Pack, HoldsTheFilesThatLoad) {
    using Names = std::vector<std::string>;
    const ScratchFolder folder;
    const File file(folder.path("a.pack"));
    ASSERT_TRUE(writePack(file, {{"kick", wave('a')}, {"bad", "RIFF"}, {"snare", wave('b')}}));
    const std::string whole = folder.read("a.pack");
    EXPECT_EQ(whole.substr(0, 16), std::string("Quorl.pack\0kick\0", 16));
    for (const std::string& name : {std::string(), std::string("a\0b", 3)})
        EXPECT_FALSE(writePack(file, {{name, wave('a')}}));
    const std::vector<PackedFile> large = {{"l", std::string(200'000, 'l')}};
    EXPECT_FALSE((AllocationLimit(100'000), writePack(file, large)));
    EXPECT_EQ(folder.read("a.pack"), whole);

    Radio owner(nullptr);
    const std::vector<PackEntry> entries = readPack(file, &owner);
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[1].sample->getParent(), &owner);
    EXPECT_EQ(entries[1].sample->getData()[0], ('b' - 128) / 128.0f);
    EXPECT_TRUE(readPack(File(folder.path("none.pack")), nullptr).empty());

    const std::size_t first = 16 + 4 + wave('a').size();
    EXPECT_EQ(namesIn(whole.substr(0, whole.size() - 2)), Names{"kick"});
    EXPECT_EQ(namesIn(std::string(whole).replace(10, 1, "x")), Names({"kick", "snare"}));
    EXPECT_EQ(namesIn(std::string(whole).replace(9, 1, "x")), Names());
    const std::string lying = std::string("no body\0\xff\xff\xff\xff", 12);
    EXPECT_EQ(namesIn(whole.substr(0, first) + lying), Names{"kick"});

    ASSERT_TRUE(writePack(file, {large[0], {"a\r\n!\x1b\xff", wave('a')}}));
    const std::string pack = folder.read("a.pack");
    LogFolder log;
    log.open(LogDetail);
    const AllocationLimit limit(100'000);
    EXPECT_EQ(namesIn(pack), Names{"a\r\n!\x1b\xff"});
    EXPECT_THAT(log.lines(), Contains(HasSubstr("a\?\?!\?\? (54 bytes)")));
}

}  // namespace
}  // namespace tarn
