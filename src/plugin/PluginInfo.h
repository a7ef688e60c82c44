// The one object that describes the product, and makes what a product may replace by classes of its
// own. Everything rests on one rule: the framework asks here whatever differs from product to
// product, and names no product anywhere else.
#pragma once

#include "audio/EngineFactory.h"
#include "audio/IOConfig.h"
#include "drawing/Font.h"
#include "foundation/ProductIdentity.h"
#include "foundation/Version.h"
#include "platform/PreferencesStore.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tarn {

class ControlManager;
class Editor;
class HostInterface;
class Module;
class ParameterManager;
class Plugin;
class SampleManager;
class Settings;

/// Answers are constants or made of constants; any thread, but for what is marked otherwise.
class PluginInfo : public ProductIdentity, public EngineFactory {
public:
    /// Numbers of `getBuildType`.
    enum BuildType : std::int32_t { Development, Alpha, Beta, Release };

    /// Fixed texts of messages to the user, with the product's name in them.
    struct Texts {
        std::string supportFilesMissing;
        std::string resourcesFailed;
        std::string settingsFailed;
        std::string controlsFailed;
        std::string ioFailedTitle, ioFailed;    // a change of inputs and outputs was refused
        std::string ioChangedTitle, ioChanged;  // or takes effect later
    };

    /// The product, which exists from before the first call into the library until its end; a test
    /// puts its own in place. Before threads are started; null takes it away.
    static PluginInfo& get() noexcept;
    static void set(std::unique_ptr<PluginInfo> product) noexcept;

    /// Composes the texts, once; later calls return at once.
    virtual void initialise();
    const Texts& getTexts() const noexcept { return texts_; }

    /// Three lines for the log, each with its end: build, operating system, processor. Takes some
    /// 20 ms at first. Control thread.
    virtual std::string getSystemReport() const;

    // Names and addresses.

    virtual std::string getDeveloperName() const { return getVendorName(); }
    virtual std::int32_t getDeveloperCode() const { return getVendorCode(); }
    virtual std::int32_t getVendorCode() const = 0;
    virtual std::string getVendorURL() const = 0;
    virtual std::string getBundleID() const = 0;
    virtual std::string getProductPrefix() const { return {}; }
    virtual std::string getProductURL() const = 0;
    virtual std::string getCopyright() const = 0;
    virtual std::string getCredits() const = 0;

    /// "Brimtide 1.2.0 skin: " and the present skin's name and author, as far as one is loaded.
    /// Interface thread.
    virtual std::string getAboutText() const;
    virtual std::int32_t getProductCode() const = 0;
    virtual std::string getVendorRegistryKey() const { return "Software\\" + getVendorName(); }
    virtual std::string getRegistryKey() const {
        return getVendorRegistryKey() + "\\" + getProductName();
    }
    virtual std::string getSupportURL() const { return getVendorURL() + "/support"; }
    virtual std::string getForumURL() const { return getVendorURL() + "/forum"; }
    virtual platform::PreferencesRoot getRegistryRoot(bool isUser) const;
    std::string getLogFolder() const override;
    std::string getBanner() const override;

    // Versions.

    virtual Version getVersionValue() const { return Version(getVersionText()); }
    virtual Version getFileFormatVersion() const { return Version(getFileFormatText()); }
    virtual std::int32_t getMajorVersion() const { return 1; }
    virtual std::int32_t getMinorVersion() const { return 2; }
    virtual std::int32_t getRevision() const { return 0; }
    virtual std::string getBuildNumber() const { return "4232"; }
    std::string getVersionText() const override;
    std::string getFileFormatText() const override { return getVersionText(); }

    /// As hosts compare it.
    virtual std::int32_t getVendorVersion() const { return 1200; }
    virtual Version getFrameworkVersion() const { return Version("0.7.0"); }
    virtual std::int32_t getBuildType() const { return Release; }

    // What kind of plug-in it is.

    /// A number of the table by which hosts are told the category.
    virtual std::int32_t getCategory() const = 0;
    virtual bool isSynth() const = 0;
    virtual int getModuleCount() const = 0;

    /// What the product works with, in new pins without samples. Control thread, as all that is
    /// about configurations.
    virtual std::vector<IOConfig> getIOConfigs() const = 0;

    /// The largest number of pins on a side, over all configurations; 0 if there is none.
    virtual int getMaxInputs() const;
    virtual int getMaxOutputs() const;

    /// The most inputs of any configuration and the most outputs of any, in channels; of equal ones
    /// the first.
    virtual IOConfig getWidestIOConfig() const;

    /// What the product would make of a configuration that was asked for.
    virtual IOConfig sanitiseIOConfig(const IOConfig& requested) const = 0;

    /// Whether one of them has as many channels in and out.
    virtual bool isIOConfigSupported(const IOConfig& config) const;
    virtual void setDefaultIOConfig(const IOConfig& config) { defaultIOConfig_ = config; }
    virtual const IOConfig& getDefaultIOConfig() const { return defaultIOConfig_; }

    /// The parameter that a host's bypass switches.
    virtual std::string getBypassParameterName() const { return "Bypass"; }

    /// How many frames share one place of a ParameterScheduler.
    virtual int getSchedulerDivisor() const = 0;
    virtual bool wantsMidi(int input) const = 0;

    /// Of preset files, without a dot.
    virtual std::string getPresetExtension() const { return "xml"; }

    /// For a product's own use; an empty text.
    virtual std::string getStartupValue() const { return {}; }

    /// The product's fonts by number; one that isn't there is the default font. Interface thread.
    virtual Font getFont(int index) const = 0;
    virtual void setFont(int index, const Font& font) = 0;

    // Factories; what they make is the caller's. Control thread.

    /// `host` may be null and must outlive the instance; `baseAddress` is where the library lies.
    virtual std::unique_ptr<Plugin> createPlugin(HostInterface* host,
                                                 std::uintptr_t baseAddress) const = 0;

    /// A module of its own copy of the settings.
    virtual std::unique_ptr<Module> createModule(Plugin* plugin, const Settings& settings) const;
    std::unique_ptr<Engine> createEngine(Module* module) const override;

    /// The interface of an instance and one of its modules, without its controls, and the factory
    /// of its controls. Interface thread.
    virtual std::unique_ptr<Editor> createEditor(Plugin& plugin, Module* module) const;
    virtual std::unique_ptr<ControlManager> createControlManager(Editor& editor) const;
    virtual std::unique_ptr<ParameterManager> createParameterManager() const;
    virtual std::unique_ptr<SampleManager> createSampleManager(Plugin* plugin) const;

private:
    IOConfig defaultIOConfig_;
    std::once_flag isInitialised_;
    Texts texts_;
};

}  // namespace tarn
