// One instance of the plug-in, whatever the host's format: its modules, its presets and its state.
//
// Everything rests on one rule: the parameters that the modules share, and those of the first
// module, are the instance. The state is what they and the presets write, in one order, and read
// back.
#pragma once

#include "audio/CPUMeter.h"
#include "audio/IOPinConfig.h"
#include "foundation/Radio.h"
#include "foundation/SharedObject.h"
#include "foundation/Word.h"
#include "parameters/MidiMapper.h"
#include "parameters/ModuleDirectory.h"
#include "parameters/PresetsLibrary.h"
#include "plugin/CallsUnderWay.h"
#include "resources/MissingFileHandler.h"
#include "samples/Tuning.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tarn {

class Dictionary;
class File;
class HostInterface;
class Module;
class ParameterManager;
class Sample;
class SampleManager;
class Settings;

// Names of parameters that the framework looks up.
inline constexpr const char* CurrentProgramName = "CurrentProgram";

/// A MIDI message of the host's.
struct MidiRecord {
    std::array<std::uint8_t, 3> bytes{};  // status, data 1, data 2
    std::int32_t deltaFrames = 0;         // from the beginning of the next block
    std::int16_t detune = 0;              // cents
    std::int32_t noteLength = 0;          // frames, 0 if not known
};

/// Control thread, where nothing else is said; for the state and the presets any but the audio
/// thread (PresetsLibrary::hold). Everything that a host does in a wrong order is
/// harmless: before `start` and after a failed one there are no modules.
class Plugin : public Radio,
               public PresetsLibrary,
               public ModuleDirectory,
               public MissingFileHandler {
public:
    /// `host`, which may be null, must outlive the instance. `baseAddress` is where the library
    /// lies; it is for the log.
    Plugin(HostInterface* host, std::uintptr_t baseAddress);
    ~Plugin() override;

    /// Loads the definitions of the parameters, "Settings.xml" in the product's folder, makes the
    /// modules and the presets. Once. If the file can't be used, tells the user and throws its
    /// `Error`; the instance has no modules then.
    void start() override;
    void stop() override;

    // For Mission: whether this instance is the one that the process's resources belong to.
    virtual void activate();
    virtual void deactivate();

    /// The four-character code by which hosts recognise the effect.
    virtual std::int32_t getUniqueID() const = 0;

    // What the host tells before it starts: Hz, and the largest block in frames that it announces.
    // It may send longer ones all the same.
    virtual void setSampleRate(int rate);
    virtual void setBlockSize(int frames);

    /// The host stops and starts, while no block is processed.
    virtual void suspend() {}
    virtual void resume();

    /// One block: any number of frames from 0 up, in channels of at least that size. None of an
    /// input's samples counts as valid yet: all of the block's do here. An output channel comes
    /// with no valid sample and is written from its beginning, after those of lower index, from the
    /// input channel of its own index or from the only one. It may lie over input channels that no
    /// later output is written from, and be the very same memory as the one that it is written
    /// from. Audio thread; allocates nothing and never waits.
    virtual void process(IOPinConfig& in, IOPinConfig& out, int frames) noexcept;

    /// A MIDI message for the next block, and the end of those for one block. Audio thread.
    virtual void midiEvent(const MidiRecord& record);
    virtual void midiEventsDone() {}

    /// After a pause of the host's: clears what the engines still sound. Audio thread; a redraw is
    /// left to the thread that delivers just then from here, if there is one.
    virtual void resetAfterGap();

    /// A sample becomes the current sample, a file of presets the current presets; a single preset
    /// takes the place of the current one, or of a new one where that is the factory's. False for
    /// others, which an alert refuses. Interface thread.
    virtual bool importFile(const File& file);

    /// Adds the whole state to an empty tree: always true. `options` means nothing so far.
    virtual bool writeState(Dictionary& state, std::int32_t options);

    /// Takes a state. One of another product, or of a newer format, changes nothing, which an alert
    /// tells the user; the answer is then false. Controllers, tunings and samples that a state says
    /// nothing of stay as they are, and presets beyond its last one too.
    virtual bool readState(Dictionary& state);

    /// The first preset of a tree becomes the current one.
    virtual void readProgram(const Dictionary& state) { loadProgram(state, 0); }

    /// The position of the current program; 0 if there is none.
    virtual std::int32_t getProgram() const { return getCurrentIndex(); }

    /// Programs that the host is told of, at least 1: those of the factory bank.
    std::int32_t getProgramCount() const override;

    void setProgram(std::int32_t index) override;

    /// Tells listeners and "CurrentProgram".
    void currentChanged() override;
    void setModified(bool isModified) override;

    /// Has the interface show anew what it shows of the instance. Any thread.
    void redraw();

    /// Of the first module's engine, in samples; -1 without a module. Any thread.
    int getLatency() const;

    HostInterface* getHost() const noexcept { return host_; }
    CallsUnderWay& calls() noexcept { return calls_; }
    SampleManager& getSampleManager() noexcept { return *sampleManager_; }
    MidiMapper<Parameter*>& getMidiMapper() noexcept { return midiMapper_; }
    const Tuning& getTuning() const { return tunings_[currentTuning_]; }

    /// Whether a listener asked the instance to shut down, or to fall silent. Any thread.
    bool isShutDown() const noexcept { return shutDown_; }
    bool isDisabled() const noexcept { return disabled_; }

    /// The sections of code that are metered from the beginning.
    enum MeteredSection : std::int32_t { AudioSection = 0, MidiSection = 1 };

    // Around each run of a section. On the audio thread for those above; the meter of any other key
    // is made at its first use, on the control thread while no block is processed.
    void beginCpuMeter(std::int32_t key) { getCpuMeter(key).begin(); }
    void endCpuMeter(std::int32_t key) { getCpuMeter(key).end(); }

    /// Owned by the instance. Threads as for `beginCpuMeter`, but those above for any.
    CPUMeter& getCpuMeter(std::int32_t key);

    /// Starts and stops the meters of the sections above; they are stopped at first, and cost
    /// nothing then. Interface thread.
    void setCpuMetering(bool isOn);

    /// Meters a section from here to its end, if the meters are started.
    class CpuMetering {
    public:
        CpuMetering(Plugin& plugin, MeteredSection section)
            : plugin_(plugin.isCpuMetering_ ? &plugin : nullptr), section_(section) {
            if (plugin_ != nullptr) [[unlikely]]
                plugin_->beginCpuMeter(section_);
        }
        CpuMetering(const CpuMetering&) = delete;
        CpuMetering& operator=(const CpuMetering&) = delete;
        ~CpuMetering() {
            if (plugin_ != nullptr) [[unlikely]]
                plugin_->endCpuMeter(section_);
        }

    private:
        Plugin* plugin_;
        MeteredSection section_;
    };

    /// Frames processed since the start, modulo 2^32. Any thread.
    std::int32_t getSampleClock() const noexcept { return sampleClock_; }

    // Radio
    Radio* getPlugin() const override { return const_cast<Plugin*>(this); }
    Radio* getEditor() const override;

    /// Notes for the engines, program changes, changes that concern the current sample, dropped
    /// files, requests of the system. Any thread, but for what chooses a program or brings a file:
    /// not the audio thread.
    bool receive(Message& message) override;

    // ModuleDirectory
    int getModuleCount() const override { return static_cast<int>(modules_.size()); }
    Radio* getModule(int index) const override;
    std::string getModuleName(const Radio& module) const override;

    /// The module itself; null for an index that isn't there. Any thread.
    Module* moduleAt(int index) const;

    /// Asks the user where a sample is that could not be found. Does nothing without an editor.
    bool reportMissingSample(File& file) override;

    /// "<pack>.pack" among the product's samples.
    bool findPackFile(const std::string& pack, File& file) override;

protected:
    /// Has each module process the block, in order. Audio thread.
    void processModules(IOPinConfig& in, IOPinConfig& out, int frames) noexcept;

    void catchUp() noexcept override;
    void resourcesLoading(bool isBeginning) override;
    void readResources(const Dictionary& resources) override;

private:
    void loadSettings();
    void makeModules();
    void tuneInToParameters();
    void readFactoryBank();
    void loadFirstPresets();
    void controllerEvent(std::int32_t controller, float value, std::int32_t position);
    void noteEvent(const MidiRecord& record);
    bool receiveMidi(const Message& message);
    bool receiveParameter(Message& message);
    bool receiveSystem(Message& message);
    void tellSample(Message& message);
    void holdSamples();
    bool importSample(const File& file, std::string& message);
    bool importPresets(const File& file, std::string& message);
    bool leaveFactoryPreset();
    void writeHeader(Dictionary& state) const;
    void writePrograms(Dictionary& state);
    void writeSamples(Dictionary& state) const;
    void writeTunings(Dictionary& state) const;
    void writeMidi(Dictionary& state) const;
    bool takeState(Dictionary& state, std::string& message);
    void readParts(const Dictionary& state);
    void readCurrentProgram(const Dictionary& state);
    void readTunings(const Dictionary& state);
    void readMidi(const Dictionary& state);
    Settings* firstSettings() const;
    template <typename Visit>
    void forEachEngine(const Visit& visit) const;

    CallsUnderWay calls_;
    HostInterface* host_;
    std::uintptr_t baseAddress_;
    std::unique_ptr<ParameterManager> parameterManager_;
    std::unique_ptr<Settings> settings_;
    std::vector<std::unique_ptr<Module>> modules_;
    std::unique_ptr<SampleManager> sampleManager_;
    std::vector<SharedObjectPtr<Sample>> samples_;  // mapped ones: they stay while others load
    MidiMapper<Parameter*> midiMapper_;
    std::vector<Tuning> tunings_{1};
    std::size_t currentTuning_ = 0;            // always one that is there
    std::unique_ptr<Dictionary> factoryBank_;  // null without one, and after the start
    std::int32_t factoryPrograms_ = 0;
    int blockFrames_ = 0;
    std::map<std::int32_t, std::unique_ptr<CPUMeter>> cpuMeters_;
    Word<bool> isCpuMetering_{false};
    Word<std::int32_t> sampleClock_{0};
    std::atomic<bool> isRedrawDue_{false};  // that the audio thread asked for
    Word<bool> disabled_{false};
    Word<bool> shutDown_{false};
    bool open_ = false;
};

}  // namespace tarn
