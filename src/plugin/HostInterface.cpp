#include "plugin/HostInterface.h"

#include "foundation/Logger.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"
#include "parameters/ParameterEditor.h"
#include "plugin/PluginInfo.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tarn {

namespace {

struct KnownHost {
    HostType type;
    std::string_view name;
    std::string_view pattern;  // parts of the name that the host gives itself, with "|" between
};

// The first match in this order counts.
constexpr KnownHost KnownHosts[] = {
    {HostType::Cubase, "Cubase", "Cubase"},
    {HostType::FLStudio, "FL Studio", "FLStudio|Fruity"},
    {HostType::Live, "Live", "Live"},
    {HostType::Nuendo, "Nuendo", "Nuendo"},
    {HostType::ProTools, "ProTools", "Vst2Rtas2"},
    {HostType::Reaper, "REAPER", "REAPER"},
    {HostType::SAVIHost, "SAVIHost", "SAVIHost"},
    {HostType::Sonar, "Sonar", "Sonar"},
    {HostType::Tracktion, "Tracktion", "Tracktion"},
    {HostType::SoundForge, "Sound Forge", "Sound Forge"},
};

bool matches(std::string_view name, std::string_view pattern) {
    while (!pattern.empty()) {
        const std::size_t end = std::min(pattern.find('|'), pattern.size());
        if (name.find(pattern.substr(0, end)) != std::string_view::npos)
            return true;
        pattern.remove_prefix(std::min(end + 1, pattern.size()));
    }
    return false;
}

}  // namespace

Radio* HostInterfaceRadio::getPlugin() const {
    return host_.getPlugin();
}

Radio* HostInterfaceRadio::getEditor() const {
    return host_.getEditor();
}

bool HostInterfaceRadio::receive(Message& message) {
    bool isHandled = false;
    if (message.type == MessageType::Control) {
        isHandled = edit(message);
    } else if (message.type == MessageType::Parameter) {
        const auto& change = static_cast<const ParameterMessage&>(message);
        auto* const parameter = dynamic_cast<Parameter*>(message.sender);
        if (change.code == ParameterMessage::ValueChanged && change.mode == FromUser &&
            parameter != nullptr) {
            beginExpected(*parameter);
            host_.parameterChanged(parameter, change.value);
            isHandled = true;
        }
    } else if (message.type == MessageType::Plugin) {
        isHandled = host_.handleMessage(message);
    }
    return isHandled || host_.unhandled(message);
}

bool HostInterfaceRadio::edit(const Message& message) {
    const bool isExpected = message.code == ControlMessage::EditExpected;
    const bool isBegin = message.code == ControlMessage::EditBegin;
    if (!isExpected && !isBegin && message.code != ControlMessage::EditEnd)
        return false;
    const auto* const control = dynamic_cast<const ParameterEditor*>(message.sender);
    const std::int32_t index = control != nullptr ? host_.indexOf(control->getParameter()) : -1;
    if (index < 0)
        return false;
    if (isExpected)
        expect(index);
    else if (isBegin && (take(expected_, index) || !take(begun_, index)))
        host_.beginEdit(index);
    else if (!isBegin && !take(expected_, index))
        end(index);
    return true;
}

// The end of another one that is under way will be told.
void HostInterfaceRadio::expect(std::int32_t index) {
    if (const std::int32_t before = expected_.exchange(index); before != NoParameter)
        host_.beginEdit(before);
    begun_ = NoParameter;
}

void HostInterfaceRadio::beginExpected(const Parameter& changed) {
    const std::int32_t index = expected_;
    if (index == NoParameter || host_.indexOf(&changed) != index || !take(expected_, index))
        return;
    begun_ = index;
    host_.beginEdit(index);
}

void HostInterfaceRadio::end(std::int32_t index) {
    take(begun_, index);
    host_.endEdit(index);
}

// Whether it was this one.
bool HostInterfaceRadio::take(std::atomic<std::int32_t>& held, std::int32_t index) {
    return held.compare_exchange_strong(index, NoParameter);
}

bool HostInterface::setIOConfig(const IOConfig& ioConfig) {
    if (ioConfig == ioConfig_)
        return true;
    logLine(LogWarning, "setting I/O to %d inputs, %d outputs", ioConfig.getInputChannels(),
            ioConfig.getOutputChannels());
    if (!PluginInfo::get().isIOConfigSupported(ioConfig)) {
        logLine(LogWarning, "I/O Setting not supported");
        return false;
    }
    ioConfig_.setInputs(ioConfig.getInputs());
    ioConfig_.setOutputs(ioConfig.getOutputs());
    return true;
}

void HostInterface::setSampleRate(std::int32_t hz) {
    if (hz <= 0)
        return;
    logLine(LogWarning, "host interface samplerate changed to %d", static_cast<int>(hz));
    sampleRate_ = hz;
    SystemMessage changed(&radio_, SystemMessage::SampleRateChanged, toPayload(hz));
    radio_.transmit(changed);
}

HostType HostInterface::getHostType() {
    if (hostType_ != HostType::NotAskedYet)
        return hostType_;
    const std::string name = getHostName();
    const auto* const known = std::ranges::find_if(
        KnownHosts, [&](const KnownHost& host) { return matches(name, host.pattern); });
    hostType_ = known != std::end(KnownHosts) ? known->type : HostType::Other;
    return hostType_;
}

std::string HostInterface::getHostTypeName() {
    const auto* const known = std::ranges::find(KnownHosts, getHostType(), &KnownHost::type);
    if (known != std::end(KnownHosts))
        return std::string(known->name);
    return "your host (" + getHostName() + ")";
}

}  // namespace tarn
