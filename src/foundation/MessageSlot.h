// Room of fixed size for a copy of one message of any family, with its texts.
// Everything rests on one rule: nothing here allocates, so a message may be kept on the audio
// thread. What is too long for that is cut or refused.
#pragma once

#include "foundation/Message.h"

#include <array>
#include <cstddef>
#include <new>
#include <string_view>
#include <utility>

namespace tarn {

/// For one thread at a time.
class MessageSlot {
public:
    /// Of a text and of an id (the name of a parameter or a resource), without the final zero.
    static constexpr std::size_t MaxTextBytes = 255;

    MessageSlot() = default;  // empty
    MessageSlot(const MessageSlot&) = delete;
    MessageSlot& operator=(const MessageSlot&) = delete;
    ~MessageSlot() { clear(); }

    /// Whether `store` would take the message.
    static bool hasRoomFor(const Message& message) noexcept;

    /// Copies a message, which isn't this slot's own, in place of the one before. A longer text is
    /// cut between two characters of UTF-8 and ends in "…". An id is never cut: if it is too long,
    /// answers false, and the slot is empty. Audio thread.
    bool store(const Message& message) noexcept;

    /// The copy; null when empty. It lives in the slot until the next `store`, and its texts are
    /// zero-terminated.
    Message* message() noexcept { return message_; }

    // For the families, which build their copies from these.

    template <typename Family, typename... Arguments>
    Family& make(Arguments&&... arguments) noexcept {
        static_assert(sizeof(Family) <= RoomBytes);
        static_assert(alignof(Family) <= RoomAlignment);
        auto* made = new (room_.data()) Family(std::forward<Arguments>(arguments)...);
        message_ = made;
        return *made;
    }

    /// The slot's own characters.
    std::string_view keepId(std::string_view id) noexcept;
    std::string_view keepText(std::string_view text) noexcept;

private:
    // For the largest family.
    static constexpr std::size_t RoomBytes = sizeof(WindowMessage);
    static constexpr std::size_t RoomAlignment = alignof(WindowMessage);

    using Characters = std::array<char, MaxTextBytes + 1>;

    void clear() noexcept;

    Message* message_ = nullptr;  // in room_
    alignas(RoomAlignment) std::array<std::byte, RoomBytes> room_;
    Characters id_;
    Characters text_;
};

}  // namespace tarn
