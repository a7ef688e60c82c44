// A locale as a host may have set it: numbers have a comma in the C library and in streams.
#pragma once

#include "support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <locale>
#include <string>

namespace tarn {

/// Windows has such a locale built in; on Linux one is made, whichever are installed.
class CommaLocale {
public:
    CommaLocale() {
        if (std::setlocale(LC_NUMERIC, "German") == nullptr) {
            scratch_.write("source",
                           "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\ngrouping -1\n"
                           "END LC_NUMERIC\n");
            const std::string command =
                "cd '" + scratch_.path() + "' && localedef -c -i ./source -f UTF-8 ./comma 2>log";
            (void)std::system(command.c_str());   // NOLINT(cert-env33-c,concurrency-mt-unsafe)
            EXPECT_EQ(putenv(path_.data()), 0);   // NOLINT(concurrency-mt-unsafe)
            std::setlocale(LC_NUMERIC, "comma");  // NOLINT(concurrency-mt-unsafe)
        }
        EXPECT_STREQ(std::localeconv()->decimal_point, ",");  // NOLINT(concurrency-mt-unsafe)
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    ~CommaLocale() {
        std::locale::global(before_);
        std::setlocale(LC_NUMERIC, "C");
    }

private:
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };

    const test::ScratchFolder scratch_;
    std::string path_ = "LOCPATH=" + scratch_.path();
    const std::locale before_ = std::locale::global(std::locale(std::locale(), new Comma));
};

}  // namespace tarn
