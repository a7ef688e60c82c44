#include "link/BrimtideEngine.h"

#include "audio/Peak.h"
#include "plugin/HostInterface.h"

#include <algorithm>
#include <cstring>

namespace tarn {

namespace {

void clear(OutputChannels out, int frames) noexcept {
    for (float* channel : out)
        std::fill_n(channel, frames, 0.0f);
}

void copyChannel(const float* from, float* to, std::size_t frames) noexcept {
    if (from != to)
        std::memmove(to, from, frames * sizeof(float));
}

// Some hosts hand out buffers from a pool, so that one channel's output is the other one's input:
// both samples of a frame are read before either is written.
void passCrosswise(const float* left, const float* right, OutputChannels out, int frames) noexcept {
    for (int i = 0; i < frames; ++i) {
        const float leftSample = left[i];
        const float rightSample = right[i];
        out[0][i] = leftSample;
        out[1][i] = rightSample;
    }
}

// Channel by channel; a mono input goes to every output.
void pass(InputChannels in, OutputChannels out, int frames) noexcept {
    if (in.size() == 2 && out.size() == 2 && (out[0] == in[1] || out[1] == in[0])) {
        passCrosswise(in[0], in[1], out, frames);
        return;
    }
    for (std::size_t i = out.size(); i-- > 0;)
        copyChannel(in[std::min(i, in.size() - 1)], out[i], static_cast<std::size_t>(frames));
}

}  // namespace

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

void BrimtideEngine::process(InputChannels in, OutputChannels out, int frames) noexcept {
    bridge_.setInputLatency(host_.getInputLatency());
    bridge_.write(in[0], static_cast<std::uint32_t>(frames));
    // Before the output is written, which may be the same memory.
    outputLevel_.store(std::min(peakOf(in[0], frames), 1.0f), std::memory_order_relaxed);

    if (isMuted())
        clear(out, frames);
    else
        pass(in, out, frames);
}

}  // namespace tarn
