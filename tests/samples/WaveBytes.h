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

inline std::string chunk(const std::string& id, const std::string& body, std::uint32_t size) {
    return id + bytesOf(size) + body + std::string(size % 2, '\0');
}

inline std::string chunk(const std::string& id, const std::string& body) {
    return chunk(id, body, static_cast<std::uint32_t>(body.size()));
}

inline std::string formatChunk(int channels, int bits, int blockAlign = -1,
                               std::uint32_t rate = 48000) {
    const int align = blockAlign >= 0 ? blockAlign : channels * ((bits + 7) / 8);
    return chunk("fmt ",
                 bytesOf(std::uint16_t{1}, static_cast<std::uint16_t>(channels), rate,
                         rate * static_cast<unsigned>(align), static_cast<std::uint16_t>(align),
                         static_cast<std::uint16_t>(bits)));
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

/// A stream that reads a text in its place.
using ByteStream = boost::interprocess::ibufferstream;

}  // namespace tarn::test
