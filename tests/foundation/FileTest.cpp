#include "foundation/File.h"
#include "foundation/Preferences.h"
#include "platform/Dialogs.h"
#include "platform/FileSystem.h"
#include "support/ScratchStore.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace tarn {
namespace {

using namespace std::string_literals;
using test::ScratchFolder;
using testing::_;
using testing::ElementsAre;

TEST(File, CutsPathsAtEitherSeparator) {
    const auto withSlashes = [](std::string path) {
        std::replace(path.begin(), path.end(), '\\', '/');
        return path;
    };
    // The path, what becomes of it, its folder, name, stem and extension.
    const std::array<const char*, 6> cases[] = {
        {"a/b\\c.tar.gz", "a/b/c.tar.gz", "a/b", "c.tar.gz", "c.tar", "gz"},
        {"a\\b/c", "a/b/c", "a/b", "c", "c", ""},
        {"//a///b", "/a/b", "/a", "b", "b", ""},
        {"/x.y", "/x.y", "/", "x.y", "x", "y"},
        {"name.", "name.", "", "name.", "name", ""},
        {"../山田/", "../山田/", "../山田", "", "", ""},
        {"", "", "", "", "", ""},
    };
    for (const auto& c : cases) {
        const File file(c[0]);
        if (platform::pathVolume(c[0]).empty()) {
            EXPECT_THAT(c, ElementsAre(_, withSlashes(file.getPath()),
                                       withSlashes(file.getFolder().getPath()), file.getName(),
                                       file.getStem(), file.getExtension()));
        }
    }

    File file("/Samples/Drums/a.b.wav");
    EXPECT_TRUE(file.isInFolder("/Samples") && file.isInFolder("\\Samples\\Drums\\"));
    EXPECT_FALSE(file.isInFolder("/Samples/Dru") || file.isInFolder(file.getPath()));
    file.setStem("c.d");
    file.setExtension("xml");
    EXPECT_EQ(file.getName(), "c.d.xml");
    file.setName("plain");
    file.setExtension("xml");
    EXPECT_EQ(file.getName(), "plain.xml");
}

TEST(File, ReadsValuesLiteralsAndTexts) {
    const ScratchFolder scratch;
    scratch.write("data",
                  "Ccnk\x01\x02\x03\x04\x05\x06\x07"s + std::string(9000, 'x') + "text\0tail"s);
    File file(scratch.path("data"));
    ASSERT_TRUE(file.openRead());
    EXPECT_EQ(file.getSize(), 9020);
    EXPECT_TRUE(file.matchesString("Ccnk"));
    std::uint32_t word = 0;
    std::uint16_t half = 0;
    std::uint8_t byte = 0;
    EXPECT_TRUE(file.read32(word) && file.read16(half) && file.read8(byte));
    EXPECT_THAT((std::array<std::uint32_t, 3>{word, half, byte}),
                ElementsAre(0x04030201, 0x0605, 0x07));
    EXPECT_TRUE(file.skipBytes(0, 9000));
    EXPECT_EQ(file.readString(), "text");
    EXPECT_EQ(file.readString(), "tail");
    EXPECT_FALSE(file.read8(byte));
}

// The fault it would catch: a loader that works on what an earlier owner left in memory.
TEST(File, ShortReadShowsAtTheNextCallAndLeavesNothingUnset) {
    const ScratchFolder scratch;
    scratch.write("short", "ab");
    File file(scratch.path("short"));
    std::array<char, 4> buffer{'?', '?', '?', '?'};
    EXPECT_FALSE(file.read(buffer.data(), 1, 4));
    EXPECT_EQ(file.getSize(), -1);

    ASSERT_TRUE(file.open(true));
    EXPECT_TRUE(file.read(buffer.data(), 2, 2));
    EXPECT_THAT(buffer, ElementsAre('a', 'b', '\0', '\0'));
    EXPECT_FALSE(file.read(buffer.data(), 1, 1));

    ASSERT_TRUE(file.openRead());
    EXPECT_FALSE(file.matches("ab\0\0", 4));
    ASSERT_TRUE(file.openRead());
    EXPECT_FALSE(file.read(buffer.data(), SIZE_MAX / 2, 4));
    EXPECT_TRUE(file.seek(-5));
    EXPECT_FALSE(file.read(buffer.data(), 1, 1));
}

TEST(File, MakesAndOpensWhatIsMissingOnlyForWriting) {
    const ScratchFolder scratch;
    File file(scratch.path("Zoë.bin"));
    EXPECT_FALSE(file.exists() || file.open(true) || file.openRead());
    EXPECT_EQ(file.getDiskSize() + file.getModificationTime(), 0);
    ASSERT_TRUE(file.open(false));
    *file.getStream() << "written";
    EXPECT_TRUE(file.seek(1) && file.matchesString("ritten"));
    const File copy = file;
    EXPECT_FALSE(copy.isOpen());
    file.close();
    EXPECT_EQ(scratch.read("Zoë.bin"), "written");
    EXPECT_EQ(copy.getDiskSize(), 7);
    EXPECT_FALSE(file.create());  // never over what is there
    EXPECT_FALSE(File(scratch.path()).exists());

    using namespace std::chrono;
    const std::string path = file.getPath();
    std::filesystem::last_write_time(std::u8string(path.begin(), path.end()),
                                     file_clock::from_sys(sys_seconds(1'000'000'000s)));
    EXPECT_EQ(file.getModificationTime(), 1'000'000'000);
}

TEST(File, TellsSizesInTheUnitThatFitsAndFindsAFreeNumber) {
    const ScratchFolder scratch;
    const std::pair<int, const char*> sizes[] = {{0, "0.000000 bytes"},
                                                 {1024, "1024.000000 bytes"},
                                                 {1025, "1.000977 KB"},
                                                 {1 << 20, "1024.000000 KB"},
                                                 {3 << 20, "3.000000 MB"}};
    File take(scratch.path("Take #.wav"));
    for (const auto& [bytes, text] : sizes) {
        take.setName("Take #.wav");
        take.makeUnique("#");
        scratch.write(take.getName(), std::string(bytes, 'x'));
        EXPECT_EQ(take.getSizeText(), text);
    }
    EXPECT_EQ(take.getName(), "Take 5.wav");
    scratch.write("my.song1.wav", "");
    File song(scratch.path("my.song.wav"));
    song.makeUnique("#");
    EXPECT_EQ(song.getName(), "my.song2.wav");
}

// The fault it would catch: a preset that is lost because saving the new one failed half-way.
TEST(File, SavesWholeOrNotAtAll) {
    const ScratchFolder scratch;
    const File preset(scratch.path("プリセット.xml"));
    EXPECT_TRUE(preset.save(std::string(100'000, 'x')));
    EXPECT_TRUE(preset.save("last"));
    EXPECT_EQ(scratch.read("プリセット.xml"), "last");

    scratch.write("taken/inside", "");
    EXPECT_FALSE(File(scratch.path("taken")).save("x"));
    EXPECT_FALSE(File(scratch.path("nowhere/x")).save("x"));

    // While someone reads it, Windows refuses and Linux doesn't; nobody ever sees a mixture.
    File reader(preset);
    ASSERT_TRUE(reader.openRead());
    const bool saved = preset.save("newer");
    EXPECT_TRUE(reader.matchesString("last"));
    EXPECT_EQ(scratch.read("プリセット.xml"), saved ? "newer" : "last");
    EXPECT_EQ(scratch.entries(), 2);
}

TEST(Folder, MakesListsAndComparesFolders) {
    const ScratchFolder scratch;
    const Folder root(scratch.path());
    Folder deep = root.join("Samples\\山田/Zoë");
    EXPECT_FALSE(deep.exists());
    EXPECT_TRUE(deep.create() && deep.exists() && deep.create());
    scratch.write("Samples/one.wav", "");
    EXPECT_FALSE(root.join("Samples/one.wav").create());

    std::vector<Folder> folders(3);
    std::vector<File> files(3);
    EXPECT_TRUE(root.join("Samples").listFolders(folders));
    ASSERT_EQ(folders.size(), 1u);
    EXPECT_TRUE(folders[0].equals(deep.getParent()));
    EXPECT_EQ(folders[0].getLeafName(), "山田");
    EXPECT_TRUE(folders[0].getParent().listFiles(files));
    ASSERT_EQ(files.size(), 1u);
    EXPECT_TRUE(files[0].exists());
    EXPECT_EQ(files[0].getName(), "one.wav");
    EXPECT_FALSE(root.join("nowhere").listFiles(files));
    EXPECT_TRUE(files.empty());
    EXPECT_FALSE(Folder().exists() || Folder().create());
    EXPECT_TRUE(Folder::current().exists());
    EXPECT_TRUE(Folder("/").getParent().equals(Folder("\\")));
    EXPECT_TRUE(root.join(deep).equals(deep));
}

TEST(File, IsChosenWhereOneWasLastOpenedAndOverwrittenOnlyWhenTheUserAgrees) {
    using enum platform::MessageAnswer;
    const test::ScratchStore store;
    Preferences user = store.openUser();
    Preferences::setStores(nullptr, &user);
    store.write("Bänke/old.xml", "");
    const std::string old = store.path("Bänke/old.xml");
    const std::string fresh = store.path("Bänke/new.xml");
    const std::string question = "'old.xml' already exists.  Overwrite?";
    const std::string folder = store.path("Bänke") + ": ";
    const struct {
        bool (File::*browse)(const FileDialog&);
        std::string proposal;
        std::vector<std::string> choices;
        std::vector<platform::MessageAnswer> answers;
        std::vector<std::string> dialogs;
        std::string result;
    } cases[] = {
        {&File::browseOpen, "default", {old}, {}, {": default *.xml;"}, old},
        {&File::browseOpen, "default", {""}, {}, {folder + "default *.xml;"}, "default"},
        {&File::browseSave,
         store.path("proposal"),
         {old, old},
         {No, Yes},
         {store.path() + ": proposal *.xml;", question, folder + "old.xml *.xml;", question},
         old},
        {&File::browseSave, fresh, {old}, {Cancel}, {folder + "new.xml *.xml;", question}, fresh},
        {&File::browseSave, old, {fresh}, {}, {folder + "old.xml *.xml;"}, fresh},
    };
    for (const auto& c : cases) {
        std::vector<std::string> dialogs;
        auto choice = c.choices.begin();
        auto answer = c.answers.begin();
        platform::setDialogAnswers({[&](const platform::MessageRequest& request) {
                                        dialogs.push_back(request.text);
                                        return *answer++;
                                    },
                                    [&](const platform::FileRequest& request) {
                                        dialogs.push_back(request.folder + ": " + request.name +
                                                          " " + request.wildcards);
                                        return platform::FileAnswer{*choice++};
                                    }});
        File file(c.proposal);
        EXPECT_EQ((file.*c.browse)({"Load", "", "Brimtide Banks", "*.xml;"}),
                  c.result != c.proposal);
        EXPECT_EQ(file.getPath(), c.result);
        EXPECT_EQ(dialogs, c.dialogs);
    }
    platform::setDialogAnswers({{}, [](const auto&) { return platform::FileAnswer{}; }});
    Folder place(store.path());
    EXPECT_FALSE(place.browse("Where?"));
    EXPECT_EQ(place.getPath(), store.path());
    platform::setDialogAnswers({});
    Preferences::setStores(nullptr, nullptr);
}

}  // namespace
}  // namespace tarn
