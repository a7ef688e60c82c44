#include "samples/WaveChunks.h"

#include "foundation/Logger.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <utility>

namespace tarn {

namespace {

constexpr std::string_view RiffTag = "RIFF";
constexpr std::string_view WaveForm = "WAVE";
constexpr std::int64_t ChunkHeaderSize = 8;

// Of a record: 43,690 cue points are more than a file has. What lies behind isn't looked at.
constexpr std::uint32_t MostRecordBytes = 1 << 20;

// What programs that write to a pipe give as the length of the audio: this, or any number above.
constexpr std::uint32_t LeastUnknownLength = 0x7FFFF000;

// Below that, what is passed over is read rather than sought, for the stream's buffer.
constexpr std::int64_t SeekDistance = 4096;

// The fields of a chunk, one after the other. Past the end all numbers are 0, and `isShort` tells.
class Fields {
public:
    explicit Fields(std::string_view bytes) : rest_(bytes) {}

    template <typename... Field>
    void read(Field&... fields) {
        (readOne(fields), ...);
    }

    // As many records as a count before them says; none if that is more than there can be.
    template <typename Record, typename ReadRecord>
    void readRecords(std::uint32_t count, std::size_t recordSize, std::vector<Record>& records,
                     ReadRecord readRecord) {
        if (count > rest_.size() / recordSize) {
            isShort_ = true;
            return;
        }
        records.resize(count);
        std::for_each(records.begin(), records.end(), readRecord);
    }

    std::string readLine() { return std::string(rest_.substr(0, rest_.find('\n'))); }

    bool has(std::size_t bytes) const { return rest_.size() >= bytes; }
    bool isShort() const { return isShort_; }

private:
    template <typename Field>
    void readOne(Field& field) {
        static_assert(std::is_trivially_copyable_v<Field>);
        field = {};
        isShort_ = isShort_ || rest_.size() < sizeof field;
        if (isShort_)
            return;
        std::memcpy(&field, rest_.data(), sizeof field);
        rest_.remove_prefix(sizeof field);
    }

    std::string_view rest_;
    bool isShort_ = false;
};

void readFields(Fields& fields, FormatChunk& chunk) {
    fields.read(chunk.format, chunk.channels, chunk.sampleRate, chunk.byteRate, chunk.blockAlign,
                chunk.bitsPerSample);
    chunk.valueFormat = chunk.format;
    std::uint16_t extraBytes = 0, validBits = 0;
    std::uint32_t speakers = 0;
    if (chunk.format == FormatChunk::Extensible && fields.has(10))
        fields.read(extraBytes, validBits, speakers, chunk.valueFormat);
}

void readFields(Fields& fields, CueChunk& chunk) {
    std::uint32_t count = 0;
    fields.read(count);
    fields.readRecords(count, 24, chunk.points, [&fields](CuePoint& point) {
        fields.read(point.id, point.position, point.chunkId, point.chunkStart, point.blockStart,
                    point.sampleOffset);
    });
}

void readFields(Fields& fields, PlaylistChunk& chunk) {
    std::uint32_t count = 0;
    fields.read(count);
    fields.readRecords(count, 12, chunk.segments, [&fields](PlaylistSegment& segment) {
        fields.read(segment.cueId, segment.length, segment.repeats);
    });
}

void readFields(Fields& fields, LabelChunk& chunk) {
    fields.read(chunk.cueId);
    chunk.text = fields.readLine();
}

void readFields(Fields& fields, LabeledTextChunk& chunk) {
    fields.read(chunk.cueId, chunk.sampleLength, chunk.purpose, chunk.country, chunk.language,
                chunk.dialect, chunk.codePage);
    chunk.text = fields.readLine();
}

void readFields(Fields& fields, SamplerChunk& chunk) {
    std::uint32_t loopCount = 0;
    fields.read(chunk.manufacturer, chunk.product, chunk.samplePeriod, chunk.unityNote,
                chunk.pitchFraction, chunk.smpteFormat, chunk.smpteOffset, loopCount,
                chunk.samplerDataSize);
    fields.readRecords(loopCount, 24, chunk.loops, [&fields](SampleLoop& loop) {
        fields.read(loop.cueId, loop.type, loop.start, loop.end, loop.fraction, loop.playCount);
    });
}

void readFields(Fields& fields, AcidChunk& chunk) {
    fields.read(chunk.flags, chunk.rootNote, chunk.reserved1, chunk.reserved2, chunk.beats,
                chunk.meterDenominator, chunk.meterNumerator, chunk.tempo);
}

void readFields(Fields& /*fields*/, StretchChunk& /*chunk*/) {}

void readFields(Fields& fields, InstrumentChunk& chunk) {
    fields.read(chunk.unshiftedNote, chunk.fineTune, chunk.gain, chunk.lowNote, chunk.highNote,
                chunk.lowVelocity, chunk.highVelocity);
}

bool isSameFormat(const FormatChunk& one, const FormatChunk& other) {
    return one.format == other.format && one.channels == other.channels &&
           one.sampleRate == other.sampleRate && one.byteRate == other.byteRate &&
           one.blockAlign == other.blockAlign && one.bitsPerSample == other.bitsPerSample &&
           one.valueFormat == other.valueFormat;
}

class ChunkReader {
public:
    ChunkReader(std::istream& stream, WaveChunks& chunks) : stream_(stream), chunks_(chunks) {}

    bool readAll(bool withData) {
        if (!readBeginning())
            return false;
        ChunkHeader header;
        while (readHeader(header)) {
            if (!readChunk(header, withData))
                return false;
            position_ += std::int64_t{header.size} + header.size % 2;
        }
        return hasFormat_ && (!withData || chunks_.data.size > 0);
    }

private:
    bool readBeginning() {
        const std::int64_t begin = stream_.tellg();
        stream_.seekg(0, std::ios::end);
        end_ = stream_.tellg();
        if (begin < 0 || end_ < begin)
            return false;
        position_ = begin;
        place_ = end_;
        std::array<char, 12> bytes{};
        const std::string_view text(bytes.data(), bytes.size());
        return readBytes(bytes.data(), bytes.size()) && text.starts_with(RiffTag) &&
               text.ends_with(WaveForm);
    }

    // From the position, which moves on.
    bool readBytes(char* bytes, std::size_t size) {
        if (position_ < place_ || position_ - place_ > SeekDistance)
            stream_.seekg(position_);
        else
            stream_.ignore(static_cast<std::streamsize>(position_ - place_));
        stream_.read(bytes, static_cast<std::streamsize>(size));
        position_ += static_cast<std::int64_t>(size);
        place_ = position_;
        return !stream_.fail();
    }

    // False at the end, and on what is no whole header.
    bool readHeader(ChunkHeader& header) {
        std::array<char, ChunkHeaderSize> bytes{};
        if (!readBytes(bytes.data(), bytes.size()))
            return false;
        Fields(std::string_view(bytes.data(), bytes.size())).read(header.id, header.size);
        return true;
    }

    // False for what makes the whole file unusable.
    bool readChunk(const ChunkHeader& header, bool withData) {
        if (header.id == chunks_.data.id)
            return !withData || readData(header);
        if (header.id == chunks_.format.id)
            return readFormat(header);
        readMatching(header, chunks_.cue, chunks_.playlist, chunks_.label, chunks_.note,
                     chunks_.labeledText, chunks_.sampler, chunks_.acid, chunks_.stretch,
                     chunks_.instrument);
        return true;
    }

    bool readData(const ChunkHeader& header) {
        static_cast<ChunkHeader&>(chunks_.data) = header;
        chunks_.data.position = position_;
        if (isWhole(header))
            return true;
        if (header.size < LeastUnknownLength)
            return false;
        chunks_.data.size = static_cast<std::uint32_t>(end_ - position_);
        logLine(LogWarning, "the length of the audio isn't known: %u bytes are there",
                chunks_.data.size);
        return true;
    }

    bool readFormat(const ChunkHeader& header) {
        FormatChunk format;
        if (!readRecord(header, format) || (hasFormat_ && !isSameFormat(format, chunks_.format)))
            return false;
        chunks_.format = format;
        hasFormat_ = true;
        return true;
    }

    // Into the record that has the chunk's id, if there is one.
    template <typename... Chunk>
    void readMatching(const ChunkHeader& header, Chunk&... records) {
        static_cast<void>(((header.id == records.id && readRecord(header, records)) || ...));
    }

    // False, with the record as it was, for a chunk that is cut off or too short for what it says.
    template <typename Chunk>
    bool readRecord(const ChunkHeader& header, Chunk& record) {
        std::string bytes(std::min(header.size, MostRecordBytes), '\0');
        const std::int64_t begin = position_;
        const bool isRead = readBytes(bytes.data(), bytes.size());
        position_ = begin;
        Chunk chunk = record;
        static_cast<ChunkHeader&>(chunk) = header;
        Fields fields(bytes);
        readFields(fields, chunk);
        if (!isRead || fields.isShort())
            return false;
        record = std::move(chunk);
        return true;
    }

    bool isWhole(const ChunkHeader& header) const { return header.size <= end_ - position_; }

    std::istream& stream_;
    WaveChunks& chunks_;
    std::int64_t position_ = 0;  // of the next chunk, or of a chunk's bytes
    std::int64_t place_ = 0;     // where the stream stands
    std::int64_t end_ = 0;
    bool hasFormat_ = false;
};

}  // namespace

bool WaveChunks::read(std::istream& stream, bool withData) {
    *this = {};
    return ChunkReader(stream, *this).readAll(withData);
}

}  // namespace tarn
