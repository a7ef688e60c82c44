// What all instances of a process share: the log, the preferences and the resources. It starts them
// once, however many instances a host opens, and knows the instances that live.
//
// Everything rests on one rule: resources belong to the oldest instance. It is current from its
// sign-in on, and the next oldest takes over when it goes.
#pragma once

#include "foundation/Logger.h"
#include "foundation/Mutex.h"
#include "foundation/ParsedFiles.h"
#include "foundation/Preferences.h"
#include "resources/Resources.h"

#include <atomic>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace tarn {

class Plugin;

/// One a process, without work of its own before `start`. Any thread but the audio thread; where an
/// operation shows a message, other threads don't wait for the user.
class Mission {
public:
    static Mission& get() noexcept;

    Mission() = default;
    Mission(const Mission&) = delete;
    Mission& operator=(const Mission&) = delete;

    /// At the library's end: everything, and the product's PluginInfo last.
    ~Mission();

    /// The first call starts everything, and tells the user if that fails; it is never retried.
    void start();

    /// Whether the start has succeeded.
    bool isReady() const noexcept { return ready_.load(std::memory_order_acquire); }

    /// An instance that has started, and one that is about to go. It is called back inside:
    /// `activate` when it becomes the current one, `deactivate` when it isn't any more.
    void signIn(Plugin* plugin);
    void signOut(Plugin* plugin);

    /// Null while no instance is signed in.
    Plugin* getCurrentPlugin() const;

    /// Null before the start, and where it failed.
    Resources* getResources() noexcept { return resources_.get(); }

    ParsedFiles& getParsedFiles() noexcept { return parsedFiles_; }

    /// Shows a message of the fatal kind, or any other, unless this process has shown it before.
    void fatalOnce(const std::string& text);
    void alertOnce(const std::string& text);

private:
    std::string startServices();
    bool isNew(const std::string& text);

    mutable Mutex lock_;  // guards what follows, but what is atomic or locks itself
    bool started_ = false;
    std::atomic<bool> ready_{false};
    std::unique_ptr<Logger> logger_;
    std::unique_ptr<Preferences> machinePreferences_;
    std::unique_ptr<Preferences> userPreferences_;
    std::unique_ptr<Resources> resources_;
    ParsedFiles parsedFiles_;
    std::vector<Plugin*> plugins_;  // oldest first
    Plugin* currentPlugin_ = nullptr;
    std::set<std::string> shownTexts_;
};

}  // namespace tarn
