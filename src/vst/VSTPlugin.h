// The product as a VST 2.4 host sees it, and the host as the framework sees it.
// Everything rests on `ready`: it is set last when an instance starts and cleared first when it
// stops, and while it is clear no audio gets in.
#pragma once

#include "audio/IOConfig.h"
#include "plugin/HostInterface.h"
#include "plugin/Plugin.h"
#include "vst/AudioEffect.h"

#include <atomic>
#include <memory>

namespace tarn {

class VSTPlugin : public AudioEffectX, public HostInterface {
public:
    /// A suspended instance, stereo to stereo, that has taken its connection slot.
    explicit VSTPlugin(audioMasterCallback host);

    // AudioEffect
    void suspend() override;
    void resume() override;

    /// Makes room for the copies that a block of so many frames may need.
    void setBlockSize(VstInt32 frames) override;

    /// Any number of frames, whatever the announced block size. Does nothing while suspended, or
    /// when a pointer is null.
    void processReplacing(float** inputs, float** outputs, VstInt32 frames) noexcept override;
    void setParameter(VstInt32 index, float value) noexcept override;
    float getParameter(VstInt32 index) noexcept override;
    void getParameterDisplay(VstInt32 index, char* text) override;
    void getParameterName(VstInt32 index, char* text) override;

    // AudioEffectX
    bool canParameterBeAutomated(VstInt32 index) override;
    bool getInputProperties(VstInt32 index, VstPinProperties* properties) override;
    bool getOutputProperties(VstInt32 index, VstPinProperties* properties) override;
    bool setSpeakerArrangement(const VstSpeakerArrangement* input,
                               const VstSpeakerArrangement* output) override;
    bool getEffectName(char* name) override;
    bool getVendorString(char* text) override;
    bool getProductString(char* text) override;
    VstInt32 getVendorVersion() override;
    VstInt32 canDo(const char* text) override;

    // HostInterface
    std::int32_t getInputLatency() noexcept override;

private:
    void copyInput(int index, int frames) noexcept;

    // For a block longer than the room for copies: none is made on the audio thread. Marked as
    // rare, or else the usual way would be compiled in two functions, 13 ns slower.
    [[gnu::cold]] void processInParts(float* const* inputs, float* const* outputs,
                                      VstInt32 frames) noexcept;

    std::unique_ptr<Plugin> plugin_;
    IOConfig ioConfig_{IOPinConfig(2, 1), IOPinConfig(2, 1)};  // shows the host's buffers
    IOPinStereo inPlacePin_;                                   // copies of inputs, one a channel
    std::atomic<bool> ready_{false};
};

}  // namespace tarn
