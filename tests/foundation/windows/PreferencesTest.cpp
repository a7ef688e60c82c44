#include "support/ScratchStore.h"

#include <windows.h>

#include <gmock/gmock.h>

#include <cstring>
#include <string>

namespace tarn {
namespace {

using test::ScratchStore;
using namespace std::string_literals;

// The tests' key as any other program sees it.
HKEY plainKey() {
    HKEY key = nullptr;
    ::RegOpenKeyExA(HKEY_CURRENT_USER, ScratchStore::Key, 0, KEY_READ | KEY_WRITE, &key);
    return key;
}

TEST(WindowsPreferences, HaveTheRegistrysTypesByteForByte) {
    const ScratchStore store;
    Preferences user = store.openUser();
    user.setBool("yes", true);
    user.setBool("no", false);
    user.setInteger("integer", -2);
    user.setFloat("float", 1.0f);
    user.setString("Zoë", "aë山");
    user.setString("empty", "");
    user.setData("data", "abcdefgh", 8);
    const struct {
        const wchar_t* name;
        DWORD type;
        std::string bytes;
    } cases[] = {
        {L"yes", REG_DWORD, "\1\0\0\0"s},
        {L"no", REG_DWORD, "\0\0\0\0"s},
        {L"integer", REG_DWORD, "\xFE\xFF\xFF\xFF"},
        {L"float", REG_DWORD, "\0\0\x80\x3F"s},
        // We give the length without a zero, and the system adds one that it sees behind the text.
        {L"Zo\u00EB", REG_SZ, "a\0\xEB\0\x71\x5C\0\0"s},
        {L"empty", REG_SZ, ""},
        {L"data", REG_DWORD, "abcdefgh"},
    };
    const HKEY key = plainKey();
    for (const auto& c : cases) {
        DWORD type = 0;
        BYTE bytes[256];
        DWORD size = sizeof(bytes);
        EXPECT_EQ(::RegQueryValueExW(key, c.name, nullptr, &type, bytes, &size), ERROR_SUCCESS);
        EXPECT_EQ(type, c.type) << c.bytes;
        EXPECT_EQ(std::string(bytes, bytes + size), c.bytes);
    }
    ::RegCloseKey(key);
}

TEST(WindowsPreferences, SurviveWhatOthersWrote) {
    const ScratchStore store;
    const Preferences user = store.openUser();
    const struct {
        const char* name;
        DWORD type;
        std::string bytes;
        const char* text;
    } cases[] = {
        {"unterminated", REG_SZ, "a\0b\0"s, "ab"},
        {"odd", REG_SZ, "a\0b\0c"s, "ab"},
        {"expandable", REG_EXPAND_SZ, "%\0x\0\0\0"s, "%x"},
        {"multi", REG_MULTI_SZ, "a\0\0\0b\0\0\0\0\0"s, "none"},
        {"huge", REG_SZ, std::string(2 << 20, 'x'), "none"},
        {"binary", REG_BINARY, "\1\0\0\0"s, "none"},
        {"short", REG_DWORD, "\1\0"s, "none"},
        {"quad", REG_QWORD, "12345678", "none"},
    };
    const HKEY key = plainKey();
    for (const auto& c : cases) {
        const std::wstring name(c.name, c.name + std::strlen(c.name));
        const auto* bytes = reinterpret_cast<const BYTE*>(c.bytes.data());
        ASSERT_EQ(::RegSetValueExW(key, name.c_str(), 0, c.type, bytes,
                                   static_cast<DWORD>(c.bytes.size())),
                  ERROR_SUCCESS);
        std::string text = "none";
        EXPECT_EQ(user.getString(c.name, text), c.text != "none"s) << c.name;
        EXPECT_EQ(text, c.text) << c.name;
        std::int32_t number = 42;
        EXPECT_FALSE(user.getInteger(c.name, number)) << c.name;
    }
    std::string text;
    ASSERT_EQ(::RegSetKeyValueA(key, nullptr, "plain", REG_SZ, "C:\\Plug-ins", 12), ERROR_SUCCESS);
    EXPECT_TRUE(user.getString("plain", text) && text == "C:\\Plug-ins");
    EXPECT_TRUE(user.getData("quad", text.data(), 8) && text == "12345678ins");
    EXPECT_TRUE(user.hasValue("HUGE"));
    ::RegCloseKey(key);
}

}  // namespace
}  // namespace tarn
