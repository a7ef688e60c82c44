#include "audio/IOPinConfig.h"

#include <utility>

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
        if (auto pin = makePin(type)) {
            for (int j = 0; IOChannel<float>* channel = pin->getChannel(j); ++j)
                channels_.push_back(channel);
            pins_.push_back(std::move(pin));
        }
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
