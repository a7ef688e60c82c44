#include "foundation/Preferences.h"
#include "support/ScratchStore.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

namespace tarn {
namespace {

using test::ScratchStore;
using namespace std::string_literals;

// Installers and users write these files by hand.
TEST(LinuxPreferences, AreFilesBelowTheConfigurationFolders) {
    const ScratchStore store;
    Preferences user = store.openUser(Preferences::Read | Preferences::Write);
    user.setString("Full.Name", "Zoë");
    user.openSection("Preferences", Preferences::Write)->setInteger("x", 258);
    const std::string key = "user/Tarn tests/Scratch/";
    EXPECT_EQ(store.folder().read(key + "Full%2EName.value"), "text\nZoë");
    EXPECT_EQ(store.folder().read(key + "Preferences/x.value"), "data\n\2\1\0\0"s);

    std::filesystem::create_directories(store.folder().path("machine/Tarn tests/Scratch"));
    store.folder().write("machine/Tarn tests/Scratch/InstallPath.value", "text\n/opt/山田");
    const Preferences machine =
        store.open(platform::PreferencesRoot::LocalMachine, Preferences::Read);
    std::string path;
    EXPECT_TRUE(machine.getString("InstallPath", path));
    EXPECT_EQ(path, "/opt/山田");
}

TEST(LinuxPreferences, TakeNoOtherFilesForValues) {
    const ScratchStore store;
    const Preferences user = store.openUser(Preferences::Read | Preferences::Write);
    const std::string key = "user/Tarn tests/Scratch/";
    store.folder().write(key + "empty.value", "");
    store.folder().write(key + "foreign.value", "InstallPath=/opt");
    store.folder().write(key + "half.value", "text");
    store.folder().write(key + "note.txt", "text\nx");
    store.folder().write(key + "huge.value", "text\n");
    std::filesystem::resize_file(store.folder().path(key + "huge.value"), 1ull << 40);
    ASSERT_EQ(::mkfifo(store.folder().path(key + "pipe.value").c_str(), 0600), 0);
    std::filesystem::create_directory(store.folder().path(key + "folder.value"));
    std::string text = "old";
    for (const char* name :
         {"empty", "foreign", "half", "note", "note.txt", "huge", "pipe", "folder"})
        EXPECT_FALSE(user.getString(name, text)) << name;
    EXPECT_EQ(text, "old");
}

}  // namespace
}  // namespace tarn
