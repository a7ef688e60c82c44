#include "foundation/Version.h"

#include <gtest/gtest.h>

using namespace tarn;

TEST(Version, AnyTextIsAVersion) {
    const std::pair<const char*, const char*> cases[] = {
        {"1.0.0.0", "1.0"},        {"", "0.0"},
        {"1-2_3 4", "1.2.3.4"},    {"v1.2", "0.1.2"},
        {"256.257.300", "0.1.44"}, {"1..2", "1.0.2"},
        {"1.2.3.4.5", "1.2.3.4"},  {"4294967297.99999999999999999999", "1.255"}};
    for (const auto& [text, printed] : cases)
        EXPECT_EQ(Version(text).toString(), printed) << text;
}

TEST(Version, ComparesNumberByNumberAndNotAsAWhole) {
    EXPECT_TRUE(Version("1.2.3").isOlderThan(Version("1.2.4")));
    for (const auto& [older, newer] : {std::pair("0.6", "0.6.0.0"), {"0.9", "1.0"}, {"1.0", "0.9"}})
        EXPECT_FALSE(Version(older).isOlderThan(Version(newer)));
    const Version running("1.3");
    EXPECT_TRUE(running.isAtLeast(Version("1.9"), 1) && running.isAtLeast(Version("255"), 0));
    EXPECT_FALSE(running.isAtLeast(Version("1.9"), 2) || running.isAtLeast(Version("2.0"), 1));
    EXPECT_FALSE(running.isAtLeast(Version("1.3.0.1"), 99));
}
