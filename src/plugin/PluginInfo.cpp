#include "plugin/PluginInfo.h"

#include <algorithm>

namespace tarn {

bool PluginInfo::isIOConfigSupported(const IOConfig& config) const {
    const std::vector<IOConfig> supported = getIOConfigs();
    return std::find(supported.begin(), supported.end(), config) != supported.end();
}

}  // namespace tarn
