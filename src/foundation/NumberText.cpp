#include "foundation/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace tarn {

namespace {

constexpr int Decimals = 16;

std::string_view withoutLeadingSpace(std::string_view text) noexcept {
    return text.substr(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
}

// A plus sign, which std::from_chars doesn't take.
std::string_view withoutPlus(std::string_view text) noexcept {
    const bool isSigned = text.size() > 1 && text[0] == '+' && text[1] != '-';
    return text.substr(isSigned ? 1 : 0);
}

template <typename Real>
std::string textOfReal(Real value, int decimals) {
    // Sign, the digits of the greatest number, point and decimals.
    constexpr std::size_t Longest =
        1 + (std::numeric_limits<Real>::max_exponent10 + 1) + 1 + Decimals;
    if (std::isnan(value))
        return "nan";
    std::array<char, Longest> text;
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value,
                                            std::chars_format::fixed, decimals);
    return {text.data(), end};
}

template <typename Real>
bool readReal(std::string_view text, Real& out) noexcept {
    text = withoutPlus(withoutLeadingSpace(text));
    Real value = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    // An exponent without digits spoils the number, as it does in a stream.
    const bool isSpoilt = end != last && (*end == 'e' || *end == 'E');
    if (error != std::errc() || isSpoilt || !std::isfinite(value))
        return false;
    out = value;
    return true;
}

}  // namespace

std::string toText(std::int32_t value) {
    return std::to_string(value);
}

std::string toText(float value) {
    return textOfReal(value, Decimals);
}

std::string toText(double value) {
    return textOfReal(value, Decimals);
}

std::string toText(bool value) {
    return value ? "true" : "false";
}

std::string toFixedText(double value, int decimals) {
    return textOfReal(value, std::clamp(decimals, 0, Decimals));
}

bool readNumber(std::string_view text, std::int32_t& out) noexcept {
    text = withoutPlus(withoutLeadingSpace(text));
    return std::from_chars(text.data(), text.data() + text.size(), out).ec == std::errc();
}

bool readNumber(std::string_view text, float& out) noexcept {
    return readReal(text, out);
}

std::int32_t integerFromText(std::string_view text) noexcept {
    std::int32_t value = 0;
    readNumber(text, value);
    return value;
}

float floatFromText(std::string_view text) noexcept {
    float value = 0.0f;
    readReal(text, value);
    return value;
}

double doubleFromText(std::string_view text) noexcept {
    double value = 0.0;
    readReal(text, value);
    return value;
}

bool boolFromText(std::string_view text) noexcept {
    return withoutLeadingSpace(text) == "true";
}

}  // namespace tarn
