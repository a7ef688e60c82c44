#include "link/BrimtideEngine.h"

#include "plugin/HostInterface.h"
#include "plugin/PluginInfo.h"

#include <algorithm>

namespace tarn {

namespace {

// "Brimtide 1.2.0": a digit of the version number a component.
std::string productText() {
    std::string text = PluginInfo::get().getProductName();
    char separator = ' ';
    for (const char digit : std::to_string(PluginInfo::get().getVendorVersion() / 10)) {
        text += {separator, digit};
        separator = '.';
    }
    return text;
}

}  // namespace

BrimtideEngine::BrimtideEngine(HostInterface& host)
    : Radio(nullptr), host_(host), bridge_(connectionName_, {host.getHostName(), productText()}) {
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
        if (change.hasText)
            bridge_.setName(change.text);
        else if (const char* name = fromPayload<const char*>(change.payload))
            bridge_.setName(name);
        return true;
    }
    if (change.parameterName == MuteOutputName) {
        const bool isMuted = fromPayload<std::uint8_t>(change.payload) != 0;
        muted_.store(isMuted, std::memory_order_relaxed);
        bridge_.owner().setMuted(isMuted);
        return true;
    }
    return Radio::receive(message);
}

void BrimtideEngine::setBlockSize(int frames) noexcept {
    bridge_.owner().setAnnouncedBlock(static_cast<std::uint32_t>(std::max(frames, 0)));
}

void BrimtideEngine::resume() noexcept {
    askForOffline();
}

void BrimtideEngine::askForOffline() noexcept {
    bridge_.owner().setOffline(host_.isOffline());
}

void BrimtideEngine::process(const IOPinConfig& in, IOPinConfig& out, int frames) noexcept {
    const IOPin* source = in.getPin(0);
    IOPin* target = out.getPin(0);
    if (source == nullptr || target == nullptr)
        return;
    const IOChannel<float>* sent = source->getChannel(0);
    bridge_.setInputLatency(host_.getInputLatency());
    bridge_.write(sent->getData(),
                  static_cast<std::uint32_t>(std::clamp(frames, 0, sent->getSize())));
    // A host may turn to rendering without a stop; once a second it is asked, by the second that
    // the write has stamped.
    if (const std::int64_t second = bridge_.lastWriteTime(); second != offlineAskedAt_) {
        offlineAskedAt_ = second;
        askForOffline();
    }
    // Before the output is written, which may be the same memory.
    outputLevel_.store(std::min(sent->getPeak(), 1.0f), std::memory_order_relaxed);

    if (isMuted())
        out.clear();
    else
        target->assign(*source);
}

}  // namespace tarn
