#include "host/AudioFile.h"

#include "common/Text.h"
#include "host/Failure.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>

namespace tarn::host {

namespace {

std::fstream& streamOf(void* user) {
    return *static_cast<std::fstream*>(user);
}

sf_count_t tell(void* user) {
    return static_cast<sf_count_t>(streamOf(user).tellg());
}

sf_count_t seek(sf_count_t offset, int whence, void* user) {
    const std::ios::seekdir from = whence == SF_SEEK_SET   ? std::ios::beg
                                   : whence == SF_SEEK_CUR ? std::ios::cur
                                                           : std::ios::end;
    std::fstream& stream = streamOf(user);
    stream.clear();  // of a read that came to the end
    stream.seekg(offset, from);
    return stream ? tell(user) : -1;
}

sf_count_t length(void* user) {
    const sf_count_t here = tell(user);
    const sf_count_t end = seek(0, SF_SEEK_END, user);
    seek(here, SF_SEEK_SET, user);
    return end;
}

sf_count_t read(void* to, sf_count_t bytes, void* user) {
    std::fstream& stream = streamOf(user);
    stream.read(static_cast<char*>(to), static_cast<std::streamsize>(bytes));
    return stream.gcount();
}

sf_count_t write(const void* from, sf_count_t bytes, void* user) {
    std::fstream& stream = streamOf(user);
    stream.write(static_cast<const char*>(from), static_cast<std::streamsize>(bytes));
    return stream ? bytes : 0;
}

}  // namespace

AudioFile::AudioFile(const std::string& path, std::ios::openmode mode)
    : path_(path), stream_(tools::pathOf(path), mode | std::ios::binary) {
    if (!stream_)
        throw Failure(ExitBadUse, "can't open " + path);
}

bool AudioFile::open(int mode, int format) {
    SF_VIRTUAL_IO functions{length, seek, host::read, host::write, tell};
    SF_INFO info{};
    info.format = format;
    info.channels = channels_;
    info.samplerate = static_cast<int>(std::lround(rate_));
    file_.reset(::sf_open_virtual(&functions, mode, &info, &stream_));
    frames_ = info.frames;
    channels_ = info.channels;
    rate_ = info.samplerate;
    return file_ != nullptr;
}

void AudioFile::Closer::operator()(sf_private_tag* file) const noexcept {
    ::sf_close(file);
}

AudioReader::AudioReader(const std::string& path) : AudioFile(path, std::ios::in) {
    if (!open(SFM_READ, 0) || channels_ < 1 || rate_ <= 0.0)
        throw Failure(ExitBadUse, path + " can't be read: " + ::sf_strerror(file_.get()));
}

void AudioReader::read(Channels& to, std::size_t frames) {
    const auto channels = static_cast<std::size_t>(channels_);
    interleaved_.resize(frames * channels);
    const sf_count_t got =
        ::sf_readf_float(file_.get(), interleaved_.data(), static_cast<sf_count_t>(frames));
    const std::size_t samples = static_cast<std::size_t>(std::max<sf_count_t>(got, 0)) * channels;
    std::fill(interleaved_.data() + samples, interleaved_.data() + interleaved_.size(), 0.0f);
    for (std::size_t channel = 0; channel < to.size(); ++channel) {
        to[channel].resize(frames);
        const float* from = interleaved_.data() + std::min(channel, channels - 1);
        for (std::size_t i = 0; i < frames; ++i)
            to[channel][i] = from[i * channels];
    }
}

AudioWriter::AudioWriter(const std::string& path, int channels, double rate)
    : AudioFile(path, std::ios::in | std::ios::out | std::ios::trunc) {
    channels_ = channels;
    rate_ = rate;
    if (!open(SFM_WRITE, SF_FORMAT_RF64 | SF_FORMAT_FLOAT))
        throw Failure(ExitBadUse, path + " can't be written: " + ::sf_strerror(nullptr));
    ::sf_command(file_.get(), SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
}

void AudioWriter::write(std::span<const std::span<const float>> samples) {
    const auto channels = static_cast<std::size_t>(channels_);
    const std::size_t frames = samples.front().size();
    interleaved_.resize(frames * channels);
    for (std::size_t channel = 0; channel < channels; ++channel)
        for (std::size_t i = 0; i < frames; ++i)
            interleaved_[i * channels + channel] = samples[channel][i];
    const auto count = static_cast<sf_count_t>(frames);
    if (::sf_writef_float(file_.get(), interleaved_.data(), count) != count)
        throw Failure(ExitBadUse, path_ + " can't be written to; the disk may be full");
}

void AudioWriter::finish() {
    const bool isClosed = ::sf_close(file_.release()) == 0;
    if (!isClosed || !stream_.flush())
        throw Failure(ExitBadUse, path_ + " can't be finished; the disk may be full");
}

}  // namespace tarn::host
