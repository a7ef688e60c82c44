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

class Parameter;

class VSTPlugin : public AudioEffectX, public HostInterface {
public:
    /// A suspended instance, stereo to stereo, that has taken its connection slot. Mission must
    /// have started. Throws what the instance's start throws.
    explicit VSTPlugin(audioMasterCallback host);
    ~VSTPlugin() override;

    // AudioEffect
    void suspend() override;
    void resume() override;

    /// Hz; what is no positive number means that the rate isn't known.
    void setSampleRate(float rate) override;

    /// Makes room for the copies that a block of so many frames may need, unless a block under way
    /// doesn't end. Beyond 0 to a million the nearest counts.
    void setBlockSize(VstInt32 frames) override;

    /// Any number of frames, whatever the announced block size. Does nothing while suspended, when
    /// a pointer is null, or when another thread is inside.
    ///
    /// Outputs may lie over inputs in any way, but not over each other. A block longer than was
    /// announced is passed in parts where outputs lie over inputs: it comes out right unless an
    /// output begins inside an input.
    void processReplacing(float** inputs, float** outputs, VstInt32 frames) noexcept override;
    void setParameter(VstInt32 index, float value) noexcept override;
    float getParameter(VstInt32 index) noexcept override;
    void getParameterLabel(VstInt32 index, char* label) override;
    void getParameterDisplay(VstInt32 index, char* text) override;
    void getParameterName(VstInt32 index, char* text) override;

    /// Always the whole state, as text with its zero. A state that can't be used changes nothing,
    /// which the user is told.
    VstInt32 getChunk(void** data, bool isPreset) override;
    VstInt32 setChunk(const void* data, VstInt32 size, bool isPreset) override;

    // AudioEffectX
    bool canParameterBeAutomated(VstInt32 index) override;
    bool string2parameter(VstInt32 index, const char* text) override;
    bool getInputProperties(VstInt32 index, VstPinProperties* properties) override;
    bool getOutputProperties(VstInt32 index, VstPinProperties* properties) override;

    /// Refuses also when a block under way doesn't end, as when it is the caller's own.
    bool setSpeakerArrangement(const VstSpeakerArrangement* input,
                               const VstSpeakerArrangement* output) override;
    bool getEffectName(char* name) override;
    bool getVendorString(char* text) override;
    bool getProductString(char* text) override;
    VstInt32 getVendorVersion() override;
    VstInt32 canDo(const char* text) override;

    // HostInterface
    std::int32_t getInputLatency() noexcept override;
    std::string getHostName() override;
    bool isOffline() noexcept override;

private:
    // One block, inside the gate. In line, because a function of its own is 1 ns slower.
    [[gnu::always_inline]] inline void process(float* const* inputs, float* const* outputs,
                                               VstInt32 frames) noexcept;

    void copyInput(int index, int frames) noexcept;

    // For a block longer than the room for copies: none is made on the audio thread. Marked as
    // rare, or else the usual way would be compiled in two functions, 13 ns slower.
    [[gnu::cold]] void processInParts(float* const* inputs, float* const* outputs,
                                      VstInt32 frames) noexcept;

    // By the host's number, which counts through the modules; null if there is none.
    Parameter* parameterAt(VstInt32 index) const noexcept;
    VstInt32 countParameters() const noexcept;

    std::unique_ptr<Plugin> plugin_;
    std::string chunk_;                                        // the last that the host was given
    IOConfig ioConfig_{IOPinConfig(2, 1), IOPinConfig(2, 1)};  // shows the host's buffers
    IOPinStereo inPlacePin_;                                   // copies of inputs, one a channel
    AudioGate gate_;
};

}  // namespace tarn
