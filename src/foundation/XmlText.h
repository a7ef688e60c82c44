// What the bytes of a text are, to TinyXML above all.
#pragma once

#include <cstddef>
#include <string_view>

namespace tarn {

/// Whether TinyXML can read the text as UTF-8: every sequence is whole, and it holds none of the
/// three characters that TinyXML takes for white space (U+FEFF, U+FFFE, U+FFFF). Other texts are
/// read byte by byte, which changes no byte of them, and keeps TinyXML from stepping over the end.
bool isPlainUtf8(std::string_view text) noexcept;

bool isAscii(std::string_view text) noexcept;

/// Whether the text is a name of an element or an attribute that TinyXML reads back as a whole.
bool isXmlName(std::string_view text) noexcept;

/// At most so many bytes of a text, and no half of a UTF-8 character.
std::string_view beginningOf(std::string_view text, std::size_t bytes) noexcept;

}  // namespace tarn
