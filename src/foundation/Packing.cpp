#include "foundation/Packing.h"

#include <cryptopp/base64.h>
#include <cryptopp/filters.h>
#include <cryptopp/gzip.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

namespace tarn {

namespace {

constexpr unsigned DeflateLevel = 3;
constexpr unsigned Log2WindowSize = 15;

// The header's byte for the writer's operating system, which no reader minds. Crypto++ names the
// one that it runs on. The value for "unknown" is the same everywhere, and its first 6 bits are a
// Base64 character of their own: "/".
constexpr std::size_t GzipSystemOffset = 9;
constexpr char GzipUnknownSystem = '\xff';
static_assert(GzipSystemOffset % 3 == 0);

constexpr std::string_view OldAlphabet =
    "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ+-";
constexpr std::uint8_t NotInOldAlphabet = 64;

constexpr std::array<std::uint8_t, 256> OldIndexes = [] {
    std::array<std::uint8_t, 256> indexes{};
    indexes.fill(NotInOldAlphabet);
    for (std::size_t i = 0; i < OldAlphabet.size(); ++i)
        indexes[static_cast<unsigned char>(OldAlphabet[i])] = static_cast<std::uint8_t>(i);
    return indexes;
}();

std::uint8_t oldIndex(char character) noexcept {
    return OldIndexes[static_cast<unsigned char>(character)];
}

HeapBlock allocate(std::size_t size) {
    // Null would be a failure, so nothing is a byte long.
    HeapBlock block(static_cast<std::byte*>(std::malloc(std::max<std::size_t>(size, 1))));
    if (!block)
        throw std::bad_alloc();
    return block;
}

const CryptoPP::byte* asBytes(const void* bytes) {
    return static_cast<const CryptoPP::byte*>(bytes);
}

// The end of a pipe: a heap block that grows up to MaxDataBytes.
class HeapSink final : public CryptoPP::Bufferless<CryptoPP::Sink> {
public:
    std::size_t Put2(const CryptoPP::byte* bytes, std::size_t size, int, bool) override {
        if (size > MaxDataBytes - size_)
            throw std::length_error("binary value is too large");
        if (size > capacity_ - size_)
            grow(size_ + size);
        if (size > 0)
            std::memcpy(block_.get() + size_, bytes, size);
        size_ += size;
        return 0;
    }

    HeapBytes take() {
        if (!block_ || size_ < capacity_)
            reallocate(size_);
        return {std::move(block_), size_};
    }

private:
    void grow(std::size_t needed) {
        constexpr std::size_t Smallest = 4096;
        reallocate(std::min(MaxDataBytes, std::max({needed, capacity_ * 2, Smallest})));
    }

    void reallocate(std::size_t capacity) {
        void* moved = std::realloc(block_.get(), std::max<std::size_t>(capacity, 1));
        if (moved == nullptr)
            throw std::bad_alloc();
        (void)block_.release();
        block_.reset(static_cast<std::byte*>(moved));
        capacity_ = capacity;
    }

    HeapBlock block_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace

std::string packData(const void* bytes, std::size_t size) {
    if (size > MaxDataBytes)
        throw std::length_error("binary value is too large");
    std::string packed;
    const CryptoPP::StringSource compress(
        asBytes(bytes), size, true,
        new CryptoPP::Gzip(new CryptoPP::StringSink(packed), DeflateLevel, Log2WindowSize, true));
    packed.at(GzipSystemOffset) = GzipUnknownSystem;

    std::string text;
    text.reserve((packed.size() + 2) / 3 * 4);
    const CryptoPP::StringSource encode(
        asBytes(packed.data()), packed.size(), true,
        new CryptoPP::Base64Encoder(new CryptoPP::StringSink(text), false));
    return text;
}

HeapBytes unpackData(std::string_view text) {
    HeapSink sink;
    const CryptoPP::StringSource unpack(
        asBytes(text.data()), text.size(), true,
        new CryptoPP::Base64Decoder(new CryptoPP::Gunzip(new CryptoPP::Redirector(sink))));
    return sink.take();
}

bool isOldPacking(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return oldIndex(character) != NotInOldAlphabet; });
}

HeapBytes unpackOldData(std::string_view text, std::size_t size) {
    const std::size_t words = size / 4;
    // Also keeps a size that a file claims within what the text can hold.
    if (words > text.size() * 6 / 32)
        throw std::length_error("binary value is too short");

    HeapBytes unpacked{allocate(size), size};
    std::uint64_t bits = 0;  // the low ones haven't been handed out yet
    unsigned count = 0;
    const char* next = text.data();
    for (std::size_t i = 0; i < words; ++i) {
        for (; count < 32; count += 6)
            bits = bits << 6 | oldIndex(*next++);
        count -= 32;
        const auto word = static_cast<std::uint32_t>(bits >> count);
        std::memcpy(unpacked.block.get() + i * sizeof word, &word, sizeof word);
    }
    return unpacked;
}

}  // namespace tarn
