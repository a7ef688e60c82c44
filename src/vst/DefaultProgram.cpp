#include "vst/DefaultProgram.h"

#include "foundation/File.h"

#include <cstdint>
#include <string_view>

namespace tarn {

namespace {

constexpr std::size_t WordBytes = 4;

bool take(std::string_view& rest, std::size_t bytes) {
    if (rest.size() < bytes)
        return false;
    rest.remove_prefix(bytes);
    return true;
}

bool takeLiteral(std::string_view& rest, std::string_view literal) {
    return rest.starts_with(literal) && take(rest, literal.size());
}

}  // namespace

std::optional<std::string> readDefaultProgram(const File& file) {
    constexpr std::size_t LargestFile = 16 << 20;
    constexpr std::size_t WordsBeforeSize = 9;
    std::string bytes;
    if (!file.contents(bytes, LargestFile))
        return std::nullopt;
    std::string_view rest = bytes;
    // Files of other programs spell the first word with a large K.
    const bool isOurs = takeLiteral(rest, "Ccnk") && take(rest, WordBytes) &&
                        takeLiteral(rest, "FPCh") && take(rest, WordBytes) &&
                        takeLiteral(rest, "QrlM") && take(rest, WordsBeforeSize * WordBytes);
    if (!isOurs || rest.size() < WordBytes)
        return std::nullopt;
    std::uint32_t size = 0;
    for (const char byte : rest.substr(0, WordBytes))
        size = size << 8 | static_cast<unsigned char>(byte);
    rest.remove_prefix(WordBytes);
    if (size > rest.size())
        return std::nullopt;
    return std::string(rest.substr(0, size));
}

}  // namespace tarn
