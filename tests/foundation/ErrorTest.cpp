#include "foundation/Error.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

// Fault: a text or code that callers compare, or users read, changed by accident.
TEST(Error, TellsTextCodeAndContextAlsoAsAPlainCopy) {
    struct Case {
        Error error;
        const char* text;
        const char* code;
    };
    const Case cases[] = {
        {GeneralError("here", "unknown scope!"), "unknown scope!", "EGEN"},
        {ErrorImportFailed("here", "C:/a.wav"), "Failed to import file C:/a.wav", "EIFL"},
        {ErrorImportFailed("here"), "Failed to import file", "EIFL"},
        {ErrorNoSuchControlType("here", "Dial", "Gain"), "Unknown control type Dial<Gain>",
         "ENSCT"},
        {ErrorNoSuchParameterType("here", "ParameterArray", "string"),
         "Unknown parameter type ParameterArray<string>", "ENSPT"},
        {ErrorPrefsKeyNotFound("here", "LogLevel"), "Preferences key 'LogLevel' not found",
         "EPKNF"},
        {ErrorPrefsKeyNotSaved("here", "LogLevel"), "Preferences key 'LogLevel' could not be saved",
         "EPNS"},
        {ErrorInternal("here", "no host"), "no host", ""},
    };
    for (const Case& each : cases) {
        EXPECT_STREQ(each.error.what(), each.text);
        EXPECT_EQ(each.error.code, each.code);
        EXPECT_EQ(each.error.context, "here");
        EXPECT_FALSE(each.error.isOk());
    }
    const Error none = NoError();
    EXPECT_STREQ(none.what(), "");
    EXPECT_EQ(none.context, "");
    EXPECT_EQ(none.code, "EAOK");
    EXPECT_TRUE(none.isOk());
}

}  // namespace
}  // namespace tarn
