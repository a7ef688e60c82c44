#include "foundation/MessageSlot.h"

#include <cstring>

namespace tarn {

namespace {

constexpr std::string_view CutMark = "\u2026";

std::string_view idOf(const Message& message) noexcept {
    if (message.type == MessageType::Parameter)
        return static_cast<const ParameterMessage&>(message).parameterName;
    if (message.type == MessageType::Resource)
        return static_cast<const ResourceMessage&>(message).resourceName;
    return {};
}

bool continuesCharacter(char byte) noexcept {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// The longest beginning that leaves room for the mark.
std::string_view beginningOf(std::string_view text) noexcept {
    std::size_t bytes = MessageSlot::MaxTextBytes - CutMark.size();
    while (bytes > 0 && continuesCharacter(text[bytes]))
        --bytes;
    return text.substr(0, bytes);
}

char* append(char* place, std::string_view text) noexcept {
    return text.copy(place, text.size()) + place;
}

}  // namespace

bool MessageSlot::hasRoomFor(const Message& message) noexcept {
    return idOf(message).size() <= MaxTextBytes;
}

bool MessageSlot::store(const Message& message) noexcept {
    clear();
    if (!hasRoomFor(message))
        return false;
    message.copyInto(*this);
    return true;
}

std::string_view MessageSlot::keepId(std::string_view id) noexcept {
    *append(id_.data(), id) = 0;
    return {id_.data(), id.size()};
}

std::string_view MessageSlot::keepText(std::string_view text) noexcept {
    char* end = text_.data();
    if (text.size() <= MaxTextBytes)
        end = append(end, text);
    else
        end = append(append(end, beginningOf(text)), CutMark);
    *end = 0;
    return {text_.data(), static_cast<std::size_t>(end - text_.data())};
}

void MessageSlot::clear() noexcept {
    if (message_ != nullptr)
        message_->~Message();
    message_ = nullptr;
}

}  // namespace tarn
