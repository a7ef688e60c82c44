// A version of the product or of its files: four numbers of 0 to 255, most significant first.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarn {

class Version {
public:
    Version() = default;

    /// Any text: whatever isn't a digit separates, numbers beyond 255 are cut to their low 8 bits,
    /// and missing ones are 0. "1.2", "1-2" and "1.2.0.0 beta" are the same version.
    explicit Version(std::string_view text) noexcept;

    /// As in "1.0" or "1.2.3": no zeros at the end, but at least two numbers.
    std::string toString() const;

    /// Compares number by number, not as a whole: no number may be greater than the other's and one
    /// must be smaller, so neither of "0.9" and "1.0" is older than the other.
    bool isOlderThan(const Version& other) const noexcept;

    /// Whether each of the first `count` numbers reaches the other's. True for a count below 1;
    /// counts above 4 mean 4.
    bool isAtLeast(const Version& other, int count) const noexcept;

    bool operator==(const Version&) const = default;

private:
    std::array<std::uint8_t, 4> numbers_{};
};

}  // namespace tarn
