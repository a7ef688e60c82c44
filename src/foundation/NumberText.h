// Numbers and truth values as the text that files hold, the same on every system and whatever
// locale the host has set. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tarn {

/// Decimal, without a sign when positive.
std::string toText(std::int32_t value);

/// Fixed notation with 16 decimals. Infinities and NaN become "inf", "-inf" and "nan", which read
/// back as 0.
std::string toText(float value);
std::string toText(double value);

/// Fixed notation with so many decimals, 0 to 16, rounded to the nearest.
std::string toFixedText(double value, int decimals);

/// "true" or "false".
std::string toText(bool value);

/// The number that the text begins with, behind white space and a sign; what follows it is ignored.
/// A text that begins with none, or with one out of range, gives 0.
std::int32_t integerFromText(std::string_view text) noexcept;
float floatFromText(std::string_view text) noexcept;
double doubleFromText(std::string_view text) noexcept;

/// The same, but a text that begins with no number, or with one out of range, gives false and
/// leaves `out`.
bool readNumber(std::string_view text, std::int32_t& out) noexcept;
bool readNumber(std::string_view text, float& out) noexcept;

/// Only "true", behind white space at most, is true.
bool boolFromText(std::string_view text) noexcept;

}  // namespace tarn
