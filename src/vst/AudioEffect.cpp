#include "vst/AudioEffect.h"

#include "foundation/NumberText.h"
#include "vst/HostText.h"

#include <cmath>
#include <memory>

namespace tarn {

namespace {

// Hosts call the functions below through the record. An effect's `object` is never null between its
// entry and `effClose`.
AudioEffect& effectOf(AEffect* record) {
    return *static_cast<AudioEffect*>(record->object);
}

VST_REALIGN VstIntPtr VSTCALLBACK dispatch(AEffect* record, VstInt32 opcode, VstInt32 index,
                                           VstIntPtr value, void* ptr, float opt) noexcept try {
    AudioEffect& effect = effectOf(record);
    const bool isEnd = opcode == effClose;
    const std::unique_ptr<AudioEffect> closed(isEnd && !effect.putOffEnd() ? &effect : nullptr);
    const VstIntPtr answer = effect.dispatcher(opcode, index, value, ptr, opt);
    return isEnd ? 1 : answer;
} catch (...) {
    return opcode == effClose;
}

VST_REALIGN void VSTCALLBACK process(AEffect* record, float** inputs, float** outputs,
                                     VstInt32 frames) noexcept {
    effectOf(record).process(inputs, outputs, frames);
}

VST_REALIGN void VSTCALLBACK processDoubleReplacing(AEffect* record, double** inputs,
                                                    double** outputs, VstInt32 frames) noexcept {
    effectOf(record).processDoubleReplacing(inputs, outputs, frames);
}

VST_REALIGN void VSTCALLBACK processReplacing(AEffect* record, float** inputs, float** outputs,
                                              VstInt32 frames) noexcept {
    effectOf(record).processReplacing(inputs, outputs, frames);
}

VST_REALIGN void VSTCALLBACK setParameter(AEffect* record, VstInt32 index, float value) noexcept {
    effectOf(record).setParameter(index, value);
}

VST_REALIGN float VSTCALLBACK getParameter(AEffect* record, VstInt32 index) noexcept {
    return effectOf(record).getParameter(index);
}

}  // namespace

AudioEffect::AudioEffect(audioMasterCallback host, VstInt32 programs, VstInt32 parameters)
    : audioMaster(host), numPrograms(programs), numParams(parameters) {
    cEffect.magic = kEffectMagic;
    cEffect.dispatcher = dispatch;
    cEffect.process = tarn::process;
    cEffect.setParameter = tarn::setParameter;
    cEffect.getParameter = tarn::getParameter;
    cEffect.numPrograms = programs;
    cEffect.numParams = parameters;
    cEffect.numInputs = 1;
    cEffect.numOutputs = 2;
    cEffect.flags = effFlagsCanReplacing;
    cEffect.ioRatio = 1.0f;
    cEffect.object = this;
    cEffect.uniqueID = fourCharacters("NoEf");
    cEffect.version = 1;
    cEffect.processReplacing = tarn::processReplacing;
    cEffect.processDoubleReplacing = tarn::processDoubleReplacing;
}

void AudioEffect::setEditor(AEffEditor* newEditor) noexcept {
    editor = newEditor;
    setFlag(effFlagsHasEditor, editor != nullptr);
}

VstInt32 AudioEffect::getMasterVersion() noexcept {
    const auto version = static_cast<VstInt32>(callHost(audioMasterVersion));
    return version != 0 ? version : 1;
}

void AudioEffect::dB2string(float linear, char* text, VstInt32 bytes) {
    if (linear > 0.0f)
        float2string(20.0f * std::log10(linear), text, bytes);
    else
        copyText(text, "-oo", static_cast<std::size_t>(bytes));
}

void AudioEffect::Hz2string(float frames, char* text, VstInt32 bytes) const {
    float2string(frames != 0.0f ? sampleRate / frames : 0.0f, text, bytes);
}

void AudioEffect::ms2string(float frames, char* text, VstInt32 bytes) const {
    float2string(sampleRate != 0.0f ? frames * 1000.0f / sampleRate : 0.0f, text, bytes);
}

void AudioEffect::float2string(float value, char* text, VstInt32 bytes) {
    copyText(text, toFixedText(value, 6), static_cast<std::size_t>(bytes));
}

void AudioEffect::int2string(VstInt32 value, char* text, VstInt32 bytes) {
    copyText(text, toText(value), static_cast<std::size_t>(bytes));
}

VstIntPtr AudioEffect::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                  float opt) {
    switch (opcode) {
        case effOpen:
            open();
            break;
        case effClose:
            close();
            break;
        case effSetProgram:
            if (value >= 0 && value < numPrograms)
                setProgram(static_cast<VstInt32>(value));
            break;
        case effGetProgram:
            return getProgram();
        case effSetProgramName:
            if (ptr != nullptr)
                setProgramName(static_cast<const char*>(ptr));
            break;
        case effGetProgramName:
            if (ptr != nullptr)
                getProgramName(static_cast<char*>(ptr));
            break;
        case effGetParamLabel:
            if (ptr != nullptr)
                getParameterLabel(index, static_cast<char*>(ptr));
            break;
        case effGetParamDisplay:
            if (ptr != nullptr)
                getParameterDisplay(index, static_cast<char*>(ptr));
            break;
        case effGetParamName:
            if (ptr != nullptr)
                getParameterName(index, static_cast<char*>(ptr));
            break;
        case effSetSampleRate:
            setSampleRate(opt);
            break;
        case effSetBlockSize:
            setBlockSize(static_cast<VstInt32>(value));
            break;
        case effMainsChanged:
            if (value == 0)
                suspend();
            else
                resume();
            break;
        case effGetChunk:
            return ptr != nullptr ? getChunk(static_cast<void**>(ptr), index != 0) : 0;
        case effSetChunk:
            return setChunk(ptr, static_cast<VstInt32>(value), index != 0);
        case effIdentify:
            return fourCharacters("NvEf");
        default:
            return editor != nullptr ? toEditor(opcode, index, value, ptr, opt) : 0;
    }
    return 0;
}

VstIntPtr AudioEffect::toEditor(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                float opt) {
    const auto key = [&] {
        return VstKeyCode{index, static_cast<unsigned char>(value),
                          static_cast<unsigned char>(opt >= 0.0f && opt < 256.0f ? opt : 0.0f)};
    };
    switch (opcode) {
        case effEditGetRect:
            return ptr != nullptr && editor->getRect(static_cast<ERect**>(ptr));
        case effEditOpen:
            return editor->open(ptr);
        case effEditClose:
            editor->close();
            return 0;
        case effEditIdle:
            editor->idle();
            return 0;
        case effEditKeyDown:
            return editor->onKeyDown(key());
        case effEditKeyUp:
            return editor->onKeyUp(key());
        case effSetEditKnobMode:
            return editor->setKnobMode(static_cast<VstInt32>(value));
        default:
            return 0;
    }
}

const VstTimeInfo* AudioEffectX::getTimeInfo(VstInt32 flags) noexcept {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the interface has the pointer in a number
    return reinterpret_cast<const VstTimeInfo*>(callHost(audioMasterGetTime, 0, flags));
}

VstIntPtr AudioEffectX::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                   float opt) {
    const auto number = static_cast<VstInt32>(value);
    switch (opcode) {
        case effCanBeAutomated:
            return canParameterBeAutomated(index);
        case effString2Parameter:
            return string2parameter(index, static_cast<const char*>(ptr));
        case effGetPlugCategory:
            return getPlugCategory();
        case effSetBypass:
            return setBypass(value != 0);
        case effGetVendorVersion:
            return getVendorVersion();
        case effVendorSpecific:
            return vendorSpecific(index, value, ptr, opt);
        case effGetTailSize:
            return getGetTailSize();
        case effGetVstVersion:
            return getVstVersion();
        case effHasMidiProgramsChanged:
            return hasMidiProgramsChanged(index);
        case effBeginSetProgram:
            return beginSetProgram();
        case effEndSetProgram:
            return endSetProgram();
        case effStartProcess:
            return startProcess();
        case effStopProcess:
            return stopProcess();
        case effSetTotalSampleToProcess:
            return setTotalSampleToProcess(number);
        case effSetPanLaw:
            return setPanLaw(number, opt);
        case effBeginLoadBank:
            return beginLoadBank(static_cast<VstPatchChunkInfo*>(ptr));
        case effBeginLoadProgram:
            return beginLoadProgram(static_cast<VstPatchChunkInfo*>(ptr));
        case effSetProcessPrecision:
            return setProcessPrecision(number);
        case effGetNumMidiInputChannels:
            return getNumMidiInputChannels();
        case effGetNumMidiOutputChannels:
            return getNumMidiOutputChannels();
        default:
            return ptr != nullptr ? withPointer(opcode, index, value, ptr, opt)
                                  : AudioEffect::dispatcher(opcode, index, value, ptr, opt);
    }
}

VstIntPtr AudioEffectX::withPointer(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                    float opt) {
    const auto number = static_cast<VstInt32>(value);
    auto* const text = static_cast<char*>(ptr);
    switch (opcode) {
        case effProcessEvents:
            return processEvents(static_cast<const VstEvents*>(ptr));
        case effGetProgramNameIndexed:
            return getProgramNameIndexed(number, index, text);
        case effGetInputProperties:
            return getInputProperties(index, static_cast<VstPinProperties*>(ptr));
        case effGetOutputProperties:
            return getOutputProperties(index, static_cast<VstPinProperties*>(ptr));
        case effSetSpeakerArrangement: {
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the interface has the pointer in a number
            const auto* input = reinterpret_cast<const VstSpeakerArrangement*>(value);
            return input != nullptr &&
                   setSpeakerArrangement(input, static_cast<const VstSpeakerArrangement*>(ptr));
        }
        case effGetSpeakerArrangement: {
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the same
            auto** input = reinterpret_cast<VstSpeakerArrangement**>(value);
            return input != nullptr &&
                   getSpeakerArrangement(input, static_cast<VstSpeakerArrangement**>(ptr));
        }
        case effOfflineNotify:
            return offlineNotify(static_cast<VstAudioFile*>(ptr), number, index != 0);
        case effOfflinePrepare:
            return offlinePrepare(static_cast<VstOfflineTask*>(ptr), number);
        case effOfflineRun:
            return offlineRun(static_cast<VstOfflineTask*>(ptr), number);
        case effProcessVarIo:
            return processVariableIo(static_cast<VstVariableIo*>(ptr));
        case effGetEffectName:
            return getEffectName(text);
        case effGetVendorString:
            return getVendorString(text);
        case effGetProductString:
            return getProductString(text);
        case effCanDo:
            return canDo(text);
        case effGetParameterProperties:
            return getParameterProperties(index, static_cast<VstParameterProperties*>(ptr));
        case effGetMidiProgramName:
            return getMidiProgramName(index, static_cast<MidiProgramName*>(ptr));
        case effGetCurrentMidiProgram:
            return getCurrentMidiProgram(index, static_cast<MidiProgramName*>(ptr));
        case effGetMidiProgramCategory:
            return getMidiProgramCategory(index, static_cast<MidiProgramCategory*>(ptr));
        case effGetMidiKeyName:
            return getMidiKeyName(index, static_cast<MidiKeyName*>(ptr));
        case effShellGetNextPlugin:
            return getNextShellPlugin(text);
        default:
            return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
    }
}

}  // namespace tarn
