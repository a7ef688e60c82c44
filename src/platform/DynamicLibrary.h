// Libraries: one that is loaded by its path while the program runs, and the one that this code is
// part of.
#pragma once

#include <cstdint>
#include <string>

namespace tarn::platform {

/// One hold on a loaded library; the library leaves with it. Control threads.
class DynamicLibrary {
public:
    /// Loads the library at a UTF-8 path, with its own folder searched for what it needs. Check
    /// `isLoaded` after.
    explicit DynamicLibrary(const std::string& path);
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;
    ~DynamicLibrary();

    bool isLoaded() const noexcept { return handle_ != nullptr; }

    /// Why the library was not loaded, in the system's words; empty if it was.
    const std::string& error() const noexcept { return error_; }

    /// The address of an exported function, null when there is none of that name.
    template <typename Function>
    Function* function(const char* name) const noexcept {
        return reinterpret_cast<Function*>(address(name));
    }

private:
    void* address(const char* name) const noexcept;

    void* handle_ = nullptr;
    std::string error_;
};

/// The library, or the program, that this code was linked into.
struct OwnLibrary {
    std::string path;         // absolute, in UTF-8; empty if the system doesn't tell
    std::uintptr_t base = 0;  // where it was loaded
};

/// Control threads.
OwnLibrary ownLibrary();

}  // namespace tarn::platform
