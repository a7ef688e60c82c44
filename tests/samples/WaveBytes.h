// WAV files byte by byte, good and broken.
#pragma once

#include <boost/interprocess/streams/bufferstream.hpp>
#include <cstdint>
#include <cstring>
#include <string>

namespace tarn::test {

template <typename... Number>
std::string bytesOf(Number... numbers) {
    std::string bytes;
    (bytes.append(reinterpret_cast<const char*>(&numbers), sizeof numbers), ...);
    return bytes;
}

/// With the body's size, or another one that it claims.
inline std::string chunk(const std::string& id, const std::string& body,
                         std::int64_t claimed = -1) {
    const auto size = static_cast<std::uint32_t>(claimed < 0 ? body.size() : claimed);
    return id + bytesOf(size) + body + std::string(size % 2, '\0');
}

/// Of integers.
inline std::string formatChunk(int channels, int bits, int blockAlign = -1, unsigned rate = 48000) {
    const int align = blockAlign >= 0 ? blockAlign : channels * ((bits + 7) / 8);
    const auto low = [](int number) { return static_cast<std::uint16_t>(number); };
    return chunk("fmt ", bytesOf(low(1), low(channels), rate, rate * static_cast<unsigned>(align),
                                 low(align), low(bits)));
}

inline std::string cueChunk(const std::string& offsets) {
    std::string points;
    for (std::size_t i = 0; i < offsets.size(); i += 4)
        points += std::string(20, 'x') + offsets.substr(i, 4);
    return chunk("cue ", bytesOf(static_cast<std::uint32_t>(offsets.size() / 4)) + points);
}

inline std::string samplerChunk(std::uint32_t note, std::uint32_t fraction, std::uint32_t loops,
                                const std::string& loopBytes) {
    const std::uint32_t no = 0;
    return chunk("smpl", bytesOf(no, no, no, note, fraction, no, no, loops, no) + loopBytes);
}

inline std::string waveFile(const std::string& chunks) {
    return "RIFF" + bytesOf(static_cast<std::uint32_t>(chunks.size() + 4)) + "WAVE" + chunks;
}

/// A whole one of a channel, 8 bits a sample.
inline std::string byteWave(const std::string& samples) {
    return waveFile(formatChunk(1, 8) + chunk("data", samples));
}

/// A stream that reads a text in its place.
using ByteStream = boost::interprocess::ibufferstream;

}  // namespace tarn::test
