// The fonts that are installed on this machine, as their files.
#pragma once

#include <cstdint>
#include <string>

namespace tarn::platform {

/// A font file may hold several faces; `face` is the number of the one that was asked for, from 0,
/// or below 0 where only its name tells which one it is.
struct SystemFont {
    std::string file;  // its whole content
    std::int32_t face = 0;
};

/// The family's face whose weight is nearest to `weight`, 100 to 900. A family that isn't installed
/// may be replaced by one that the system holds for its equal. False if there is none, or its file
/// can't be read. Any thread; it may take some ms.
bool loadSystemFont(const std::string& family, std::int32_t weight, SystemFont& font);

/// An installed family that is likely to have a letter for the character; empty if none is known.
/// Any thread; it may take some 100 ms at first.
std::string familyWithCharacter(char32_t character);

}  // namespace tarn::platform
