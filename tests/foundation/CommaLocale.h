// A locale as a host may have set it: numbers have a comma in streams, and, on Windows, which has
// such a locale built in, also in the C library.
#pragma once

#include "platform/FileSystem.h"

#include <gtest/gtest.h>

#include <clocale>
#include <locale>

namespace tarn {

class CommaLocale {
public:
    CommaLocale() {
        const char* const set =
            std::setlocale(LC_NUMERIC, "German");  // NOLINT(concurrency-mt-unsafe)
        EXPECT_TRUE(set != nullptr || platform::PathSeparator == '/');
    }
    ~CommaLocale() {
        std::locale::global(before_);
        std::setlocale(LC_NUMERIC, "C");  // NOLINT(concurrency-mt-unsafe)
    }

private:
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };

    const std::locale before_ = std::locale::global(std::locale(std::locale(), new Comma));
};

}  // namespace tarn
