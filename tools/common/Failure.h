// What ends a tool early, in words for its user, and the exit statuses that all tools share.
#pragma once

#include <stdexcept>
#include <string>

namespace tarn::tools {

constexpr int ExitFine = 0;
constexpr int ExitBadUse = 2;  // the command line is wrong, or a file can't be read or written

class Failure : public std::runtime_error {
public:
    Failure(int exitStatus, const std::string& words)
        : std::runtime_error(words), exitStatus_(exitStatus) {}

    int exitStatus() const noexcept { return exitStatus_; }

private:
    int exitStatus_;
};

}  // namespace tarn::tools
