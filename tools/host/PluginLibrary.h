// A plug-in's library.
#pragma once

#include "platform/DynamicLibrary.h"
#include "vst/VstInterface.h"

#include <string>

namespace tarn::host {

/// Outlives every instance.
class PluginLibrary {
public:
    /// Loads the library at a UTF-8 path and finds its entry, `VSTPluginMain` or else `main`. A
    /// `Failure` if either fails.
    explicit PluginLibrary(const std::string& path);

    VstPluginEntry entry() const noexcept { return entry_; }

private:
    platform::DynamicLibrary library_;
    VstPluginEntry entry_;
};

}  // namespace tarn::host
