// What plug-ins may ask of their host, and what they are told.
#pragma once

#include "host/Findings.h"
#include "vst/VstInterface.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace tarn::host {

class Instance;

struct HostSettings {
    double rate = 44100.0;   // Hz
    int announcedBlock = 0;  // frames
    int inputLatency = 0;    // samples
    bool isRealTime = false;
    std::string folder;  // of the plug-in
};

/// The one host of the process: the interface's callback carries nothing that leads to another one
/// before an instance is known. Outlives every instance.
class Host {
public:
    Host(const HostSettings& settings, Findings& findings);
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    ~Host();

    const HostSettings& settings() const noexcept { return settings_; }

    /// The callback that plug-ins are given. Any thread.
    static VST_REALIGN VstIntPtr VSTCALLBACK answer(AEffect* effect, VstInt32 opcode,
                                                    VstInt32 index, VstIntPtr value, void* ptr,
                                                    float opt) noexcept;

    /// The instances that may ask for themselves. Control thread.
    void add(Instance& instance);
    void remove(Instance& instance);

    /// Brackets the calls of one block that begins at `position`. What this thread asks in between
    /// is asked by the audio. Audio thread.
    void beginBlock(std::int64_t position) noexcept;
    void endBlock() noexcept;

private:
    VstIntPtr answerTo(AEffect* effect, VstInt32 opcode, VstInt32 index, void* ptr);
    VstIntPtr noteIOChange(const AEffect* effect);
    VstIntPtr noteEdit(const AEffect* effect, VstInt32 parameter);
    VstIntPtr time() const noexcept;
    VstIntPtr processLevel() const noexcept;

    HostSettings settings_;
    Findings& findings_;
    std::mutex mutex_;
    std::vector<Instance*> instances_;
    std::atomic<std::int64_t> position_{0};
    std::atomic<bool> isPlaying_{false};
};

}  // namespace tarn::host
