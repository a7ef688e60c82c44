#include "link/BrimtidePluginInfo.h"

#include "link/BrimtidePlugin.h"

namespace tarn {

const PluginInfo& PluginInfo::get() {
    static const BrimtidePluginInfo product;
    return product;
}

bool BrimtidePluginInfo::isIOConfigSupported(int inputs, int outputs) const {
    return (inputs == 1 && (outputs == 1 || outputs == 2)) || (inputs == 2 && outputs == 2);
}

std::unique_ptr<Plugin> BrimtidePluginInfo::createPlugin(HostInterface& host) const {
    return std::make_unique<Brimtide::Plugin>(host);
}

}  // namespace tarn
