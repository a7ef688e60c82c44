#include "samples/SampleWav.h"

#include "foundation/File.h"
#include "samples/Mixdown.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <memory>
#include <span>
#include <utility>

namespace tarn {

namespace {

constexpr std::int32_t MostFrames = std::numeric_limits<std::int32_t>::max() - 1;
constexpr std::uint32_t HighestNote = 127;
constexpr std::int32_t FloatBytes = 4;

// Bytes that are decoded at a time: they and their values stay in the processor's cache.
constexpr std::size_t PortionBytes = 65536;

std::int32_t bytesPerValue(const FormatChunk& format) {
    return (format.bitsPerSample + 7) / 8;
}

// Whether frames of such values lie one behind the other.
bool isSupported(const FormatChunk& format) {
    const std::int32_t bytes = bytesPerValue(format);
    return bytes >= 1 && bytes <= FloatBytes && format.channels >= 1 &&
           format.blockAlign == format.channels * bytes && format.sampleRate >= 1 &&
           format.sampleRate <= std::numeric_limits<std::int32_t>::max();
}

// Values of 32 bits are floats, whatever the format says: integers that are read so are noise, NaN
// and levels of up to 3e38.
bool areLevels(std::span<const float> values) {
    constexpr float HighestLevel = 1e6f;  // 120 dB above full scale
    return std::all_of(values.begin(), values.end(),
                       [](float value) { return std::fabs(value) <= HighestLevel; });
}

// The audio as one channel, with a place for one more value; null if the stream fails.
AlignedFloats decode(std::istream& stream, const WaveChunks& chunks, std::size_t frames) {
    const FormatChunk& format = chunks.format;
    const std::size_t portion = std::max<std::size_t>(PortionBytes / format.blockAlign, 1);
    const bool areFloats = bytesPerValue(format) == FloatBytes;  // read where they are to be
    const auto bytes = std::make_unique_for_overwrite<unsigned char[]>(
        areFloats ? 0 : portion * format.blockAlign);
    const AlignedFloats values =
        format.channels > 1 ? allocateFloats(portion * format.channels) : nullptr;
    AlignedFloats audio = allocateFloats(frames + 1);

    stream.clear();
    stream.seekg(chunks.data.position);
    for (std::size_t done = 0; done < frames;) {
        const std::size_t now = std::min(portion, frames - done);
        float* const mono = audio.get() + done;
        float* const decoded = values ? values.get() : mono;
        if (!stream.read(
                areFloats ? reinterpret_cast<char*>(decoded) : reinterpret_cast<char*>(bytes.get()),
                static_cast<std::streamsize>(now * format.blockAlign)))
            return nullptr;
        if (!areFloats)
            decodeValues(bytes.get(), bytesPerValue(format), now * format.channels, decoded);
        if (values)
            mixInterleaved(values.get(), format.channels, now, mono);
        done += now;
    }
    return audio;
}

}  // namespace

Error SampleWav::load(const File& file, bool readData) {
    File opened = file;
    if (passesFilter(file, Filter) && opened.openRead())
        return load(*opened.getStream(), readData);
    return ErrorImportFailed(
        "class tarn::Error __thiscall tarn::SampleWav::load(const class tarn::File &,bool)",
        file.getPath());
}

Error SampleWav::load(std::istream& stream, bool readData) {
    try {
        unload();
        if (loadAll(stream, readData))
            return NoError();
    } catch (const std::exception&) {  // short of memory, or a stream that throws
    }
    return ErrorImportFailed(
        "class tarn::Error __thiscall tarn::SampleWav::load(class std::basic_istream<char,struct "
        "std::char_traits<char> > &,bool)");
}

bool SampleWav::loadAll(std::istream& stream, bool readData) {
    WaveChunks chunks;
    if (!chunks.read(stream, readData) || !isSupported(chunks.format))
        return false;
    const std::uint32_t frames = chunks.data.size / chunks.format.blockAlign;
    if (frames > MostFrames || (readData && frames == 0))
        return false;
    AlignedFloats audio = frames > 0 ? decode(stream, chunks, frames) : nullptr;
    if (frames > 0 && !audio)
        return false;
    if (bytesPerValue(chunks.format) == FloatBytes &&
        chunks.format.valueFormat != FormatChunk::Floats && !areLevels({audio.get(), frames}))
        return false;
    take(std::move(chunks), static_cast<std::int32_t>(frames), std::move(audio));
    return true;
}

void SampleWav::take(WaveChunks chunks, std::int32_t frames, AlignedFloats audio) {
    std::vector<SampleRegion> regions(chunks.cue.points.size());
    chunks_ = std::move(chunks);
    regions_ = std::move(regions);
    layout_ = Interleaved;
    channels_ = audio ? 1 : chunks_.format.channels;
    bitDepth_ = chunks_.format.bitsPerSample;
    sampleRate_ = static_cast<std::int32_t>(chunks_.format.sampleRate);
    frames_ = frames;
    data_ = std::move(audio);
    closeBuffer();
    start_ = 0;
    end_ = frames - 1;
    takeRootNote();
    takeLoop();
    takeRegions();
}

void SampleWav::takeRootNote() {
    constexpr double CentsPerFraction = 4.656612873077393e-10 * 50.0;  // 100 to 2^32
    const SamplerChunk& sampler = chunks_.sampler;
    if (sampler.unityNote != 0 && sampler.unityNote <= HighestNote) {
        rootNote_ = static_cast<std::int32_t>(sampler.unityNote);
        detuneCoarse_ = static_cast<std::int32_t>(sampler.pitchFraction * CentsPerFraction);
    } else if (chunks_.acid.rootNote != 0 && chunks_.acid.rootNote <= HighestNote) {
        rootNote_ = chunks_.acid.rootNote;
    }
}

void SampleWav::takeLoop() {
    const std::vector<SampleLoop>& loops = chunks_.sampler.loops;
    loopMode_ = loops.empty() ? NoLoop : ForwardLoop;
    loopStart_ = loops.empty() ? frames_ / 2 : frameWithin(loops.front().start);
    loopEnd_ = loops.empty() ? frames_ - 1 : frameWithin(loops.front().end);
}

void SampleWav::takeRegions() {
    const std::vector<CuePoint>& points = chunks_.cue.points;
    for (std::size_t i = 0; i < points.size(); ++i) {
        regions_[i].start = frameWithin(points[i].sampleOffset);
        regions_[i].end =
            i + 1 < points.size() ? frameWithin(points[i + 1].sampleOffset) - 1 : end_;
    }
}

}  // namespace tarn
