// The product as a VST 2.4 host sees it, and the host as the framework sees it.
// Everything rests on the gate: it opens last when an instance starts and closes first when it
// stops, and whoever changes what a block uses stands in it alone.
#pragma once

#include "audio/IOConfig.h"
#include "plugin/HostInterface.h"
#include "plugin/Plugin.h"
#include "vst/AudioEffect.h"
#include "vst/AudioGate.h"

#include <memory>
#include <string>

namespace tarn {

class VSTEditor;

class VSTPlugin : public AudioEffectX, public HostInterface {
public:
    /// A suspended instance with these channels that has taken its connection slot. `baseAddress`
    /// is where the library lies. Mission must have started. Throws what the instance's start
    /// throws.
    VSTPlugin(std::uintptr_t baseAddress, audioMasterCallback host, const IOConfig& ioConfig);
    ~VSTPlugin() override;

    // AudioEffect
    VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                         float opt) override;
    bool putOffEnd() override;
    void suspend() override;
    void resume() override;

    /// Hz; what is no positive number means that the rate isn't known. Does nothing when a block
    /// under way doesn't end.
    void setSampleRate(float rate) override;
    using HostInterface::setSampleRate;

    /// Makes room for the copies that a block of so many frames may need. Beyond 0 to a million the
    /// nearest counts. Does nothing when a block under way doesn't end.
    void setBlockSize(VstInt32 frames) override;

    /// Any number of frames, whatever the announced block size. Does nothing while suspended, when
    /// a pointer is null, or when another thread is inside.
    ///
    /// Outputs may lie over inputs in any way, but not over each other. After a block longer than
    /// was announced the block size is the next power of two; until the host's next call makes room
    /// for it, such blocks are passed in parts where outputs lie over inputs: they come out right
    /// unless an output begins inside an input.
    void processReplacing(float** inputs, float** outputs, VstInt32 frames) noexcept override;
    void setParameter(VstInt32 index, float value) noexcept override;
    float getParameter(VstInt32 index) noexcept override;
    VstInt32 getProgram() override;
    void setProgram(VstInt32 program) override;
    void setProgramName(const char* name) override;
    void getProgramName(char* name) override;
    void getParameterLabel(VstInt32 index, char* label) override;
    void getParameterDisplay(VstInt32 index, char* text) override;
    void getParameterName(VstInt32 index, char* text) override;

    /// Always the whole state, as text with its zero. A state that can't be used changes nothing,
    /// which the user is told. Nothing is read behind a zero.
    VstInt32 getChunk(void** data, bool isPreset) override;
    VstInt32 setChunk(const void* data, VstInt32 size, bool isPreset) override;

    // AudioEffectX
    bool canParameterBeAutomated(VstInt32 index) override;
    bool string2parameter(VstInt32 index, const char* text) override;

    /// Of a switch, of whole numbers and of entries to choose from also how they are stepped. Steps
    /// of other numbers are those of the normalised value.
    bool getParameterProperties(VstInt32 index, VstParameterProperties* properties) override;
    bool getProgramNameIndexed(VstInt32 category, VstInt32 index, char* name) override;
    bool getInputProperties(VstInt32 index, VstPinProperties* properties) override;
    bool getOutputProperties(VstInt32 index, VstPinProperties* properties) override;

    /// Refuses also when a block under way doesn't end, as when it is the caller's own.
    bool setSpeakerArrangement(const VstSpeakerArrangement* input,
                               const VstSpeakerArrangement* output) override;

    /// Does nothing while no block could be processed either.
    VstInt32 processEvents(const VstEvents* events) override;
    bool getEffectName(char* name) override;
    bool getVendorString(char* text) override;
    bool getProductString(char* text) override;
    VstInt32 getVendorVersion() override;
    VstInt32 canDo(const char* text) override;
    VstPlugCategory getPlugCategory() override;

    // HostInterface
    using HostInterface::getEditor;
    using HostInterface::setEditor;
    void beginEdit(std::int32_t index) override;
    void endEdit(std::int32_t index) override;
    void parameterChanged(Parameter* parameter, float value) override;
    std::int32_t indexOf(const Parameter* parameter) const noexcept override;
    Radio* getPlugin() const override { return plugin_.get(); }
    std::int32_t getInputLatency() noexcept override;
    std::int32_t getLatency() const override;
    void setLatency(std::int32_t samples) override;
    double getTempo() noexcept override;
    double getBeatPosition() noexcept override;
    bool isPlaying() noexcept override;
    std::string getHostName() override;
    bool isOffline() noexcept override;

private:
    void makeEditor();
    void finish();
    void tellHostOfChannels() noexcept;

    // True if the host ended the instance meanwhile.
    [[gnu::always_inline]] inline bool takeBlock(float* const* inputs, float* const* outputs,
                                                 VstInt32 frames) noexcept;
    [[gnu::cold]] void endAfterBlock() noexcept;

    // One block, inside the gate. In line, because a function of its own is 1 ns slower.
    [[gnu::always_inline]] inline void processBlock(float* const* inputs, float* const* outputs,
                                                    VstInt32 frames) noexcept;
    void copyInput(int index, int frames) noexcept;

    // For a block longer than the room for copies: none is made on the audio thread. Marked as
    // rare, or else the usual way would be compiled in two functions, 13 ns slower.
    [[gnu::cold]] void processInParts(float* const* inputs, float* const* outputs,
                                      VstInt32 frames) noexcept;
    [[gnu::cold]] void raiseBlockSize(VstInt32 frames) noexcept;
    void makeRoomForRaise() noexcept;

    // Inside the gate.
    void takeBlockSize(VstInt32 frames);
    [[gnu::cold]] void resetAfterGap();

    // Calls the visitor with each module's parameters in the host's order, until it returns false.
    template <typename Visit>
    void visitModules(const Visit& visit) const;

    // By the host's number, which counts through the modules; null if there is none.
    Parameter* parameterAt(VstInt32 index) const noexcept;
    VstInt32 countParameters() const noexcept;

    std::unique_ptr<Plugin> plugin_;
    std::unique_ptr<VSTEditor> vstEditor_;  // null where no interface can be shown
    std::string chunk_;                     // the last that the host was given
    IOPinStereo inPlacePin_;                // copies of inputs, one a channel
    std::int32_t rate_ = 0;                 // Hz; what the plug-in was told, 0 if it isn't known
    Word<std::int32_t> longestBlock_{0};  // frames that raised the block size; 0 once there is room
    double lastProcessEnd_ = 0.0;         // seconds; the audio thread's
    bool endsAfterBlock_ = false;         // the audio thread's
    AudioGate gate_;
};

}  // namespace tarn
