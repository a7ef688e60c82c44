#include "plugin/PluginInfo.h"

#include "audio/Module.h"
#include "diagnostics/System.h"
#include "editor/ControlManager.h"
#include "editor/Editor.h"
#include "parameters/ParameterManager.h"
#include "plugin/BuildStamp.h"
#include "plugin/Mission.h"
#include "plugin/Plugin.h"
#include "resources/Resources.h"
#include "samples/Choir.h"
#include "samples/EngineSynth.h"
#include "samples/SampleManager.h"

#include <algorithm>
#include <array>
#include <utility>

namespace tarn {

namespace {

// Owned. No smart pointer: its own end would come at a time that nobody chose, and Mission needs
// the product until its own.
constinit PluginInfo* product = nullptr;

constexpr std::array BuildTypes = {"Development", "Alpha", "Beta", "Release"};

// By the number of System::getOSLevel.
constexpr std::array OperatingSystems = {
    "Windows NT",    "Windows 2000",           "Windows XP",           "Windows XP/64",
    "Windows Vista", "Mac OSX 10.3 (Panther)", "Mac OSX 10.4 (Tiger)", "Mac OSX 10.5 (Leopard)",
};

template <typename Names>
std::string nameOf(const Names& names, std::int32_t number) {
    const auto at = static_cast<std::size_t>(number);
    return at < names.size() ? names[at] : "(unknown)";
}

using Side = const IOPinConfig& (IOConfig::*)() const noexcept;

int mostPins(const std::vector<IOConfig>& configs, Side side) {
    int most = 0;
    for (const IOConfig& config : configs)
        most = std::max(most, (config.*side)().getPinCount());
    return most;
}

// The first of those with the most channels on that side.
IOPinConfig widest(const std::vector<IOConfig>& configs, Side side) {
    const auto found = std::ranges::max_element(
        configs, {}, [side](const IOConfig& config) { return (config.*side)().getChannelCount(); });
    return found != configs.end() ? ((*found).*side)() : IOPinConfig();
}

}  // namespace

PluginInfo& PluginInfo::get() noexcept {
    return *product;
}

void PluginInfo::set(std::unique_ptr<PluginInfo> newProduct) noexcept {
    ProductIdentity::set(newProduct.get());
    delete std::exchange(product, newProduct.release());
}

void PluginInfo::initialise() {
    std::call_once(isInitialised_, [this] {
        const std::string name = getDisplayName();
        const std::string reinstall = ", unable to continue.\nPlease reinstall " + name + ".";
        texts_.supportFilesMissing =
            name +
            " is unable to continue because its support files are missing or corrupt. This may "
            "happen if you manually copied the plugin to a new system.\n\nTo fix this problem "
            "please run the " +
            name + " installer. ";
        texts_.resourcesFailed = "Error loading resources" + reinstall;
        texts_.settingsFailed = "Error loading settings" + reinstall;
        texts_.controlsFailed =
            "Error loading controls!  The plugin will function but no editor will be "
            "available.\n\nPlease reinstall " +
            name;
        texts_.ioFailedTitle = "I/O configuration failed";
        texts_.ioFailed =
            "could not switch to the new I/O configuration!\r\nPlease unload and reload the plugin "
            "for the new settings to take effect.";
        texts_.ioChangedTitle = "I/O configuration changed";
        texts_.ioChanged = "The new I/O configuration will take effect on next load. ";
    });
}

std::string PluginInfo::getSystemReport() const {
    return "Build type: " + nameOf(BuildTypes, getBuildType()) +
           (sizeof(void*) == 4 ? " (i386)" : " (x86_64)") +
           "\nOperating system: " + nameOf(OperatingSystems, System::getOSLevel()) +
           "\nCPU: " + System::getProcessorDescription() + ", " +
           std::to_string(System::getProcessorCount()) + "\n";
}

std::string PluginInfo::getAboutText() const {
    std::string text = getDisplayName() + " " + getVersionText();
    if (Resources* const resources = Mission::get().getResources()) {
        const Skin& skin = resources->getSkin(resources->getCurrentSkin());
        text += " skin: " + skin.getName();
        if (const std::string author = skin.getAuthor(); !author.empty())
            text += " by " + author;
    }
    return text;
}

platform::PreferencesRoot PluginInfo::getRegistryRoot(bool isUser) const {
    return isUser ? platform::PreferencesRoot::CurrentUser
                  : platform::PreferencesRoot::LocalMachine;
}

std::string PluginInfo::getLogFolder() const {
    return getVendorName();
}

std::string PluginInfo::getBanner() const {
    return getProductName() + " " + getVersionText() + " (built @ " + buildStamp() + ")";
}

std::string PluginInfo::getVersionText() const {
    return std::to_string(getMajorVersion()) + "." + std::to_string(getMinorVersion()) + "." +
           std::to_string(getRevision());
}

int PluginInfo::getMaxInputs() const {
    return mostPins(getIOConfigs(), &IOConfig::getInputs);
}

int PluginInfo::getMaxOutputs() const {
    return mostPins(getIOConfigs(), &IOConfig::getOutputs);
}

IOConfig PluginInfo::getWidestIOConfig() const {
    const std::vector<IOConfig> configs = getIOConfigs();
    return IOConfig(widest(configs, &IOConfig::getInputs), widest(configs, &IOConfig::getOutputs));
}

bool PluginInfo::isIOConfigSupported(const IOConfig& config) const {
    const std::vector<IOConfig> supported = getIOConfigs();
    return std::ranges::find(supported, config) != supported.end();
}

std::unique_ptr<Module> PluginInfo::createModule(Plugin* plugin, const Settings& settings) const {
    return std::make_unique<Module>(plugin, settings, *this);
}

std::unique_ptr<Engine> PluginInfo::createEngine(Module* module) const {
    return std::make_unique<EngineSynth>(module, nullptr);
}

std::unique_ptr<Editor> PluginInfo::createEditor(Plugin& plugin, Module* module) const {
    return std::make_unique<Editor>(plugin, module, Mission::get().getResources());
}

std::unique_ptr<ControlManager> PluginInfo::createControlManager(Editor& editor) const {
    return std::make_unique<ControlManager>(editor);
}

std::unique_ptr<ParameterManager> PluginInfo::createParameterManager() const {
    return std::make_unique<ParameterManager>();
}

std::unique_ptr<SampleManager> PluginInfo::createSampleManager(Plugin* plugin) const {
    return std::make_unique<SampleManager>(plugin);
}

}  // namespace tarn
