#include "Recording.h"

#include "common/Text.h"

#include <algorithm>
#include <cstring>

namespace tarn::receive {

namespace {

constexpr std::uint64_t Bytes32 = 0xFFFFFFFF;

// Writes little-endian values one after the other.
class HeaderWriter {
public:
    explicit HeaderWriter(std::array<char, WavHeaderBytes>& bytes) : next_(bytes.data()) {}

    void text(const char (&fourCharacters)[5]) { next_ = std::copy_n(fourCharacters, 4, next_); }
    void u16(std::uint64_t value) { number(value, 2); }
    void u32(std::uint64_t value) { number(std::min(value, Bytes32), 4); }
    void u64(std::uint64_t value) { number(value, 8); }

private:
    void number(std::uint64_t value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            *next_++ = static_cast<char>(value >> 8 * i & 0xFF);
    }

    char* next_;
};

std::array<char, WavHeaderBytes> header(std::uint32_t rate, std::uint64_t samples, bool isLarge,
                                        std::uint64_t riffBytes, std::uint64_t dataBytes) {
    std::array<char, WavHeaderBytes> bytes{};
    HeaderWriter to(bytes);
    to.text(isLarge ? "RF64" : "RIFF");
    to.u32(isLarge ? Bytes32 : riffBytes);
    to.text("WAVE");

    to.text(isLarge ? "ds64" : "JUNK");
    to.u32(28);
    to.u64(isLarge ? riffBytes : 0);
    to.u64(isLarge ? dataBytes : 0);
    to.u64(isLarge ? samples : 0);
    to.u32(0);

    to.text("fmt ");
    to.u32(18);
    to.u16(3);  // IEEE float
    to.u16(1);
    to.u32(rate);
    to.u32(std::uint64_t{rate} * sizeof(float));
    to.u16(sizeof(float));
    to.u16(32);
    to.u16(0);  // no extension, which formats other than PCM have to say

    to.text("fact");
    to.u32(4);
    to.u32(samples);

    to.text("data");
    to.u32(isLarge ? Bytes32 : dataBytes);
    return bytes;
}

}  // namespace

std::array<char, WavHeaderBytes> wavHeader(std::uint32_t rate, std::uint64_t samples) {
    const std::uint64_t dataBytes = samples * sizeof(float);
    const std::uint64_t riffBytes = WavHeaderBytes - 8 + dataBytes;
    return header(rate, samples, riffBytes > Bytes32, riffBytes, dataBytes);
}

std::array<char, WavHeaderBytes> wavStreamHeader(std::uint32_t rate) {
    return header(rate, Bytes32, false, Bytes32, Bytes32);
}

Recording::Recording(const std::string& path, std::uint32_t rate, bool replaces) : rate_(rate) {
    std::error_code ignored;
    if (!replaces && std::filesystem::exists(tools::pathOf(path), ignored)) {
        error_ = path + " is there already; -f replaces it";
        return;
    }
    data_.open(tools::pathOf(path), std::ios::binary | std::ios::trunc);
    header_.open(tools::pathOf(path), std::ios::binary | std::ios::in | std::ios::out);
    if (!data_ || !header_) {
        error_ = path + " could not be made";
        return;
    }
    const auto first = wavHeader(rate, 0);
    data_.write(first.data(), first.size());
    data_.flush();
    if (!data_)
        error_ = path + " could not be written";
}

bool Recording::append(std::span<const float> samples) {
    if (!error_.empty())
        return false;
    data_.write(reinterpret_cast<const char*>(samples.data()),
                static_cast<std::streamsize>(samples.size_bytes()));
    data_.flush();
    if (data_) {
        samples_ += samples.size();
        if (writeHeader())
            return true;
    }
    error_ = "the recording could not be written; is the disk full?";
    return false;
}

bool Recording::writeHeader() {
    const auto current = wavHeader(rate_, samples_);
    header_.seekp(0);
    header_.write(current.data(), current.size());
    header_.flush();
    return static_cast<bool>(header_);
}

}  // namespace tarn::receive
