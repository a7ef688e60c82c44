// A log of its own for a test: a product of that test's name, in a folder that goes afterwards.
#pragma once

#include "foundation/Logger.h"
#include "foundation/ProductIdentity.h"
#include "platform/Folders.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace tarn {

class LogFolder final : public ProductIdentity {
public:
    LogFolder() { ProductIdentity::set(this); }
    ~LogFolder() override {
        close();
        ProductIdentity::set(nullptr);
        std::error_code ignored;
        std::filesystem::remove_all(path().parent_path(), ignored);
    }

    /// Opens the log and makes it that of the process.
    Logger& open(std::int32_t threshold) {
        Logger::set(&logger_.emplace(threshold));
        return *logger_;
    }
    void close() {
        Logger::set(nullptr);
        logger_.reset();
    }

    /// The file's lines as they are now, behind the opening one and without their times; or raw.
    std::vector<std::string> lines(bool raw = false) const {
        std::ifstream file(path());
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(raw ? line : line.substr(line.find('|') + 1));
        if (!raw && !lines.empty())
            lines.erase(lines.begin());
        return lines;
    }

    std::filesystem::path path() const {
        using std::filesystem::u8path;
        return u8path(knownFolderPath(platform::KnownFolder::LocalApplicationData)) /
               u8path(getLogFolder()) / u8path(getProductName() + ".log");
    }

    std::string getVendorName() const override { return "Maker"; }
    std::string getProductName() const override { return "Wellengang \u00e4"; }
    std::string getDisplayName() const override { return "Das Wellengang"; }
    std::string getVersionText() const override { return "1.2.0"; }
    std::string getFileFormatText() const override { return "1.2"; }
    std::string getLogFolder() const override {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        return std::string("tarn-test-") + test->test_suite_name() + "-" + test->name();
    }
    std::string getBanner() const override { return "Wellengang 1.2.0 for the test"; }

private:
    std::optional<Logger> logger_;
};

}  // namespace tarn
