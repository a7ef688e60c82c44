#include "support/ScratchStore.h"

#include <gtest/gtest.h>

using namespace tarn;
using namespace std::string_literals;
using platform::LargestPreference;
using test::ScratchStore;

TEST(Preferences, KeepValuesFromOneRunToTheNext) {
    const ScratchStore store;
    const std::string bytes("\0\x01\xFE\xFF\r\n\0\0", 8);
    Preferences first = store.openUser();
    for (const Error& stored : {first.setBool("tooltips", true), first.setInteger("level", -3),
                                first.setFloat("gain", -0.1f), first.setString("name", "Zoë Ω"),
                                first.setData("dump", bytes.data(), bytes.size())})
        EXPECT_TRUE(stored.isOk());
    const Preferences next = store.openUser(Preferences::Read);
    bool tooltips = false;
    std::int32_t level = 0;
    float gain = 0.0f;
    std::string name;
    std::string dump(8, '?');
    EXPECT_TRUE(next.getBool("tooltips", tooltips) && tooltips);
    EXPECT_TRUE(next.getInteger("level", level) && level == -3);
    EXPECT_TRUE(next.getFloat("gain", gain) && gain == -0.1f);
    EXPECT_TRUE(next.getString("name", name) && name == "Zoë Ω");
    EXPECT_TRUE(next.getData("dump", dump.data(), dump.size()) && dump == bytes);
}

// Fault: another program's value is taken for a number or a text.
TEST(Preferences, TakeNoValueOfAnotherKind) {
    const ScratchStore store;
    Preferences preferences = store.openUser();
    preferences.setString("text", "ab");
    preferences.setString("empty", "");
    preferences.setInteger("number", 7);
    preferences.setData("long", "12345678", 8);
    std::int32_t number = 42;
    std::string text = "unchanged";
    for (const char* name : {"text", "long", "absent"})
        EXPECT_FALSE(preferences.getInteger(name, number)) << name;
    for (const char* name : {"number", "absent", "empty"})
        EXPECT_FALSE(preferences.getString(name, text) || preferences.getData(name, &text[0], 8))
            << name;
    EXPECT_FALSE(preferences.getData("long", &text[0], 7));
    EXPECT_TRUE(number == 42 && text == "unchanged");

    // But a text up to its first zero.
    preferences.setString("cut", "before\0behind"s);
    EXPECT_TRUE(preferences.getString("cut", text) && text == "before");
    EXPECT_FALSE(preferences.setString("huge", std::string(LargestPreference + 1, 'x')).isOk());
}
