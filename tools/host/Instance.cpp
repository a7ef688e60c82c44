#include "host/Instance.h"

#include "host/Failure.h"
#include "host/GuardedBuffers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace tarn::host {

namespace {

// More than any plug-in has: beyond, the record is rubbish.
constexpr VstInt32 kMostChannels = 256;
constexpr VstInt32 kMostParameters = 1 << 16;
constexpr VstInt32 kMostPrograms = 1 << 16;
constexpr VstIntPtr kMostChunkBytes = 1 << 30;

void requireCount(const char* what, VstInt32 count, VstInt32 most) {
    if (count < 0 || count > most)
        throw Failure(ExitRulesBroken, std::string("the plug-in reports ") + std::to_string(count) +
                                           " " + what + "; " + std::to_string(most) + " are taken");
}

VstSpeakerArrangement arrangementOf(int channels) {
    VstSpeakerArrangement arrangement{};
    arrangement.type = channels == 1 ? kSpeakerArrMono : kSpeakerArrStereo;
    arrangement.numChannels = channels;
    return arrangement;
}

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isSameName(const std::string& one, const std::string& other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

}  // namespace

std::string textIn(std::span<const char> buffer) {
    return {buffer.begin(), std::find(buffer.begin(), buffer.end(), '\0')};
}

Instance::Instance(VstPluginEntry entry, Host& host, Findings& findings)
    : effect_(entry(Host::answer)), host_(host), findings_(findings) {
    if (effect_ == nullptr)
        throw Failure(ExitNotLoaded, "the plug-in gave no instance");
    checkRecord();
    readChannels();
    host_.add(*this);
    dispatch(effOpen);
}

Instance::~Instance() {
    suspend();
    dispatch(effClose);
    host_.remove(*this);
}

void Instance::checkRecord() const {
    const auto require = [](bool isKept, const char* words) {
        if (!isKept)
            throw Failure(ExitRulesBroken, words);
    };
    require(effect_->magic == kEffectMagic, "the record doesn't begin with 'VstP'");
    require(effect_->dispatcher != nullptr, "the record has no dispatcher");
    require(effect_->setParameter != nullptr, "the record has no setParameter");
    require(effect_->getParameter != nullptr, "the record has no getParameter");
    require((effect_->flags & effFlagsCanReplacing) == 0 || effect_->processReplacing != nullptr,
            "the record has no processReplacing, but says that it can");
    require((effect_->flags & effFlagsCanDoubleReplacing) == 0 ||
                effect_->processDoubleReplacing != nullptr,
            "the record has no processDoubleReplacing, but says that it can");
    requireCount("parameters", effect_->numParams, kMostParameters);
    requireCount("programs", effect_->numPrograms, kMostPrograms);
}

void Instance::readChannels() {
    requireCount("inputs", effect_->numInputs, kMostChannels);
    requireCount("outputs", effect_->numOutputs, kMostChannels);
    inputs_ = effect_->numInputs;
    outputs_ = effect_->numOutputs;
}

void Instance::configure() {
    dispatch(effSetSampleRate, 0, 0, nullptr, static_cast<float>(host_.settings().rate));
    dispatch(effSetBlockSize, 0, host_.settings().announcedBlock);
}

bool Instance::arrange(int inputs, int outputs) {
    VstSpeakerArrangement in = arrangementOf(inputs);
    VstSpeakerArrangement out = arrangementOf(outputs);
    const bool isTaken =
        dispatch(effSetSpeakerArrangement, 0, reinterpret_cast<VstIntPtr>(&in), &out) != 0;
    isIOChanged_ = false;
    readChannels();
    if (isTaken && (inputs_ != inputs || outputs_ != outputs))
        findings_.add("took a speaker arrangement and has other channels",
                      std::to_string(inputs_) + " in and " + std::to_string(outputs_) + " out");
    return isTaken;
}

void Instance::resume() {
    dispatch(effMainsChanged, 0, 1);
    dispatch(effStartProcess);
    isResumed_ = true;
}

void Instance::suspend() {
    if (!isResumed_)
        return;
    dispatch(effStopProcess);
    dispatch(effMainsChanged, 0, 0);
    isResumed_ = false;
}

void Instance::process(float** inputs, float** outputs, int frames) {
    effect_->processReplacing(effect_, inputs, outputs, frames);
    noticeSilentChange();
}

void Instance::noticeSilentChange() {
    const bool isSame = effect_->numInputs == inputs_ && effect_->numOutputs == outputs_;
    if (!isSame && !isIOChanged_) {
        findings_.add("changed its channels without audioMasterIOChanged");
        isIOChanged_ = true;
    }
}

VstIntPtr Instance::dispatch(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                             float opt) {
    return effect_->dispatcher(effect_, opcode, index, value, ptr, opt);
}

bool Instance::takeIOChange() {
    noticeSilentChange();
    if (!isIOChanged_.exchange(false))
        return false;
    readChannels();
    return true;
}

std::string Instance::text(VstInt32 opcode, VstInt32 index, std::size_t bytes, const char* name) {
    GuardedBytes buffer(bytes);
    dispatch(opcode, index, 0, buffer.data());
    const std::span<const char> text(buffer.data(), bytes);
    if (!buffer.isIntact())
        findings_.add(std::string("wrote past the end of the text of ") + name,
                      "which has " + std::to_string(bytes) + " bytes");
    else if (std::find(text.begin(), text.end(), '\0') == text.end())
        findings_.add(std::string("gave no end to the text of ") + name);
    return textIn(text);
}

template <typename Record>
std::optional<Record> Instance::recordOf(VstInt32 opcode, VstInt32 index, const char* name) {
    GuardedBytes buffer(sizeof(Record));
    Record record{};
    std::memcpy(buffer.data(), &record, sizeof record);
    const bool isAnswered = dispatch(opcode, index, 0, buffer.data()) != 0;
    if (!buffer.isIntact())
        findings_.add(std::string("wrote past the end of the record of ") + name);
    if (!isAnswered)
        return std::nullopt;
    std::memcpy(&record, buffer.data(), sizeof record);
    return record;
}

std::optional<VstPinProperties> Instance::pin(VstInt32 opcode, VstInt32 index) {
    return recordOf<VstPinProperties>(opcode, index, "a pin");
}

std::optional<VstParameterProperties> Instance::parameterProperties(VstInt32 index) {
    return recordOf<VstParameterProperties>(effGetParameterProperties, index, "a parameter");
}

void Instance::setParameter(VstInt32 index, float value) {
    effect_->setParameter(effect_, index, value);
}

float Instance::parameter(VstInt32 index) {
    const float value = effect_->getParameter(effect_, index);
    if (!(value >= 0.0f && value <= 1.0f))
        findings_.add("has a parameter outside 0 to 1",
                      "number " + std::to_string(index) + " is " + std::to_string(value));
    return value;
}

bool Instance::setParameterText(VstInt32 index, const std::string& text) {
    std::string copy = text;  // the interface lets a plug-in write there
    return dispatch(effString2Parameter, index, 0, copy.data()) != 0;
}

std::optional<VstInt32> Instance::findParameter(const std::string& indexOrName) {
    VstInt32 number = -1;
    const char* end = indexOrName.data() + indexOrName.size();
    if (std::from_chars(indexOrName.data(), end, number).ptr == end && number >= 0 &&
        number < effect_->numParams)
        return number;
    for (VstInt32 i = 0; i < effect_->numParams; ++i) {
        const auto properties = parameterProperties(i);
        if (isSameName(text(effGetParamName, i, kVstMaxParamStrLen, "a parameter's name"),
                       indexOrName) ||
            (properties && isSameName(textIn(properties->label), indexOrName)))
            return i;
    }
    return std::nullopt;
}

std::optional<std::vector<std::byte>> Instance::chunk() {
    if ((effect_->flags & effFlagsProgramChunks) == 0)
        return std::nullopt;
    void* data = nullptr;
    const VstIntPtr bytes = dispatch(effGetChunk, 0, 0, &data);
    if (bytes < 0 || bytes > kMostChunkBytes)
        throw Failure(ExitRulesBroken,
                      "the plug-in reports a chunk of " + std::to_string(bytes) + " bytes");
    if (bytes > 0 && data == nullptr)
        throw Failure(ExitRulesBroken, "the plug-in reports a chunk, but gives none");
    const auto* begin = static_cast<const std::byte*>(data);
    return std::vector<std::byte>(begin, begin + bytes);
}

bool Instance::setChunk(std::span<const std::byte> chunk) {
    if ((effect_->flags & effFlagsProgramChunks) == 0)
        return false;
    std::vector<std::byte> copy(chunk.begin(), chunk.end());
    dispatch(effSetChunk, 0, static_cast<VstIntPtr>(copy.size()), copy.data());
    return true;
}

}  // namespace tarn::host
