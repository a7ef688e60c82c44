#include "link/BrimtidePlugin.h"

namespace tarn::Brimtide {

namespace {

enum ParameterIndex { MuteOutput, ParameterCount };

constexpr std::int32_t FromHost = 0;  // the source of the host's changes

constexpr std::int32_t UniqueID = 'Q' << 24 | 'r' << 16 | 'l' << 8 | 'A';

}  // namespace

std::int32_t Plugin::getUniqueID() const {
    return UniqueID;
}

void Plugin::process(IOPinConfig& in, IOPinConfig& out, int frames) noexcept {
    if (out.getActivePinCount() == 0)
        return;
    for (int i = 0; i < in.getPinCount(); ++i)
        in.getPin(i)->setCount(frames);
    engine_->process(in, out, frames);
}

int Plugin::getParameterCount() const noexcept {
    return ParameterCount;
}

std::string_view Plugin::getParameterName(int index) const noexcept {
    return index == MuteOutput ? MuteOutputName : "";
}

std::string_view Plugin::getParameterDisplay(int index) const noexcept {
    if (index != MuteOutput)
        return "";
    return engine_->isMuted() ? "On" : "Off";
}

float Plugin::getParameter(int index) const noexcept {
    return index == MuteOutput && engine_->isMuted() ? 1.0f : 0.0f;
}

void Plugin::setParameter(int index, float value) noexcept {
    if (index != MuteOutput)
        return;
    const bool isMuted = value >= 0.5f;
    ParameterMessage change(nullptr, ParameterMessage::ValueChanged, MuteOutputName, 0,
                            toPayload(isMuted), isMuted ? 1.0f : 0.0f, FromHost);
    engine_->receive(change);
}

}  // namespace tarn::Brimtide
