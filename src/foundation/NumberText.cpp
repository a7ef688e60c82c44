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
std::string textOfReal(Real value) {
    // Sign, the digits of the greatest number, point and decimals.
    constexpr std::size_t Longest =
        1 + (std::numeric_limits<Real>::max_exponent10 + 1) + 1 + Decimals;
    if (std::isnan(value))
        return "nan";
    std::array<char, Longest> text;
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value,
                                            std::chars_format::fixed, Decimals);
    return {text.data(), end};
}

template <typename Real>
Real realFromText(std::string_view text) noexcept {
    text = withoutPlus(withoutLeadingSpace(text));
    Real value = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    // An exponent without digits spoils the number, as it does in a stream.
    const bool isSpoilt = end != last && (*end == 'e' || *end == 'E');
    return error == std::errc() && !isSpoilt && std::isfinite(value) ? value : 0;
}

}  // namespace

std::string toText(std::int32_t value) {
    return std::to_string(value);
}

std::string toText(float value) {
    return textOfReal(value);
}

std::string toText(double value) {
    return textOfReal(value);
}

std::string toText(bool value) {
    return value ? "true" : "false";
}

std::int32_t integerFromText(std::string_view text) noexcept {
    text = withoutPlus(withoutLeadingSpace(text));
    std::int32_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

float floatFromText(std::string_view text) noexcept {
    return realFromText<float>(text);
}

double doubleFromText(std::string_view text) noexcept {
    return realFromText<double>(text);
}

bool boolFromText(std::string_view text) noexcept {
    return withoutLeadingSpace(text) == "true";
}

}  // namespace tarn
