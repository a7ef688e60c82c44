// The chunks of a RIFF WAVE file that are known here, as records, and how they are read.
// The format is that of the "Multimedia Programming Interface and Data Specifications 1.0" and its
// later chunks "smpl", "inst", "acid" and "strc"; all numbers are little-endian.
#pragma once

#include <array>
#include <cstdint>
#include <istream>
#include <string>
#include <vector>

namespace tarn {

using ChunkId = std::array<char, 4>;

/// How every chunk begins. In the record of a chunk that wasn't there, as its class gives it.
struct ChunkHeader {
    ChunkHeader() = default;
    ChunkHeader(ChunkId chunkId, std::uint32_t bytes) : id(chunkId), size(bytes) {}

    ChunkId id{};
    std::uint32_t size = 0;  // bytes that follow, without the pad byte behind an odd number
};

struct FormatChunk : ChunkHeader {
    FormatChunk() : ChunkHeader({'f', 'm', 't', ' '}, 16) {}

    static constexpr std::uint16_t Integers = 1;
    static constexpr std::uint16_t Floats = 3;
    static constexpr std::uint16_t Extensible = 0xFFFE;

    std::uint16_t format = 0;
    std::uint16_t channels = 0;
    std::uint32_t sampleRate = 0;  // Hz
    std::uint32_t byteRate = 0;
    std::uint16_t blockAlign = 0;  // bytes a frame
    std::uint16_t bitsPerSample = 0;
    std::uint16_t valueFormat = 0;  // `format`, or what the extensible format names for it
};

/// The audio. Its bytes stay in the file, to be decoded from there.
struct DataChunk : ChunkHeader {
    DataChunk() : ChunkHeader({'d', 'a', 't', 'a'}, 0) {}

    std::int64_t position = 0;  // in the stream, which has `size` bytes from there on
};

struct CuePoint {
    std::uint32_t id, position;
    ChunkId chunkId;
    std::uint32_t chunkStart, blockStart, sampleOffset;
};

struct CueChunk : ChunkHeader {
    CueChunk() : ChunkHeader({'c', 'u', 'e', ' '}, 4) {}

    std::vector<CuePoint> points;
};

struct PlaylistSegment {
    std::uint32_t cueId, length, repeats;
};

struct PlaylistChunk : ChunkHeader {
    PlaylistChunk() : ChunkHeader({'p', 'l', 's', 't'}, 4) {}

    std::vector<PlaylistSegment> segments;
};

/// "labl" or "note".
struct LabelChunk : ChunkHeader {
    explicit LabelChunk(ChunkId chunkId) : ChunkHeader(chunkId, 4) {}

    std::uint32_t cueId = 0;
    std::string text;  // up to a line end
};

struct LabeledTextChunk : ChunkHeader {
    LabeledTextChunk() : ChunkHeader({'l', 't', 'x', 't'}, 20) {}

    std::uint32_t cueId = 0;
    std::uint32_t sampleLength = 0;
    std::uint32_t purpose = 0;
    std::uint16_t country = 0;
    std::uint16_t language = 0;
    std::uint16_t dialect = 0;
    std::uint16_t codePage = 0;
    std::string text;  // up to a line end
};

struct SampleLoop {
    std::uint32_t cueId, type;
    std::uint32_t start, end;  // frames, both played
    std::uint32_t fraction, playCount;
};

struct SamplerChunk : ChunkHeader {
    SamplerChunk() : ChunkHeader({'s', 'm', 'p', 'l'}, 36) {}

    std::uint32_t manufacturer = 0;
    std::uint32_t product = 0;
    std::uint32_t samplePeriod = 0;   // ns
    std::uint32_t unityNote = 0;      // MIDI
    std::uint32_t pitchFraction = 0;  // of a semitone, in 2^-32
    std::uint32_t smpteFormat = 0;
    std::uint32_t smpteOffset = 0;
    std::uint32_t samplerDataSize = 0;
    std::vector<SampleLoop> loops;
};

struct AcidChunk : ChunkHeader {
    AcidChunk() : ChunkHeader({'a', 'c', 'i', 'd'}, 24) {}

    std::uint32_t flags = 0;
    std::uint16_t rootNote = 0;  // MIDI
    std::uint16_t reserved1 = 0;
    std::uint32_t reserved2 = 0;
    std::uint32_t beats = 0;
    std::uint16_t meterDenominator = 0;
    std::uint16_t meterNumerator = 0;
    float tempo = 0.0f;  // beats a minute
};

struct StretchChunk : ChunkHeader {
    StretchChunk() : ChunkHeader({'s', 't', 'r', 'c'}, 0) {}
};

struct InstrumentChunk : ChunkHeader {
    InstrumentChunk() : ChunkHeader({'i', 'n', 's', 't'}, 8) {}

    std::uint8_t unshiftedNote = 0;  // MIDI
    std::int8_t fineTune = 0;        // cents
    std::int8_t gain = 0;            // dB
    std::uint8_t lowNote = 0;
    std::uint8_t highNote = 0;
    std::uint8_t lowVelocity = 0;
    std::uint8_t highVelocity = 0;
};

struct WaveChunks {
    FormatChunk format;
    DataChunk data;
    CueChunk cue;
    PlaylistChunk playlist;
    LabelChunk label{{'l', 'a', 'b', 'l'}};
    LabelChunk note{{'n', 'o', 't', 'e'}};
    LabeledTextChunk labeledText;
    SamplerChunk sampler;
    AcidChunk acid;
    StretchChunk stretch;
    InstrumentChunk instrument;

    /// Replaces the records by those of a stream that stands at a file's beginning; where a chunk
    /// comes twice, the last one counts. Passed over are unknown chunks, with `withData` false the
    /// audio, and a chunk that is cut off, too short for what it says, or longer than 1 MB and not
    /// complete within that. Audio of a length that wasn't known when the file was begun, which
    /// then says 0x7FFFF000 or more, reaches to the end of the file, which the log tells.
    ///
    /// False if the stream can't be moved in or holds no such file, there is no whole format or
    /// there are two that differ, or the audio is missing or cut off.
    bool read(std::istream& stream, bool withData);
};

}  // namespace tarn
