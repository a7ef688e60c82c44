#include "vst/VSTPlugin.h"

#include "audio/Alignment.h"
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
// longer blocks, but no more than a million.
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
    : AudioEffectX(host, 0, 0), plugin_(PluginInfo::get().createPlugin(*this)) {
    numParams = cEffect.numParams = plugin_->getParameterCount();
    cEffect.version = PluginInfo::get().getVendorVersion();
    setNumInputs(ioConfig_.getInputChannels());
    setNumOutputs(ioConfig_.getOutputChannels());
    inPlacePin_.setSize(InPlaceFrames);
    setUniqueID(plugin_->getUniqueID());
}

void VSTPlugin::suspend() {
    gate_.close();
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
    AudioEffectX::setBlockSize(frames);
    plugin_->setBlockSize(frames);
    const AudioGate::Change change(gate_);
    if (change.isInside())
        inPlacePin_.setSize(std::clamp(frames, InPlaceFrames, MaxInPlaceFrames));
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

void VSTPlugin::setParameter(VstInt32 index, float value) noexcept {
    plugin_->setParameter(index, value);
}

float VSTPlugin::getParameter(VstInt32 index) noexcept {
    return plugin_->getParameter(index);
}

void VSTPlugin::getParameterDisplay(VstInt32 index, char* text) {
    copyText(text, plugin_->getParameterDisplay(index), kVstMaxParamStrLen);
}

void VSTPlugin::getParameterName(VstInt32 index, char* text) {
    copyText(text, plugin_->getParameterName(index), kVstMaxParamStrLen);
}

bool VSTPlugin::canParameterBeAutomated(VstInt32 index) {
    return index >= 0 && index < plugin_->getParameterCount();
}

// A pin is known by its number here, and answered for as a stereo one whatever its type.
bool VSTPlugin::getInputProperties(VstInt32 index, VstPinProperties* properties) {
    if (ioConfig_.getInputs().getPin(index) == nullptr)
        return false;
    *properties = {};
    std::snprintf(properties->label, sizeof properties->label, "%s %d",
                  PluginInfo::get().getProductName(), static_cast<int>(index));
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
                      PluginInfo::get().getProductName(), isStereo ? "ST" : "M", number);
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
