#include "foundation/File.h"

#include <gmock/gmock.h>

#include <array>

using namespace tarn;

TEST(WindowsFile, KeepsDrivesAndShares) {
    // The path, what becomes of it, its folder, and the folder's parent.
    const std::array<const char*, 4> cases[] = {
        {"C:\\a\\b.c", "C:\\a\\b.c", "C:\\a", "C:\\"},
        {"c:/b", "c:\\b", "c:\\", "c:\\"},
        {"//server/share/a/b", "\\\\server\\share\\a\\b", "\\\\server\\share\\a",
         "\\\\server\\share\\"},
        {"\\a\\b", "\\a\\b", "\\a", "\\"},
        {"C:b\\c", "C:b\\c", "C:b", ""},
    };
    for (const auto& c : cases) {
        const Folder folder = File(c[0]).getFolder();
        EXPECT_THAT(c, testing::ElementsAre(c[0], File(c[0]).getPath(), folder.getPath(),
                                            folder.getParent().getPath()));
        EXPECT_EQ(folder.isRelative(), *c[3] == '\0') << c[0];
    }
    EXPECT_TRUE(Folder("C:\\").exists());
    EXPECT_EQ(Folder("D:\\x").join(Folder("C:\\y")).getPath(), "C:\\y");
}
