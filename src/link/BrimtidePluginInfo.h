// What the product is called, and what it is made of.
#pragma once

#include "plugin/PluginInfo.h"

#include <array>

namespace tarn {

class BrimtidePluginInfo : public PluginInfo {
public:
    BrimtidePluginInfo();

    std::string getVendorName() const override { return "Quorl"; }
    std::string getProductName() const override { return "Brimtide"; }
    std::int32_t getVendorCode() const override;
    std::string getVendorURL() const override { return "https://www.quorl.example"; }
    std::string getBundleID() const override { return "com.Quorl.Brimtide"; }
    std::string getProductURL() const override { return getVendorURL() + "/tools/brimtide"; }
    std::string getCopyright() const override { return "Copyright 2026 Quorl"; }
    std::string getCredits() const override { return "TODO"; }
    std::int32_t getProductCode() const override;

    /// One that hosts have no name for.
    std::int32_t getCategory() const override { return 13; }
    bool isSynth() const override { return false; }
    int getModuleCount() const override { return 1; }

    /// Mono to mono, mono to stereo and stereo to stereo.
    std::vector<IOConfig> getIOConfigs() const override;

    /// Stereo inputs, and outputs as asked for: one mono pin, one stereo pin, or else eight mono
    /// ones. Of a single input it keeps the outputs alone, and has no inputs then.
    IOConfig sanitiseIOConfig(const IOConfig& requested) const override;

    int getSchedulerDivisor() const override { return 32; }
    bool wantsMidi(int /*input*/) const override { return false; }

    /// Numbers 1 to 7.
    Font getFont(int index) const override;
    void setFont(int index, const Font& font) override;

    std::unique_ptr<Plugin> createPlugin(HostInterface* host,
                                         std::uintptr_t baseAddress) const override;
    std::unique_ptr<Engine> createEngine(Module* module) const override;

private:
    std::array<Font, 8> fonts_;  // the first is the default
};

}  // namespace tarn
