// One processing unit of a plug-in instance: an engine and the parameters that it obeys.
//
// Everything rests on one rule: a module is a scope. What belongs to it, its engine and the
// editor's controls, has it as the parent, and so finds parameters by name in the module's settings
// and the instance through the module.
#pragma once

#include "audio/IOChannel.h"
#include "foundation/Radio.h"
#include "foundation/SharedObject.h"
#include "foundation/Word.h"
#include "parameters/Settings.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarn {

class Engine;
class EngineFactory;
class IOPinConfig;
class Program;

/// What isn't marked otherwise is for the control thread, while no block is processed.
class Module : public Radio, public SharedObject {
public:
    /// A channel set aside for scratch work. Copies show the same channel, and the last one frees
    /// it.
    using TempBuffer = SharedObjectPtr<IOChannel<float>>;

    /// With a copy of the settings. `plugin`, the instance, which may be null, and the factory must
    /// outlive the module.
    Module(Radio* plugin, const Settings& settings, const EngineFactory& factory);
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    ~Module() override;

    /// Starts the settings, makes the engine and starts it. Once; throws what the settings and the
    /// factory throw.
    void start() override;

    /// Gives the module's parameters their defaults.
    virtual void loadDefaults() { settings_->resetAll(); }

    Radio* getPlugin() const override { return plugin_; }

    /// Has the engine clear all notes.
    virtual void resetEngine();

    /// Null before `start`. Any thread.
    Engine* getEngine() const noexcept { return engine_.get(); }

    /// The module's own; the same as `settingsOf` finds. Any thread.
    Settings& settings() const noexcept { return *settings_; }

    /// The module's part of the instance's current preset, and that preset's name; null and empty
    /// without a preset or where the instance has no presets at all. Any thread but the audio
    /// thread; the first one while it has PresetsLibrary::hold.
    Program* getCurrentProgram() const;
    std::string getCurrentProgramName() const;

    /// The engine's, in frames; 0 without one.
    int getLatency() const;

    /// Has the engine process a block; does nothing without one and while the module is disabled.
    /// Audio thread.
    void process(const IOPinConfig& in, IOPinConfig& out, int frames) noexcept;

    /// True at first. Any thread.
    void setEnabled(bool isEnabled) noexcept { enabled_ = isEnabled; }

    /// Which of the instance's modules it is, from 0, and what that one is called, such as "A".
    void setIndex(int index) { index_ = index; }
    int getIndex() const { return index_; }
    void setName(const std::string& name) { name_ = name; }
    const std::string& getName() const { return name_; }

    /// 32 of 16,384 samples each, for an engine to take copies of as it starts: 2 MiB, and so made
    /// when first asked for. Throws std::bad_alloc.
    const std::vector<TempBuffer>& getTempBuffers();

private:
    Radio* plugin_;
    const EngineFactory* factory_;
    const std::unique_ptr<Settings> settings_;
    std::vector<TempBuffer> tempBuffers_;
    int index_ = 0;
    std::string name_;
    Word<bool> enabled_{true};
    std::unique_ptr<Engine> engine_;  // the first to go, since it listens to the settings
};

}  // namespace tarn
