// A sample that fills itself from a RIFF WAVE stream, a file or a block in a pack.
// Everything rests on one rule: nothing of the file is taken before all of it is known to be good.
#pragma once

#include "samples/Sample.h"
#include "samples/WaveChunks.h"

#include <istream>

namespace tarn {

class SampleWav : public Sample {
public:
    static constexpr std::string_view Filter = "*.wav;";

    using Sample::Sample;

    /// Of files named so alone. The answer is that of the other `load`, or an `ErrorImportFailed`
    /// of the file.
    Error load(const File& file, bool readData) override;

    /// Replaces the content by that of a stream which stands at a file's beginning and can be moved
    /// in. Values of 8 (unsigned), 16 and 24 bits and 32-bit floats are read, whatever the format's
    /// tag says; but what isn't tagged as floats and holds NaN or levels above 1e6 is refused, as
    /// 32-bit integers would be noise. The audio becomes one channel, the average of the file's.
    /// Root note, loop and regions come from "smpl", "acid" and "cue "; frames beyond the audio
    /// become its last one, notes beyond MIDI's count as absent. With `readData` false there is no
    /// audio, and `frames` is 0.
    ///
    /// `ErrorImportFailed` if the stream is none of these, or memory is short: the sample then has
    /// no audio, and is as it was otherwise. Takes the memory of the audio, and little more than
    /// that of the file's other chunks.
    virtual Error load(std::istream& stream, bool readData);

    /// The chunks of the last file that was loaded.
    const WaveChunks& getChunks() const { return chunks_; }

private:
    bool loadAll(std::istream& stream, bool readData);
    void take(WaveChunks chunks, std::int32_t frames, AlignedFloats audio);
    void takeRootNote();
    void takeLoop();
    void takeRegions();

    WaveChunks chunks_;
};

}  // namespace tarn
