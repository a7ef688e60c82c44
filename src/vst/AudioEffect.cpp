#include "vst/AudioEffect.h"

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
    if (opcode != effClose)
        return effect.dispatcher(opcode, index, value, ptr, opt);
    effect.dispatcher(opcode, index, value, ptr, opt);
    delete &effect;
    return 1;
} catch (...) {
    return 0;
}

VST_REALIGN void VSTCALLBACK processNothing(AEffect*, float**, float**, VstInt32) noexcept {}

VST_REALIGN void VSTCALLBACK processNothingDouble(AEffect*, double**, double**, VstInt32) noexcept {
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
    cEffect.process = processNothing;
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
    cEffect.processDoubleReplacing = processNothingDouble;
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
            break;
    }
    return 0;
}

VstIntPtr AudioEffectX::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                   float opt) {
    switch (opcode) {
        case effCanBeAutomated:
            return canParameterBeAutomated(index) ? 1 : 0;
        case effString2Parameter:
            return string2parameter(index, static_cast<const char*>(ptr)) ? 1 : 0;
        case effGetInputProperties:
            return ptr != nullptr && getInputProperties(index, static_cast<VstPinProperties*>(ptr));
        case effGetOutputProperties:
            return ptr != nullptr &&
                   getOutputProperties(index, static_cast<VstPinProperties*>(ptr));
        case effGetPlugCategory:
            return getPlugCategory();
        case effSetSpeakerArrangement: {
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the interface has the pointer in a number
            const auto* input = reinterpret_cast<const VstSpeakerArrangement*>(value);
            const auto* output = static_cast<const VstSpeakerArrangement*>(ptr);
            return input != nullptr && output != nullptr && setSpeakerArrangement(input, output);
        }
        case effGetEffectName:
            return ptr != nullptr && getEffectName(static_cast<char*>(ptr));
        case effGetVendorString:
            return ptr != nullptr && getVendorString(static_cast<char*>(ptr));
        case effGetProductString:
            return ptr != nullptr && getProductString(static_cast<char*>(ptr));
        case effGetVendorVersion:
            return getVendorVersion();
        case effCanDo:
            return ptr != nullptr ? canDo(static_cast<const char*>(ptr)) : 0;
        case effGetVstVersion:
            return getVstVersion();
        default:
            return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
    }
}

}  // namespace tarn
