#include "foundation/Error.h"

#include <gtest/gtest.h>

using namespace tarn;

// Faults: a text or code that callers compare, or users read, changed by accident or lost in a
// plain copy.
TEST(Error, TellsTextCodeAndContextAlsoAsAPlainCopy) {
    const std::pair<Error, const char*> cases[] = {
        {NoError(), "[EAOK] "},
        {GeneralError("here", "unknown scope!"), "unknown scope![EGEN] here"},
        {ErrorImportFailed("here", "C:/a.wav"), "Failed to import file C:/a.wav[EIFL] here"},
        {ErrorImportFailed("here"), "Failed to import file[EIFL] here"},
        {ErrorNoSuchControlType("here", "Dial", "G"), "Unknown control type Dial<G>[ENSCT] here"},
        {ErrorPrefsKeyNotSaved("here", "K"), "Preferences key 'K' could not be saved[EPNS] here"},
        {ErrorInternal("here", "no host"), "no host[] here"}};
    for (const auto& [error, expected] : cases)
        EXPECT_EQ(std::string(error.what()) + "[" + error.code + "] " + error.context, expected);
}
