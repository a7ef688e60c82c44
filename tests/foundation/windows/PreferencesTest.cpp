#include "foundation/Preferences.h"
#include "support/ScratchStore.h"

#include <windows.h>

#include <gmock/gmock.h>

#include <string>

namespace tarn {
namespace {

using test::ScratchStore;
using namespace std::string_literals;

constexpr std::uint32_t ReadWrite = Preferences::Read | Preferences::Write;

// The tests' key as any other program sees it.
class PlainRegistry {
public:
    PlainRegistry() {
        ::RegOpenKeyExA(HKEY_CURRENT_USER, ScratchStore::Key, 0, KEY_READ | KEY_WRITE, &key_);
    }
    PlainRegistry(const PlainRegistry&) = delete;
    PlainRegistry& operator=(const PlainRegistry&) = delete;
    ~PlainRegistry() { ::RegCloseKey(key_); }

    // The type's number, a colon and the bytes.
    std::string read(const wchar_t* name) const {
        DWORD type = 0;
        char bytes[256];
        DWORD size = sizeof(bytes);
        if (::RegQueryValueExW(key_, name, nullptr, &type, reinterpret_cast<BYTE*>(bytes), &size))
            return "none";
        return std::to_string(type) + ":" + std::string(bytes, size);
    }

    void write(const char* name, DWORD type, const std::string& bytes) const {
        ASSERT_EQ(::RegSetValueExA(key_, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                                   static_cast<DWORD>(bytes.size())),
                  ERROR_SUCCESS);
    }
    void writeWide(const wchar_t* name, DWORD type, const std::string& bytes) const {
        ASSERT_EQ(::RegSetValueExW(key_, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                                   static_cast<DWORD>(bytes.size())),
                  ERROR_SUCCESS);
    }

private:
    HKEY key_ = nullptr;
};

TEST(WindowsPreferences, HaveTheRegistrysTypesByteForByte) {
    const ScratchStore store;
    Preferences user = store.openUser(ReadWrite);
    user.setBool("yes", true);
    user.setBool("no", false);
    user.setInteger("integer", -2);
    user.setFloat("float", 1.0f);
    user.setString("Zoë", "aë山");
    user.setString("empty", "");
    user.setData("data", "abcdefgh", 8);
    const PlainRegistry registry;
    EXPECT_EQ(registry.read(L"yes"), "4:\1\0\0\0"s);
    EXPECT_EQ(registry.read(L"no"), "4:\0\0\0\0"s);
    EXPECT_EQ(registry.read(L"integer"), "4:\xFE\xFF\xFF\xFF"s);
    EXPECT_EQ(registry.read(L"float"), "4:\0\0\x80\x3F"s);
    // We give the length without a zero, and the system adds one that it sees behind the text.
    EXPECT_EQ(registry.read(L"Zo\u00EB"), "1:a\0\xEB\0\x71\x5C\0\0"s);
    EXPECT_EQ(registry.read(L"empty"), "1:");
    EXPECT_EQ(registry.read(L"data"), "4:abcdefgh");
}

TEST(WindowsPreferences, SurviveWhatOthersWrote) {
    const ScratchStore store;
    const Preferences user = store.openUser(ReadWrite);
    const PlainRegistry registry;
    registry.write("plain", REG_SZ, "C:\\Plug-ins\0"s);
    registry.writeWide(L"unterminated", REG_SZ, "a\0b\0"s);
    registry.writeWide(L"odd", REG_SZ, "a\0b\0c"s);
    registry.writeWide(L"expandable", REG_EXPAND_SZ, "%\0x\0\0\0"s);
    registry.writeWide(L"multi", REG_MULTI_SZ, "a\0\0\0b\0\0\0\0\0"s);
    registry.writeWide(L"huge", REG_SZ, std::string(2 << 20, 'x'));
    registry.write("binary", REG_BINARY, "\1\0\0\0"s);
    registry.write("short", REG_DWORD, "\1\0"s);
    registry.write("quad", REG_QWORD, "12345678");

    const auto text = [&user](const char* name) {
        std::string value = "none";
        return user.getString(name, value) ? value : "none";
    };
    EXPECT_EQ(text("plain"), "C:\\Plug-ins");
    EXPECT_EQ(text("unterminated"), "ab");
    EXPECT_EQ(text("odd"), "ab");
    EXPECT_EQ(text("expandable"), "%x");
    for (const char* name : {"multi", "huge", "binary", "quad"})
        EXPECT_EQ(text(name), "none") << name;
    std::int32_t number = 42;
    for (const char* name : {"plain", "binary", "short", "quad"})
        EXPECT_FALSE(user.getInteger(name, number)) << name;
    char bytes[9] = {};
    EXPECT_TRUE(user.getData("quad", bytes, 8));
    EXPECT_STREQ(bytes, "12345678");
    EXPECT_TRUE(user.hasValue("HUGE"));
}

}  // namespace
}  // namespace tarn
