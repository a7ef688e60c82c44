// A colour with its opacity.
#pragma once

#include <cstdint>
#include <string_view>

namespace tarn {

/// A value of four channels from 0.0 to 1.0. Others are clamped when they are given, and NaN is 0.
/// Any thread.
class Color {
public:
    /// Opaque black.
    Color() = default;
    Color(float red, float green, float blue, float alpha);

    /// Channels from 0 to 255.
    static Color fromBytes(std::int32_t red, std::int32_t green, std::int32_t blue,
                           std::int32_t alpha);

    /// Paints nothing at all.
    static Color none();
    bool isNone() const;

    /// Takes "#rrggbb", hexadecimal digits of either case, with alpha 1. False for any other text,
    /// with the colour as it was.
    bool parse(std::string_view text);

    float getRed() const { return red_; }
    float getGreen() const { return green_; }
    float getBlue() const { return blue_; }
    float getAlpha() const { return alpha_; }

    bool operator==(const Color&) const = default;

private:
    float red_ = 0.0f;
    float green_ = 0.0f;
    float blue_ = 0.0f;
    float alpha_ = 1.0f;
};

}  // namespace tarn
