#include "foundation/File.h"

#include <gmock/gmock.h>

namespace tarn {
namespace {

TEST(WindowsFile, KeepsDrivesAndShares) {
    const struct {
        const char* path;
        const char* whole;
        const char* folder;
        const char* parent;
        bool relative;
    } cases[] = {
        {"C:\\a\\b.c", "C:\\a\\b.c", "C:\\a", "C:\\", false},
        {"c:/b", "c:\\b", "c:\\", "c:\\", false},
        {"//server/share/a/b", "\\\\server\\share\\a\\b", "\\\\server\\share\\a",
         "\\\\server\\share\\", false},
        {"\\a\\b", "\\a\\b", "\\a", "\\", false},
        {"a\\b", "a\\b", "a", "", true},
        {"C:b\\c", "C:b\\c", "C:b", "", true},
    };
    for (const auto& c : cases) {
        const File file(c.path);
        EXPECT_EQ(file.getPath(), c.whole);
        EXPECT_EQ(file.getFolder().getPath(), c.folder);
        EXPECT_EQ(file.getFolder().getParent().getPath(), c.parent);
        EXPECT_EQ(file.getFolder().isRelative(), c.relative) << c.path;
    }
    EXPECT_TRUE(Folder("C:\\").exists());
    EXPECT_EQ(Folder("D:\\x").join(Folder("C:\\y")).getPath(), "C:\\y");
}

}  // namespace
}  // namespace tarn
