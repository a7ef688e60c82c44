// One piece of audio in memory, with the tuning, loop and markers that a sampler needs, and a
// dictionary form, with or without the audio.
// Everything rests on one rule: the buffer holds all values that `channels` and `frames` promise
// and one more, which repeats the first one, so that an interpolating reader may look past the last
// frame of a mono sample.
#pragma once

#include "audio/SampleRegion.h"
#include "foundation/Dictionary.h"
#include "foundation/Radio.h"
#include "foundation/SharedObject.h"
#include "samples/AlignedFloats.h"

#include <cstddef>
#include <cstdint>
#include <istream>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace tarn {

class File;

// Names of the parameters of a sample, in its dictionary form and in a sampler's settings.
inline constexpr const char* SampleStartName = "SampleStart";
inline constexpr const char* SampleEndName = "SampleEnd";
inline constexpr const char* SampleLoopStartName = "SampleLoopStart";
inline constexpr const char* SampleLoopEndName = "SampleLoopEnd";
inline constexpr const char* SampleRootNoteName = "SampleRootNote";
inline constexpr const char* WaveRootNoteName = "WaveRootNote";
inline constexpr const char* SampleDetuneCoarseName = "SampleDetuneCoarse";
inline constexpr const char* SampleInvertPhaseName = "SampleInvertPhase";
inline constexpr const char* SampleNormalizeName = "SampleNormalize";
inline constexpr const char* SampleReverseName = "SampleReverse";

/// Loaded and changed on the interface thread; the audio thread reads one that isn't changed any
/// more, and holds it by its count meanwhile. Frame numbers of regions and loops are kept as states
/// and callers give them, and may lie outside the audio: whoever plays takes the frames from
/// `view`, which cuts them.
class Sample : public Radio, public SharedObject {
public:
    /// The kinds of files that a user may choose, as dialogs take them.
    static constexpr std::string_view Filter = "*.aif;*.aifc;*.aiff;*.au;*.snd;*.wav;";

    enum Layout : std::int32_t { Interleaved, Planar };
    enum Flag : std::int32_t { Export = 1, Resident = 2 };
    enum LoopMode : std::int32_t { NoLoop = 0, ForwardLoop = 2 };

    /// Empty: no audio, no regions.
    explicit Sample(Radio* parent = nullptr);

    /// With a buffer of its own, and counted for itself. Where memory is too short for that the
    /// copy has no audio, and the log says so.
    Sample(const Sample& other);
    Sample& operator=(const Sample&) = delete;
    ~Sample() override = default;

    /// The sample in a file, with its markers and its processing; with `readData` false, its
    /// description without the audio. Null if there is no such file, or it is none that can be
    /// read.
    static SharedObjectPtr<Sample> create(const File& file, bool readData);

    /// Whether the file's name is one of a kind that samples are in; small and capital letters are
    /// the same.
    static bool canImport(const File& file);

    /// Always a plain sample.
    virtual SharedObjectPtr<Sample> clone() const;

    /// Replaces the content by the file's. This class reads no files: always `ErrorImportFailed`.
    virtual Error load(const File& file, bool readData);

    /// Writes nothing, and answers with the no-error.
    virtual Error save(const File& file);

    virtual void reapplyParameters();

    /// Takes what the dictionary has and leaves the rest. Audio comes with its counts, or with the
    /// channels alone: where they can't be, or don't match it, throws
    /// `Exception::SampleDataCorrupt`; the sample then has no audio, and is as it was otherwise.
    /// Counts that come without audio, and aren't those of the audio held, end it; without audio
    /// there are no frames, whatever is counted. Audio that comes counts as not processed. With
    /// "resident" on and "unencrypted" off, what audio is held before is scrambled, or brought back
    /// by a second time. Audio that can't be unpacked for want of memory counts as not matching.
    /// Throws std::bad_alloc, with the audio as it was and its counts.
    virtual void read(const Dictionary& dictionary);

    /// Start and end, loop, root note and tuning.
    virtual void write(Dictionary& dictionary) const;

    /// The audio and its counts, into an element that holds none yet. More than 64 MB can't be
    /// stored, which the log says.
    virtual void writeData(Dictionary& dictionary) const;

    /// In beats a minute. A sample as such has no tempo.
    virtual bool setTempo(double tempo);

    /// Whether a processing is on.
    virtual bool hasProcessing() const;

    /// Brings "SampleNormalize", "SampleReverse" and "SampleInvertPhase" to what `parameters` says,
    /// in that order; what is absent is off. The audio is edited in place, and turning a processing
    /// off undoes it: normalising within rounding, the others exactly.
    virtual void applyParameters(const Dictionary& parameters);

    /// Frees the audio, and with it ends all processing.
    virtual void unload();

    /// Makes one channel of several: the sum of their values, each divided by their number.
    void mixToMono();

    /// Takes the regions from the file of the sample's name with the extension "mrk", in place of
    /// those that the sample has: each line "Pos=<frame>" ends a region and begins the next, and
    /// the last one ends before `end`; frames beyond the audio become its last one, and lines
    /// beyond 65,536 of them are passed over. The loop spans the regions. Without such a file the
    /// sample keeps its regions, or has one of the whole, and keeps its loop; if it has none, the
    /// loop's frames span the regions, for when it is turned on.
    void loadMarkers(const File& sampleFile);

    /// The same from such a file's text.
    void loadMarkers(std::istream& markers);

    /// The values of the frames `first` to `last`, as far as they exist: empty without audio, where
    /// the run ends before it begins, and while there are several channels, which `mixToMono` makes
    /// one. One more value may be read behind the audio's last. Audio thread; valid while the
    /// sample isn't changed.
    std::span<const float> view(std::int32_t first, std::int32_t last) const noexcept;

    bool hasData() const { return data_ != nullptr; }

    /// The values, `channels` x `frames` and one more, by layout; null without audio. 16-byte
    /// aligned, and the sample's.
    const float* getData() const { return data_.get(); }
    std::int32_t getLayout() const { return layout_; }
    std::int32_t getChannels() const { return channels_; }
    std::int32_t getFrames() const { return frames_; }
    std::int32_t getBitDepth() const { return bitDepth_; }      // of the source; 0 if not known
    std::int32_t getSampleRate() const { return sampleRate_; }  // Hz

    std::int32_t getRootNote() const { return rootNote_; }          // MIDI
    std::int32_t getDetuneCoarse() const { return detuneCoarse_; }  // cents, from files 0 to 99
    std::int32_t getStart() const { return start_; }                // first frame to play
    std::int32_t getEnd() const { return end_; }                    // last frame to play
    std::int32_t getLoopMode() const { return loopMode_; }
    std::int32_t getLoopStart() const { return loopStart_; }  // frames, as start and end
    std::int32_t getLoopEnd() const { return loopEnd_; }
    const std::vector<SampleRegion>& getRegions() const { return regions_; }

    /// What is on of the processings; see `applyParameters`.
    const Dictionary& getParameters() const { return parameters_; }
    bool hasFlag(std::int32_t mask) const { return (flags_ & mask) != 0; }

    void setRootNote(std::int32_t note) { rootNote_ = note; }
    void setLoop(LoopMode mode, std::int32_t first, std::int32_t last);
    void setRegions(std::vector<SampleRegion> regions) { regions_ = std::move(regions); }

protected:
    /// Whether the file's extension is one of the filter's.
    static bool passesFilter(const File& file, std::string_view filter);

    /// How many values the counts promise.
    std::size_t valueCount() const;

    /// Takes audio that isn't processed, or with null none; the counts are the caller's to set.
    void setAudio(AlignedFloats audio);

    /// Repeats the first value behind the last one.
    void closeBuffer();

    /// A file's number of a frame, cut to the last one that exists. Without audio it can't be
    /// compared with anything, and stays.
    std::int32_t frameWithin(std::uint32_t frame) const;

    std::int32_t layout_ = Planar;
    std::int32_t channels_ = 0;
    std::int32_t frames_ = 0;
    std::int32_t bitDepth_ = 0;
    std::int32_t sampleRate_ = 44100;
    AlignedFloats data_;
    std::int32_t rootNote_ = 60;
    std::int32_t detuneCoarse_ = 0;
    std::string name_;
    std::string fileName_;
    std::int32_t flags_ = Export;
    Dictionary parameters_;  // the state of the processing
    std::int32_t regionKind_ = 2;
    std::int32_t displayStart_ = 0;
    std::int32_t start_ = 0;
    std::int32_t end_ = 0;
    std::int32_t loopMode_ = NoLoop;
    std::int32_t loopStart_ = 0;
    std::int32_t loopEnd_ = 0;
    std::vector<SampleRegion> regions_;
    float normalizeGain_ = 1.0f;

private:
    std::int32_t lastOfRegions() const;
    void loopOverRegions();
    void readPlayback(const Dictionary& dictionary);
    void readFlags(const Dictionary& dictionary);
    void scramble();
    void normalize();
    void denormalize();
    void reverse();
    void invertPhase();
};

}  // namespace tarn
