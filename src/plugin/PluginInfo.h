// The one object that describes the product and makes its classes.
#pragma once

#include "audio/IOConfig.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace tarn {

class HostInterface;
class Plugin;

class PluginInfo {
public:
    virtual ~PluginInfo() = default;

    /// The product's description. It exists from before the first call into the library until its
    /// end. Any thread.
    static const PluginInfo& get();

    virtual const char* getVendorName() const = 0;
    virtual const char* getProductName() const = 0;

    /// The version as hosts compare it, such as 1200 for 1.2.0.
    virtual std::int32_t getVendorVersion() const = 0;

    /// What the product works with, in new pins without samples. Control thread.
    virtual std::vector<IOConfig> getIOConfigs() const = 0;

    /// Whether one of them has as many channels in and out. Control thread.
    bool isIOConfigSupported(const IOConfig& config) const;

    /// A new instance; `host` must outlive it. Control thread.
    virtual std::unique_ptr<Plugin> createPlugin(HostInterface& host) const = 0;
};

}  // namespace tarn
