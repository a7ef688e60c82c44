// A product with two modules and a little of everything, and what its files say.
#pragma once

#include "audio/Engine.h"
#include "audio/Module.h"
#include "plugin/Mission.h"
#include "plugin/Plugin.h"
#include "plugin/PluginInfo.h"
#include "samples/Note.h"
#include "support/Product.h"

#include <string>
#include <vector>

namespace tarn::test {

inline const std::string Header =
    "<info creator='Sampler' version='1.2.0'/><file-format value='1.2'/>";
inline const std::string ResourcesText = "<dict>" + Header + "<samples/><bitmaps/></dict>";
inline const std::string SettingsText =
    "<dict>" + Header +
    "<parameters>"
    "<Title class='ParameterText' scope='plugin'/>"
    "<Cutoff class='ParameterValue' type='float' scope='program'/>"
    "<Volume class='ParameterValue' type='float' automatable='true' scope='module'/>"
    "<Bend class='ParameterValue' type='float' minval='-1.0' maxval='1.0' defval='0.0' "
    "scope='plugin'/>"
    "<Switch class='ParameterValue' type='bool' export='false' scope='plugin'/>"
    "<CurrentProgram class='ParameterValue' type='integer' minval='0' maxval='4095' defval='0' "
    "export='false' scope='plugin'/>"
    "</parameters></dict>";

/// Writes down what it is told.
struct NotingEngine : Engine {
    using Engine::Engine;
    void noteEvent(const Note& note) override { notes.push_back(note.toEvent()); }
    void onReset() override { ++resets; }
    void process(const IOPinConfig&, IOPinConfig&, int) noexcept override { ++blocks; }

    std::vector<NoteEvent> notes;
    int resets = 0, blocks = 0;
};

struct SamplerPlugin : Plugin {
    using Plugin::Plugin;
    std::int32_t getUniqueID() const override { return 1; }
    Radio* getEditor() const override { return editor; }
    void activate() override { isActive = true; }
    void deactivate() override { isActive = false; }

    NotingEngine& engine(int module) {
        return dynamic_cast<NotingEngine&>(*moduleAt(module)->getEngine());
    }
    Parameter& parameter(const char* id, int module = 0) {
        return *moduleAt(module)->settings().find(id, 0);
    }

    Radio* editor = nullptr;
    bool isActive = false;
};

struct StartedPlugin : SamplerPlugin {
    StartedPlugin() : SamplerPlugin(nullptr, 0) { start(); }
};

struct SamplerInfo : PluginInfo {
    std::string getVendorName() const override { return "Maker"; }
    std::string getProductName() const override { return "Sampler"; }
    std::int32_t getVendorCode() const override { return 1; }
    std::string getVendorURL() const override { return "https://maker.example"; }
    std::string getBundleID() const override { return "example.maker"; }
    std::string getProductURL() const override { return {}; }
    std::string getCopyright() const override { return {}; }
    std::string getCredits() const override { return {}; }
    std::int32_t getProductCode() const override { return 1; }
    std::int32_t getCategory() const override { return 10; }
    bool isSynth() const override { return true; }
    int getModuleCount() const override { return 2; }
    std::int32_t getBuildType() const override { return 4; }  // none that there is
    std::vector<IOConfig> getIOConfigs() const override {
        return {{IOPinConfig(2, 2), IOPinConfig(1, 1)}, {IOPinConfig(), IOPinConfig(2, 3)}};
    }
    IOConfig sanitiseIOConfig(const IOConfig& requested) const override { return requested; }
    int getSchedulerDivisor() const override { return 32; }
    bool wantsMidi(int) const override { return true; }
    Font getFont(int) const override { return Font(); }
    void setFont(int, const Font&) override {}
    std::unique_ptr<Plugin> createPlugin(HostInterface* host, std::uintptr_t base) const override {
        return std::make_unique<SamplerPlugin>(host, base);
    }
    std::unique_ptr<Engine> createEngine(Module* module) const override {
        return std::make_unique<NotingEngine>(module);
    }
};

/// The product in place, with good files unless a test writes others, and Mission started.
struct SamplerProduct {
    explicit SamplerProduct(const std::string& settings = SettingsText,
                            const std::string& factoryBank = {}) {
        files.write("Resources.xml", ResourcesText);
        files.write("Settings.xml", settings);
        files.write("Sampler Resources/info.xml", "<dict>" + Header + "<author value='A'/></dict>");
        if (!factoryBank.empty())
            files.write("Sampler Resources/Factory Presets.xml", factoryBank);
        Mission::get().start();
    }

    ScratchFolder files;
    std::unique_ptr<Product> product = Product::of<SamplerInfo>(files.path());
};

}  // namespace tarn::test
