#include "foundation/XmlText.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>

namespace tarn {

namespace {

// TinyXML asks the C library, and so the host's locale, but for bytes above ASCII.
bool isNameStart(unsigned char byte) {
    return byte >= 127 || byte == '_' || std::isalpha(byte) != 0;
}

bool isNamePart(unsigned char byte) {
    return isNameStart(byte) || byte == '-' || byte == '.' || byte == ':' ||
           std::isalnum(byte) != 0;
}

bool isContinuation(char character) {
    return (static_cast<unsigned char>(character) & 0xc0U) == 0x80U;
}

// Of a sequence of two bytes and more, by its first one, as TinyXML has it; 0 for what begins none.
std::size_t sequenceLength(char lead) {
    const auto byte = static_cast<unsigned char>(lead);
    if (byte >= 0xc2 && byte <= 0xdf)
        return 2;
    if (byte >= 0xe0 && byte <= 0xef)
        return 3;
    return byte >= 0xf0 && byte <= 0xf4 ? 4 : 0;
}

// Of the bytes below 0x80 that the text begins with.
std::size_t asciiLength(std::string_view text) {
    std::size_t length = 0;
    for (std::uint64_t eight = 0; length + sizeof eight <= text.size(); length += sizeof eight) {
        std::memcpy(&eight, text.data() + length, sizeof eight);
        if ((eight & 0x8080808080808080U) != 0)
            break;
    }
    while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80)
        ++length;
    return length;
}

}  // namespace

bool isAscii(std::string_view text) noexcept {
    return asciiLength(text) == text.size();
}

bool isPlainUtf8(std::string_view text) noexcept {
    while (!text.empty()) {
        text.remove_prefix(asciiLength(text));
        if (text.empty())
            break;
        const std::size_t length = sequenceLength(text.front());
        if (length == 0 || length > text.size())
            return false;
        const std::string_view sequence = text.substr(0, length);
        if (!std::all_of(sequence.begin() + 1, sequence.end(), isContinuation) ||
            sequence == "\xef\xbb\xbf" || sequence == "\xef\xbf\xbe" || sequence == "\xef\xbf\xbf")
            return false;
        text.remove_prefix(length);
    }
    return true;
}

bool isXmlName(std::string_view text) noexcept {
    return !text.empty() && isNameStart(static_cast<unsigned char>(text.front())) &&
           std::all_of(text.begin() + 1, text.end(), isNamePart);
}

std::string_view beginningOf(std::string_view text, std::size_t bytes) noexcept {
    if (text.size() <= bytes)
        return text;
    while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xc0U) == 0x80U)
        --bytes;
    return text.substr(0, bytes);
}

}  // namespace tarn
