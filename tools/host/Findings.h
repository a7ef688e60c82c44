// The rules of the interface that the plug-in was found to break.
#pragma once

#include <map>
#include <mutex>
#include <string>

namespace tarn::host {

/// Tells each kind of finding on standard error when it first comes up, and counts the others. Any
/// thread.
class Findings {
public:
    /// `rule` says what the plug-in did and is what findings are told apart by; `where` says more
    /// about this one and may be empty.
    void add(const std::string& rule, const std::string& where = {});

    bool empty() const;

    /// How often each kind came up, for those that came up more than once.
    std::string repetitions() const;

private:
    mutable std::mutex mutex_;
    std::map<std::string, int> counts_;
};

}  // namespace tarn::host
