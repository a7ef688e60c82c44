#include "foundation/File.h"
#include "foundation/Preferences.h"
#include "platform/Dialogs.h"
#include "platform/FileSystem.h"
#include "support/ScratchFolder.h"
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
using platform::FileAnswer;
using platform::FileRequest;
using platform::MessageAnswer;
using platform::MessageRequest;
using test::ScratchFolder;
using test::ScratchStore;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

std::string withSlashes(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

TEST(File, CutsPathsAtEitherSeparator) {
    const struct {
        const char* path;
        const char* whole;
        const char* folder;
        const char* name;
        const char* stem;
        const char* extension;
    } cases[] = {
        {"a/b\\c.tar.gz", "a/b/c.tar.gz", "a/b", "c.tar.gz", "c.tar", "gz"},
        {"a\\b/c", "a/b/c", "a/b", "c", "c", ""},
        {"//a///b", "/a/b", "/a", "b", "b", ""},
        {"/x.y", "/x.y", "/", "x.y", "x", "y"},
        {"name.", "name.", "", "name.", "name", ""},
        {"../山田/", "../山田/", "../山田", "", "", ""},
        {"", "", "", "", "", ""},
    };
    for (const auto& c : cases) {
        if (platform::pathVolume(c.path).empty()) {
            const File file(c.path);
            EXPECT_EQ(withSlashes(file.getPath()), c.whole) << c.path;
            EXPECT_EQ(withSlashes(file.getFolder().getPath()), c.folder) << c.path;
            EXPECT_EQ(file.getName(), c.name) << c.path;
            EXPECT_EQ(file.getStem(), c.stem) << c.path;
            EXPECT_EQ(file.getExtension(), c.extension) << c.path;
        }
    }
}

TEST(File, ChangesStemAndExtensionAtTheLastDot) {
    File file("x/a.b.wav");
    file.setStem("c.d");
    EXPECT_EQ(file.getName(), "c.d.wav");
    file.setExtension("xml");
    EXPECT_EQ(file.getName(), "c.d.xml");
    file.setName("plain");
    file.setExtension("xml");
    EXPECT_EQ(file.getName(), "plain.xml");
}

TEST(File, KnowsTheFoldersAboveIt) {
    const File file("/Samples/Drums/Kick.wav");
    EXPECT_TRUE(file.isInFolder("/Samples"));
    EXPECT_TRUE(file.isInFolder("\\Samples\\Drums\\"));
    EXPECT_FALSE(file.isInFolder("/Samples/Dru"));
    EXPECT_FALSE(file.isInFolder("/Samples/Drums/Kick.wav"));
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
    EXPECT_EQ(word, 0x04030201u);
    EXPECT_EQ(half, 0x0605);
    EXPECT_EQ(byte, 0x07);
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
    EXPECT_EQ(file.getDiskSize(), 0);
    EXPECT_EQ(file.getModificationTime(), 0);
    ASSERT_TRUE(file.open(false));
    *file.getStream() << "written";
    EXPECT_TRUE(file.seek(1));
    EXPECT_TRUE(file.matchesString("ritten"));
    const File copy = file;
    EXPECT_FALSE(copy.isOpen());
    file.close();
    EXPECT_EQ(scratch.read("Zoë.bin"), "written");
    EXPECT_EQ(copy.getDiskSize(), 7);
    EXPECT_FALSE(file.create());  // never over what is there
    EXPECT_FALSE(File(scratch.path()).exists());
}

TEST(File, TellsTimesInSecondsSince1970) {
    const ScratchFolder scratch;
    scratch.write("old", "");
    using namespace std::chrono;
    const std::string path = scratch.path("old");
    std::filesystem::last_write_time(std::u8string(path.begin(), path.end()),
                                     file_clock::from_sys(sys_seconds(1'000'000'000s)));
    EXPECT_EQ(File(path).getModificationTime(), 1'000'000'000);
}

TEST(File, TellsSizesInTheUnitThatFits) {
    const ScratchFolder scratch;
    const struct {
        std::size_t bytes;
        const char* text;
    } cases[] = {{0, "0.000000 bytes"},
                 {1024, "1024.000000 bytes"},
                 {1025, "1.000977 KB"},
                 {1024 * 1024, "1024.000000 KB"},
                 {3 << 20, "3.000000 MB"}};
    for (const auto& c : cases) {
        scratch.write("sized", std::string(c.bytes, 'x'));
        EXPECT_EQ(File(scratch.path("sized")).getSizeText(), c.text);
    }
}

TEST(File, FindsAFreeNumberForItsName) {
    const ScratchFolder scratch;
    for (const char* taken : {"Take 1.wav", "Take 2.wav", "my.song1.wav"})
        scratch.write(taken, "");
    File take(scratch.path("Take #.wav"));
    take.makeUnique("#");
    EXPECT_EQ(take.getName(), "Take 3.wav");
    File song(scratch.path("my.song.wav"));
    song.makeUnique("#");
    EXPECT_EQ(song.getName(), "my.song2.wav");
}

// The fault it would catch: a preset that is lost because saving the new one failed half-way.
TEST(File, SavesWholeOrNotAtAll) {
    const ScratchFolder scratch;
    const File preset(scratch.path("プリセット.xml"));
    EXPECT_TRUE(preset.save("first"));
    EXPECT_TRUE(preset.save(std::string(100'000, 'x')));
    EXPECT_TRUE(preset.save("last"));
    EXPECT_EQ(scratch.read("プリセット.xml"), "last");

    ASSERT_TRUE(Folder(scratch.path("taken")).create());
    scratch.write("taken/inside", "");
    EXPECT_FALSE(File(scratch.path("taken")).save("x"));
    EXPECT_FALSE(File(scratch.path("nowhere/x")).save("x"));
    EXPECT_EQ(scratch.entries(), 2);

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
    EXPECT_TRUE(deep.create());
    EXPECT_TRUE(deep.exists() && deep.create());
    scratch.write("Samples/one.wav", "");
    scratch.write("Samples/two.wav", "");
    EXPECT_FALSE(root.join("Samples/one.wav").create());

    std::vector<Folder> folders(3);
    std::vector<File> files;
    EXPECT_TRUE(root.join("Samples").listFolders(folders));
    ASSERT_EQ(folders.size(), 1u);
    EXPECT_TRUE(folders[0].equals(deep.getParent()));
    EXPECT_EQ(folders[0].getLeafName(), "山田");
    EXPECT_TRUE(deep.getParent().getParent().listFiles(files));
    std::vector<std::string> names;
    for (const File& file : files) {
        EXPECT_TRUE(file.exists());
        names.push_back(file.getName());
    }
    EXPECT_THAT(names, UnorderedElementsAre("one.wav", "two.wav"));
    EXPECT_FALSE(root.join("nowhere").listFiles(files));
    EXPECT_TRUE(files.empty());
    EXPECT_FALSE(Folder().exists() || Folder().create());
    EXPECT_TRUE(Folder::current().exists());
    EXPECT_TRUE(Folder("/").getParent().equals(Folder("\\")));
    EXPECT_TRUE(root.join(deep).equals(deep));
}

// Answers every dialog of a test with the next of its answers.
class Dialogs {
public:
    Dialogs(std::vector<std::string> paths, std::vector<MessageAnswer> answers)
        : paths_(std::move(paths)), answers_(std::move(answers)) {
        platform::setDialogAnswers({[this](const MessageRequest& request) {
                                        messages.push_back(request);
                                        return answers_.at(messages.size() - 1);
                                    },
                                    [this](const FileRequest& request) {
                                        choices.push_back(request);
                                        return FileAnswer{paths_.at(choices.size() - 1), 0};
                                    }});
    }
    Dialogs(const Dialogs&) = delete;
    Dialogs& operator=(const Dialogs&) = delete;
    ~Dialogs() { platform::setDialogAnswers({}); }

    std::vector<FileRequest> choices;
    std::vector<MessageRequest> messages;

private:
    std::vector<std::string> paths_;
    std::vector<MessageAnswer> answers_;
};

TEST(FileDialogs, OpeningBeginsWhereAFileWasLastOpened) {
    const ScratchStore store;
    Preferences user = store.openUser(Preferences::Read | Preferences::Write);
    Preferences::setStores(nullptr, &user);
    const std::string path = store.folder().path("Bänke/A.xml");
    Dialogs dialogs({path, ""}, {});
    File first("default");
    EXPECT_TRUE(first.browseOpen({"Load", "Select input file", "Brimtide Banks", "*.xml;"}));
    EXPECT_EQ(first.getPath(), path);
    File second("default");
    EXPECT_FALSE(second.browseOpen({"Load", "", "", ""}));
    EXPECT_EQ(second.getPath(), "default");
    EXPECT_EQ(dialogs.choices[0].folder, "");
    EXPECT_EQ(dialogs.choices[0].name, "default");
    EXPECT_EQ(dialogs.choices[0].wildcards, "*.xml;");
    EXPECT_EQ(dialogs.choices[1].folder, first.getFolder().getPath());
    Preferences::setStores(nullptr, nullptr);
}

TEST(FileDialogs, SavingAsksBeforeItOverwrites) {
    const ScratchFolder scratch;
    const std::string old = scratch.path("old.xml");
    const std::string fresh = scratch.path("new.xml");
    scratch.write("old.xml", "");
    {
        Dialogs dialogs({old, old}, {MessageAnswer::No, MessageAnswer::Yes});
        File file(scratch.path("proposal"));
        EXPECT_TRUE(file.browseSave({}));
        EXPECT_EQ(file.getPath(), old);
        EXPECT_EQ(dialogs.messages[0].text, "'old.xml' already exists.  Overwrite?");
        EXPECT_EQ(dialogs.choices[0].folder, scratch.path());
        EXPECT_EQ(dialogs.choices[1].name, "old.xml");
    }
    {
        const Dialogs dialogs({old}, {MessageAnswer::Cancel});
        File file("proposal");
        EXPECT_FALSE(file.browseSave({}));
        EXPECT_EQ(file.getPath(), "proposal");
    }
    const Dialogs dialogs({fresh, ""}, {});
    File file("proposal");
    EXPECT_TRUE(file.browseSave({}));
    Folder folder(scratch.path());
    EXPECT_FALSE(folder.browse("Where?"));
    EXPECT_EQ(folder.getPath(), scratch.path());
}

}  // namespace
}  // namespace tarn
