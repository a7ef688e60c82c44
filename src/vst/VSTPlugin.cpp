#include "vst/VSTPlugin.h"

#include "audio/Alignment.h"
#include "audio/Module.h"
#include "diagnostics/System.h"
#include "foundation/Dictionary.h"
#include "parameters/Settings.h"
#include "platform/DynamicLibrary.h"
#include "plugin/PluginInfo.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace tarn {

namespace {

// Frames of an input that can be copied at a time: at least so many, more where a host announces
// longer blocks. Beyond a million frames no announcement is believed.
constexpr VstInt32 InPlaceFrames = 8192;
constexpr VstInt32 MaxInPlaceFrames = 1 << 20;

constexpr float HighestRate = 1e9f;  // Hz; beyond, it is no rate

// The interface asks for 64 bytes; some hosts write more.
constexpr std::size_t HostTextBytes = 256;

// One pin each way, of 5.1 at most.
constexpr std::size_t WidestPin = 6;

// Cut to the buffer's size, the zero included.
void copyText(char* buffer, std::string_view text, std::size_t bytes) {
    const std::size_t length = std::min(text.size(), bytes - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}

}  // namespace

VSTPlugin::VSTPlugin(audioMasterCallback host)
    : AudioEffectX(host, 0, 0),
      plugin_(PluginInfo::get().createPlugin(this, platform::ownLibrary().base)) {
    plugin_->start();
    numParams = cEffect.numParams = countParameters();
    numPrograms = cEffect.numPrograms = plugin_->getProgramCount();
    programsAreChunks();
    cEffect.version = PluginInfo::get().getVendorVersion();
    setNumInputs(ioConfig_.getInputChannels());
    setNumOutputs(ioConfig_.getOutputChannels());
    inPlacePin_.setSize(InPlaceFrames);
    setUniqueID(plugin_->getUniqueID());
}

VSTPlugin::~VSTPlugin() {
    plugin_->stop();
}

void VSTPlugin::suspend() {
    gate_.close();
    plugin_->suspend();
}

void VSTPlugin::resume() {
    plugin_->resume();
    gate_.open();
}

void VSTPlugin::setSampleRate(float rate) {
    AudioEffectX::setSampleRate(rate);
    plugin_->setSampleRate(rate > 0.0f && rate < HighestRate ? static_cast<int>(rate) : 0);
}

void VSTPlugin::setBlockSize(VstInt32 frames) {
    frames = std::clamp(frames, VstInt32{0}, MaxInPlaceFrames);
    AudioEffectX::setBlockSize(frames);
    plugin_->setBlockSize(frames);
    const AudioGate::Change change(gate_);
    if (change.isInside())
        inPlacePin_.setSize(std::max(frames, InPlaceFrames));
}

void VSTPlugin::process(float* const* inputs, float* const* outputs, VstInt32 frames) noexcept {
    IOPinConfig& in = ioConfig_.getInputs();
    IOPinConfig& out = ioConfig_.getOutputs();
    if (!in.attach(inputs, frames) || !out.attach(outputs, frames))
        return;
    // Outputs are written in their order, each with its own input or with the only one.
    const int lastInput = in.getChannelCount() - 1;
    const int outputCount = out.getChannelCount();
    for (int output = 1; output < outputCount; ++output) {
        const int input = std::min(output, lastInput);
        for (int before = 0; before < output; ++before) {
            const bool staysAsItIs = lastInput == 0 && outputs[before] == inputs[0];
            if (staysAsItIs || !overlap(outputs[before], inputs[input], frames)) [[likely]]
                continue;
            if (frames > inPlacePin_.getSize()) {
                processInParts(inputs, outputs, frames);
                return;
            }
            copyInput(input, frames);
        }
    }
    plugin_->process(in, out, frames);
}

void VSTPlugin::processReplacing(float** inputs, float** outputs, VstInt32 frames) noexcept {
    if (frames < 0 || inputs == nullptr || outputs == nullptr)
        return;
    const AudioGate::Block block(gate_);
    if (block.isInside())
        process(inputs, outputs, frames);
}

void VSTPlugin::processInParts(float* const* inputs, float* const* outputs,
                               VstInt32 frames) noexcept {
    std::array<float*, WidestPin> in{};
    std::array<float*, WidestPin> out{};
    const auto from = [](float* const* buffers, int channels, VstInt32 begin, float** parts) {
        std::transform(buffers, buffers + channels, parts,
                       [begin](float* buffer) { return buffer + begin; });
    };
    for (VstInt32 begin = 0; begin < frames; begin += inPlacePin_.getSize()) {
        from(inputs, ioConfig_.getInputChannels(), begin, in.data());
        from(outputs, ioConfig_.getOutputChannels(), begin, out.data());
        process(in.data(), out.data(), std::min(frames - begin, inPlacePin_.getSize()));
    }
}

// Some hosts hand out buffers from a pool, so that one channel's output is another one's input.
void VSTPlugin::copyInput(int index, int frames) noexcept {
    IOChannel<float>* copy = inPlacePin_.getChannel(index);
    if (copy == nullptr)
        return;
    IOChannel<float>* input = ioConfig_.getInputs().getChannel(index);
    input->setCount(frames);
    copy->assign(*input);
    input->attach(copy->getData(), frames);
}

Parameter* VSTPlugin::parameterAt(VstInt32 index) const noexcept {
    for (int i = 0; i < plugin_->getModuleCount() && index >= 0; ++i) {
        const auto& parameters = plugin_->moduleAt(i)->settings().getAutomatable();
        if (static_cast<std::size_t>(index) < parameters.size())
            return parameters[static_cast<std::size_t>(index)];
        index -= static_cast<VstInt32>(parameters.size());
    }
    return nullptr;
}

VstInt32 VSTPlugin::countParameters() const noexcept {
    std::size_t count = 0;
    for (int i = 0; i < plugin_->getModuleCount(); ++i)
        count += plugin_->moduleAt(i)->settings().getAutomatable().size();
    return static_cast<VstInt32>(count);
}

void VSTPlugin::setParameter(VstInt32 index, float value) noexcept {
    if (Parameter* const parameter = parameterAt(index))
        parameter->setNormalised(value, FromHost);
}

float VSTPlugin::getParameter(VstInt32 index) noexcept {
    const Parameter* const parameter = parameterAt(index);
    return parameter != nullptr ? parameter->getNormalised() : 0.0f;
}

void VSTPlugin::getParameterLabel(VstInt32 index, char* label) {
    const Parameter* const parameter = parameterAt(index);
    copyText(label, parameter != nullptr ? parameter->getUnit() : "", kVstMaxParamStrLen);
}

void VSTPlugin::getParameterDisplay(VstInt32 index, char* text) {
    const Parameter* const parameter = parameterAt(index);
    copyText(text, parameter != nullptr ? parameter->getText() : "", kVstMaxParamStrLen);
}

void VSTPlugin::getParameterName(VstInt32 index, char* text) {
    const Parameter* const parameter = parameterAt(index);
    copyText(text, parameter != nullptr ? parameter->getHostName(kVstMaxParamStrLen - 1) : "",
             kVstMaxParamStrLen);
}

VstInt32 VSTPlugin::getChunk(void** data, bool /*isPreset*/) {
    Dictionary state;
    plugin_->writeState(state, 0);
    if (!state.toString(chunk_))
        return 0;
    *data = chunk_.data();
    return static_cast<VstInt32>(chunk_.size() + 1);
}

VstInt32 VSTPlugin::setChunk(const void* data, VstInt32 size, bool /*isPreset*/) {
    if (data == nullptr || size <= 0)
        return 0;
    const std::string_view bytes(static_cast<const char*>(data), static_cast<std::size_t>(size));
    Dictionary state;
    if (state.parseWhole(bytes))
        plugin_->readState(state);
    else
        System::alert("The saved state is damaged and was not loaded.", true);
    return 0;
}

bool VSTPlugin::canParameterBeAutomated(VstInt32 index) {
    const Parameter* const parameter = parameterAt(index);
    return parameter != nullptr && parameter->hasFlag(Parameter::Automatable);
}

bool VSTPlugin::string2parameter(VstInt32 index, const char* text) {
    if (text == nullptr)
        return index == -1;
    Parameter* const parameter = parameterAt(index);
    return parameter != nullptr && parameter->setText(text, FromHost);
}

// A pin is known by its number here, and answered for as a stereo one whatever its type.
bool VSTPlugin::getInputProperties(VstInt32 index, VstPinProperties* properties) {
    if (ioConfig_.getInputs().getPin(index) == nullptr)
        return false;
    *properties = {};
    std::snprintf(properties->label, sizeof properties->label, "%s %d",
                  PluginInfo::get().getProductName().c_str(), static_cast<int>(index));
    properties->flags = kVstPinIsActive | kVstPinIsStereo;
    properties->arrangementType = kSpeakerArrStereo;
    return true;
}

// A pin is known by the number of any of its channels here.
bool VSTPlugin::getOutputProperties(VstInt32 index, VstPinProperties* properties) {
    *properties = {};
    properties->arrangementType = kSpeakerArrEmpty;
    if (index < 0)
        return false;
    for (int number = 1, end = 0; const IOPin *pin = ioConfig_.getOutputs().getPin(number - 1);
         ++number) {
        end += pin->getChannelCount();
        if (index >= end)
            continue;
        const bool isStereo = pin->getType() == IOPin::Type::Stereo;
        if (!isStereo && pin->getType() != IOPin::Type::Mono)
            return false;
        std::snprintf(properties->label, sizeof properties->label, "%s %s%d",
                      PluginInfo::get().getProductName().c_str(), isStereo ? "ST" : "M", number);
        properties->flags = kVstPinIsActive | (isStereo ? kVstPinIsStereo : 0);
        properties->arrangementType = isStereo ? kSpeakerArrStereo : kSpeakerArrMono;
        return true;
    }
    return false;
}

bool VSTPlugin::setSpeakerArrangement(const VstSpeakerArrangement* input,
                                      const VstSpeakerArrangement* output) {
    const IOConfig wanted(IOPinConfig(input->numChannels, 1), IOPinConfig(output->numChannels, 1));
    if (!PluginInfo::get().isIOConfigSupported(wanted))
        return false;
    const AudioGate::Change change(gate_);
    if (!change.isInside())
        return false;
    ioConfig_.setInputs(wanted.getInputs());
    ioConfig_.setOutputs(wanted.getOutputs());
    setNumInputs(ioConfig_.getInputChannels());
    setNumOutputs(ioConfig_.getOutputChannels());
    return true;
}

bool VSTPlugin::getEffectName(char* name) {
    copyText(name, PluginInfo::get().getProductName(), kVstMaxEffectNameLen);
    return true;
}

bool VSTPlugin::getVendorString(char* text) {
    copyText(text, PluginInfo::get().getVendorName(), kVstMaxVendorStrLen);
    return true;
}

bool VSTPlugin::getProductString(char* text) {
    copyText(text, PluginInfo::get().getProductName(), kVstMaxProductStrLen);
    return true;
}

VstInt32 VSTPlugin::getVendorVersion() {
    return PluginInfo::get().getVendorVersion();
}

VstInt32 VSTPlugin::canDo(const char* text) {
    static constexpr std::string_view abilities[] = {"plugAsChannelInsert", "plugAsSend"};
    return std::find(std::begin(abilities), std::end(abilities), text) != std::end(abilities) ? 1
                                                                                              : -1;
}

std::int32_t VSTPlugin::getInputLatency() noexcept {
    return static_cast<std::int32_t>(callHost(audioMasterGetInputLatency));
}

std::string VSTPlugin::getHostName() {
    char name[HostTextBytes]{};
    callHost(audioMasterGetProductString, 0, 0, name);
    return std::string(name, std::find(name, std::end(name), '\0'));
}

bool VSTPlugin::isOffline() noexcept {
    return callHost(audioMasterGetCurrentProcessLevel) == kVstProcessLevelOffline;
}

}  // namespace tarn
