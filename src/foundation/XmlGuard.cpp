#include "foundation/XmlGuard.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>

namespace tarn {

namespace {

// What TinyXML takes a byte for. It asks the C library, and so the host's locale; hence so does the
// guard.
bool isSpace(int byte) {
    return std::isspace(byte) != 0;
}

bool isNameStart(int byte) {
    return byte >= 127 || byte == '_' || std::isalpha(byte) != 0;
}

bool isNamePart(int byte) {
    return isNameStart(byte) || byte == '-' || byte == '.' || byte == ':' ||
           std::isalnum(byte) != 0;
}

bool stopsText(int byte) {
    return byte == '\0' || byte == '<' || byte == '&' || byte == '"' || byte == '\'';
}

enum Kind : std::uint8_t { Space = 1, NameStart = 2, NamePart = 4, TextStop = 8 };

// The answers for all bytes, which make the guard four times as fast.
std::array<std::uint8_t, 256> currentKinds() {
    std::array<std::uint8_t, 256> kinds{};
    for (int byte = 0; byte < 256; ++byte)
        kinds[byte] = static_cast<std::uint8_t>(
            (isSpace(byte) ? Space : 0) | (isNameStart(byte) ? NameStart : 0) |
            (isNamePart(byte) ? NamePart : 0) | (stopsText(byte) ? TextStop : 0));
    return kinds;
}

bool isDigit(char character, bool isHexadecimal) {
    return (character >= '0' && character <= '9') ||
           (isHexadecimal &&
            ((character >= 'a' && character <= 'f') || (character >= 'A' && character <= 'F')));
}

// Steps through a text that a zero byte ends. Each step of the grammar answers false where TinyXML
// would go no further.
class Scanner {
public:
    explicit Scanner(const char* text) : next_(text) {}

    XmlShape run() {
        while (isWithinLimits(shape_) && skipNode()) {
        }
        return shape_;
    }

private:
    bool skipNode() {
        skipSpace();
        if (*next_ == '\0')
            return false;
        if (*next_ != '<') {
            ++shape_.nodes;
            return depth_ > 0 && skipText('<');
        }
        if (depth_ > 0 && next_[1] == '/') {
            --depth_;
            return skipPast(">");
        }
        ++shape_.nodes;
        if (is(NameStart, next_[1]))
            return skipTag();
        if (beginsWithAnyCase("<?xml"))
            return skipDeclaration();
        if (beginsWith("<!--"))
            return skipMarkup(4, "-->");
        if (beginsWith("<![CDATA["))
            return skipMarkup(9, "]]>");
        return skipMarkup(1, ">");
    }

    bool skipTag() {
        // Also an element that turns out broken is put into the tree.
        shape_.depth = std::max(shape_.depth, depth_ + 1);
        ++next_;
        skipName();
        for (int attributes = 0;; ++attributes) {
            shape_.attributes = std::max(shape_.attributes, attributes);
            if (attributes > MaxXmlAttributes)
                return false;
            skipSpace();
            if (*next_ == '>') {
                ++next_;
                ++depth_;
                return true;
            }
            if (*next_ == '/') {
                next_ += 2;
                return next_[-1] == '>';
            }
            if (!skipAttribute())
                return false;
            ++shape_.nodes;
        }
    }

    bool skipAttribute() {
        if (!is(NameStart, *next_))
            return false;
        skipName();
        skipSpace();
        if (*next_ != '=')
            return false;
        ++next_;
        skipSpace();
        if (const char quote = *next_; quote == '"' || quote == '\'') {
            ++next_;
            if (!skipText(quote))
                return false;
            ++next_;
            return *next_ != '\0';
        }
        while (*next_ != '\0' && !is(Space, *next_) && *next_ != '/' && *next_ != '>') {
            if (*next_ == '"' || *next_ == '\'')
                return false;
            ++next_;
        }
        return *next_ != '\0';
    }

    bool skipDeclaration() {
        next_ += std::strlen("<?xml");
        while (*next_ != '\0') {
            if (*next_ == '>') {
                ++next_;
                return true;
            }
            skipSpace();
            if (beginsWithAnyCase("version") || beginsWithAnyCase("encoding") ||
                beginsWithAnyCase("standalone")) {
                if (!skipAttribute())
                    return false;
                continue;
            }
            while (*next_ != '\0' && *next_ != '>' && !is(Space, *next_))
                ++next_;
        }
        return false;
    }

    // Up to the character, which an entity may hide.
    bool skipText(char end) {
        for (;;) {
            while (!is(TextStop, *next_))
                ++next_;
            if (*next_ == end)
                return true;
            if (*next_ == '\0')
                return false;
            if (*next_ != '&' || next_[1] != '#' || next_[2] == '\0')
                ++next_;
            else if (!skipNumericEntity())
                return false;
        }
    }

    // TinyXML looks for the next semicolon and reads backwards from there, to the nearest "x" or
    // "#": whatever stands before that is swallowed, the end of a value and tags included.
    bool skipNumericEntity() {
        const bool isHexadecimal = next_[2] == 'x';
        const char* const semicolon = std::strchr(next_ + (isHexadecimal ? 3 : 2), ';');
        if (semicolon == nullptr)
            return false;
        const char* digit = semicolon - 1;
        while (isDigit(*digit, isHexadecimal))
            --digit;
        next_ = semicolon + 1;
        return *digit == (isHexadecimal ? 'x' : '#');
    }

    bool skipMarkup(std::size_t opening, const char* end) {
        next_ += opening;
        return skipPast(end);
    }

    bool skipPast(const char* end) {
        next_ = std::strstr(next_, end);
        if (next_ == nullptr)
            return false;
        next_ += std::strlen(end);
        return true;
    }

    void skipSpace() {
        while (is(Space, *next_))
            ++next_;
    }

    void skipName() {
        while (is(NamePart, *next_))
            ++next_;
    }

    bool beginsWith(const char* opening) const {
        return std::strncmp(next_, opening, std::strlen(opening)) == 0;
    }

    bool beginsWithAnyCase(const char* opening) const {
        for (const char* text = next_; *opening != '\0'; ++text, ++opening)
            if (std::tolower(static_cast<unsigned char>(*text)) != *opening)
                return false;
        return true;
    }

    bool is(Kind kind, char character) const {
        return (kinds_[static_cast<unsigned char>(character)] & kind) != 0;
    }

    const std::array<std::uint8_t, 256> kinds_ = currentKinds();
    const char* next_;
    int depth_ = 0;  // elements that are open
    XmlShape shape_;
};

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

XmlShape measureXml(const std::string& text) {
    return Scanner(text.c_str()).run();
}

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
    const auto isPart = [](unsigned char byte) { return isNamePart(byte); };
    return !text.empty() && isNameStart(static_cast<unsigned char>(text.front())) &&
           std::all_of(text.begin() + 1, text.end(), isPart);
}

}  // namespace tarn
