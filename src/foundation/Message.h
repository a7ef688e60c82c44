// The messages that radios send one another.
//
// Making and transmitting a message allocates nothing. Therefore a message doesn't own its texts:
// it refers to characters of the function that transmits it. A listener that wants to keep a
// message after `receive` calls `clone`. The clone has its own copies of the texts. A MessageQueue
// keeps messages too, in MessageSlots, which allocate nothing.
//
// Some payloads are pointers to what only the transmitter knows to be there. In a copy they must
// not be followed: the control of HoverBegin, the target of SetPaintTarget, the data of a
// MidiMessage, and the characters behind a ParameterMessage that was made without its text. Notes
// and texts travel as values beside the pointer, and in a copy these values count.
#pragma once

#include "foundation/Point.h"
#include "foundation/Rect.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace tarn {

class MessageSlot;
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

/// Base of all messages; each family is a class. For one thread at a time.
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

private:
    friend class MessageSlot;

    // Makes a copy with all fields in the empty slot, which has room for it. No allocation.
    virtual void copyInto(MessageSlot& slot) const noexcept = 0;
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
        MenuChoice = 13,    // payload: the chosen item's identifier
        EditExpected = 14,  // begins with its first change; without one there is none
    };

    ControlMessage(Radio* from, std::int32_t what) noexcept;
    ControlMessage(Radio* from, std::int32_t what, Point where, std::uint64_t value) noexcept;
    std::unique_ptr<Message> clone() const override;

    Point position;
    Point extent;  // a second point or a size

private:
    void copyInto(MessageSlot& slot) const noexcept override;
};

/// A controller or program event.
struct MidiEvent {
    std::int32_t controller = -1;  // or a status byte
    float value = 0.0F;
    std::int32_t extra = 0;
};

/// A note as a value; class Note says what the fields mean.
struct NoteEvent {
    std::int32_t type = 0;  // a Note::Type
    std::int16_t channel = 0;
    std::int16_t key = 0;
    std::int16_t velocity = 0;
    std::int16_t extra = 0;
    std::array<std::uint32_t, 2> data{};
    std::int16_t forcedVoice = -1;  // negative for any

    bool operator==(const NoteEvent&) const = default;
};

class MidiMessage : public Message {
public:
    enum Code : std::int32_t {
        NoteOn = 0,     // `note` holds the note's values
        OtherNote = 1,  // the same
        Event = 2,      // `event` holds a copy of what `data` points to
        TuningChanged = 3,
    };

    /// `data` must point to a MidiEvent when `code` is Event, or be null.
    MidiMessage(Radio* from, std::int32_t what, const void* data, std::int32_t second) noexcept;

    /// Of a note: `values` are those of the Note that `data` points to.
    MidiMessage(Radio* from, std::int32_t what, const void* data, const NoteEvent& values,
                std::int32_t second) noexcept;
    std::unique_ptr<Message> clone() const override;

    /// What the transmitter pointed to. Not to be used once `transmit` has returned. Null in the
    /// copy of a note.
    const void* data() const noexcept;

    MidiEvent event;
    NoteEvent note;
    std::int32_t
        companion;  // with the pointer; on systems of 32 bits also the payload's upper half

private:
    void copyInto(MessageSlot& slot) const noexcept override;
    std::uint64_t payloadOfCopy() const noexcept;
};

class ParameterMessage : public Message {
public:
    enum Code : std::int32_t {
        ValueChanged = 2000,  // sent to a parameter: take this value
        ResetToDefault = 2001,
        StoreSecondary = 2002,
    };

    /// `plain` is the value's bytes.
    ParameterMessage(Radio* from, std::int32_t what, const MessageText& name, std::int32_t number,
                     std::uint64_t plain, float normalised, std::int32_t source) noexcept
        : Message(from, MessageType::Parameter, what, plain),
          parameterName(name.view()),
          value(normalised),
          cloneNumber(number),
          mode(source) {}

    /// Of a text parameter. The payload points to the text's zero-terminated characters, in a copy
    /// to the copy's own. A temporary string doesn't compile.
    ParameterMessage(Radio* from, std::int32_t what, const MessageText& name, std::int32_t number,
                     const std::string& newText, std::int32_t source) noexcept;
    ParameterMessage(Radio* from, std::int32_t what, const MessageText& name, std::int32_t number,
                     std::string&& newText, std::int32_t source) = delete;
    std::unique_ptr<Message> clone() const override;

    MessageText parameterName;
    MessageText text;      // the value of a text parameter,
    bool hasText = false;  // if this is true
    float value;           // normalised, 0.0 to 1.0; 0.0 of a text
    std::int32_t cloneNumber;
    std::int32_t mode;  // the change's source

private:
    void copyInto(MessageSlot& slot) const noexcept override;
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

private:
    void copyInto(MessageSlot& slot) const noexcept override;
};

class ResourceMessage : public Message {
public:
    enum Code : std::int32_t { ResourceLoaded = 0, SetLoaded = 1 };

    ResourceMessage(Radio* from, std::int32_t what, const MessageText& name,
                    std::uint64_t value) noexcept;
    std::unique_ptr<Message> clone() const override;

    MessageText resourceName;

private:
    void copyInto(MessageSlot& slot) const noexcept override;
};

/// Where something happened, and with which key.
struct WindowPosition {
    Point point;
    std::int32_t keyCode = 0;     // a virtual key, as Windows numbers them
    std::uint32_t modifiers = 0;  // held meanwhile, WindowMessage::Modifier bits
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
    enum Modifier : std::uint32_t { Shift = 1, Control = 2, Alt = 4 };

    /// The values of `keyCode` that something is done for; letters and digits are their capitals'
    /// ASCII.
    enum Key : std::int32_t {
        TabKey = 0x09,
        ReturnKey = 0x0D,
        EscapeKey = 0x1B,
        SpaceKey = 0x20,
        PageUpKey = 0x21,  // ten steps up
        PageDownKey = 0x22,
        EndKey = 0x23,
        HomeKey = 0x24,
        LeftKey = 0x25,
        UpKey = 0x26,
        RightKey = 0x27,
        DownKey = 0x28,
    };

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
    std::uint32_t modifiers = 0;  // held meanwhile, Modifier bits
    Point previousPosition;
    Rect rectangle;
    MessageText text;
    std::int32_t regionStart = 0;  // of a dropped sample, in frames
    std::int32_t regionEnd = 0;
    std::int32_t button;  // what `code` tells, a Button

private:
    void copyInto(MessageSlot& slot) const noexcept override;
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

private:
    void copyInto(MessageSlot& slot) const noexcept override;
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

private:
    void copyInto(MessageSlot& slot) const noexcept override;
};

/// A four-character code, as timers are identified by: the first character in the highest byte.
constexpr std::uint32_t fourCharacterCode(const char (&text)[5]) noexcept {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i)
        code = code << 8 | static_cast<unsigned char>(text[i]);
    return code;
}

}  // namespace tarn
