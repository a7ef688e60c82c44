// A stream of bytes to read from, whatever they lie in.
// Everything rests on one rule: values are taken in the processor's order, little-endian; a reader
// of a format with the other order swaps for itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarn {

class IOStream {
public:
    IOStream() = default;
    virtual ~IOStream() = default;

    /// Reads `size` bytes and drops them; the answer is that of `read`. `scratch` is their place.
    virtual bool skipBytes(std::uint32_t scratch, std::size_t size);

    /// What a short read doesn't fill is 0.
    virtual bool read32(std::uint32_t& out);
    virtual bool read16(std::uint16_t& out);
    virtual bool read8(std::uint8_t& out);

    /// The bytes up to a zero byte, which is dropped, or up to the end.
    virtual std::string readString();

    /// Reads as many bytes as `text` has: whether they are the same.
    virtual bool matchesString(std::string_view text);

    virtual bool getFlag() const { return flag_; }

    /// Reads `size` x `count` bytes. False, with the buffer as it was, if the stream was in error
    /// before; what a short read doesn't fill is 0, and the next call answers false.
    virtual bool read(void* buffer, std::size_t size, std::size_t count) = 0;

    /// Reads `size` bytes: whether all of them came and equal `bytes`.
    virtual bool matches(const void* bytes, std::size_t size);

protected:
    IOStream(const IOStream&) = default;
    IOStream& operator=(const IOStream&) = default;

private:
    bool flag_ = true;
};

}  // namespace tarn
