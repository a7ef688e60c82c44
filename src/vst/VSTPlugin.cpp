#include "vst/VSTPlugin.h"

#include "plugin/PluginInfo.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace tarn {

namespace {

// Cut to the buffer's size, the zero included.
void copyText(char* buffer, std::string_view text, std::size_t bytes) {
    const std::size_t length = std::min(text.size(), bytes - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}

bool hasNull(const float* const* channels, VstInt32 count) {
    return channels == nullptr ||
           std::find(channels, channels + count, nullptr) != channels + count;
}

}  // namespace

VSTPlugin::VSTPlugin(audioMasterCallback host)
    : AudioEffectX(host, 0, 0), plugin_(PluginInfo::get().createPlugin(*this)) {
    numParams = cEffect.numParams = plugin_->getParameterCount();
    cEffect.version = PluginInfo::get().getVendorVersion();
    setNumInputs(2);
    setNumOutputs(2);
    setUniqueID(plugin_->getUniqueID());
}

void VSTPlugin::suspend() {
    ready_.store(false, std::memory_order_release);
}

void VSTPlugin::resume() {
    ready_.store(true, std::memory_order_release);
}

void VSTPlugin::processReplacing(float** inputs, float** outputs, VstInt32 frames) noexcept {
    if (!ready_.load(std::memory_order_acquire) || frames < 0)
        return;
    const VstInt32 inputCount = cEffect.numInputs;
    const VstInt32 outputCount = cEffect.numOutputs;
    if (hasNull(inputs, inputCount) || hasNull(outputs, outputCount))
        return;
    plugin_->process(InputChannels(inputs, static_cast<std::size_t>(inputCount)),
                     OutputChannels(outputs, static_cast<std::size_t>(outputCount)), frames);
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

// There is one pin each way. The input's answer is that of a stereo pin, whatever its type.
bool VSTPlugin::getInputProperties(VstInt32 index, VstPinProperties* properties) {
    if (index != 0)
        return false;
    *properties = {};
    std::snprintf(properties->label, sizeof properties->label, "%s %d",
                  PluginInfo::get().getProductName(), static_cast<int>(index));
    properties->flags = kVstPinIsActive | kVstPinIsStereo;
    properties->arrangementType = kSpeakerArrStereo;
    return true;
}

bool VSTPlugin::getOutputProperties(VstInt32 index, VstPinProperties* properties) {
    *properties = {};
    if (index < 0 || index >= cEffect.numOutputs) {
        properties->arrangementType = kSpeakerArrEmpty;
        return false;
    }
    const bool isStereo = cEffect.numOutputs == 2;
    std::snprintf(properties->label, sizeof properties->label, "%s %s1",
                  PluginInfo::get().getProductName(), isStereo ? "ST" : "M");
    properties->flags = kVstPinIsActive | (isStereo ? kVstPinIsStereo : 0);
    properties->arrangementType = isStereo ? kSpeakerArrStereo : kSpeakerArrMono;
    return true;
}

bool VSTPlugin::setSpeakerArrangement(const VstSpeakerArrangement* input,
                                      const VstSpeakerArrangement* output) {
    if (!PluginInfo::get().isIOConfigSupported(input->numChannels, output->numChannels))
        return false;
    setNumInputs(input->numChannels);
    setNumOutputs(output->numChannels);
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

}  // namespace tarn
