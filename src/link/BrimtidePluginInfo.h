// What the product is called, and what it is made of.
#pragma once

#include "plugin/PluginInfo.h"

namespace tarn {

class BrimtidePluginInfo : public PluginInfo {
public:
    const char* getVendorName() const override { return "Quorl"; }
    const char* getProductName() const override { return "Brimtide"; }
    std::int32_t getVendorVersion() const override { return 1200; }

    /// Mono to mono, mono to stereo and stereo to stereo.
    std::vector<IOConfig> getIOConfigs() const override;

    std::unique_ptr<Plugin> createPlugin(HostInterface& host) const override;
};

}  // namespace tarn
