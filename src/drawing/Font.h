// Which letters a text is drawn in.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace tarn {

/// A description; the system's font behind it is made where text is drawn. A family that isn't
/// there is the drawing's to replace.
class Font {
public:
    enum Style : std::int32_t { Plain = 0 };

    /// Without `CenterVertical` a text begins at the top. `CenteredLine` is one line in the middle.
    enum Alignment : std::int32_t {
        Left = 1,
        Right = 2,
        CenterHorizontal = 4,
        CenterVertical = 8,
        Multiline = 0x10,  // new lines at line ends
        CenteredLine = 0x24,
        NotAntialiased = 0x10000,
    };

    /// `pixels` is the size; `weightIndex` 0 to 4 goes from light to black, and 1 is normal,
    /// as is any other;
    /// `alignmentBits` are an Alignment or several. A line is 2 pixels higher than the size where
    /// `height` is 0.
    explicit Font(std::string family = "Arial", float pixels = 12.0f,
                  std::int32_t textStyle = Plain, std::int32_t weightIndex = 1,
                  std::int32_t alignmentBits = Left | CenterVertical, float height = 0.0f)
        : name(std::move(family)),
          size(pixels),
          style(textStyle),
          weight(weightIndex),
          alignment(alignmentBits),
          lineHeight(height == 0.0f ? pixels + 2.0f : height) {}

    bool operator==(const Font&) const = default;

    /// The weight as OpenType's usWeightClass counts it: 300 to 900, 400 for normal.
    std::int32_t getWeightClass() const {
        constexpr std::array<std::int32_t, 5> Classes = {300, 400, 600, 700, 900};
        return weight < 0 || weight > 4 ? Classes[1] : Classes[static_cast<std::size_t>(weight)];
    }

    std::string name;
    float size;
    std::int32_t style;
    std::int32_t weight;
    std::int32_t alignment;
    float lineHeight;
};

}  // namespace tarn
