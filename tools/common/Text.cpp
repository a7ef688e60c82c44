#include "common/Text.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace tarn::tools {

namespace {

// Bytes of the UTF-8 sequence at `text`, 0 if there is no valid one. Overlong forms and surrogates
// are invalid.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const unsigned lead = byte(0);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    const unsigned second = byte(1);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F))
        return 0;
    return length;
}

// Of a valid sequence.
char32_t codePointOf(std::string_view sequence) {
    const auto lead = static_cast<unsigned char>(sequence[0]);
    char32_t point = sequence.size() == 1 ? lead : lead & (0x7Fu >> sequence.size());
    for (const char byte : sequence.substr(1))
        point = point << 6 | (static_cast<unsigned char>(byte) & 0x3Fu);
    return point;
}

struct Range {
    char32_t first;
    char32_t last;
};

// Control characters, ends of lines, and what turns the direction of writing.
constexpr Range Steering[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x200E, 0x200F},
                              {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF}};

// Marks that stand over the letter before them, and joiners.
constexpr Range Narrow[] = {{0x0300, 0x036F}, {0x200B, 0x200D}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}};

// East Asian letters and pictures, which take two columns.
constexpr Range Wide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},  {0x3041, 0xA4CF},
                          {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},  {0xFE30, 0xFE6F},
                          {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},  {0x1F300, 0x1F64F},
                          {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

bool isIn(std::span<const Range> ranges, char32_t point) {
    return std::any_of(ranges.begin(), ranges.end(), [point](const Range& range) {
        return range.first <= point && point <= range.last;
    });
}

}  // namespace

std::string printable(const std::string& text) {
    std::string shown;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t length = sequenceLength(rest);
        const std::string_view sequence = rest.substr(0, std::max<std::size_t>(length, 1));
        shown += length == 0 || isIn(Steering, codePointOf(sequence)) ? "?" : sequence;
        rest.remove_prefix(sequence.size());
    }
    return shown;
}

std::size_t columnsOf(const std::string& printable) {
    std::size_t columns = 0;
    for (std::string_view rest = printable; !rest.empty();) {
        const std::string_view sequence =
            rest.substr(0, std::max<std::size_t>(sequenceLength(rest), 1));
        const char32_t point = codePointOf(sequence);
        columns += isIn(Narrow, point) ? 0 : isIn(Wide, point) ? 2 : 1;
        rest.remove_prefix(sequence.size());
    }
    return columns;
}

std::filesystem::path pathOf(const std::string& utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

bool isSameFile(const std::string& one, const std::string& other) {
    std::error_code none;
    return std::filesystem::equivalent(pathOf(one), pathOf(other), none);
}

}  // namespace tarn::tools
