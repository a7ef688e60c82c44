#include "link/BrimtideEngine.h"

#include "audio/Module.h"
#include "parameters/ParameterText.h"
#include "parameters/Settings.h"
#include "platform/Clock.h"
#include "plugin/HostInterface.h"
#include "plugin/Plugin.h"
#include "plugin/PluginInfo.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace tarn {

namespace {

HostInterface* hostOf(const Radio& radio) {
    const auto* const plugin = dynamic_cast<const Plugin*>(radio.getPlugin());
    return plugin != nullptr ? plugin->getHost() : nullptr;
}

template <typename Class>
Class* findIn(Module* module, const char* name) {
    return dynamic_cast<Class*>(module->settings().find(name, 0));
}

// Most blocks bring nothing new, and a look is quicker than to fit the value into its range.
template <typename T>
void publish(ParameterValue<T>* parameter, T value) {
    if (parameter != nullptr && parameter->getValue() != value)
        parameter->setValue(value, FromInternal);
}

void publish(ParameterText* parameter, const std::string& text) {
    if (parameter != nullptr && parameter->getValue() != text)
        parameter->setValue(text, FromInternal);
}

// With one decimal, whatever the user's language.
std::string withOneDecimal(double value) {
    const long tenths = std::lround(std::abs(value) * 10.0);
    return (value < 0.0 && tenths != 0 ? "-" : "") + std::to_string(tenths / 10) + "." +
           std::to_string(tenths % 10);
}

std::string hostName(HostInterface* host) {
    return host != nullptr ? host->getHostName() : std::string();
}

std::string productText() {
    return PluginInfo::get().getProductName() + " " + PluginInfo::get().getVersionText();
}

// Whether a connection bears the name that it was given with its slot, whichever that was.
bool isNameOfSlot(std::string_view name) {
    constexpr std::string_view Beginning = "Connection #";
    if (!name.starts_with(Beginning))
        return false;
    const char* const end = name.data() + name.size();
    std::uint32_t number = 0;
    const auto parsed = std::from_chars(name.data() + Beginning.size(), end, number);
    return parsed.ec == std::errc() && parsed.ptr == end && number >= 1 &&
           number <= ConnectionSlots && name[Beginning.size()] != '0';
}

}  // namespace

BrimtideEngine::Published::Published(Module* module)
    : name(findIn<ParameterText>(module, BrimtideIDName)),
      channel(findIn<ParameterValue<std::int32_t>>(module, BrimtideChannelName)),
      receivers(findIn<ParameterValue<std::int32_t>>(module, ReceiverCountName)),
      latency(findIn<ParameterValue<std::int32_t>>(module, InputLatencyName)),
      level(findIn<ParameterValue<float>>(module, OutputLevelName)),
      peak(findIn<ParameterValue<float>>(module, InputPeakName)),
      connected(findIn<ParameterValue<bool>>(module, ConnectedName)),
      receiving(findIn<ParameterValue<bool>>(module, ReceivingName)),
      clipped(findIn<ParameterValue<bool>>(module, ClippedName)),
      linkState(findIn<ParameterText>(module, LinkStateName)),
      latencyText(findIn<ParameterText>(module, LatencyTextName)),
      peakText(findIn<ParameterText>(module, PeakTextName)) {}

BrimtideEngine::BrimtideEngine(Module* module)
    : EngineEffect(module),
      host_(hostOf(*this)),
      published_(module),
      bridge_(connectionName_, {hostName(host_), productText()}) {
    if (!bridge_.hasBlock())
        connectionName_.clear();
    if (published_.name != nullptr)
        published_.name->setValue(bridge_.name(), FromInternal);
    publish(published_.channel, static_cast<std::int32_t>(bridge_.number()));
    publish(published_.connected, bridge_.hasBlock());
    tuneInByName(ResetPeakName);
    tuneInByName(MuteOutputName);
    tuneInByName(BrimtideIDName);
    // Has a reader that attaches early start with silence instead of waiting for the ring to fill.
    bridge_.resync(ConnectionPreroll);
}

bool BrimtideEngine::receive(Message& message) {
    if (message.type != MessageType::Parameter || message.code != ParameterMessage::ValueChanged)
        return Radio::receive(message);
    const auto& change = static_cast<const ParameterMessage&>(message);
    if (change.parameterName == BrimtideIDName) {
        rename(change);
        return true;
    }
    if (change.parameterName == MuteOutputName) {
        const bool isMuted = fromPayload<std::uint8_t>(change.payload) != 0;
        muted_.store(isMuted, std::memory_order_relaxed);
        bridge_.owner().setMuted(isMuted);
        return true;
    }
    if (change.parameterName == ResetPeakName) {
        if (fromPayload<std::uint8_t>(change.payload) != 0 && published_.peak != nullptr)
            published_.peak->setValue(published_.peak->getMinimum(), FromInternal);
        return true;
    }
    return Radio::receive(message);
}

void BrimtideEngine::rename(const ParameterMessage& change) {
    const char* const pointer = fromPayload<const char*>(change.payload);
    if (!change.hasText && pointer == nullptr)
        return;
    const std::string name = change.hasText ? change.text.str() : std::string(pointer);
    // A connection without a name would be hard to find.
    const bool isSlots = name.empty() || (change.mode == FromLoad && isNameOfSlot(name));
    if (isSlots && name != connectionName_ && published_.name != nullptr)
        published_.name->setValue(connectionName_, FromInternal);  // comes back here
    else
        bridge_.setName(name);
}

void BrimtideEngine::setSampleRate(int hz) {
    EngineEffect::setSampleRate(hz);
    bridge_.owner().setRate(hz);
}

void BrimtideEngine::setBlockSize(int frames) {
    EngineEffect::setBlockSize(frames);
    bridge_.owner().setAnnouncedBlock(static_cast<std::uint32_t>(std::max(frames, 0)));
}

void BrimtideEngine::onReset() {
    askForOffline();
}

void BrimtideEngine::idle() {
    EngineEffect::idle();
    countReceivers();
    const bool processes = isProcessing();
    if (!processes)
        publish(published_.level, 0.0f);
    publish(published_.receiving, bridge_.owner().listeners() > 0);
    publish(published_.clipped, published_.peak != nullptr && published_.peak->getValue() > 0.0f);
    publish(published_.linkState, linkState(processes));
    publish(published_.latencyText, latencyText());
    publish(published_.peakText, peakText());
}

bool BrimtideEngine::isProcessing() {
    const double now = platform::highResolutionSeconds();
    const std::uint32_t blocks = blocks_.load(std::memory_order_relaxed);
    if (blocks != std::exchange(seenBlocks_, blocks))
        lastBlockAt_ = now;
    return now - lastBlockAt_ < NoBlockSeconds;
}

std::string BrimtideEngine::linkState(bool isProcessing) const {
    if (!bridge_.hasBlock())
        return bridge_.isRefused() ? "Shared memory is refused" : "All 32 are taken";
    const auto receivers = bridge_.owner().listeners();
    const std::string listening =
        std::to_string(receivers) + " receiver" + (receivers == 1 ? "" : "s");
    if (!isProcessing)
        return receivers == 0 ? "The host sends no audio" : "No audio, " + listening;
    return receivers == 0 ? "Ready, no receiver" : "Sending, " + listening;
}

std::string BrimtideEngine::latencyText() const {
    const std::int32_t samples = published_.latency != nullptr ? published_.latency->getValue() : 0;
    if (samples <= 0)
        return "The host tells no latency";
    constexpr double MsPerSecond = 1000.0;
    const std::string text = "Host latency " + std::to_string(samples) + " samples";
    const int rate = getSampleRate();
    return rate <= 0 ? text : text + ", " + withOneDecimal(samples * MsPerSecond / rate) + " ms";
}

std::string BrimtideEngine::peakText() const {
    if (published_.peak == nullptr || published_.peak->getValue() <= published_.peak->getMinimum())
        return "-\u221e";
    const float peak = published_.peak->getValue();
    return (peak > 0.0f ? "+" : "") + withOneDecimal(peak);
}

void BrimtideEngine::askForOffline() noexcept {
    if (host_ != nullptr)
        bridge_.owner().setOffline(host_->isOffline());
}

void BrimtideEngine::countReceivers() noexcept {
    publish(published_.receivers, static_cast<std::int32_t>(bridge_.owner().listeners()));
}

void BrimtideEngine::process(const IOPinConfig& in, IOPinConfig& out, int frames) noexcept {
    const IOPin* source = in.getPin(0);
    IOPin* target = out.getPin(0);
    if (source == nullptr || target == nullptr)
        return;
    blocks_.store(blocks_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    const IOChannel<float>* sent = source->getChannel(0);
    const std::int32_t latency = host_ != nullptr ? host_->getInputLatency() : 0;
    bridge_.setInputLatency(latency);
    publish(published_.latency, latency);
    bridge_.write(sent->getData(),
                  static_cast<std::uint32_t>(std::clamp(frames, 0, sent->getSize())));
    // A host may turn to rendering without a stop, and receivers come and go; once a second both
    // are looked at, by the second that the write has stamped.
    if (const std::int64_t second = bridge_.lastWriteTime(); second != askedAt_) {
        askedAt_ = second;
        askForOffline();
        countReceivers();
    }
    // Before the output is written, which may be the same memory.
    const float peak = sent->getPeak();

    if (isMuted())
        out.clear();
    else
        target->assign(*source);

    publish(published_.level, std::min(peak, 1.0f));
    publishPeak(peak);
}

void BrimtideEngine::publishPeak(float peak) noexcept {
    if (published_.peak == nullptr)
        return;
    if (published_.peak->getValue() != publishedPeak_)
        highestPeak_ = 0.0f;  // somebody has reset it
    if (peak <= highestPeak_)
        return;
    highestPeak_ = peak;
    published_.peak->setValue(std::clamp(20.0f * std::log10(peak), published_.peak->getMinimum(),
                                         published_.peak->getMaximum()),
                              FromInternal);
    publishedPeak_ = published_.peak->getValue();
}

}  // namespace tarn
