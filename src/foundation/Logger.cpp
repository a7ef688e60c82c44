#include "foundation/Logger.h"

#include "foundation/ProductIdentity.h"
#include "platform/Clock.h"
#include "platform/DebugOutput.h"
#include "platform/Folders.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>

namespace tarn {

namespace {

constexpr std::size_t FormatLimit = 512;

constinit std::atomic<Logger*> processLog{nullptr};

std::filesystem::path pathOf(const std::string& utf8) {
    return {std::u8string(utf8.begin(), utf8.end())};
}

// An empty path if the system names no folder.
std::filesystem::path logFile() {
    const std::string local =
        platform::knownFolderPath(platform::KnownFolder::LocalApplicationData, true);
    if (local.empty())
        return {};
    const ProductIdentity& product = ProductIdentity::get();
    const std::filesystem::path folder = pathOf(local) / pathOf(product.getLogFolder());
    std::error_code failure;  // shows when the file is opened
    std::filesystem::create_directories(folder, failure);
    return folder / pathOf(product.getProductName() + ".log");
}

// Emptied, then opened for appending, so that two processes that log to one file don't write over
// each other's lines.
std::unique_ptr<std::ofstream> openLog() {
    const std::filesystem::path path = logFile();
    if (path.empty())
        return nullptr;
    std::ofstream(path, std::ios::trunc).close();
    return std::make_unique<std::ofstream>(path, std::ios::app);
}

std::size_t printPrefix(char* out, std::size_t size, double elapsedSeconds) {
    // A long of Windows holds 24 days of milliseconds.
    const auto ms = static_cast<std::int64_t>(std::max(elapsedSeconds, 0.0) * 1000.0);
    const auto seconds = static_cast<long>(ms / 1000);
    const int length = std::snprintf(out, size, "%02ld:%02ld:%02ld:%03ld |", seconds / 3600,
                                     seconds / 60 % 60, seconds % 60, static_cast<long>(ms % 1000));
    return static_cast<std::size_t>(std::max(length, 0));
}

}  // namespace

Logger::Logger(std::int32_t threshold)
    : stream_(openLog()), threshold_(threshold), startTime_(platform::highResolutionSeconds()) {
    log(LogProgress, ProductIdentity::get().getBanner());
}

Logger::~Logger() {
    log(LogProgress, "log closed");
}

void Logger::log(std::int32_t level, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    logFormatted(level, format, arguments);
    va_end(arguments);
}

void Logger::logFormatted(std::int32_t level, const char* format, std::va_list arguments) {
    if (format != nullptr && keeps(level) && ::strnlen(format, FormatLimit) < FormatLimit)
        write(format, arguments);
}

void Logger::log(std::int32_t level, std::string_view text) {
    if (keeps(level))
        write("%.*s", static_cast<int>(std::min(text.size(), TextSize)), text.data());
}

void Logger::logError(std::int32_t level, const Error& error) {
    log(level, "!! %s [%s] at %s", error.what(), error.code.c_str(), error.context.c_str());
}

void Logger::watch(std::int32_t level, std::string_view label, std::int32_t value) {
    if (!keeps(level))
        return;
    const std::lock_guard hold(lock_);
    const auto found = watches_.find(label);
    if (found != watches_.end() && found->second == value)
        return;
    if (found != watches_.end())
        found->second = value;
    else
        watches_.emplace(label, value);
    write("%.*s is now %d", static_cast<int>(label.size()), label.data(), static_cast<int>(value));
}

void Logger::setThreshold(std::int32_t level) noexcept {
    threshold_.store(level, std::memory_order_relaxed);
}

Logger* Logger::get() noexcept {
    return processLog.load(std::memory_order_acquire);
}

void Logger::set(Logger* logger) noexcept {
    processLog.store(logger, std::memory_order_release);
}

void Logger::write(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    write(format, arguments);
    va_end(arguments);
}

void Logger::write(const char* format, std::va_list arguments) {
    const std::lock_guard hold(lock_);
    char* line = buffer_.data();
    const std::size_t prefix =
        printPrefix(line, PrefixSize, platform::highResolutionSeconds() - startTime_);
    // Both callers have started the list.
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    const int printed = std::vsnprintf(line + prefix, TextSize, format, arguments);
    if (printed < 0)
        return;
    std::size_t length = prefix + std::min(static_cast<std::size_t>(printed), TextSize - 1);
    if (stream_ == nullptr) {
        const std::string text(line + prefix, length - prefix);
        line[prefix] = '\0';
        platform::debugOutput(line);
        platform::debugOutput(text.c_str());
        platform::debugOutput("\n");
        return;
    }
    line[length++] = '\n';
    stream_->write(line, static_cast<std::streamsize>(length)).flush();
}

void logLine(std::int32_t level, const char* format, ...) {
    Logger* const logger = Logger::get();
    if (logger == nullptr)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    logger->logFormatted(level, format, arguments);
    va_end(arguments);
}

void logLine(std::int32_t level, std::string_view text) {
    if (Logger* const logger = Logger::get())
        logger->log(level, text);
}

void logError(std::int32_t level, const Error& error) {
    if (Logger* const logger = Logger::get())
        logger->logError(level, error);
}

}  // namespace tarn
