#include "link/BrimtidePluginInfo.h"

#include "link/BrimtidePlugin.h"

namespace tarn {

const PluginInfo& PluginInfo::get() {
    static const BrimtidePluginInfo product;
    return product;
}

std::vector<IOConfig> BrimtidePluginInfo::getIOConfigs() const {
    using enum IOPin::Type;
    const auto pinOf = [](IOPin::Type type) { return IOPinConfig(type, 1); };
    return {
        {pinOf(Mono), pinOf(Mono)}, {pinOf(Mono), pinOf(Stereo)}, {pinOf(Stereo), pinOf(Stereo)}};
}

std::unique_ptr<Plugin> BrimtidePluginInfo::createPlugin(HostInterface& host) const {
    return std::make_unique<Brimtide::Plugin>(host);
}

}  // namespace tarn
