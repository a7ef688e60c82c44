#include "plugin/Mission.h"

#include "diagnostics/System.h"
#include "foundation/File.h"
#include "plugin/Plugin.h"
#include "plugin/PluginInfo.h"

#include <algorithm>
#include <cinttypes>
#include <mutex>

namespace tarn {

namespace {

const char* const StartSignature = "void __thiscall tarn::Mission::start(void)";

Mission mission;

void logSign(const Plugin* plugin, const char* what) {
    logLine(LogProgress, "plugin 0x%" PRIxPTR " signed %s",
            reinterpret_cast<std::uintptr_t>(plugin), what);
}

}  // namespace

Mission& Mission::get() noexcept {
    return mission;
}

Mission::~Mission() {
    resources_.reset();
    Preferences::setStores(nullptr, nullptr);
    machinePreferences_.reset();
    userPreferences_.reset();
    Logger::set(nullptr);
    logger_.reset();
    PluginInfo::set(nullptr);
}

void Mission::start() {
    std::string failure;
    {
        const std::lock_guard guard(lock_);
        if (std::exchange(started_, true))
            return;
        failure = startServices();
        ready_.store(failure.empty(), std::memory_order_release);
    }
    // Outside the lock: while the box waits for the user, the host may make more instances.
    if (!failure.empty())
        fatalOnce(failure);
}

// What the user is to be told if the start fails; empty if it succeeds.
std::string Mission::startServices() {
    PluginInfo& product = PluginInfo::get();
    logger_ = std::make_unique<Logger>(LogProgress);
    Logger::set(logger_.get());
    logLine(LogMachine, product.getBanner());
    logLine(LogMachine, product.getSystemReport());
    System::init();

    const std::string key = product.getRegistryKey();
    machinePreferences_ =
        std::make_unique<Preferences>(product.getRegistryRoot(false), key, Preferences::Read);
    userPreferences_ = std::make_unique<Preferences>(product.getRegistryRoot(true), key,
                                                     Preferences::Read | Preferences::Write);
    Preferences::setStores(machinePreferences_.get(), userPreferences_.get());
    std::int32_t level = LogProgress;
    if (userPreferences_->getInteger("LogLevel", level))
        logger_->setThreshold(level);
    product.initialise();

    const Folder install = System::getFolderLocation(System::Install);
    if (!install.exists()) {
        logError(LogError, ErrorPrefsKeyNotFound(StartSignature, "InstallPath"));
        return product.getTexts().supportFilesMissing;
    }
    auto resources = std::make_unique<Resources>();
    if (const Error error = resources->load(File(install, "Resources.xml")); !error.isOk()) {
        logError(LogError, error);
        return product.getTexts().resourcesFailed;
    }
    resources_ = std::move(resources);
    return {};
}

bool Mission::isNew(const std::string& text) {
    const std::lock_guard guard(lock_);
    return shownTexts_.insert(text).second;
}

void Mission::fatalOnce(const std::string& text) {
    if (isNew(text))
        System::fatal(text, false);
}

void Mission::alertOnce(const std::string& text) {
    if (isNew(text))
        System::alert(text, true);
}

void Mission::signIn(Plugin* plugin) {
    const std::lock_guard guard(lock_);
    if (plugins_.empty()) {
        plugin->activate();
        currentPlugin_ = plugin;
    }
    plugins_.push_back(plugin);
    logSign(plugin, "in");
}

void Mission::signOut(Plugin* plugin) {
    const std::lock_guard guard(lock_);
    const bool wasCurrent = plugin == currentPlugin_;
    if (wasCurrent) {
        plugin->deactivate();
        currentPlugin_ = nullptr;
    }
    std::erase(plugins_, plugin);
    logSign(plugin, "out");
    if (wasCurrent && !plugins_.empty()) {
        currentPlugin_ = plugins_.front();
        currentPlugin_->activate();
    }
}

Plugin* Mission::getCurrentPlugin() const {
    const std::lock_guard guard(lock_);
    return currentPlugin_;
}

}  // namespace tarn
