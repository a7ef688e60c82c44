// The diagnostics file of the process: lines with a level and the time since the log was opened.
// Everything rests on one rule: logging never throws, never fails and never stops the program.
#pragma once

#include "foundation/Error.h"
#include "foundation/Mutex.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace tarn {

/// What a line is about. A line is kept when its level is at least the threshold.
enum LogLevel : std::int32_t {
    LogDetail = 0,
    LogWarning = 1,
    LogProgress = 2,
    LogError = 3,
    LogMachine = 4,  // start-up facts of the machine
};

/// One log file: `<product>.log` in the product's folder below the user's local application data,
/// made anew, open for others to read. Two threads that log at once each get whole lines. Any
/// thread; on the audio thread only at levels below the threshold, where nothing is done at all.
class Logger {
public:
    /// Opens the file and writes the product's banner. Where the system names no folder, lines go
    /// to its debug output; where the file can't be opened, nowhere.
    explicit Logger(std::int32_t threshold);
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    /// Writes a closing line.
    virtual ~Logger();

    /// A line in the manner of printf, without its end. A format that is null or of 512 characters
    /// or more is ignored; a text is cut at 65,535 characters.
    [[gnu::format(printf, 3, 4)]] void log(std::int32_t level, const char* format, ...);
    void log(std::int32_t level, std::string_view text);

    /// "!! text [code] at context".
    void logError(std::int32_t level, const Error& error);

    /// Logs "label is now value" when the value is new or differs from the label's last one.
    void watch(std::int32_t level, std::string_view label, std::int32_t value);

    void setThreshold(std::int32_t level) noexcept;

    /// The log of this process, null while there is none. Its owner sets it, and sets null before
    /// deleting it, when no other thread can log any more.
    static Logger* get() noexcept;
    static void set(Logger* logger) noexcept;

private:
    bool keeps(std::int32_t level) const noexcept {
        return level >= threshold_.load(std::memory_order_relaxed);
    }
    void logFormatted(std::int32_t level, const char* format, std::va_list arguments);
    [[gnu::format(printf, 2, 3)]] void write(const char* format, ...);
    void write(const char* format, std::va_list arguments);
    friend void logLine(std::int32_t level, const char* format, ...);

    static constexpr std::size_t PrefixSize = 64;
    static constexpr std::size_t TextSize = 65536;

    Mutex lock_;  // guards all but the threshold
    std::unique_ptr<std::ofstream> stream_;
    std::atomic<std::int32_t> threshold_;
    std::array<char, PrefixSize + TextSize> buffer_;  // one whole line
    double startTime_;                                // seconds
    std::map<std::string, std::int32_t, std::less<>> watches_;
};

/// What the Logger's operations do, to the log of this process; nothing while there is none.
[[gnu::format(printf, 2, 3)]] void logLine(std::int32_t level, const char* format, ...);
void logLine(std::int32_t level, std::string_view text);
void logError(std::int32_t level, const Error& error);

}  // namespace tarn
