#include "audio/IOPin.h"

#include <algorithm>

namespace tarn {

namespace {

enum Role { LowFrequencies, Left, Centre, Right, LeftBehind, RightBehind, FrontLeft, FrontRight };

}  // namespace

IOPin::IOPin(Type type, std::initializer_list<const IOChannel<float>*> channels) : type_(type) {
    channels_.reserve(channels.size());
    for (const IOChannel<float>* channel : channels)
        if (channel != nullptr)
            channels_.emplace_back(*channel);
        else
            channels_.emplace_back();
    setCount(std::min_element(channels_.begin(), channels_.end(), [](const auto& a, const auto& b) {
                 return a.getCount() < b.getCount();
             })->getCount());
}

const char* IOPin::getName() const noexcept {
    switch (type_) {
        case Type::Mono:
            return "mono";
        case Type::Stereo:
            return "stereo";
        case Type::Surround51:
            return "5.1";
        default:
            return "";
    }
}

IOChannel<float>* IOPin::getChannelByRole(int role) noexcept {
    return getChannel(getRoleChannel(role));
}

const IOChannel<float>* IOPin::getChannelByRole(int role) const noexcept {
    return getChannel(getRoleChannel(role));
}

void IOPin::setSize(int n) {
    for (auto& channel : channels_)
        channel.setSize(n);
}

void IOPin::clear() noexcept {
    for (auto& channel : channels_)
        channel.clear();
}

bool IOPin::setChannel(int index, const IOChannel<float>& channel) {
    IOChannel<float>* own = getChannel(index);
    if (own == nullptr)
        return false;
    own->replace(channel);
    return true;
}

template <typename Take>
void IOPin::takeEach(const IOPin& src, Take take) {
    if (src.type_ != Type::Mono && src.type_ != Type::Stereo)
        return;
    const IOChannel<float>* from = src.channels_.data();
    const IOChannel<float>* const end = from + src.channels_.size();
    for (auto& channel : channels_) {
        take(channel, *from);
        if (src.type_ == Type::Stereo && ++from == end)
            return;
    }
}

void IOPin::assignEach(const IOPin& src) {
    takeEach(src, [](auto& channel, const auto& from) { channel.assign(from); });
}

void IOPin::addEach(const IOPin& src) noexcept {
    takeEach(src, [](auto& channel, const auto& from) { channel.mix(from, true); });
}

bool IOPin::appendEach(const IOPin& src) noexcept {
    bool hasRoom = true;
    takeEach(src,
             [&](auto& channel, const auto& from) { hasRoom = channel.append(from) && hasRoom; });
    return hasRoom;
}

void IOPinMono::assign(const IOPin& src) {
    assignEach(src);
    if (src.getType() == Type::Stereo)
        getChannel(0)->mix(*src.getChannel(1), true);
}

int IOPinStereo::getRoleChannel(int role) const noexcept {
    return role == Right || role == FrontRight ? 1 : 0;
}

void IOPinQuadro::add(const IOPin& src) noexcept {
    for (int i = 0; i < getChannelCount(); ++i)
        if (const IOChannel<float>* from = src.getChannel(i))
            getChannel(i)->mix(*from, true);
}

void IOPinSurround51::assign(const IOPin& src) {
    switch (src.getType()) {
        case Type::Surround51:
            for (int i = 0; i < getChannelCount(); ++i)
                getChannel(i)->assign(*src.getChannel(i));
            break;
        case Type::Stereo:
            getChannel(1)->assign(*src.getChannelByRole(Left));
            getChannel(3)->assign(*src.getChannelByRole(Right));
            for (const int silent : {2, 0, 4, 5})
                getChannel(silent)->clear();
            break;
        case Type::Mono:
            clear();
            break;
        default:
            break;
    }
}

int IOPinSurround51::getRoleChannel(int role) const noexcept {
    switch (role) {
        case LowFrequencies:
            return 3;
        case Centre:
            return 2;
        case Right:
        case FrontRight:
            return 1;
        case LeftBehind:
            return 4;
        case RightBehind:
            return 5;
        default:
            return 0;
    }
}

}  // namespace tarn
