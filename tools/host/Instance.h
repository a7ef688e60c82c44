// One instance of a plug-in, as strict hosts treat it.
// Everything rests on one rule: nothing that the plug-in reports is believed before it was checked.
#pragma once

#include "host/Host.h"

#include <atomic>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tarn::host {

/// Control thread, where nothing else is said. The order of life: construction, `configure`,
/// `arrange`, `resume`, blocks, `suspend`, destruction.
class Instance {
public:
    /// Gets an instance from the entry, checks its record and opens it. A `Failure` when there is
    /// none or the record is unusable.
    Instance(VstPluginEntry entry, Host& host, Findings& findings);
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance();

    /// Tells rate and block size, as the host's settings have them.
    void configure();

    /// Asks for so many channels, 1 or 2; false when the plug-in keeps its own.
    bool arrange(int inputs, int outputs);

    void resume();
    void suspend();

    /// Any number of frames; the arrays have a buffer for each of `inputs` and `outputs`. Audio
    /// thread.
    void process(float** inputs, float** outputs, int frames);

    const AEffect& record() const noexcept { return *effect_; }
    bool isOf(const AEffect* effect) const noexcept { return effect == effect_; }
    VstIntPtr dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.0f);

    /// Channels as they were read last. Control and audio thread.
    int inputs() const noexcept { return inputs_; }
    int outputs() const noexcept { return outputs_; }

    /// Reads the channels again if they have changed; whether they may have. A `Failure` when there
    /// are too many. Before each block; audio thread.
    bool takeIOChange();

    /// The plug-in tells of a change. Any thread.
    void noteIOChange() noexcept { isIOChanged_ = true; }

    /// What an opcode writes into a text of `bytes`, in whatever encoding; `name` tells findings
    /// what it is.
    std::string text(VstInt32 opcode, VstInt32 index, std::size_t bytes, const char* name);

    /// What an opcode writes into a record, nothing when it answers 0.
    std::optional<VstPinProperties> pin(VstInt32 opcode, VstInt32 index);
    std::optional<VstParameterProperties> parameterProperties(VstInt32 index);

    /// 0.0 to 1.0. The index is one that the record has. Audio thread or control thread.
    void setParameter(VstInt32 index, float value);
    float parameter(VstInt32 index);

    /// By what a user would type, in UTF-8; whether the plug-in took it.
    bool setParameterText(VstInt32 index, const std::string& text);

    /// The parameter of that number or name, whichever letters are large; nothing if there is none.
    std::optional<VstInt32> findParameter(const std::string& indexOrName);

    /// The bank's chunk; nothing when the plug-in says that it has none.
    std::optional<std::vector<std::byte>> chunk();

    /// False when the plug-in says that it has none. What it answers to the chunk itself means
    /// nothing: plug-ins answer as they like.
    bool setChunk(std::span<const std::byte> chunk);

private:
    void checkRecord() const;
    void readChannels();
    void noticeSilentChange();
    template <typename Record>
    std::optional<Record> recordOf(VstInt32 opcode, VstInt32 index, const char* name);

    AEffect* effect_ = nullptr;  // the plug-in's, until effClose
    Host& host_;
    Findings& findings_;
    int inputs_ = 0;
    int outputs_ = 0;
    bool isResumed_ = false;
    std::atomic<bool> isIOChanged_{false};
};

/// The text in a buffer, up to its zero or the buffer's end.
std::string textIn(std::span<const char> buffer);

}  // namespace tarn::host
