// What ends the host early, in words for its user.
#pragma once

#include <stdexcept>
#include <string>

namespace tarn::host {

/// What the process tells whoever started it.
enum ExitCode {
    ExitFine = 0,
    ExitRulesBroken = 1,  // the plug-in broke a rule of the interface
    ExitBadUse = 2,       // the command line or a file
    ExitNotLoaded = 3,    // the plug-in could not be loaded or gave no instance
};

class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& words) : std::runtime_error(words), code_(code) {}

    ExitCode code() const noexcept { return code_; }

private:
    ExitCode code_;
};

}  // namespace tarn::host
