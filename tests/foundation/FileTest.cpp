#include "foundation/CommaLocale.h"
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
        {"/x.y", "/x.y", "/", "/", "x.y", "x", "y"},
        {"\\a\\b.", "/a/b.", "/a", "/", "b.", "b", ""},
        {"../山田/", "../山田/", "../山田", "..", "", "", ""},
        {"", "", "", "", "", "", ""},
    };
    if (platform::pathVolume("C:").empty())
        cases.push_back({"//a///b", "/a/b", "/a", "/", "b", "b", ""});
    else
        cases.insert(cases.end(), {Case{"C:\\a\\b.c", "C:/a/b.c", "C:/a", "C:/", "b.c", "b", "c"},
                                   Case{"c:/b", "c:/b", "c:/", "c:/", "b", "b", ""},
                                   Case{"C:b\\c", "C:b/c", "C:b", "", "c", "c", ""},
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
    EXPECT_TRUE(Folder("C:b").isRelative());

    File file("/Samples/Drums/a.b.wav");
    EXPECT_TRUE(file.isInFolder("/Samples") && file.isInFolder("\\Samples\\Drums\\"));
    EXPECT_FALSE(file.isInFolder("/Samples/Dru") || file.isInFolder(file.getPath()));
    file.setStem("c.d");
    file.setExtension("xml");
    EXPECT_EQ(file.getName(), "c.d.xml");
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
    EXPECT_TRUE(file.read32(word) && file.read16(half) && file.read8(byte));
    EXPECT_TRUE(word == 0x04030201 && half == 0x0605 && byte == 0x07);
    EXPECT_TRUE(file.skipBytes(0, 9000) && file.readString() == "text");
    EXPECT_TRUE(file.read(buffer.data(), 2, 2));
    EXPECT_THAT(buffer, ElementsAre('a', 'b', '\0', '\0'));
    EXPECT_FALSE(file.read(buffer.data(), 1, 1));

    const auto reopenAtTheEnd = [&] { return file.openRead() && file.seek(file.getSize() - 2); };
    EXPECT_TRUE(reopenAtTheEnd() && !file.matches("ab\0\0", 4));
    EXPECT_TRUE(reopenAtTheEnd() && file.readString() == "ab");
    EXPECT_TRUE(reopenAtTheEnd() && !file.read(buffer.data(), SIZE_MAX / 2, 4));
    EXPECT_TRUE(file.seek(-5) && !file.read(buffer.data(), 1, 1));
}

TEST(File, MakesAndOpensWhatIsMissingOnlyForWriting) {
    const ScratchFolder scratch;
    File file(scratch.path("Zoë.bin"));
    EXPECT_FALSE(file.exists() || file.openRead());
    EXPECT_EQ(file.getDiskSize() + file.getModificationTime(), 0);
    ASSERT_TRUE(file.open(false));
    *file.getStream() << "written";
    EXPECT_TRUE(file.seek(1) && file.matchesString("ritten"));
    EXPECT_FALSE(File(file).isOpen());
    file.close();
    EXPECT_EQ(scratch.read("Zoë.bin"), "written");
    EXPECT_FALSE(file.create() || File(scratch.path()).exists());  // never over what is there

    using namespace std::chrono;
    std::filesystem::last_write_time(std::filesystem::u8path(file.getPath()),
                                     file_clock::from_sys(sys_seconds(1'000'000'000s)));
    EXPECT_EQ(file.getModificationTime(), 1'000'000'000);
}

TEST(File, FindsAFreeNumberAndTellsItsSizeInTheUnitThatFits) {
    const CommaLocale locale;
    const ScratchFolder scratch;
    std::string names;
    for (const auto& [bytes, text] :
         {std::pair(1024, "1024.000000 bytes"), {1025, "1.000977 KB"}}) {
        File take(scratch.path("my.Take #.wav"));
        take.makeUnique("#");
        names += take.getName() + " ";
        scratch.write(take.getName(), std::string(bytes, 'x'));
        EXPECT_EQ(take.getSizeText(), text);
    }
    EXPECT_EQ(names, "my.Take 1.wav my.Take 2.wav ");
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

TEST(Folder, MakesListsAndComparesFolders) {
    const ScratchFolder scratch;
    const Folder root(scratch.path());
    Folder deep = root.join("Samples\\山田/Zoë");
    EXPECT_FALSE(deep.exists());
    EXPECT_TRUE(deep.create() && deep.exists() && deep.create());
    scratch.write("Samples/one.wav", "");
    EXPECT_FALSE(root.join("Samples/one.wav").create() || Folder().create());

    std::vector<Folder> folders(3);
    std::vector<File> files(3);
    const Folder samples = root.join("Samples");
    ASSERT_TRUE(samples.listFolders(folders) && folders.size() == 1);
    EXPECT_TRUE(folders[0].equals(deep.getParent()) && folders[0].getLeafName() == "山田");
    ASSERT_TRUE(samples.listFiles(files) && files.size() == 1);
    EXPECT_TRUE(files[0].exists() && files[0].getName() == "one.wav");
    EXPECT_FALSE(root.join("nowhere").listFiles(files) || !files.empty());
    EXPECT_TRUE(Folder::current().exists() && Folder("/").getParent().equals(Folder("\\")));
    EXPECT_TRUE(root.join(deep).equals(deep));
}

// Faults: a file that is overwritten unasked, or that the user must look for in a folder.
TEST(File, IsChosenWhereOneWasLastOpenedAndOverwrittenOnlyWhenTheUserAgrees) {
    using namespace platform;
    using enum MessageAnswer;
    const test::ScratchStore store;
    Preferences user = store.openUser();
    Preferences::setStores(nullptr, &user);
    store.write("Bänke/old.xml", "");
    const std::string folder = store.path("Bänke");
    const std::string old = store.path("Bänke/old.xml");
    const std::string fresh = store.path("Bänke/new.xml");
    std::string choice = old;
    MessageAnswer answer = Cancel;
    std::string dialogs;
    setDialogAnswers({[&](const MessageRequest& request) {
                          EXPECT_TRUE(request.kind == MessageKind::Ask && request.parented);
                          dialogs += request.text + "|";
                          return std::exchange(answer, Cancel);
                      },
                      [&](const FileRequest& request) {
                          dialogs += request.folder + ": " + request.name + "|";
                          return FileAnswer{choice};
                      }});
    File file("default");
    EXPECT_TRUE(file.browseOpen({}) && file.getPath() == old);
    choice.clear();
    file.setPath("default");
    EXPECT_FALSE(file.browseOpen({}) || file.browseSave({}) || file.getPath() != "default");
    Folder place(folder);
    EXPECT_FALSE(place.browse("Where?") || place.getPath() != folder);
    EXPECT_EQ(std::exchange(dialogs, {}),
              ": default|" + folder + ": default|" + folder + ": default|" + folder + ": |");

    choice = old;
    answer = No;  // and then he cancels
    file.setPath(fresh);
    EXPECT_FALSE(file.browseSave({}) || file.getPath() != fresh);
    const std::string question = "'old.xml' already exists.  Overwrite?|";
    EXPECT_EQ(dialogs, folder + ": new.xml|" + question + folder + ": old.xml|" + question);
    answer = Yes;
    EXPECT_TRUE(file.browseSave({}) && file.getPath() == old);
    choice = fresh;  // which isn't there
    EXPECT_TRUE(file.browseSave({}) && file.getPath() == fresh);
    setDialogAnswers({});
    Preferences::setStores(nullptr, nullptr);
}
