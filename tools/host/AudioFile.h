// WAV files, whatever their names and however long.
#pragma once

#include <cstdint>
#include <fstream>
#include <memory>
#include <span>
#include <string>
#include <vector>

struct sf_private_tag;  // libsndfile's

namespace tarn::host {

/// Planar samples: one vector a channel, all equally long.
using Channels = std::vector<std::vector<float>>;

/// What both directions share: the stream, which libsndfile reads and writes through functions of
/// ours, since it can't open every name by itself on Windows.
class AudioFile {
public:
    AudioFile(const AudioFile&) = delete;
    AudioFile& operator=(const AudioFile&) = delete;

    int channels() const noexcept { return channels_; }
    std::size_t channelCount() const noexcept { return static_cast<std::size_t>(channels_); }
    double rate() const noexcept { return rate_; }

protected:
    AudioFile(const std::string& path, std::ios::openmode mode);
    ~AudioFile() = default;

    /// Opens the stream's content; false if libsndfile won't.
    bool open(int mode, int format);

    struct Closer {
        void operator()(sf_private_tag* file) const noexcept;
    };

    std::string path_;
    std::fstream stream_;
    std::unique_ptr<sf_private_tag, Closer> file_;
    std::vector<float> interleaved_;  // of one call
    std::int64_t frames_ = 0;
    int channels_ = 0;
    double rate_ = 0.0;
};

/// Reads any WAV. Errors are a `Failure`.
class AudioReader : public AudioFile {
public:
    explicit AudioReader(const std::string& path);

    std::int64_t frames() const noexcept { return frames_; }

    /// The next frames: channel i of the file goes into channel i of `to`, its last one into those
    /// that the file lacks. What lies behind the file's end is silence.
    void read(Channels& to, std::size_t frames);
};

/// Writes a WAV of 32-bit floats, as RF64 once it is longer than a WAV may be. Equal audio gives
/// equal files: there is no time of day in them. Errors are a `Failure`. `finish` ends it; without,
/// the file may lack its end.
class AudioWriter : public AudioFile {
public:
    /// Replaces a file that is there. `rate` is rounded to whole Hz.
    AudioWriter(const std::string& path, int channels, double rate);

    /// One span a channel, all equally long.
    void write(std::span<const std::span<const float>> samples);

    void finish();
};

}  // namespace tarn::host
