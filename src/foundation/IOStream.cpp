#include "foundation/IOStream.h"

#include <algorithm>
#include <array>
#include <vector>

namespace tarn {

bool IOStream::skipBytes(std::uint32_t scratch, std::size_t size) {
    if (size <= sizeof(scratch))
        return read(&scratch, 1, size);
    std::array<char, 4096> dropped;
    const bool good = read(dropped.data(), 1, std::min(size, dropped.size()));
    bool more = good;
    while (more && size > dropped.size()) {
        size -= dropped.size();
        more = read(dropped.data(), 1, std::min(size, dropped.size()));
    }
    return good;
}

bool IOStream::read32(std::uint32_t& out) {
    out = 0;
    return read(&out, sizeof(out), 1);
}

bool IOStream::read16(std::uint16_t& out) {
    out = 0;
    return read(&out, sizeof(out), 1);
}

bool IOStream::read8(std::uint8_t& out) {
    out = 0;
    return read(&out, sizeof(out), 1);
}

std::string IOStream::readString() {
    std::string text;
    for (std::uint8_t byte = 0; read8(byte) && byte != 0;)
        text.push_back(static_cast<char>(byte));
    return text;
}

bool IOStream::matchesString(std::string_view text) {
    return matches(text.data(), text.size());
}

bool IOStream::matches(const void* bytes, std::size_t size) {
    std::vector<char> found(size);
    return read(found.data(), 1, size) &&
           std::equal(found.begin(), found.end(), static_cast<const char*>(bytes));
}

}  // namespace tarn
