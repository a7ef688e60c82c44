// Binary values as text: gzip and Base64, and the older packing, which is only read.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace tarn {

/// The largest binary value, bytes: almost 6 minutes of audio, one channel of floats at 48 kHz. A
/// few kB of text can unpack to a thousand times as much, so there has to be an end; at this one a
/// 32-bit host still lives.
inline constexpr std::size_t MaxDataBytes = std::size_t{64} << 20;

struct FreeDeleter {
    void operator()(void* block) const noexcept { std::free(block); }
};

/// From the plain heap, and never null, also when it holds nothing.
using HeapBlock = std::unique_ptr<std::byte, FreeDeleter>;

struct HeapBytes {
    HeapBlock block;
    std::size_t size = 0;
};

/// Gzip (RFC 1952) at level 3 in Base64 without line breaks; the same text on every system. The
/// text always holds a "/", so it is never taken for the older packing. Throws std::length_error
/// above MaxDataBytes.
std::string packData(const void* bytes, std::size_t size);

/// Throws what is derived from std::exception for a text that isn't whole, or that would give more
/// than MaxDataBytes.
HeapBytes unpackData(std::string_view text);

/// Whether all characters are of the older packing's alphabet, as in an empty text.
bool isOldPacking(std::string_view text) noexcept;

/// Reads as many 32-bit words as `size` bytes hold, 6 bits a character, into a block of `size`
/// bytes; bytes behind the last whole word stay unset. The text must be of the older packing.
/// Throws std::length_error for a text that is too short for the words.
HeapBytes unpackOldData(std::string_view text, std::size_t size);

}  // namespace tarn
