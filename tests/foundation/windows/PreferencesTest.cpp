#include "support/ScratchStore.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <tuple>

using namespace tarn;
using namespace std::string_literals;
using test::ScratchStore;

// The tests' key, as any other program sees it.
TEST(WindowsPreferences, HaveTheRegistrysTypesByteForByteAndSurviveWhatOthersWrote) {
    const ScratchStore store;
    Preferences user = store.openUser();
    user.setFloat("float", 1.0f);
    user.setString("Zoë", "aë山");
    user.setData("data", "abcdefgh", 8);
    HKEY key = nullptr;
    ::RegOpenKeyExA(HKEY_CURRENT_USER, ScratchStore::Key, 0, KEY_READ | KEY_WRITE, &key);
    const std::tuple<const wchar_t*, DWORD, std::string> ours[] = {
        {L"float", REG_DWORD, "\0\0\x80\x3F"s},
        // We give the length without a zero, and the system adds one that it sees behind the text.
        {L"Zo\u00EB", REG_SZ, "a\0\xEB\0\x71\x5C\0\0"s},
        {L"data", REG_DWORD, "abcdefgh"},
    };
    for (const auto& [name, expectedType, expected] : ours) {
        DWORD type = 0;
        BYTE bytes[256];
        DWORD size = sizeof(bytes);
        ::RegQueryValueExW(key, name, nullptr, &type, bytes, &size);
        EXPECT_EQ(type, expectedType) << expected;
        EXPECT_EQ(std::string(bytes, bytes + size), expected);
    }

    // Name, type and bytes, and the text that they are for us.
    const std::tuple<std::string, DWORD, std::string, std::string> theirs[] = {
        {"unterminated", REG_SZ, "a\0b\0"s, "ab"},
        {"odd", REG_SZ, "a\0b\0c"s, "ab"},
        {"expandable", REG_EXPAND_SZ, "%\0x\0\0\0"s, "%x"},
        {"multi", REG_MULTI_SZ, "a\0\0\0b\0\0\0\0\0"s, "none"},
        {"huge", REG_SZ, std::string(2 << 20, 'x'), "none"},
        {"binary", REG_BINARY, "\1\0\0\0"s, "none"},
        {"short", REG_DWORD, "\1\0"s, "none"},
        {"quad", REG_QWORD, "12345678", "none"},
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
    std::string text(8, '?');
    EXPECT_TRUE(user.getData("QUAD", text.data(), 8) && text == "12345678");
    ::RegCloseKey(key);
}
