// The command `record`: one connection into a file, or several, or to standard output.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tarn::receive {

struct RecordOptions {
    std::string connection;             // a number or a name; empty: the one that sends
    std::string output;                 // a file, or "-" for standard output
    std::optional<std::uint32_t> rate;  // Hz, of a sender that doesn't tell its own

    // In seconds; nothing: never.
    std::optional<double> seconds;  // of audio, after which to stop
    std::optional<double> wait;     // for the first samples
    std::optional<double> idle;     // without samples, after the first

    bool stopsAtEnd = false;         // when the sender is closed or gone
    bool stopsAtRateChange = false;  // instead of beginning another file
    bool isRaw = false;
    bool replaces = false;
    bool isQuiet = false;
};

/// Records until a request to stop, or as the options have it, and tells on standard error how it
/// goes. Returns the exit status; a `Failure` for what is wrong from the start.
int record(const RecordOptions& options);

}  // namespace tarn::receive
