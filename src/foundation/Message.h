// The messages that radios send one another.
//
// Making and transmitting a message allocates nothing. Therefore a message doesn't own its texts:
// it refers to characters of the function that transmits it. A listener that wants to keep a
// message after `receive` calls `clone`. The clone has its own copies of the texts.
#pragma once

#include "foundation/Point.h"
#include "foundation/Rect.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace tarn {

class Radio;

/// A text in a message. Made from characters, it refers to them, and they must outlive it; a
/// temporary string doesn't compile. Copied from another MessageText, it has its own copy.
class MessageText {
public:
    MessageText() noexcept = default;
    MessageText(std::string_view text) noexcept : view_(text) {}    // NOLINT: texts are passed
    MessageText(const char* text) noexcept : view_(text) {}         // NOLINT: as they are
    MessageText(const std::string& text) noexcept : view_(text) {}  // NOLINT
    MessageText(std::string&&) = delete;
    MessageText(const MessageText& other) : owned_(other.view_), view_(owned_) {}

    MessageText& operator=(std::string_view text) noexcept;
    MessageText& operator=(const char* text) noexcept { return *this = std::string_view(text); }
    MessageText& operator=(const std::string& text) noexcept {
        return *this = std::string_view(text);
    }
    MessageText& operator=(std::string&&) = delete;
    MessageText& operator=(const MessageText&) = delete;
    ~MessageText() = default;

    std::string_view view() const noexcept { return view_; }
    operator std::string_view() const noexcept { return view_; }  // NOLINT: reads as a text
    std::string str() const { return std::string(view_); }
    bool empty() const noexcept { return view_.empty(); }

    friend bool operator==(const MessageText& a, std::string_view b) noexcept {
        return a.view_ == b;
    }

private:
    std::string owned_;
    std::string_view view_;
};

/// The families; `Message::type` holds one of these numbers.
enum class MessageType : std::int32_t {
    Control = 1,
    Midi = 2,
    Parameter = 3,
    Plugin = 4,
    Resource = 5,
    Window = 6,
    Timer = 7,
    System = 8,
};

/// A value of up to 8 bytes as a payload: its bytes, lowest first, the rest zero.
template <typename T>
std::uint64_t toPayload(T value) noexcept {
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= sizeof(std::uint64_t));
    std::uint64_t payload = 0;
    std::memcpy(&payload, &value, sizeof value);
    return payload;
}

template <typename T>
T fromPayload(std::uint64_t payload) noexcept {
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= sizeof(std::uint64_t));
    T value;
    std::memcpy(&value, &payload, sizeof value);
    return value;
}

/// Base of all messages; each family is a class. For one thread at a time. In some families
/// `payload` is a pointer, which may lead nowhere once `transmit` has returned, in clones too.
class Message {
public:
    virtual std::unique_ptr<Message> clone() const = 0;
    virtual ~Message() = default;

    Radio* sender;  // who made it; may be null
    const MessageType type;
    std::int32_t code;      // what happened, numbered per family
    std::uint64_t payload;  // per family; 0 when unused

protected:
    Message(Radio* from, MessageType family, std::int32_t what, std::uint64_t value) noexcept
        : sender(from), type(family), code(what), payload(value) {}
    Message(const Message&) = default;
    Message& operator=(const Message&) = delete;
};

/// Between the editor and its controls.
class ControlMessage : public Message {
public:
    enum Code : std::int32_t {
        HoverBegin = 4,  // payload: the control
        HoverEnd = 5,
        EditBegin = 6,
        EditEnd = 7,
        FocusGained = 8,
        FocusLost = 9,
        HelpRefresh = 10,
        HelpRefreshCurve = 11,  // the same, from an EQ curve that is dragged
        HelpHide = 12,
        MenuChoice = 13,  // payload: the chosen item's identifier
    };

    ControlMessage(Radio* from, std::int32_t what) noexcept;
    ControlMessage(Radio* from, std::int32_t what, Point where, std::uint64_t value) noexcept;
    std::unique_ptr<Message> clone() const override;

    Point position;
    Point extent;  // a second point or a size
};

/// A controller or program event.
struct MidiEvent {
    std::int32_t controller = -1;  // or a status byte
    float value = 0.0F;
    std::int32_t extra = 0;
};

class MidiMessage : public Message {
public:
    enum Code : std::int32_t {
        NoteOn = 0,
        OtherNote = 1,
        Event = 2,  // `event` holds a copy of what `data` points to
        TuningChanged = 3,
    };

    /// `data` must point to a MidiEvent when `code` is Event, or be null.
    MidiMessage(Radio* from, std::int32_t what, const void* data, std::int32_t second) noexcept;
    std::unique_ptr<Message> clone() const override;

    /// What the transmitter pointed to, such as a note. Not to be used once `transmit` has
    /// returned, which a clone can't know.
    const void* data() const noexcept;

    MidiEvent event;
    std::int32_t
        companion;  // with the pointer; on systems of 32 bits also the payload's upper half
};

class ParameterMessage : public Message {
public:
    enum Code : std::int32_t {
        ValueChanged = 2000,  // sent to a parameter: take this value
        ResetToDefault = 2001,
        StoreSecondary = 2002,
    };

    /// `plain` is the value's bytes. For a text it is a pointer, which clones must not follow.
    ParameterMessage(Radio* from, std::int32_t what, const MessageText& name, std::int32_t number,
                     std::uint64_t plain, float normalised, std::int32_t source) noexcept;
    std::unique_ptr<Message> clone() const override;

    MessageText parameterName;
    float value;  // normalised, 0.0 to 1.0
    std::int32_t cloneNumber;
    std::int32_t mode;  // the change's source
};

class PluginMessage : public Message {
public:
    enum Code : std::int32_t {
        ProgramChanged = 0,  // payload: the program's index
        ProgramModified = 1,
        ProgramsUnmodified = 2,
        SenderGoes = 3,  // every listener tunes out of the sender
        EffectChanged = 4,
    };

    PluginMessage(Radio* from, std::int32_t what, std::uint64_t value) noexcept;
    std::unique_ptr<Message> clone() const override;

    MessageText text;
};

class ResourceMessage : public Message {
public:
    enum Code : std::int32_t { ResourceLoaded = 0, SetLoaded = 1 };

    ResourceMessage(Radio* from, std::int32_t what, const MessageText& name,
                    std::uint64_t value) noexcept;
    std::unique_ptr<Message> clone() const override;

    MessageText resourceName;
};

/// Where something happened, and with which key.
struct WindowPosition {
    Point point;
    std::int32_t keyCode = 0;  // a virtual key, as Windows numbers them
};

/// What was dropped: a path or a text, and a sample's region in frames.
struct DroppedText {
    std::string_view text;
    std::int32_t regionStart = 0;
    std::int32_t regionEnd = 0;
};

/// The window's events, and those that the editor makes of them.
class WindowMessage : public Message {
public:
    enum Code : std::int32_t {
        LeftDown = 3000,
        LeftDouble = 3001,
        LeftUp = 3002,
        RightDown = 3003,
        RightDouble = 3004,
        RightUp = 3005,
        MouseMove = 3006,
        WindowFocus = 3007,
        MouseExit = 3008,
        MouseDrag = 3009,
        WheelOther = 3010,
        Wheel = 3011,  // payload: the signed delta
        ControlEnter = 3012,
        ControlHover = 3013,
        ControlExit = 3014,
        Repaint = 3015,  // `rectangle`, or all when it is empty
        MenuMeasure = 3016,
        MenuDraw = 3017,
        DropQuery = 3018,
        DropOver = 3019,
        DropEnd = 3020,
        DropFile = 3021,
        DropSample = 3022,
        Tick = 3023,
        KeyPress = 3024,
        KeyRelease = 3025,
        SetPaintTarget = 3026,  // payload: the new target
    };
    enum Button : std::int32_t { NoButton = 0, LeftButton = 1, RightButton = 4 };

    WindowMessage(Radio* from, std::int32_t what, void* window) noexcept;
    WindowMessage(Radio* from, std::int32_t what, void* window, const WindowPosition& where,
                  std::uint64_t value) noexcept;
    WindowMessage(Radio* from, std::int32_t what, Point point, const DroppedText& dropped) noexcept;
    WindowMessage(Radio* from, std::int32_t what, void* window, Point point,
                  std::uint64_t value) noexcept;
    std::unique_ptr<Message> clone() const override;

    void* target;  // the window's handle object, or null
    Point position;
    std::int32_t keyCode = 0;
    Point previousPosition;
    Rect rectangle;
    MessageText text;
    std::int32_t regionStart = 0;  // of a dropped sample, in frames
    std::int32_t regionEnd = 0;
    std::int32_t button;  // what `code` tells, a Button
};

class TimerMessage : public Message {
public:
    enum Code : std::int32_t { Tick = 4000 };

    TimerMessage(Radio* from, std::int32_t what, std::uint32_t id, std::uint64_t value) noexcept;
    std::unique_ptr<Message> clone() const override;

    std::uint32_t timerId;  // a four-character code

    // Filled by the timer at every tick.
    double intervalMs = 0.0;
    double elapsed = 0.0;        // seconds since the start
    double sinceLastTick = 0.0;  // seconds
};

class SystemMessage : public Message {
public:
    enum Code : std::int32_t {
        Notification = 3000,
        PluginRequest = 3001,
        Shutdown = 3003,
        SpectrumRequest = 3005,
        SampleRateChanged = 3006,  // payload: the rate
    };

    SystemMessage(Radio* from, std::int32_t what, std::uint64_t value) noexcept;
    std::unique_ptr<Message> clone() const override;
};

/// A four-character code, as timers are identified by: the first character in the highest byte.
constexpr std::uint32_t fourCharacterCode(const char (&text)[5]) noexcept {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i)
        code = code << 8 | static_cast<unsigned char>(text[i]);
    return code;
}

}  // namespace tarn
