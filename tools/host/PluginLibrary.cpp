#include "host/PluginLibrary.h"

#include "host/Failure.h"

#include <type_traits>

namespace tarn::host {

PluginLibrary::PluginLibrary(const std::string& path) : library_(path) {
    if (!library_.isLoaded())
        throw Failure(ExitNotLoaded, "can't load " + path + ": " + library_.error());
    using Entry = std::remove_pointer_t<VstPluginEntry>;
    entry_ = library_.function<Entry>("VSTPluginMain");
    if (entry_ == nullptr)
        entry_ = library_.function<Entry>("main");
    if (entry_ == nullptr)
        throw Failure(ExitNotLoaded, path + " is no VST 2 plug-in: it exports no entry");
}

}  // namespace tarn::host
