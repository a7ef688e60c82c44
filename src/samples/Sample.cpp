#include "samples/Sample.h"

#include "audio/Peak.h"
#include "diagnostics/System.h"
#include "foundation/File.h"
#include "foundation/Logger.h"
#include "samples/Mixdown.h"
#include "samples/SampleWav.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <limits>
#include <memory>
#include <string>
#include <utility>

namespace tarn {

namespace {

// Keys of the dictionary form beside the parameters' names.
constexpr const char* ResidentKey = "resident";
constexpr const char* UnencryptedKey = "unencrypted";
constexpr const char* ExportKey = "export";
constexpr const char* ChannelsKey = "channels";
constexpr const char* FramesKey = "samples";
constexpr const char* SampleRateKey = "samplerate";
constexpr const char* BitDepthKey = "bitdepth";
constexpr const char* DataKey = "sampledata";

constexpr std::uint32_t ScramblingMask = 0x4C17B3;  // its own inverse

constexpr std::string_view MarkerExtension = "mrk";
constexpr std::string_view MarkerPrefix = "Pos=";
constexpr std::size_t MostMarkers = 65536;

constexpr double StandardTempo = 120.0;  // beats a minute

char toLower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

// Counts that audio can have.
bool arePossible(std::int32_t channels, std::int32_t frames) {
    constexpr std::int32_t MostChannels = 0xFFFF;
    constexpr auto MostValues =
        static_cast<std::int64_t>(std::numeric_limits<std::ptrdiff_t>::max() / sizeof(float)) - 1;
    return channels >= 0 && channels <= MostChannels && frames >= 0 &&
           std::int64_t{channels} * frames <= MostValues;
}

struct Audio {
    AlignedFloats values;  // with a place for one more
    std::size_t count;     // 0 with null
};

// What a dictionary holds; the old packing must be told how many values to expect.
Audio unpackAudio(const Dictionary& dictionary, std::size_t expected) {
    void* block = nullptr;
    std::size_t size = expected * sizeof(float);
    const bool isUnpacked = dictionary.getData(DataKey, block, size);
    const std::unique_ptr<void, decltype(&std::free)> owner(block, &std::free);
    if (!isUnpacked || size == 0 || size % sizeof(float) != 0)
        return {};
    const std::size_t count = size / sizeof(float);
    Audio audio{allocateFloats(count + 1), count};
    std::memcpy(audio.values.get(), block, size);
    return audio;
}

// The frame where two frames change places, when a sample of so many is turned round. Wraps, so
// that turning twice restores whatever came from outside.
std::int32_t mirrored(std::int32_t frame, std::int32_t frames) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(frames) -
                                     static_cast<std::uint32_t>(frame) - 1u);
}

void mirror(std::int32_t& first, std::int32_t& last, std::int32_t frames) {
    const std::int32_t newFirst = mirrored(last, frames);
    last = mirrored(first, frames);
    first = newFirst;
}

// The frame numbers of a marker file's lines; what is no frame number is passed over.
std::vector<std::uint32_t> readMarkers(std::istream& stream) {
    std::vector<std::uint32_t> frames;
    std::array<char, 256> text{};  // longer lines are cut
    while (frames.size() < MostMarkers) {
        stream.getline(text.data(), text.size());
        if (stream.gcount() == 0)
            break;
        if (stream.fail() && !stream.eof()) {
            stream.clear();
            stream.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
        }
        const std::string_view line = text.data();
        if (!line.starts_with(MarkerPrefix))
            continue;
        const std::size_t number = line.find_first_not_of(" \t", MarkerPrefix.size());
        std::uint32_t frame = 0;
        const char* const begin = line.data() + std::min(number, line.size());
        if (std::from_chars(begin, line.data() + line.size(), frame).ec == std::errc())
            frames.push_back(frame);
    }
    return frames;
}

}  // namespace

Sample::Sample(Radio* parent) : Radio(parent) {}

// NOLINTNEXTLINE(bugprone-copy-constructor-init): the copy has a buffer, and so a count, of its own
Sample::Sample(const Sample& other)
    : Radio(other),
      SharedObject(),  // NOLINT(readability-redundant-member-init)
      layout_(other.layout_),
      channels_(other.channels_),
      frames_(other.frames_),
      bitDepth_(other.bitDepth_),
      sampleRate_(other.sampleRate_),
      rootNote_(other.rootNote_),
      detuneCoarse_(other.detuneCoarse_),
      name_(other.name_),
      fileName_(other.fileName_),
      flags_(other.flags_),
      parameters_(other.parameters_),
      regionKind_(other.regionKind_),
      displayStart_(other.displayStart_),
      start_(other.start_),
      end_(other.end_),
      loopMode_(other.loopMode_),
      loopStart_(other.loopStart_),
      loopEnd_(other.loopEnd_),
      regions_(other.regions_),
      normalizeGain_(other.normalizeGain_) {
    if (!other.data_)
        return;
    try {
        data_ = allocateFloats(valueCount() + 1);
        std::memcpy(data_.get(), other.data_.get(), (valueCount() + 1) * sizeof(float));
    } catch (const std::exception& exception) {
        frames_ = 0;
        logLine(LogError, "caught exception: %s", exception.what());
    }
}

SharedObjectPtr<Sample> Sample::create(const File& file, bool readData) {
    if (!file.exists())
        return {};
    SharedObjectPtr<Sample> sample(makeShared<SampleWav>());
    const Error error = sample->load(file, readData);
    if (error.isOk()) {
        if (readData) {
            sample->reapplyParameters();
            sample->loadMarkers(file);
            sample->setTempo(StandardTempo);
        }
    } else if (error.code == ErrorImportFailed::Code) {
        sample.reset();
    } else {
        logError(LogError, error);
        System::alert(error.what(), true);
    }
    return sample;
}

bool Sample::canImport(const File& file) {
    return passesFilter(file, Filter) || passesFilter(file, SampleWav::Filter);
}

bool Sample::passesFilter(const File& file, std::string_view filter) {
    std::string wildcard = "*." + file.getExtension() + ";";
    std::transform(wildcard.begin(), wildcard.end(), wildcard.begin(), toLower);
    return filter.find(wildcard) != std::string_view::npos;
}

SharedObjectPtr<Sample> Sample::clone() const {
    return makeShared<Sample>(*this);
}

Error Sample::load(const File& file, bool /*readData*/) {
    return ErrorImportFailed(
        "class tarn::Error __thiscall tarn::Sample::load(const class tarn::File &,bool)",
        file.getPath());
}

Error Sample::save(const File& /*file*/) {
    return NoError();
}

void Sample::reapplyParameters() {
    applyParameters(parameters_);
}

void Sample::read(const Dictionary& dictionary) {
    const bool hasAudio = dictionary.hasKey(DataKey) || dictionary.hasValue(DataKey);
    std::int32_t channels = channels_;
    std::int32_t frames = frames_;
    if (!dictionary.getInteger(ChannelsKey, channels) && hasAudio)
        channels = std::max(channels, 1);
    const bool hasFrames = dictionary.getInteger(FramesKey, frames);
    bool isWhole = arePossible(channels, frames) && (channels > 0 || !hasAudio);
    Audio audio;
    if (isWhole && hasAudio) {
        const auto width = static_cast<std::size_t>(channels);
        const std::size_t expected = width * static_cast<std::size_t>(frames);
        audio = unpackAudio(dictionary, expected);
        isWhole = audio.values != nullptr &&
                  (hasFrames ? audio.count == expected : audio.count % width == 0);
        if (isWhole)
            frames = static_cast<std::int32_t>(audio.count / width);
    }
    if (!isWhole) {
        unload();
        throw Exception::SampleDataCorrupt();
    }

    readPlayback(dictionary);
    readFlags(dictionary);  // may scramble the audio that is there before
    dictionary.getInteger(SampleRateKey, sampleRate_);
    dictionary.getInteger(BitDepthKey, bitDepth_);
    if (hasAudio || channels != channels_ || frames != frames_)
        setAudio(std::move(audio.values));
    channels_ = channels;
    frames_ = data_ ? frames : 0;
    closeBuffer();
}

void Sample::readPlayback(const Dictionary& dictionary) {
    dictionary.getInteger(SampleStartName, start_);
    dictionary.getInteger(SampleEndName, end_);
    if (end_ < 1)
        end_ = frames_ - 1;
    const bool hasLoopStart = dictionary.getInteger(SampleLoopStartName, loopStart_);
    const bool hasLoopEnd = dictionary.getInteger(SampleLoopEndName, loopEnd_);
    if (hasLoopStart || hasLoopEnd)
        loopMode_ = ForwardLoop;
    dictionary.getInteger(WaveRootNoteName, rootNote_);
    dictionary.getInteger(SampleRootNoteName, rootNote_);
    dictionary.getInteger(SampleDetuneCoarseName, detuneCoarse_);
}

void Sample::readFlags(const Dictionary& dictionary) {
    bool isResident = false;
    if (dictionary.getBool(ResidentKey, isResident)) {
        flags_ = isResident ? flags_ | Resident : flags_ & ~Resident;
        bool isPlain = false;
        dictionary.getBool(UnencryptedKey, isPlain);
        if (isResident && !isPlain)
            scramble();
    }
    bool isExported = false;
    if (dictionary.getBool(ExportKey, isExported))
        flags_ = isExported ? flags_ | Export : flags_ & ~Export;
}

void Sample::scramble() {
    if (!data_ || frames_ <= 2)
        return;
    for (std::size_t i = 0; i < valueCount(); ++i) {
        std::uint32_t word = 0;
        std::memcpy(&word, &data_[i], sizeof word);
        word ^= ScramblingMask;
        std::memcpy(&data_[i], &word, sizeof word);
    }
}

void Sample::write(Dictionary& dictionary) const {
    dictionary.setInteger(SampleStartName, start_);
    dictionary.setInteger(SampleEndName, end_);
    dictionary.setInteger(SampleLoopStartName, loopStart_);
    dictionary.setInteger(SampleLoopEndName, loopEnd_);
    dictionary.setInteger(SampleRootNoteName, rootNote_);
    dictionary.setInteger(SampleDetuneCoarseName, detuneCoarse_);
}

void Sample::writeData(Dictionary& dictionary) const {
    dictionary.setInteger(ChannelsKey, channels_);
    dictionary.setInteger(FramesKey, frames_);
    dictionary.setInteger(SampleRateKey, sampleRate_);
    dictionary.setInteger(BitDepthKey, bitDepth_);
    if (!data_)
        return;
    const std::size_t size = valueCount() * sizeof(float);
    if (!dictionary.setData(DataKey, data_.get(), size))
        logLine(LogError, "sample of %.0f bytes is too long to be stored",
                static_cast<double>(size));
}

bool Sample::setTempo(double /*tempo*/) {
    return true;
}

bool Sample::hasProcessing() const {
    for (const char* name : {SampleNormalizeName, SampleReverseName, SampleInvertPhaseName}) {
        bool isOn = false;
        parameters_.getBool(name, isOn);
        if (isOn)
            return true;
    }
    return false;
}

void Sample::applyParameters(const Dictionary& parameters) {
    const auto takeChange = [&](const char* name, bool& isOn) {
        isOn = false;
        bool wasOn = false;
        parameters.getBool(name, isOn);
        parameters_.getBool(name, wasOn);
        if (isOn != wasOn)
            parameters_.setBool(name, isOn);
        return isOn != wasOn;
    };
    bool isOn = false;
    if (takeChange(SampleNormalizeName, isOn))
        isOn ? normalize() : denormalize();
    if (takeChange(SampleReverseName, isOn))
        reverse();
    if (takeChange(SampleInvertPhaseName, isOn))
        invertPhase();
    closeBuffer();
}

// Scales as many values as there are frames: the audio that loading leaves has one channel.
void Sample::normalize() {
    if (!data_)
        return;
    const float gain = 1.0f / peakOf(data_.get(), static_cast<int>(valueCount()));
    // Silence, and what is louder or softer than a factor can tell, stays as it is.
    normalizeGain_ = std::isfinite(gain) && gain > 0.0f ? gain : 1.0f;
    for (std::int32_t i = 0; i < frames_; ++i)
        data_[static_cast<std::size_t>(i)] *= normalizeGain_;
}

void Sample::denormalize() {
    if (!data_)
        return;
    for (std::int32_t i = 0; i < frames_; ++i)
        data_[static_cast<std::size_t>(i)] /= normalizeGain_;
    normalizeGain_ = 1.0f;
}

void Sample::reverse() {
    if (!data_)
        return;
    std::reverse(data_.get(), data_.get() + valueCount());
    mirror(start_, end_, frames_);
    mirror(loopStart_, loopEnd_, frames_);
}

void Sample::invertPhase() {
    if (!data_)
        return;
    for (std::size_t i = 0; i < valueCount(); ++i)
        data_[i] = -data_[i];
}

void Sample::unload() {
    setAudio(nullptr);
    frames_ = 0;
}

void Sample::setAudio(AlignedFloats audio) {
    if (hasProcessing())
        parameters_ = Dictionary();  // may throw, and so comes first
    data_ = std::move(audio);
    normalizeGain_ = 1.0f;
}

void Sample::mixToMono() {
    if (channels_ <= 1 || frames_ == 0 || !data_)
        return;
    const auto frames = static_cast<std::size_t>(frames_);
    AlignedFloats mono = allocateFloats(frames + 1);
    if (layout_ == Interleaved) {
        mixInterleaved(data_.get(), channels_, frames, mono.get());
    } else {
        std::fill_n(mono.get(), frames, 0.0f);
        const auto divisor = static_cast<float>(channels_);
        const float* values = data_.get();
        const std::int32_t summed = layout_ == Planar ? channels_ : 0;
        for (std::int32_t channel = 0; channel < summed; ++channel)
            for (std::size_t i = 0; i < frames; ++i)
                mono[i] += *values++ / divisor;
    }
    channels_ = 1;
    data_ = std::move(mono);
    closeBuffer();
}

void Sample::loadMarkers(const File& sampleFile) {
    File file = sampleFile;
    file.setExtension(MarkerExtension);
    if (file.openRead())
        return loadMarkers(*file.getStream());
    if (regions_.empty())
        regions_.push_back({{}, 0, lastOfRegions()});
    if (loopMode_ == NoLoop)
        loopOverRegions();
}

void Sample::loadMarkers(std::istream& markers) {
    const std::vector<std::uint32_t> frames = readMarkers(markers);
    regions_.assign(frames.size(), {});
    for (std::size_t i = 0; i < frames.size(); ++i) {
        regions_[i].start = frameWithin(frames[i]);
        regions_[i].end = i + 1 < frames.size() ? frameWithin(frames[i + 1]) - 1 : lastOfRegions();
    }
    loopOverRegions();
}

std::int32_t Sample::lastOfRegions() const {
    return static_cast<std::int32_t>(std::int64_t{end_} - 1);
}

void Sample::loopOverRegions() {
    if (regions_.empty())
        return;
    loopStart_ = regions_.front().start;
    loopEnd_ = regions_.back().end;
}

std::span<const float> Sample::view(std::int32_t first, std::int32_t last) const noexcept {
    const std::int32_t begin = std::max(first, 0);
    const std::int32_t end = std::min(last, frames_ - 1);
    if (!data_ || channels_ != 1 || begin > end)
        return {};
    return {data_.get() + begin, static_cast<std::size_t>(end - begin) + 1};
}

void Sample::setLoop(LoopMode mode, std::int32_t first, std::int32_t last) {
    loopMode_ = mode;
    loopStart_ = first;
    loopEnd_ = last;
}

std::int32_t Sample::frameWithin(std::uint32_t frame) const {
    constexpr std::int32_t HighestFrame = std::numeric_limits<std::int32_t>::max() - 1;
    const std::int32_t last = frames_ > 0 ? frames_ - 1 : HighestFrame;
    return static_cast<std::int32_t>(
        std::min<std::uint32_t>(frame, static_cast<std::uint32_t>(last)));
}

std::size_t Sample::valueCount() const {
    return static_cast<std::size_t>(channels_) * static_cast<std::size_t>(frames_);
}

void Sample::closeBuffer() {
    if (data_)
        data_[valueCount()] = data_[0];
}

}  // namespace tarn
