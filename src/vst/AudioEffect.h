// The class layer over the VST 2.4 record: opcodes become virtual operations, and calls into the
// host become member functions. Everything rests on the record: the host knows `getAeffect` alone,
// and deletes the object through it.
#pragma once

#include "vst/VstInterface.h"

namespace tarn {

/// One effect. Made by the entry function, deleted by the record's own dispatcher at `effClose`.
/// The operations are called on the host's control thread unless they say otherwise. An exception
/// ends at the record's functions and is answered with 0.
class AudioEffect {
public:
    /// `host` may be null: every question to it is then answered with 0.
    AudioEffect(audioMasterCallback host, VstInt32 programs, VstInt32 parameters);
    AudioEffect(const AudioEffect&) = delete;
    AudioEffect& operator=(const AudioEffect&) = delete;
    virtual ~AudioEffect() = default;

    AEffect* getAeffect() noexcept { return &cEffect; }

    /// What an opcode means; opcodes that nothing here knows are answered with 0.
    virtual VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                 float opt);

    virtual void open() {}
    virtual void close() {}
    virtual void suspend() {}
    virtual void resume() {}
    virtual void setSampleRate(float rate) { sampleRate = rate; }       // Hz
    virtual void setBlockSize(VstInt32 frames) { blockSize = frames; }  // at most so many a block

    /// Planar channels as the record counts them; the arrays and their pointers are the host's and
    /// may be null. Audio thread.
    virtual void processReplacing(float** inputs, float** outputs, VstInt32 frames) noexcept = 0;

    /// Normalised values, 0.0 to 1.0. Any thread.
    virtual void setParameter(VstInt32 /*index*/, float /*value*/) noexcept {}
    virtual float getParameter(VstInt32 /*index*/) noexcept { return 0.0f; }

    /// Texts go into buffers of `kVstMaxParamStrLen` bytes, their zero included.
    virtual void getParameterLabel(VstInt32 /*index*/, char* label) { *label = '\0'; }
    virtual void getParameterDisplay(VstInt32 /*index*/, char* text) { *text = '\0'; }
    virtual void getParameterName(VstInt32 /*index*/, char* text) { *text = '\0'; }

    /// The state as bytes, the effect's own, which stay valid until the next call; returns how
    /// many. The host hands them back to `setChunk`, of which it ignores the answer. `isPreset` is
    /// for one program's state.
    virtual VstInt32 getChunk(void** /*data*/, bool /*isPreset*/) { return 0; }
    virtual VstInt32 setChunk(const void* /*data*/, VstInt32 /*size*/, bool /*isPreset*/) {
        return 0;
    }

protected:
    void setUniqueID(VstInt32 id) noexcept { cEffect.uniqueID = id; }
    void programsAreChunks() noexcept { cEffect.flags |= effFlagsProgramChunks; }
    void setNumInputs(VstInt32 channels) noexcept { cEffect.numInputs = channels; }
    void setNumOutputs(VstInt32 channels) noexcept { cEffect.numOutputs = channels; }

    /// Asks the host; 0 without one.
    VstIntPtr callHost(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.0f) noexcept {
        return audioMaster != nullptr ? audioMaster(&cEffect, opcode, index, value, ptr, opt) : 0;
    }

    audioMasterCallback audioMaster;
    float sampleRate = 44100.0f;
    VstInt32 blockSize = 1024;
    VstInt32 numPrograms;
    VstInt32 numParams;
    VstInt32 curProgram = 0;
    AEffect cEffect{};
};

/// The second generation of the interface.
class AudioEffectX : public AudioEffect {
public:
    using AudioEffect::AudioEffect;

    VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                         float opt) override;

    virtual bool canParameterBeAutomated(VstInt32 /*index*/) { return false; }

    /// Sets a parameter from what a user would type; whether it was understood. With a null text
    /// and an index of -1, whether any parameter takes texts.
    virtual bool string2parameter(VstInt32 /*index*/, const char* /*text*/) { return false; }

    /// False when there is no such pin.
    virtual bool getInputProperties(VstInt32 /*index*/, VstPinProperties* /*properties*/) {
        return false;
    }
    virtual bool getOutputProperties(VstInt32 /*index*/, VstPinProperties* /*properties*/) {
        return false;
    }

    virtual VstPlugCategory getPlugCategory() { return kPlugCategUnknown; }

    /// True when the effect works with these channels from now on. Neither pointer is null.
    virtual bool setSpeakerArrangement(const VstSpeakerArrangement* /*input*/,
                                       const VstSpeakerArrangement* /*output*/) {
        return false;
    }

    /// Texts go into buffers of the sizes in VstInterface.h, their zero included; false when there
    /// is none.
    virtual bool getEffectName(char* /*name*/) { return false; }
    virtual bool getVendorString(char* /*text*/) { return false; }
    virtual bool getProductString(char* /*text*/) { return false; }
    virtual VstInt32 getVendorVersion() { return 0; }

    /// 1 yes, -1 no, 0 not known.
    virtual VstInt32 canDo(const char* /*text*/) { return 0; }
    virtual VstInt32 getVstVersion() { return kVstVersion; }
};

}  // namespace tarn
