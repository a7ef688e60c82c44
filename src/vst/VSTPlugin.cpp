#include "vst/VSTPlugin.h"

#include "audio/Alignment.h"
#include "audio/Module.h"
#include "diagnostics/System.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/File.h"
#include "foundation/Logger.h"
#include "foundation/Preferences.h"
#include "parameters/ParameterValue.h"
#include "parameters/Settings.h"
#include "platform/Clock.h"
#include "platform/SystemWindow.h"
#include "plugin/Mission.h"
#include "plugin/PluginInfo.h"
#include "vst/DefaultProgram.h"
#include "vst/HostText.h"
#include "vst/VSTEditor.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
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

// What a host announces and corrects later.
constexpr VstInt32 ProgramsAtFirst = 128;
constexpr VstInt32 ParametersAtFirst = 1024;

// After a pause of so many blocks, but at least a second, engines begin anew.
constexpr double BlocksOfGap = 8.0;
constexpr double ShortestGap = 1.0;  // seconds

constexpr VstInt32 MostEvents = 1 << 16;  // in a block; a host that counts more has lost count

// These opcodes belong to the blocks, and may come on the audio thread.
bool belongsToBlocks(VstInt32 opcode) {
    return opcode == effProcessEvents || opcode == effStartProcess || opcode == effStopProcess ||
           opcode == effGetTailSize;
}

VstPlugCategory categoryOf(std::int32_t category) {
    switch (category) {
        case 0:
        case 9:
            return kPlugCategRoomFx;
        case 1:
        case 6:
            return kPlugCategMastering;
        case 2:
        case 3:
        case 4:
        case 5:
        case 7:
        case 8:
            return kPlugCategEffect;
        case 10:
        case 12:
            return kPlugCategSynth;
        default:
            return kPlugCategUnknown;
    }
}

// The parameters' own text of a switch is a number.
constexpr const char* On = "On";
constexpr const char* Off = "Off";

bool isSwitch(const Parameter& parameter) {
    return dynamic_cast<const ParameterValue<bool>*>(&parameter) != nullptr;
}

std::string displayOf(const Parameter& parameter) {
    if (isSwitch(parameter))
        return parameter.getFloat() != 0.0f ? On : Off;
    return parameter.getText();
}

void setIntegers(VstParameterProperties& properties, VstInt32 minimum, VstInt32 maximum,
                 VstInt32 step) {
    constexpr VstInt32 LargeSteps = 10;  // over the whole range
    const std::int64_t range = std::int64_t{maximum} - minimum;
    properties.flags |= kVstParameterUsesIntegerMinMax | kVstParameterUsesIntStep;
    properties.minInteger = minimum;
    properties.maxInteger = maximum;
    properties.stepInteger = std::max(step, 1);
    properties.largeStepInteger =
        std::max(properties.stepInteger, static_cast<VstInt32>(range / LargeSteps));
}

}  // namespace

VSTPlugin::VSTPlugin(std::uintptr_t baseAddress, audioMasterCallback host, const IOConfig& ioConfig)
    : AudioEffectX(host, ProgramsAtFirst, ParametersAtFirst),
      plugin_(PluginInfo::get().createPlugin(this, baseAddress)) {
    HostInterface::setIOConfig(ioConfig);
    plugin_->start();
    setInitialDelay(getLatency());
    logLine(LogProgress, "initializing with latency in=%d, out=%d",
            static_cast<int>(getInputLatency()), static_cast<int>(getLatency()));
    numParams = cEffect.numParams = countParameters();
    numPrograms = cEffect.numPrograms = plugin_->getProgramCount();
    logLine(LogProgress, "VST Interface: %d parameters, %d programs", static_cast<int>(numParams),
            static_cast<int>(numPrograms));
    tellHostOfChannels();
    logLine(LogProgress, "VST plugin running in " + getHostTypeName());
    finish();
}

// An instance without an interface does its work all the same.
void VSTPlugin::makeEditor() try {
    if (!platform::hasWindows())
        return;
    auto made = std::make_unique<VSTEditor>(*this, *plugin_);
    Editor& shown = made->getInterface();
    if (shown.getRootControl() == nullptr)
        return;  // the user knows, or wants none
    vstEditor_ = std::move(made);
    radio().tuneIn(&shown);
    AudioEffect::setEditor(vstEditor_.get());
    HostInterface::setEditor(&shown);
    radio().setParent(plugin_->moduleAt(0));
} catch (const std::exception& error) {
    logLine(LogError, std::string_view(error.what()));
    Mission::get().alertOnce(PluginInfo::get().getTexts().controlsFailed);
}

void VSTPlugin::finish() {
    makeEditor();
    isSynth(PluginInfo::get().isSynth());
    setUniqueID(plugin_->getUniqueID());
    programsAreChunks();
    // What it holds is for a product that wants it.
    readDefaultProgram(File(System::getFolderLocation(System::Install), "default.fxp"));
    inPlacePin_.setSize(InPlaceFrames);
    visitModules([this](const std::vector<Parameter*>& parameters) {
        for (Parameter* const parameter : parameters)
            if (parameter->hasFlag(Parameter::Automatable))
                radio().tuneIn(parameter);
        return true;
    });
    suspend();
}

VSTPlugin::~VSTPlugin() {
    suspend();
    plugin_->stop();
    if (vstEditor_) {
        vstEditor_->close();
        AudioEffect::setEditor(nullptr);
        HostInterface::setEditor(nullptr);
        radio().setParent(nullptr);
        vstEditor_.reset();
    }
}

void VSTPlugin::tellHostOfChannels() noexcept {
    setNumInputs(getIOConfig().getInputChannels());
    setNumOutputs(getIOConfig().getOutputChannels());
}

VstIntPtr VSTPlugin::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                float opt) {
    if (belongsToBlocks(opcode))
        return AudioEffectX::dispatcher(opcode, index, value, ptr, opt);
    if (longestBlock_ != 0)
        makeRoomForRaise();
    if (vstEditor_) {
        const Editor::Speaking here(vstEditor_->getInterface());
        return AudioEffectX::dispatcher(opcode, index, value, ptr, opt);
    }
    const CallsUnderWay::Call here(plugin_->calls());
    return AudioEffectX::dispatcher(opcode, index, value, ptr, opt);
}

bool VSTPlugin::putOffEnd() {
    gate_.close();
    {
        const AudioGate::Change change(gate_);
        if (change.isWithinOwnBlock())
            endsAfterBlock_ = true;
        else if (!change.isInside() && !change.isWithinOwn())
            logLine(LogError,
                    "closed during a block that doesn't end: the instance stays in memory");
        else if (!plugin_->calls().putOffEnd([this] { delete this; }))
            return false;
    }
    suspend();
    audioMaster = nullptr;
    if (vstEditor_)
        vstEditor_->close();
    return true;
}

void VSTPlugin::suspend() {
    gate_.close();
    const AudioGate::Change change(gate_);
    if (change.isInside() || change.isWithinOwn())
        plugin_->suspend();
}

void VSTPlugin::resume() {
    setInitialDelay(getLatency());
    wantEvents();
    {
        const AudioGate::Change change(gate_);
        if (change.isInside() || change.isWithinOwn())
            plugin_->resume();
    }
    gate_.open();
}

void VSTPlugin::setSampleRate(float rate) {
    const std::int32_t hz = rate > 0.0f && rate < HighestRate ? static_cast<std::int32_t>(rate) : 0;
    if (hz == rate_)
        return;
    const AudioGate::Change change(gate_);
    if (!change.isInside())
        return;
    rate_ = hz;
    logLine(LogWarning, "host sample rate: %d", static_cast<int>(hz));
    AudioEffectX::setSampleRate(rate);
    HostInterface::setSampleRate(hz);
    plugin_->setSampleRate(hz);
}

void VSTPlugin::setBlockSize(VstInt32 frames) {
    const AudioGate::Change change(gate_);
    if (change.isInside())
        takeBlockSize(std::clamp(frames, VstInt32{0}, MaxInPlaceFrames));
}

void VSTPlugin::takeBlockSize(VstInt32 frames) {
    logLine(LogWarning, "host blocksize: %d", static_cast<int>(frames));
    inPlacePin_.setSize(std::max(frames, InPlaceFrames));
    plugin_->setBlockSize(frames);
    AudioEffectX::setBlockSize(frames);
    HostInterface::setBlockSize(frames);
    longestBlock_ = 0;
}

void VSTPlugin::raiseBlockSize(VstInt32 frames) noexcept {
    const auto longest = static_cast<unsigned>(std::min(frames, MaxInPlaceFrames));
    HostInterface::setBlockSize(static_cast<VstInt32>(std::bit_ceil(longest)));
    longestBlock_ = frames;
}

// What the audio thread left to do. What can't be done now is left to the host's next call.
void VSTPlugin::makeRoomForRaise() noexcept try {
    const AudioGate::Change change(gate_);
    if (!change.isInside())
        return;
    logLine(LogWarning, "host sent %d frames for processing, bumping blocksize to %d",
            static_cast<int>(longestBlock_), static_cast<int>(HostInterface::getBlockSize()));
    takeBlockSize(HostInterface::getBlockSize());
} catch (const std::bad_alloc&) {
}

void VSTPlugin::resetAfterGap() {
    if (getHostType() != HostType::Live)
        plugin_->resetAfterGap();
}

void VSTPlugin::processBlock(float* const* inputs, float* const* outputs,
                             VstInt32 frames) noexcept {
    IOPinConfig& in = getIOConfig().getInputs();
    IOPinConfig& out = getIOConfig().getOutputs();
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
    if (takeBlock(inputs, outputs, frames)) [[unlikely]]
        endAfterBlock();
}

// Its own calls of the host's may be inside another one.
void VSTPlugin::endAfterBlock() noexcept {
    if (!plugin_->calls().putOffEnd([this] { delete this; }))
        delete this;
}

bool VSTPlugin::takeBlock(float* const* inputs, float* const* outputs, VstInt32 frames) noexcept {
    if (frames < 0 || inputs == nullptr || outputs == nullptr)
        return false;
    const AudioGate::Block block(gate_);
    if (!block.isInside())
        return false;
    const std::int32_t announced = HostInterface::getBlockSize();
    if (frames > announced && announced < MaxInPlaceFrames) [[unlikely]]
        raiseBlockSize(frames);
    const double gap = platform::highResolutionSeconds() - lastProcessEnd_;
    if (gap >= ShortestGap &&
        gap * HostInterface::getSampleRate() >= BlocksOfGap * HostInterface::getBlockSize())
        resetAfterGap();
    {
        const Plugin::CpuMetering metering(*plugin_, Plugin::AudioSection);
        processBlock(inputs, outputs, frames);
    }
    lastProcessEnd_ = platform::highResolutionSeconds();
    return endsAfterBlock_;
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
        from(inputs, getIOConfig().getInputChannels(), begin, in.data());
        from(outputs, getIOConfig().getOutputChannels(), begin, out.data());
        processBlock(in.data(), out.data(), std::min(frames - begin, inPlacePin_.getSize()));
    }
}

// Some hosts hand out buffers from a pool, so that one channel's output is another one's input.
void VSTPlugin::copyInput(int index, int frames) noexcept {
    IOChannel<float>* copy = inPlacePin_.getChannel(index);
    if (copy == nullptr)
        return;
    IOChannel<float>* input = getIOConfig().getInputs().getChannel(index);
    input->setCount(frames);
    copy->assign(*input);
    input->attach(copy->getData(), frames);
}

template <typename Visit>
void VSTPlugin::visitModules(const Visit& visit) const {
    for (int i = 0; i < plugin_->getModuleCount(); ++i)
        if (!visit(plugin_->moduleAt(i)->settings().getAutomatable()))
            return;
}

Parameter* VSTPlugin::parameterAt(VstInt32 index) const noexcept {
    auto rest = static_cast<std::uint32_t>(index);
    Parameter* found = nullptr;
    visitModules([&](const std::vector<Parameter*>& parameters) {
        const auto count = static_cast<std::uint32_t>(parameters.size());
        if (rest < count)
            found = parameters[rest];
        rest -= count;
        return found == nullptr;
    });
    return found;
}

std::int32_t VSTPlugin::indexOf(const Parameter* parameter) const noexcept {
    std::int32_t before = 0;
    std::int32_t found = -1;
    visitModules([&](const std::vector<Parameter*>& parameters) {
        const auto at = std::ranges::find(parameters, parameter);
        if (at != parameters.end())
            found = before + static_cast<std::int32_t>(at - parameters.begin());
        before += static_cast<std::int32_t>(parameters.size());
        return found < 0;
    });
    return found;
}

VstInt32 VSTPlugin::countParameters() const noexcept {
    std::size_t count = 0;
    visitModules([&](const std::vector<Parameter*>& parameters) {
        count += parameters.size();
        return true;
    });
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

VstInt32 VSTPlugin::getProgram() {
    return plugin_->getProgram();
}

void VSTPlugin::setProgram(VstInt32 program) {
    plugin_->setProgram(program);
}

void VSTPlugin::setProgramName(const char* name) {
    const char* const end = std::find(name, name + kVstMaxProgNameLen, '\0');
    if (plugin_->getCurrent() == nullptr)
        return;
    plugin_->setCurrentName(std::string(name, end));
    plugin_->redraw();
}

void VSTPlugin::getProgramName(char* name) {
    copyText(name, plugin_->getProgramName(plugin_->getProgram()), kVstMaxProgNameLen);
}

bool VSTPlugin::getProgramNameIndexed(VstInt32 /*category*/, VstInt32 index, char* name) {
    copyText(name, plugin_->getProgramName(index), kVstMaxProgNameLen);
    return plugin_->getPreset(index) != nullptr;
}

void VSTPlugin::getParameterLabel(VstInt32 index, char* label) {
    const Parameter* const parameter = parameterAt(index);
    copyText(label, parameter != nullptr ? parameter->getUnit() : "", kVstMaxParamStrLen);
}

void VSTPlugin::getParameterDisplay(VstInt32 index, char* text) {
    const Parameter* const parameter = parameterAt(index);
    copyText(text, parameter != nullptr ? displayOf(*parameter) : "", kVstMaxParamStrLen);
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
    // Hosts have been seen that pass the size of an older, longer state.
    const auto* const bytes = static_cast<const char*>(data);
    const auto* const zero =
        static_cast<const char*>(std::memchr(bytes, '\0', static_cast<std::size_t>(size)));
    const std::string_view text(bytes, zero != nullptr ? zero : bytes + size);
    Dictionary state;
    if (state.parseWhole(text))
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
    if (parameter == nullptr)
        return false;
    const std::string_view typed = text;
    if (isSwitch(*parameter) && (typed == On || typed == Off)) {
        parameter->setNormalised(typed == On ? 1.0f : 0.0f, FromHost);
        return true;
    }
    return parameter->setText(text, FromHost);
}

bool VSTPlugin::getParameterProperties(VstInt32 index, VstParameterProperties* properties) {
    *properties = {};
    const Parameter* const parameter = parameterAt(index);
    if (parameter == nullptr)
        return false;
    copyText(properties->label, parameter->getName(), kVstMaxLabelLen);
    copyText(properties->shortLabel, parameter->getHostName(kVstMaxShortLabelLen - 1),
             kVstMaxShortLabelLen);
    if (isSwitch(*parameter)) {
        properties->flags |= kVstParameterIsSwitch;
    } else if (const auto* const integer =
                   dynamic_cast<const ParameterValue<std::int32_t>*>(parameter)) {
        setIntegers(*properties, integer->getMinimum(), integer->getMaximum(),
                    static_cast<VstInt32>(integer->getStep()));
    } else if (const auto* const value = dynamic_cast<const ParameterValue<float>*>(parameter)) {
        constexpr double SmallestStep = 1e-6;  // of the range; less is none
        const double range = std::fabs(double{value->getMaximum()} - value->getMinimum());
        if (const double step = value->getStep() / range; step >= SmallestStep && step <= 1.0) {
            properties->flags |= kVstParameterUsesFloatStep;
            properties->stepFloat = properties->smallStepFloat = properties->largeStepFloat =
                static_cast<float>(step);
        }
    } else if (const std::int32_t entries = parameter->getStepCount(); entries > 1) {
        setIntegers(*properties, 0, entries - 1, 1);
    }
    return true;
}

// A pin is known by its number here, and answered for as a stereo one whatever its type.
bool VSTPlugin::getInputProperties(VstInt32 index, VstPinProperties* properties) {
    if (getIOConfig().getInputs().getPin(index) == nullptr)
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
    for (int number = 1, end = 0; const IOPin *pin = getIOConfig().getOutputs().getPin(number - 1);
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
    const AudioGate::Change change(gate_);
    if (!change.isInside() || !setIOConfig(wanted))
        return false;
    tellHostOfChannels();
    return true;
}

VstInt32 VSTPlugin::processEvents(const VstEvents* events) {
    const AudioGate::Block block(gate_);
    if (!block.isInside() || events->numEvents > MostEvents)
        return 1;
    const Plugin::CpuMetering metering(*plugin_, Plugin::MidiSection);
    VstEvent* const* const list = events->events;  // of more than the two that are declared
    // In front of the first block that comes in parts, no event lies behind the announced length.
    const VstInt32 last = std::max(HostInterface::getBlockSize() - 1, 0);
    for (VstInt32 i = 0; i < events->numEvents; ++i) {
        if (list[i] == nullptr || list[i]->type != kVstMidiType)
            continue;
        VstMidiEvent event;
        std::memcpy(&event, list[i], sizeof event);
        MidiRecord record;
        std::memcpy(record.bytes.data(), event.midiData, record.bytes.size());
        record.deltaFrames = std::clamp(event.deltaFrames, VstInt32{0}, last);
        record.detune = event.detune;  // NOLINT(bugprone-signed-char-misuse): it is a number
        record.noteLength = event.noteLength;
        plugin_->midiEvent(record);
    }
    plugin_->midiEventsDone();
    return 1;
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
    static constexpr std::string_view abilities[] = {
        "plugAsChannelInsert",     "plugAsSend", "receiveVstEvents",
        "reportConnectionChanges", "sizeWindow",
    };
    if (std::string_view(text) == "receiveVstMidiEvent")
        return PluginInfo::get().wantsMidi(1) ? 1 : -1;
    return std::ranges::find(abilities, text) != std::end(abilities) ? 1 : -1;
}

VstPlugCategory VSTPlugin::getPlugCategory() {
    return categoryOf(PluginInfo::get().getCategory());
}

void VSTPlugin::beginEdit(std::int32_t index) {
    if (index >= 0)
        tellBeginEdit(index);
}

void VSTPlugin::endEdit(std::int32_t index) {
    if (index >= 0)
        tellEndEdit(index);
}

void VSTPlugin::parameterChanged(Parameter* parameter, float value) {
    const bool isHosts = parameter != nullptr && parameter->hasFlag(Parameter::Automatable);
    if (const std::int32_t index = isHosts ? indexOf(parameter) : -1; index >= 0)
        setParameterAutomated(index, value);
}

std::int32_t VSTPlugin::getInputLatency() noexcept {
    return getMasterInputLatency();
}

std::int32_t VSTPlugin::getLatency() const {
    return std::max(plugin_->getLatency(), 0);
}

void VSTPlugin::setLatency(std::int32_t samples) {
    setInitialDelay(samples);
    ioChanged();
}

double VSTPlugin::getTempo() noexcept {
    constexpr double Usual = 120.0;
    const VstTimeInfo* const time = getTimeInfo(kVstTempoValid);
    return time != nullptr && (time->flags & kVstTempoValid) != 0 ? time->tempo : Usual;
}

double VSTPlugin::getBeatPosition() noexcept {
    constexpr VstInt32 Needed = kVstPpqPosValid | kVstBarsValid;
    const VstTimeInfo* const time = getTimeInfo(Needed | kVstTempoValid);
    const bool isKnown = time != nullptr && (time->flags & Needed) == Needed;
    return isKnown ? time->ppqPos - time->barStartPos : 0.0;
}

bool VSTPlugin::isPlaying() noexcept {
    const VstTimeInfo* const time = getTimeInfo(kVstTransportChanged | kVstTransportPlaying);
    return time != nullptr && (time->flags & kVstTransportPlaying) != 0;
}

std::string VSTPlugin::getHostName() {
    char name[HostTextBytes]{};
    getHostProductString(name);
    return std::string(name, std::find(name, std::end(name), '\0'));
}

bool VSTPlugin::isOffline() noexcept {
    return callHost(audioMasterGetCurrentProcessLevel) == kVstProcessLevelOffline;
}

}  // namespace tarn
