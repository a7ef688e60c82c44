#include "drawing/Color.h"

#include <charconv>

namespace tarn {

namespace {

constexpr float ByteStep = 0.003921569f;  // 1 / 255
constexpr float NoChannel = -1.0f;        // of the colour that paints nothing

float clamped(float channel) {
    if (!(channel > 0.0f))
        return 0.0f;
    return channel < 1.0f ? channel : 1.0f;
}

}  // namespace

Color::Color(float red, float green, float blue, float alpha)
    : red_(clamped(red)), green_(clamped(green)), blue_(clamped(blue)), alpha_(clamped(alpha)) {}

Color Color::fromBytes(std::int32_t red, std::int32_t green, std::int32_t blue,
                       std::int32_t alpha) {
    const auto channel = [](std::int32_t byte) { return static_cast<float>(byte) * ByteStep; };
    return Color(channel(red), channel(green), channel(blue), channel(alpha));
}

Color Color::none() {
    Color color;
    color.red_ = color.green_ = color.blue_ = NoChannel;
    return color;
}

bool Color::isNone() const {
    return red_ == NoChannel && green_ == NoChannel && blue_ == NoChannel;
}

bool Color::parse(std::string_view text) {
    constexpr std::size_t Length = 7;
    if (text.size() != Length || text.front() != '#')
        return false;
    const char* const end = text.data() + Length;
    std::uint32_t rgb = 0;
    if (std::from_chars(text.data() + 1, end, rgb, 16).ptr != end)
        return false;
    const auto byte = [rgb](int shift) { return static_cast<std::int32_t>(rgb >> shift & 0xFF); };
    *this = fromBytes(byte(16), byte(8), byte(0), 255);
    return true;
}

}  // namespace tarn
