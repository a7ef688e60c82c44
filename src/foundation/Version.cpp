#include "foundation/Version.h"

#include <algorithm>

namespace tarn {

Version::Version(std::string_view text) noexcept {
    for (std::uint8_t& number : numbers_) {
        const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
        for (const char digit : text.substr(0, digits))
            number = static_cast<std::uint8_t>(number * 10 + (digit - '0'));
        text.remove_prefix(std::min(digits + 1, text.size()));
    }
}

std::string Version::toString() const {
    std::size_t shown = numbers_.size();
    while (shown > 2 && numbers_[shown - 1] == 0)
        --shown;
    std::string text = std::to_string(numbers_[0]);
    for (std::size_t i = 1; i < shown; ++i)
        text.append(".").append(std::to_string(numbers_[i]));
    return text;
}

bool Version::isOlderThan(const Version& other) const noexcept {
    return other.isAtLeast(*this, 4) && *this != other;
}

bool Version::isAtLeast(const Version& other, int count) const noexcept {
    const auto compared = numbers_.begin() + std::clamp(count, 0, 4);
    return std::equal(numbers_.begin(), compared, other.numbers_.begin(),
                      [](std::uint8_t mine, std::uint8_t theirs) { return mine >= theirs; });
}

}  // namespace tarn
