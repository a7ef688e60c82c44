#include "foundation/Message.h"

#include "foundation/MessageSlot.h"

namespace tarn {

namespace {

// The most derived type's copy, whose texts are its own.
template <typename Family>
std::unique_ptr<Message> copyOf(const Family& message) {
    return std::make_unique<Family>(message);
}

std::int32_t buttonOf(std::int32_t code) noexcept {
    switch (code) {
        case WindowMessage::LeftDown:
        case WindowMessage::LeftDouble:
        case WindowMessage::LeftUp:
            return WindowMessage::LeftButton;
        case WindowMessage::RightDown:
        case WindowMessage::RightDouble:
        case WindowMessage::RightUp:
            return WindowMessage::RightButton;
        default:
            return WindowMessage::NoButton;
    }
}

// Both in the payload where they fit.
std::uint64_t pointerPayload(const void* data, std::int32_t companion) noexcept {
    std::uint64_t payload = toPayload(data);
    if constexpr (sizeof data == sizeof companion)
        payload |= std::uint64_t{static_cast<std::uint32_t>(companion)} << 32;
    return payload;
}

}  // namespace

MessageText& MessageText::operator=(std::string_view text) noexcept {
    view_ = text;
    return *this;
}

ControlMessage::ControlMessage(Radio* from, std::int32_t what) noexcept
    : ControlMessage(from, what, {}, 0) {}

ControlMessage::ControlMessage(Radio* from, std::int32_t what, Point where,
                               std::uint64_t value) noexcept
    : Message(from, MessageType::Control, what, value), position(where) {}

std::unique_ptr<Message> ControlMessage::clone() const {
    return copyOf(*this);
}

void ControlMessage::copyInto(MessageSlot& slot) const noexcept {
    slot.make<ControlMessage>(sender, code, position, payload).extent = extent;
}

MidiMessage::MidiMessage(Radio* from, std::int32_t what, const void* data,
                         std::int32_t second) noexcept
    : Message(from, MessageType::Midi, what, pointerPayload(data, second)), companion(second) {
    if (what == Event && data != nullptr)
        std::memcpy(&event, data, sizeof event);
}

MidiMessage::MidiMessage(Radio* from, std::int32_t what, const void* data, const NoteEvent& values,
                         std::int32_t second) noexcept
    : MidiMessage(from, what, data, second) {
    note = values;
}

std::unique_ptr<Message> MidiMessage::clone() const {
    auto copy = copyOf(*this);
    copy->payload = payloadOfCopy();
    return copy;
}

void MidiMessage::copyInto(MessageSlot& slot) const noexcept {
    auto& copy = slot.make<MidiMessage>(sender, code, nullptr, note, companion);
    copy.event = event;
    copy.payload = payloadOfCopy();
}

// A note's pointer stays behind.
std::uint64_t MidiMessage::payloadOfCopy() const noexcept {
    return code == NoteOn || code == OtherNote ? pointerPayload(nullptr, companion) : payload;
}

const void* MidiMessage::data() const noexcept {
    return fromPayload<const void*>(payload);
}

ParameterMessage::ParameterMessage(Radio* from, std::int32_t what, const MessageText& name,
                                   std::int32_t number, const std::string& newText,
                                   std::int32_t source) noexcept
    : ParameterMessage(from, what, name, number, toPayload(newText.c_str()), 0.0F, source) {
    text = newText;
    hasText = true;
}

std::unique_ptr<Message> ParameterMessage::clone() const {
    auto copy = std::make_unique<ParameterMessage>(*this);
    if (hasText)
        copy->payload = toPayload(copy->text.view().data());
    return copy;
}

void ParameterMessage::copyInto(MessageSlot& slot) const noexcept {
    auto& copy = slot.make<ParameterMessage>(sender, code, slot.keepId(parameterName), cloneNumber,
                                             payload, value, mode);
    copy.text = slot.keepText(text);
    copy.hasText = hasText;
    if (hasText)
        copy.payload = toPayload(copy.text.view().data());
}

PluginMessage::PluginMessage(Radio* from, std::int32_t what, std::uint64_t value) noexcept
    : Message(from, MessageType::Plugin, what, value) {}

std::unique_ptr<Message> PluginMessage::clone() const {
    return copyOf(*this);
}

void PluginMessage::copyInto(MessageSlot& slot) const noexcept {
    slot.make<PluginMessage>(sender, code, payload).text = slot.keepText(text);
}

ResourceMessage::ResourceMessage(Radio* from, std::int32_t what, const MessageText& name,
                                 std::uint64_t value) noexcept
    : Message(from, MessageType::Resource, what, value), resourceName(name.view()) {}

std::unique_ptr<Message> ResourceMessage::clone() const {
    return copyOf(*this);
}

void ResourceMessage::copyInto(MessageSlot& slot) const noexcept {
    slot.make<ResourceMessage>(sender, code, slot.keepId(resourceName), payload);
}

WindowMessage::WindowMessage(Radio* from, std::int32_t what, void* window) noexcept
    : WindowMessage(from, what, window, WindowPosition{}, 0) {}

WindowMessage::WindowMessage(Radio* from, std::int32_t what, void* window,
                             const WindowPosition& where, std::uint64_t value) noexcept
    : Message(from, MessageType::Window, what, value),
      target(window),
      position(where.point),
      keyCode(where.keyCode),
      modifiers(where.modifiers),
      button(buttonOf(what)) {}

WindowMessage::WindowMessage(Radio* from, std::int32_t what, Point point,
                             const DroppedText& dropped) noexcept
    : Message(from, MessageType::Window, what, 0),
      target(nullptr),
      position(point),
      text(dropped.text),
      regionStart(dropped.regionStart),
      regionEnd(dropped.regionEnd),
      button(buttonOf(what)) {}

WindowMessage::WindowMessage(Radio* from, std::int32_t what, void* window, Point point,
                             std::uint64_t value) noexcept
    : WindowMessage(from, what, window, WindowPosition{point}, value) {}

std::unique_ptr<Message> WindowMessage::clone() const {
    return copyOf(*this);
}

void WindowMessage::copyInto(MessageSlot& slot) const noexcept {
    auto& copy = slot.make<WindowMessage>(sender, code, target,
                                          WindowPosition{position, keyCode, modifiers}, payload);
    copy.previousPosition = previousPosition;
    copy.rectangle = rectangle;
    copy.text = slot.keepText(text);
    copy.regionStart = regionStart;
    copy.regionEnd = regionEnd;
    copy.button = button;
}

TimerMessage::TimerMessage(Radio* from, std::int32_t what, std::uint32_t id,
                           std::uint64_t value) noexcept
    : Message(from, MessageType::Timer, what, value), timerId(id) {}

std::unique_ptr<Message> TimerMessage::clone() const {
    return copyOf(*this);
}

void TimerMessage::copyInto(MessageSlot& slot) const noexcept {
    auto& copy = slot.make<TimerMessage>(sender, code, timerId, payload);
    copy.intervalMs = intervalMs;
    copy.elapsed = elapsed;
    copy.sinceLastTick = sinceLastTick;
}

SystemMessage::SystemMessage(Radio* from, std::int32_t what, std::uint64_t value) noexcept
    : Message(from, MessageType::System, what, value) {}

std::unique_ptr<Message> SystemMessage::clone() const {
    return copyOf(*this);
}

void SystemMessage::copyInto(MessageSlot& slot) const noexcept {
    slot.make<SystemMessage>(sender, code, payload);
}

}  // namespace tarn
