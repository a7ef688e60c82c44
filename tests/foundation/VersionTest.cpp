#include "foundation/Version.h"

#include <gtest/gtest.h>

using namespace tarn;

TEST(Version, IsReadFromAnyTextAndComparedNumberByNumber) {
    const std::pair<const char*, const char*> cases[] = {{"", "0.0"},
                                                         {"v1-2_3", "0.1.2.3"},
                                                         {"256.257..300.5", "0.1.0.44"},
                                                         {"4294967297.0.0.0", "1.0"}};
    for (const auto& [text, printed] : cases)
        EXPECT_EQ(Version(text).toString(), printed) << text;
    EXPECT_TRUE(Version("1.2.3").isOlderThan(Version("1.2.4")));
    for (const auto& [older, newer] : {std::pair("0.6", "0.6.0.0"), {"0.9", "1.0"}, {"1.0", "0.9"}})
        EXPECT_FALSE(Version(older).isOlderThan(Version(newer)));
    const Version running("1.3");
    EXPECT_TRUE(running.isAtLeast(Version("1.9"), 1) && running.isAtLeast(Version("255"), 0));
    EXPECT_FALSE(running.isAtLeast(Version("1.9"), 2) || running.isAtLeast(Version("1.3.0.1"), 99));
}
