#include "host/GuardedBuffers.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace tarn::host {

namespace {

constexpr std::size_t kGuardBytes = 256;
constexpr char kGuardByte = '\xa5';

constexpr std::uint32_t kPattern = 0x7fa5a5a5;  // a signalling NaN with a payload
constexpr std::size_t kGuardFrames = 1024;      // before and behind each channel

// The pattern is copied and compared as bytes: a float register may quieten it.
const std::vector<std::uint32_t>& patterns() {
    static const std::vector<std::uint32_t> words(4096, kPattern);
    return words;
}

void fillWithPattern(float* to, std::size_t count) {
    while (count > 0) {
        const std::size_t part = std::min(count, patterns().size());
        std::memcpy(to, patterns().data(), part * sizeof(float));
        to += part;
        count -= part;
    }
}

bool isPattern(const float* from, std::size_t count) {
    while (count > 0) {
        const std::size_t part = std::min(count, patterns().size());
        if (std::memcmp(from, patterns().data(), part * sizeof(float)) != 0)
            return false;
        from += part;
        count -= part;
    }
    return true;
}

// The first frame that still holds the pattern, `frames` if none does.
std::size_t firstUnwritten(const float* samples, std::size_t frames) {
    for (std::size_t i = 0; i < frames; ++i) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, samples + i, sizeof bits);
        if (bits == kPattern)
            return i;
    }
    return frames;
}

std::string channelName(const char* kind, std::size_t index) {
    return kind + std::to_string(index + 1);
}

}  // namespace

GuardedBytes::GuardedBytes(std::size_t bytes) : memory_(bytes + 2 * kGuardBytes, kGuardByte) {
    *data() = '\0';
}

char* GuardedBytes::data() noexcept {
    return memory_.data() + kGuardBytes;
}

bool GuardedBytes::isIntact() const noexcept {
    const auto isGuard = [](char byte) { return byte == kGuardByte; };
    return std::all_of(memory_.begin(), memory_.begin() + kGuardBytes, isGuard) &&
           std::all_of(memory_.end() - kGuardBytes, memory_.end(), isGuard);
}

GuardedBuffers::GuardedBuffers(int inputs, int outputs, int capacity, bool isInPlace)
    : inputCount_(static_cast<std::size_t>(inputs)) {
    const auto outputCount = static_cast<std::size_t>(outputs);
    const std::size_t shared = isInPlace ? std::min(inputCount_, outputCount) : 0;
    memory_.resize(inputCount_ + outputCount - shared);
    for (std::vector<float>& channel : memory_)
        channel.resize(static_cast<std::size_t>(capacity) + 2 * kGuardFrames);
    for (std::size_t i = 0; i < outputCount; ++i)
        outputOwners_.push_back(i < shared ? i : inputCount_ + i - shared);
}

// Large buffers may see many small blocks: only what was used or broken is filled again.
void GuardedBuffers::fillUsed() {
    for (std::vector<float>& channel : memory_) {
        if (isBroken_)
            fillWithPattern(channel.data(), channel.size());
        else
            fillWithPattern(channel.data() + kGuardFrames, used_);
    }
    isBroken_ = false;
}

void GuardedBuffers::load(const Channels& input, std::size_t frames) {
    fillUsed();
    used_ = frames;
    inputs_.clear();
    outputs_.clear();
    for (std::size_t i = 0; i < inputCount_; ++i) {
        inputs_.push_back(memory_[i].data() + kGuardFrames);
        std::memcpy(inputs_.back(), input[i].data(), frames * sizeof(float));
    }
    for (const std::size_t owner : outputOwners_)
        outputs_.push_back(memory_[owner].data() + kGuardFrames);
    inputs_.push_back(nullptr);
    outputs_.push_back(nullptr);
}

void GuardedBuffers::check(const Channels& input, std::size_t frames, const std::string& where,
                           Findings& findings) {
    checkGuards(frames, where, findings);
    checkOutputs(frames, where, findings);
    checkInputs(input, frames, where, findings);
}

void GuardedBuffers::checkGuards(std::size_t frames, const std::string& where, Findings& findings) {
    const std::size_t behind = kGuardFrames + frames;
    for (std::size_t i = 0; i < memory_.size(); ++i) {
        const std::vector<float>& channel = memory_[i];
        const bool isFrontBroken = !isPattern(channel.data(), kGuardFrames);
        const bool isBackBroken = !isPattern(channel.data() + behind, channel.size() - behind);
        const auto report = [&](const char* rule) {
            findings.add(rule, (i < inputCount_ ? channelName("input ", i)
                                                : channelName("output ", i - inputCount_)) +
                                   ", " + where);
        };
        if (isFrontBroken)
            report("wrote before the start of a buffer");
        if (isBackBroken)
            report("wrote past the end of a buffer");
        isBroken_ = isBroken_ || isFrontBroken || isBackBroken;
    }
}

// An output in the place of an input holds no pattern before the call.
void GuardedBuffers::checkOutputs(std::size_t frames, const std::string& where,
                                  Findings& findings) const {
    for (std::size_t i = 0; i < outputOwners_.size(); ++i) {
        const std::size_t unwritten = outputOwners_[i] < inputCount_
                                          ? frames
                                          : firstUnwritten(output(i, frames).data(), frames);
        if (unwritten < frames)
            findings.add("left frames of an output unwritten",
                         channelName("output ", i) + ", frame " + std::to_string(unwritten) +
                             " of " + where);
    }
}

void GuardedBuffers::checkInputs(const Channels& input, std::size_t frames,
                                 const std::string& where, Findings& findings) const {
    for (std::size_t i = 0; i < inputCount_; ++i) {
        const float* samples = memory_[i].data() + kGuardFrames;
        const bool isShared =
            std::find(outputOwners_.begin(), outputOwners_.end(), i) != outputOwners_.end();
        if (!isShared && std::memcmp(samples, input[i].data(), frames * sizeof(float)) != 0)
            findings.add("changed its input", channelName("input ", i) + ", " + where);
        if (inputs_[i] != samples)
            findings.add("changed the pointers to its buffers", where);
    }
}

std::span<const float> GuardedBuffers::output(std::size_t channel, std::size_t frames) const {
    return {memory_[outputOwners_[channel]].data() + kGuardFrames, frames};
}

}  // namespace tarn::host
