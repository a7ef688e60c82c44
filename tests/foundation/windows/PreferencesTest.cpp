#include "support/ScratchStore.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <tuple>

using namespace tarn;
using namespace std::string_literals;
using test::ScratchStore;

// Faults: a value that another program wrote is read beyond its end, or as what it isn't; one of
// ours that other versions don't find.
TEST(WindowsPreferences, SurviveWhatOthersWroteAndWriteWhatOthersRead) {
    const ScratchStore store;
    Preferences user = store.openUser();
    HKEY key = nullptr;
    ::RegOpenKeyExA(HKEY_CURRENT_USER, ScratchStore::key().c_str(), 0, KEY_READ | KEY_WRITE, &key);
    // Name, type and bytes, and the text that they are for us.
    const std::tuple<std::string, DWORD, std::string, std::string> theirs[] = {
        {"unterminated", REG_SZ, "a\0b\0"s, "ab"},
        {"odd", REG_SZ, "a\0b\0c"s, "ab"},
        {"expandable", REG_EXPAND_SZ, "%\0x\0\0\0"s, "%x"},
        {"huge", REG_SZ, std::string(2 << 20, 'x'), "none"},
        {"binary", REG_BINARY, "\1\0\0\0"s, "none"},
        {"short", REG_DWORD, "\1\0"s, "none"},
    };
    for (const auto& [name, type, bytes, expected] : theirs) {
        const std::wstring wide(name.begin(), name.end());
        ::RegSetKeyValueW(key, nullptr, wide.c_str(), type, bytes.data(),
                          static_cast<DWORD>(bytes.size()));
        EXPECT_TRUE(user.hasValue(name));
        std::string text = "none";
        std::int32_t number = 42;
        EXPECT_EQ(user.getString(name, text), expected != "none") << name;
        EXPECT_EQ(text, expected) << name;
        EXPECT_FALSE(user.getInteger(name, number)) << name;
    }

    user.setData("ours", "abcdefgh", 8);
    DWORD type = 0;
    ::RegQueryValueExW(key, L"ours", nullptr, &type, nullptr, nullptr);
    EXPECT_EQ(type, REG_DWORD);  // as other versions expect it, whatever the size
    ::RegCloseKey(key);
}
