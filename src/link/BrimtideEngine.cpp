#include "link/BrimtideEngine.h"

#include "plugin/HostInterface.h"

#include <algorithm>

namespace tarn {

BrimtideEngine::BrimtideEngine(HostInterface& host) : Radio(nullptr), host_(host) {
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
        if (const char* name = fromPayload<const char*>(change.payload))
            bridge_.setName(name);
        return true;
    }
    if (change.parameterName == MuteOutputName) {
        muted_.store(fromPayload<std::uint8_t>(change.payload) != 0, std::memory_order_relaxed);
        return true;
    }
    return Radio::receive(message);
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
    // Before the output is written, which may be the same memory.
    outputLevel_.store(std::min(sent->getPeak(), 1.0f), std::memory_order_relaxed);

    if (isMuted())
        out.clear();
    else
        target->assign(*source);
}

}  // namespace tarn
