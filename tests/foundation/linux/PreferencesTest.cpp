#include "support/ScratchStore.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace tarn;
using namespace std::string_literals;

// Installers and users write these files by hand.
TEST(LinuxPreferences, AreFilesBelowTheConfigurationFolders) {
    const test::ScratchStore store;
    const std::string key = "user/Tarn tests/Scratch/";
    Preferences user = store.openUser();
    user.setString("Full.Name", "Zoë");
    user.openSection("Preferences", Preferences::Write)->setInteger("x", 258);
    EXPECT_EQ(store.read(key + "Full%2EName.value"), "text\nZoë");
    EXPECT_EQ(store.read(key + "Preferences/x.value"), "data\n\2\1\0\0"s);

    store.write("machine/Tarn tests/Scratch/InstallPath.value", "text\n/opt/山田");
    std::string text;
    EXPECT_TRUE(store.open(platform::PreferencesRoot::LocalMachine, Preferences::Read)
                    .getString("InstallPath", text));

    store.write(key + "foreign.value", "InstallPath=/opt");
    store.write(key + "half.value", "text");
    store.write(key + "note.txt", "text\nx");
    store.write(key + "huge.value", "text\n");
    std::filesystem::resize_file(store.path(key + "huge.value"), 1ull << 40);
    ASSERT_EQ(::mkfifo(store.path(key + "pipe.value").c_str(), 0600), 0);
    std::filesystem::create_directory(store.path(key + "folder.value"));
    for (const char* name : {"foreign", "half", "note", "note.txt", "huge", "pipe", "folder"})
        EXPECT_FALSE(user.getString(name, text)) << name;
    EXPECT_EQ(text, "/opt/山田");
}
