// Texts in the buffers of a host.
#pragma once

#include "foundation/XmlText.h"

#include <cstddef>
#include <cstring>
#include <string_view>

namespace tarn {

/// Fills a buffer of so many bytes with the beginning of a text that fits, no half of a UTF-8
/// character, and a zero. Any thread.
inline void copyText(char* buffer, std::string_view text, std::size_t bytes) noexcept {
    text = beginningOf(text.substr(0, text.find('\0')), bytes - 1);
    std::memcpy(buffer, text.data(), text.size());
    buffer[text.size()] = '\0';
}

}  // namespace tarn
