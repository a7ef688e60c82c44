// Memory that is lent to the plug-in, and shows afterwards what was done to it.
#pragma once

#include "host/AudioFile.h"
#include "host/Findings.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace tarn::host {

/// Room for a text or a record of exactly the interface's size, between guards.
class GuardedBytes {
public:
    /// The first byte is zero, so that what isn't written is an empty text; no other one is, so
    /// that a text without an end is noticed.
    explicit GuardedBytes(std::size_t bytes);

    /// Aligned as records need it.
    char* data() noexcept;

    /// Whether nothing was written outside.
    bool isIntact() const noexcept;

private:
    std::vector<char> memory_;
};

/// The buffers of one instance's blocks. Everything that isn't a frame of the present block holds a
/// pattern, and so do the outputs before the call: a signalling NaN that no arithmetic gives.
/// Audio thread.
class GuardedBuffers {
public:
    /// Room for blocks of up to `capacity` frames. In place, an output is the input of the same
    /// number, as far as there is one.
    GuardedBuffers(int inputs, int outputs, int capacity, bool isInPlace);

    /// Puts a block in; `input` has a channel for each input.
    void load(const Channels& input, std::size_t frames);

    float** inputs() noexcept { return inputs_.data(); }
    float** outputs() noexcept { return outputs_.data(); }

    /// After the call: reports what was written where it mustn't be, and what wasn't where it must.
    /// `where` says which block it is.
    void check(const Channels& input, std::size_t frames, const std::string& where,
               Findings& findings);

    /// What the plug-in made of the block.
    std::span<const float> output(std::size_t channel, std::size_t frames) const;

    std::size_t outputCount() const noexcept { return outputOwners_.size(); }

private:
    void fillUsed();
    void checkGuards(std::size_t frames, const std::string& where, Findings& findings);
    void checkOutputs(std::size_t frames, const std::string& where, Findings& findings) const;
    void checkInputs(const Channels& input, std::size_t frames, const std::string& where,
                     Findings& findings) const;

    std::vector<std::vector<float>> memory_;  // a channel each, with its guards
    std::size_t used_ = 0;                    // frames that may lack the pattern
    bool isBroken_ = true;                    // guards may lack it too
    std::vector<std::size_t> outputOwners_;   // whose memory an output is
    std::size_t inputCount_;
    std::vector<float*> inputs_;  // lent to the plug-in; a null ends them
    std::vector<float*> outputs_;
};

}  // namespace tarn::host
