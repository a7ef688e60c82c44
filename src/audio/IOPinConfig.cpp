#include "audio/IOPinConfig.h"

#include <algorithm>
#include <cstddef>

namespace tarn {

namespace {

IOPin::Type typeOf(int channels) {
    switch (channels) {
        case 1:
            return IOPin::Type::Mono;
        case 2:
            return IOPin::Type::Stereo;
        case 4:
            return IOPin::Type::Quadro;
        case 6:
            return IOPin::Type::Surround51;
        default:
            return IOPin::Type::None;
    }
}

std::shared_ptr<IOPin> makePin(IOPin::Type type) {
    switch (type) {
        case IOPin::Type::Mono:
            return std::make_shared<IOPinMono>();
        case IOPin::Type::Stereo:
            return std::make_shared<IOPinStereo>();
        case IOPin::Type::Surround51:
            return std::make_shared<IOPinSurround51>();
        case IOPin::Type::Quadro:
            return std::make_shared<IOPinQuadro>();
        default:
            return nullptr;
    }
}

}  // namespace

IOPinConfig::IOPinConfig(int channels, int pins) : IOPinConfig(typeOf(channels), pins) {}

IOPinConfig::IOPinConfig(IOPin::Type type, int pins) {
    for (int i = 0; i < pins; ++i)
        if (auto pin = makePin(type))
            pins_.push_back(std::move(pin));
}

std::string IOPinConfig::toString() const {
    std::string text;
    for (const auto& pin : pins_) {
        if (pin != pins_.front())
            text += '/';
        text += pin->getName();
    }
    return text;
}

IOPin* IOPinConfig::getPin(int index) const noexcept {
    const auto at = static_cast<std::size_t>(index);
    return at < pins_.size() ? pins_[at].get() : nullptr;
}

int IOPinConfig::getActivePinCount() const noexcept {
    return static_cast<int>(std::count_if(pins_.begin(), pins_.end(), [](const auto& pin) {
        return pin->getType() != IOPin::Type::None;
    }));
}

int IOPinConfig::getChannelCount() const noexcept {
    int channels = 0;
    for (const auto& pin : pins_)
        channels += pin->getChannelCount();
    return channels;
}

IOChannel<float>* IOPinConfig::getChannel(int flatIndex) const noexcept {
    for (const auto& pin : pins_) {
        if (flatIndex < pin->getChannelCount())
            return pin->getChannel(flatIndex);
        flatIndex -= pin->getChannelCount();
    }
    return nullptr;
}

bool IOPinConfig::setChannel(int flatIndex, const IOChannel<float>& channel) {
    IOChannel<float>* own = getChannel(flatIndex);
    if (own == nullptr)
        return false;
    own->replace(channel);
    return true;
}

bool IOPinConfig::setSize(int n) {
    for (const auto& pin : pins_)
        pin->setSize(n);
    return true;
}

void IOPinConfig::clear() noexcept {
    for (const auto& pin : pins_)
        pin->clear();
}

}  // namespace tarn
