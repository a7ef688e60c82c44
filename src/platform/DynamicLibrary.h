// A library that is loaded by its path while the program runs.
#pragma once

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

}  // namespace tarn::platform
