#include "foundation/Preferences.h"
#include "support/ScratchStore.h"

#include <gmock/gmock.h>

#include <array>
#include <string>

namespace tarn {
namespace {

using namespace std::string_literals;
using platform::PreferencesRoot;
using test::ScratchStore;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr std::uint32_t ReadWrite = Preferences::Read | Preferences::Write;

TEST(Preferences, KeepValuesFromOneRunToTheNext) {
    const ScratchStore store;
    {
        Preferences first = store.openUser(ReadWrite);
        EXPECT_EQ(first.setBool("ShowTooltips", true).code, "EAOK");
        EXPECT_TRUE(first.setInteger("LogLevel", -3).isOk());
        EXPECT_TRUE(first.setFloat("Gain", -0.1f).isOk());
        EXPECT_TRUE(first.setString("FullName", "Zoë 山田").isOk());
        EXPECT_TRUE(first.setData("LastCrashDump", "\0\x01\xFE\xFF\r\n\0\0", 8).isOk());
        EXPECT_TRUE(first.setString("FullName", "Zoë Ω").isOk());
    }
    const Preferences next = store.openUser(Preferences::Read);
    bool tooltips = false;
    std::int32_t level = 0;
    float gain = 0.0f;
    std::string name;
    std::array<char, 8> dump{};
    EXPECT_TRUE(next.getBool("ShowTooltips", tooltips) && tooltips);
    EXPECT_TRUE(next.getInteger("LogLevel", level) && level == -3);
    EXPECT_TRUE(next.getFloat("Gain", gain) && gain == -0.1f);
    EXPECT_TRUE(next.getString("FullName", name) && name == "Zoë Ω");
    EXPECT_TRUE(next.getData("LastCrashDump", dump.data(), dump.size()));
    EXPECT_EQ(std::string(dump.data(), dump.size()), "\0\x01\xFE\xFF\r\n\0\0"s);
    EXPECT_THAT(next.getValueNames(), UnorderedElementsAre("ShowTooltips", "LogLevel", "Gain",
                                                           "FullName", "LastCrashDump"));
    Preferences machine = store.open(PreferencesRoot::LocalMachine, ReadWrite);
    EXPECT_FALSE(machine.hasValue("LogLevel"));
}

// The fault it would catch: another program's value is taken for a number or a text.
TEST(Preferences, TakeNoValueOfAnotherKind) {
    const ScratchStore store;
    Preferences preferences = store.openUser(ReadWrite);
    preferences.setString("text", "ab");
    preferences.setInteger("number", 7);
    preferences.setData("long", "12345678", 8);
    bool flag = true;
    std::int32_t number = 42;
    float fraction = 0.5f;
    std::string text = "old";
    std::array<char, 8> data{'o', 'l', 'd'};
    for (const char* name : {"text", "long", "absent"}) {
        EXPECT_FALSE(preferences.getBool(name, flag)) << name;
        EXPECT_FALSE(preferences.getInteger(name, number)) << name;
        EXPECT_FALSE(preferences.getFloat(name, fraction)) << name;
    }
    for (const char* name : {"number", "absent"}) {
        EXPECT_FALSE(preferences.getString(name, text)) << name;
        EXPECT_FALSE(preferences.getData(name, data.data(), data.size())) << name;
    }
    EXPECT_FALSE(preferences.getData("long", data.data(), 7));
    EXPECT_TRUE(flag);
    EXPECT_EQ(number, 42);
    EXPECT_EQ(fraction, 0.5f);
    EXPECT_EQ(text, "old");
    EXPECT_EQ(data[0], 'o');
}

TEST(Preferences, TextsEndAtTheirFirstZeroAndEmptyOnesCountAsSections) {
    const ScratchStore store;
    Preferences preferences = store.openUser(ReadWrite);
    std::string text = "old";
    preferences.setString("cut", "before\0behind"s);
    EXPECT_TRUE(preferences.getString("cut", text));
    EXPECT_EQ(text, "before");
    preferences.setString("empty", "");
    EXPECT_FALSE(preferences.getString("empty", text));
    EXPECT_TRUE(preferences.hasValue("empty"));
    ASSERT_TRUE(preferences.openSection("section", ReadWrite));
    EXPECT_TRUE(preferences.getString("section", text));
    EXPECT_EQ(text, "before");
    const std::string longest(platform::LargestPreference / 4, 'x');
    EXPECT_TRUE(preferences.setString("long", longest).isOk());
    EXPECT_TRUE(preferences.getString("long", text) && text == longest);
    EXPECT_FALSE(
        preferences.setString("huge", std::string(platform::LargestPreference + 1, 'x')).isOk());
}

TEST(Preferences, SectionsAreMadeWithAllLevelsOfTheirPath) {
    const ScratchStore store;
    const Preferences root = store.openUser(ReadWrite);
    EXPECT_FALSE(root.openSection("Editor\\Größe", Preferences::Read));
    EXPECT_FALSE(root.openSection("Editor\\Größe", 0));
    EXPECT_THAT(root.getSectionNames(), IsEmpty());

    const auto made = root.openSection("Editor\\Größe\\山田", ReadWrite);
    ASSERT_TRUE(made);
    EXPECT_TRUE(made->setInteger("Width", 700).isOk());
    EXPECT_THAT(root.getSectionNames(), ElementsAre("Editor"));
    EXPECT_TRUE(root.hasSection("Editor\\Größe") && root.hasValue("Editor"));
    EXPECT_FALSE(root.hasSection("Width"));
    const auto again =
        root.openSection("Editor", Preferences::Read)->openSection("Größe\\山田", ReadWrite);
    EXPECT_TRUE(again->hasValue("Width"));
}

// The fault it would catch: a name from a file leads out of the store, or clashes with another.
TEST(Preferences, NamesMayHoldWhatPathsMayNot) {
    const ScratchStore store;
    Preferences preferences = store.openUser(ReadWrite);
    int value = 0;
    for (const char* name : {"..", ".", "a/b", "../../x", "a.value", "100%", "%2E", "\t:*?\""}) {
        EXPECT_TRUE(preferences.setInteger(name, ++value).isOk()) << name;
        ASSERT_TRUE(preferences.openSection(name, ReadWrite)) << name;
        std::int32_t read = 0;
        EXPECT_TRUE(preferences.getInteger(name, read) && read == value) << name;
        EXPECT_THAT(preferences.getValueNames(), testing::Contains(name));
        EXPECT_THAT(preferences.getSectionNames(), testing::Contains(name));
    }
    EXPECT_EQ(preferences.getSectionNames().size(), 8u);
    EXPECT_EQ(preferences.getValueNames().size(), 8u);
}

TEST(Preferences, WithoutWritingNothingIsSaved) {
    const ScratchStore store;
    Preferences absent = store.openUser(Preferences::Read);
    EXPECT_FALSE(absent.isOpen());
    EXPECT_FALSE(absent.hasSection("x") || absent.hasValue("x"));
    EXPECT_FALSE(absent.openSection("x", ReadWrite));
    EXPECT_FALSE(absent.setInteger("x", 1).isOk());

    EXPECT_TRUE(store.openUser(Preferences::Write).isOpen());
    Preferences readOnly = store.openUser(Preferences::Read);
    const Error error = readOnly.setBool("x", true);
    EXPECT_EQ(error.code, "EPNS");
    EXPECT_STREQ(error.what(), "Preferences key 'x' could not be saved");
    EXPECT_EQ(error.context,
              "class tarn::Error __thiscall tarn::Preferences::setBool(const class "
              "std::basic_string<char,struct std::char_traits<char>,class std::allocator<char> > "
              "&,bool)");
    EXPECT_FALSE(readOnly.setString("x", "y").isOk());
    EXPECT_FALSE(readOnly.hasValue("x"));
}

}  // namespace
}  // namespace tarn
