// A WAV file that grows, mono, 32-bit float.
// Everything rests on the order of writing: first samples, then the sizes in the header. So the
// file is a whole WAV file at every moment, whatever ends the program.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>

namespace tarn::receive {

constexpr std::size_t WavHeaderBytes = 94;

/// The header of such a file with `samples` samples at `rate` Hz: RIFF WAVE with IEEE float samples
/// and a fact chunk, and with 28 bytes in reserve, which become the ds64 chunk of RF64 (EBU Tech
/// 3306) when the sizes outgrow 32 bits.
std::array<char, WavHeaderBytes> wavHeader(std::uint32_t rate, std::uint64_t samples);

/// The header for a stream whose length isn't known: the sizes are 0xFFFFFFFF, which readers take
/// for "until the end".
std::array<char, WavHeaderBytes> wavStreamHeader(std::uint32_t rate);

class Recording {
public:
    /// Makes the file at a UTF-8 path. An existing one is left alone unless `replaces`; check
    /// `error`.
    Recording(const std::string& path, std::uint32_t rate, bool replaces);

    /// Corrects the rate, for those who read the file from now on.
    void setRate(std::uint32_t rate) noexcept { rate_ = rate; }

    /// Adds samples, perhaps none; when it returns, they are with the operating system. False when
    /// they could not be written.
    bool append(std::span<const float> samples);

    /// Why the file could not be made or written, in plain words; empty as long as all is well.
    const std::string& error() const noexcept { return error_; }

    std::uint64_t samples() const noexcept { return samples_; }

private:
    bool writeHeader();

    std::uint32_t rate_;
    std::uint64_t samples_ = 0;
    std::string error_;
    std::ofstream data_;
    std::fstream header_;  // a second way into the file, so that neither has to seek far
};

}  // namespace tarn::receive
