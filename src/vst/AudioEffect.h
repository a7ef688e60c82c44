// The class layer over the VST 2.4 record: opcodes become virtual operations, and calls into the
// host become member functions. Everything rests on the record: the host knows `getAeffect` alone,
// and deletes the object through it.
#pragma once

#include "foundation/Word.h"
#include "vst/AEffEditor.h"
#include "vst/VstInterface.h"

namespace tarn {

/// One effect. Made by the entry function, deleted by the record's own dispatcher at `effClose`.
/// The operations are called on the host's control thread unless they say otherwise. An exception
/// ends at the record's functions and is answered with 0. What isn't overridden does nothing, and
/// answers 0 or false; pointers that reach it are not null, but for what says so.
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

    /// Whether the effect can't be deleted at `effClose`: the host calls from inside a call of the
    /// effect's own or of its own into it, after which the effect deletes itself, or a block on
    /// another thread doesn't end, and the effect stays in memory. The host hears nothing more.
    virtual bool putOffEnd() { return false; }
    virtual void suspend() {}
    virtual void resume() {}
    virtual void setSampleRate(float rate) { sampleRate = rate; }       // Hz
    virtual void setBlockSize(VstInt32 frames) { blockSize = frames; }  // at most so many a block

    /// Planar channels as the record counts them; the arrays and their pointers are the host's and
    /// may be null. Audio thread. The form that adds to the outputs, which hosts no longer call,
    /// does nothing.
    virtual void process(float** /*inputs*/, float** /*outputs*/, VstInt32 /*frames*/) noexcept {}
    virtual void processReplacing(float** inputs, float** outputs, VstInt32 frames) noexcept = 0;
    virtual void processDoubleReplacing(double** /*inputs*/, double** /*outputs*/,
                                        VstInt32 /*frames*/) noexcept {}

    /// Normalised values, 0.0 to 1.0. Any thread.
    virtual void setParameter(VstInt32 /*index*/, float /*value*/) noexcept {}
    virtual float getParameter(VstInt32 /*index*/) noexcept { return 0.0f; }

    /// Tells the host that a parameter has changed to a normalised value. Any thread.
    void setParameterAutomated(VstInt32 index, float value) noexcept {
        callHost(audioMasterAutomate, index, 0, nullptr, value);
    }

    /// Of `kVstMaxProgNameLen` bytes at most, the zero included.
    virtual VstInt32 getProgram() { return curProgram; }
    virtual void setProgram(VstInt32 program) { curProgram = program; }
    virtual void setProgramName(const char* /*name*/) {}
    virtual void getProgramName(char* name) { *name = '\0'; }

    /// Texts go into buffers of `kVstMaxParamStrLen` bytes, their zero included.
    virtual void getParameterLabel(VstInt32 /*index*/, char* label) { *label = '\0'; }
    virtual void getParameterDisplay(VstInt32 /*index*/, char* text) { *text = '\0'; }
    virtual void getParameterName(VstInt32 /*index*/, char* text) { *text = '\0'; }

    /// The state as bytes, the effect's own, which stay valid until the next call; returns how
    /// many. The host hands them back to `setChunk`, of which it ignores the answer. `isPreset` is
    /// for one program's state. `data` may be null in the second.
    virtual VstInt32 getChunk(void** /*data*/, bool /*isPreset*/) { return 0; }
    virtual VstInt32 setChunk(const void* /*data*/, VstInt32 /*size*/, bool /*isPreset*/) {
        return 0;
    }

    /// Null for none. Not owned; it goes before the effect does, or is taken away.
    void setEditor(AEffEditor* newEditor) noexcept;
    AEffEditor* getEditor() const noexcept { return editor; }

    // How hosts show values: written with six digits behind the point, then cut to `bytes`, the
    // zero included. "-oo" for a level of 0; frames of a period in Hz, frames as milliseconds.
    static void dB2string(float linear, char* text, VstInt32 bytes);
    void Hz2string(float frames, char* text, VstInt32 bytes) const;
    void ms2string(float frames, char* text, VstInt32 bytes) const;
    static void float2string(float value, char* text, VstInt32 bytes);
    static void int2string(VstInt32 value, char* text, VstInt32 bytes);

protected:
    void setUniqueID(VstInt32 id) noexcept { cEffect.uniqueID = id; }
    void setNumInputs(VstInt32 channels) noexcept { cEffect.numInputs = channels; }
    void setNumOutputs(VstInt32 channels) noexcept { cEffect.numOutputs = channels; }
    void setInitialDelay(VstInt32 frames) noexcept { cEffect.initialDelay = frames; }
    void canProcessReplacing(bool is = true) noexcept { setFlag(effFlagsCanReplacing, is); }
    void canDoubleReplacing(bool is = true) noexcept { setFlag(effFlagsCanDoubleReplacing, is); }
    void programsAreChunks(bool is = true) noexcept { setFlag(effFlagsProgramChunks, is); }

    /// Asks the host; 0 without one.
    VstIntPtr callHost(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.0f) noexcept {
        const audioMasterCallback host = audioMaster;
        return host != nullptr ? host(&cEffect, opcode, index, value, ptr, opt) : 0;
    }

    /// 1 where the host doesn't tell.
    VstInt32 getMasterVersion() noexcept;

    /// Of the plug-in that a host's shell is about to load; 0 for none.
    VstInt32 getCurrentUniqueId() noexcept {
        return static_cast<VstInt32>(callHost(audioMasterCurrentId));
    }
    void masterIdle() noexcept { callHost(audioMasterIdle); }

    void setFlag(VstInt32 flag, bool is) noexcept {
        cEffect.flags = is ? cEffect.flags | flag : cEffect.flags & ~flag;
    }

    Word<audioMasterCallback> audioMaster;
    AEffEditor* editor = nullptr;
    float sampleRate = 44100.0f;
    VstInt32 blockSize = 1024;
    VstInt32 numPrograms;
    VstInt32 numParams;
    VstInt32 curProgram = 0;
    AEffect cEffect{};

private:
    VstIntPtr toEditor(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt);
};

/// The second generation of the interface.
class AudioEffectX : public AudioEffect {
public:
    using AudioEffect::AudioEffect;

    VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                         float opt) override;

    // Parameters and programs.

    virtual bool canParameterBeAutomated(VstInt32 /*index*/) { return false; }

    /// Sets a parameter from what a user would type; whether it was understood. With a null text
    /// and an index of -1, whether any parameter takes texts.
    virtual bool string2parameter(VstInt32 /*index*/, const char* /*text*/) { return false; }
    virtual bool getParameterProperties(VstInt32 /*index*/,
                                        VstParameterProperties* /*properties*/) {
        return false;
    }
    virtual bool getProgramNameIndexed(VstInt32 /*category*/, VstInt32 /*index*/, char* /*name*/) {
        return false;
    }

    // Around the choice of a program, and before a bank or a program is loaded, whose description
    // may be null: -1 refuses it.
    virtual bool beginSetProgram() { return false; }
    virtual bool endSetProgram() { return false; }
    virtual VstInt32 beginLoadBank(VstPatchChunkInfo* /*info*/) { return 0; }
    virtual VstInt32 beginLoadProgram(VstPatchChunkInfo* /*info*/) { return 0; }

    // Inputs and outputs.

    /// False when there is no such pin.
    virtual bool getInputProperties(VstInt32 /*index*/, VstPinProperties* /*properties*/) {
        return false;
    }
    virtual bool getOutputProperties(VstInt32 /*index*/, VstPinProperties* /*properties*/) {
        return false;
    }

    /// True when the effect works with these channels from now on.
    virtual bool setSpeakerArrangement(const VstSpeakerArrangement* /*input*/,
                                       const VstSpeakerArrangement* /*output*/) {
        return false;
    }
    virtual bool getSpeakerArrangement(VstSpeakerArrangement** /*input*/,
                                       VstSpeakerArrangement** /*output*/) {
        return false;
    }
    virtual bool setBypass(bool /*isOn*/) { return false; }
    virtual bool setPanLaw(VstInt32 /*type*/, float /*gain*/) { return false; }

    /// 0 for 32-bit samples, 1 for 64-bit ones.
    virtual bool setProcessPrecision(VstInt32 /*precision*/) { return false; }

    // MIDI.

    /// For the next block; the events are the host's. Audio thread.
    virtual VstInt32 processEvents(const VstEvents* /*events*/) { return 0; }
    virtual VstInt32 getNumMidiInputChannels() { return 0; }
    virtual VstInt32 getNumMidiOutputChannels() { return 0; }
    virtual VstInt32 getMidiProgramName(VstInt32 /*channel*/, MidiProgramName* /*name*/) {
        return 0;
    }
    virtual VstInt32 getCurrentMidiProgram(VstInt32 /*channel*/, MidiProgramName* /*name*/) {
        return 0;
    }
    virtual VstInt32 getMidiProgramCategory(VstInt32 /*channel*/,
                                            MidiProgramCategory* /*category*/) {
        return 0;
    }
    virtual bool hasMidiProgramsChanged(VstInt32 /*channel*/) { return false; }
    virtual bool getMidiKeyName(VstInt32 /*channel*/, MidiKeyName* /*name*/) { return false; }

    // What the effect is.

    virtual VstPlugCategory getPlugCategory() { return kPlugCategUnknown; }

    /// Texts go into buffers of the sizes in VstInterface.h, their zero included; false when there
    /// is none.
    virtual bool getEffectName(char* /*name*/) { return false; }
    virtual bool getVendorString(char* /*text*/) { return false; }
    virtual bool getProductString(char* /*text*/) { return false; }
    virtual VstInt32 getVendorVersion() { return 0; }
    virtual VstIntPtr vendorSpecific(VstInt32 /*index*/, VstIntPtr /*value*/, void* /*ptr*/,
                                     float /*opt*/) {
        return 0;
    }

    /// 1 yes, -1 no, 0 not known.
    virtual VstInt32 canDo(const char* /*text*/) { return 0; }
    virtual VstInt32 getVstVersion() { return kVstVersion; }

    /// How long the effect sounds on in silence, in samples: 0 not known, 1 not at all.
    virtual VstInt32 getGetTailSize() { return 0; }

    /// Of the effect inside a shell that comes next: its name, and its number, 0 after the last.
    virtual VstInt32 getNextShellPlugin(char* name) {
        *name = '\0';
        return 0;
    }

    // How the host works.

    // Just before the first block, and after the last one. Control or audio thread.
    virtual VstInt32 startProcess() { return 0; }
    virtual VstInt32 stopProcess() { return 0; }

    /// How many the host is going to have processed, in samples.
    virtual VstInt32 setTotalSampleToProcess(VstInt32 samples) { return samples; }
    virtual bool processVariableIo(VstVariableIo* /*blocks*/) { return false; }
    virtual bool offlineNotify(VstAudioFile* /*files*/, VstInt32 /*count*/, bool /*isStart*/) {
        return false;
    }
    virtual bool offlinePrepare(VstOfflineTask* /*tasks*/, VstInt32 /*count*/) { return false; }
    virtual bool offlineRun(VstOfflineTask* /*tasks*/, VstInt32 /*count*/) { return false; }

protected:
    void isSynth(bool is = true) noexcept { setFlag(effFlagsIsSynth, is); }
    void noTail(bool is = true) noexcept { setFlag(effFlagsNoSoundInStop, is); }

    // Calls into the host. Any thread, as far as the host can bear it.

    /// Asks the host for MIDI; hosts of version 2.4 send it unasked.
    void wantEvents() noexcept { callHost(audioMasterWantMidi, 0, kVstMidiType); }
    bool sendEventsToHost(VstEvents* events) noexcept {
        return callHost(audioMasterProcessEvents, 0, 0, events) != 0;
    }

    /// The transport at this moment, the host's own record; null if it doesn't tell. Of the fields
    /// that aren't always there, those of `flags` are asked for. Audio thread.
    const VstTimeInfo* getTimeInfo(VstInt32 flags) noexcept;

    /// After a change of the channels or the delay, and to have the editor's window resized, in
    /// pixels: whether the host did it.
    bool ioChanged() noexcept { return callHost(audioMasterIOChanged) != 0; }
    bool sizeWindow(VstInt32 width, VstInt32 height) noexcept {
        return callHost(audioMasterSizeWindow, width, height) != 0;
    }

    // As the host has them now: Hz, frames, samples.
    VstInt32 getMasterSampleRate() noexcept {
        return static_cast<VstInt32>(callHost(audioMasterGetSampleRate));
    }
    VstInt32 getMasterBlockSize() noexcept {
        return static_cast<VstInt32>(callHost(audioMasterGetBlockSize));
    }
    VstInt32 getMasterInputLatency() noexcept {
        return static_cast<VstInt32>(callHost(audioMasterGetInputLatency));
    }
    VstInt32 getMasterOutputLatency() noexcept {
        return static_cast<VstInt32>(callHost(audioMasterGetOutputLatency));
    }

    /// A user takes hold of a parameter, and lets go of it: whether the host listens.
    bool tellBeginEdit(VstInt32 index) noexcept {
        return callHost(audioMasterBeginEdit, index) != 0;
    }
    bool tellEndEdit(VstInt32 index) noexcept { return callHost(audioMasterEndEdit, index) != 0; }

    /// Into a buffer of `kVstMaxProductStrLen` bytes, or of more for hosts that write more.
    bool getHostProductString(char* text) noexcept {
        return callHost(audioMasterGetProductString, 0, 0, text) != 0;
    }

private:
    VstIntPtr withPointer(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt);
};

}  // namespace tarn
