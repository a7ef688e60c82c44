#include "foundation/File.h"
#include "platform/Dialogs.h"
#include "platform/FileSystem.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <filesystem>

using namespace tarn;
using namespace std::string_literals;
using test::ScratchFolder;
using testing::ElementsAre;

TEST(File, CutsPathsAtEitherSeparatorAndKeepsDrivesAndShares) {
    // The path, and with slashes alone what becomes of it, its folder, that one's parent, its name,
    // stem and extension.
    using Case = std::array<const char*, 7>;
    std::vector<Case> cases = {
        {"a/b\\c.tar.gz", "a/b/c.tar.gz", "a/b", "a", "c.tar.gz", "c.tar", "gz"},
        {"../山田/", "../山田/", "../山田", "..", "", "", ""},
    };
    if (platform::pathVolume("C:").empty())
        cases.push_back({"//a///b", "/a/b", "/a", "/", "b", "b", ""});
    else
        cases.insert(cases.end(), {Case{"C:\\a\\b.c", "C:/a/b.c", "C:/a", "C:/", "b.c", "b", "c"},
                                   Case{"//server/share/a/b", "//server/share/a/b",
                                        "//server/share/a", "//server/share/", "b", "b", ""}});
    for (const Case& c : cases) {
        const File file(c[0]);
        const Folder folder = file.getFolder();
        std::string cut[] = {file.getPath(), folder.getPath(), folder.getParent().getPath()};
        for (std::string& path : cut)
            std::replace(path.begin(), path.end(), platform::PathSeparator, '/');
        EXPECT_THAT(c, ElementsAre(c[0], cut[0], cut[1], cut[2], file.getName(), file.getStem(),
                                   file.getExtension()));
    }
}

// Fault: a loader that works on what an earlier owner left in memory.
TEST(File, ReadsValuesAndLeavesNothingUnsetWhereTheyEnd) {
    const ScratchFolder scratch;
    scratch.write("data", "Ccnk\1\2\3\4\5\6\7"s + std::string(9000, 'x') + "text\0ab"s);
    File file(scratch.path("data"));
    std::array<char, 4> buffer{'?', '?', '?', '?'};
    EXPECT_FALSE(file.read(buffer.data(), 1, 4));
    EXPECT_TRUE(file.open(true) && file.matchesString("Ccnk"));
    std::uint32_t word = 0;
    std::uint16_t half = 0;
    std::uint8_t byte = 0;
    EXPECT_TRUE(file.read32(word) && word == 0x04030201);
    EXPECT_TRUE(file.read16(half) && half == 0x0605 && file.read8(byte) && byte == 0x07);
    EXPECT_TRUE(file.skipBytes(0, 9000) && file.readString() == "text");
    EXPECT_TRUE(file.read(buffer.data(), 2, 2));
    EXPECT_THAT(buffer, ElementsAre('a', 'b', '\0', '\0'));
    EXPECT_FALSE(file.read(buffer.data(), 1, 1));
    EXPECT_TRUE(file.openRead() && file.seek(file.getSize() - 2) && file.readString() == "ab");
    EXPECT_FALSE(file.openRead() && file.read(buffer.data(), SIZE_MAX / 2, 4));
}

// Fault: a preset that is lost because saving the new one failed half-way.
TEST(File, SavesWholeOrNotAtAll) {
    const ScratchFolder scratch;
    const File preset(scratch.path("プリセット.xml"));
    EXPECT_TRUE(preset.save(std::string(100'000, 'x')) && preset.save("last"));
    EXPECT_EQ(scratch.read("プリセット.xml"), "last");
    scratch.write("taken/inside", "");
    EXPECT_FALSE(File(scratch.path("taken")).save("x") || File(scratch.path("no/x")).save("x"));

    // While someone reads it, Windows refuses and Linux doesn't; nobody ever sees a mixture.
    File reader(preset);
    ASSERT_TRUE(reader.openRead());
    const bool saved = preset.save("newer");
    EXPECT_TRUE(reader.matchesString("last"));
    EXPECT_EQ(scratch.read("プリセット.xml"), saved ? "newer" : "last");
    EXPECT_EQ(scratch.entries(), 2);

    reader.close();
    const std::filesystem::path path = std::filesystem::u8path(preset.getPath());
    std::filesystem::permissions(path, std::filesystem::perms(0444));
    EXPECT_FALSE(preset.save("over a protected file"));
    std::filesystem::permissions(path, std::filesystem::perms(0666));  // or it stays on Windows
}

// Fault: a file that is overwritten unasked.
TEST(File, IsOverwrittenOnlyWhenTheUserAgrees) {
    using namespace platform;
    const ScratchFolder scratch;
    scratch.write("old.xml", "");
    const std::string old = scratch.path("old.xml"), fresh = scratch.path("new.xml");
    std::string choice = old;
    MessageAnswer answer = MessageAnswer::No;  // and then he cancels
    int questions = 0;
    setDialogAnswers({[&](const MessageRequest&) {
                          ++questions;
                          return std::exchange(answer, MessageAnswer::Cancel);
                      },
                      [&](const FileRequest&) { return FileAnswer{choice}; }});
    File file(fresh);
    EXPECT_FALSE(file.browseSave({}) || file.getPath() != fresh);
    answer = MessageAnswer::Yes;
    EXPECT_TRUE(file.browseSave({}) && file.getPath() == old);
    choice = fresh;  // which isn't there
    EXPECT_TRUE(file.browseSave({}) && file.getPath() == fresh);
    EXPECT_EQ(questions, 3);
    setDialogAnswers({});
}
