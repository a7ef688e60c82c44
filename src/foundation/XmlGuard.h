// What TinyXML would make of a text, found out before it does. TinyXML recurses through nested
// elements, searches an element's attributes one by one, and may step over the end of a text that
// isn't UTF-8; a hostile text uses all three.
// Everything rests on one rule: for as long as TinyXML goes on with a text, the guard reads it in
// exactly the same way, faults of TinyXML's included, so that nothing can be hidden from it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarn {

struct XmlShape {
    int depth = 0;          // of the innermost element, 1 for a root
    int attributes = 0;     // the most of any element
    std::size_t nodes = 0;  // elements, texts, comments and the like, attributes included
};

/// The most that a text may have. Real documents stay far below: a dozen levels, 40 attributes and
/// some ten thousand nodes.
inline constexpr int MaxXmlDepth = 100;                // 5,000 levels overflow a stack of 1 MB
inline constexpr int MaxXmlAttributes = 256;           // their cost is quadratic
inline constexpr std::size_t MaxXmlNodes = 1'000'000;  // of 200 bytes and more each

/// Measures a text up to its end, up to its first zero byte, or up to the point where TinyXML
/// finds a fault and stops. Behind the first limit that is passed, the rest isn't looked at.
XmlShape measureXml(const std::string& text);

inline bool isWithinLimits(const XmlShape& shape) {
    return shape.depth <= MaxXmlDepth && shape.attributes <= MaxXmlAttributes &&
           shape.nodes <= MaxXmlNodes;
}

/// Whether TinyXML can read the text as UTF-8: every sequence is whole, and it holds none of the
/// three characters that TinyXML takes for white space (U+FEFF, U+FFFE, U+FFFF). Other texts are
/// read byte by byte, which changes no byte of them.
bool isPlainUtf8(std::string_view text) noexcept;

bool isAscii(std::string_view text) noexcept;

/// Whether the text is a name of an element or an attribute that TinyXML reads back as a whole.
bool isXmlName(std::string_view text) noexcept;

}  // namespace tarn
