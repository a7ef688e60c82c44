// The one object that describes the product and makes its classes.
#pragma once

#include <cstdint>
#include <memory>

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

    /// Whether the product works with so many channels in and out.
    virtual bool isIOConfigSupported(int inputs, int outputs) const = 0;

    /// A new instance; `host` must outlive it. Control thread.
    virtual std::unique_ptr<Plugin> createPlugin(HostInterface& host) const = 0;
};

}  // namespace tarn
