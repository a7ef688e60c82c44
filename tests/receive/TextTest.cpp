#include "common/Text.h"

#include <gtest/gtest.h>

namespace tarn::tools {
namespace {

TEST(Text, NamesCantSteerATerminal) {
    const std::pair<const char*, const char*> cases[] = {
        {"Zo\u00eb \u5c71\u7530", "Zo\u00eb \u5c71\u7530"},
        {"a\x1b[2Jb\n", "a?[2Jb?"},
        {"\xff\xc0\x80\xe2\x82", "?????"},
        {"\xed\xa0\x80\xc2\x9b", "????"},
        {"\u202egnp.exe", "?gnp.exe"},
    };
    for (const auto& [name, shown] : cases)
        EXPECT_EQ(printable(name), shown);
}

}  // namespace
}  // namespace tarn::tools
