// An effect as its host has it: the record alone.
#pragma once

#include "vst/VstInterface.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

namespace tarn::test {

using Channel = std::vector<float>;
using Buffers = std::array<float*, 2>;

constexpr float NotANumber = std::numeric_limits<float>::quiet_NaN();
constexpr VstInt32 Largest = std::numeric_limits<VstInt32>::max();
constexpr VstInt32 Smallest = std::numeric_limits<VstInt32>::min();

/// The record must outlive it.
class HostedEffect {
public:
    explicit HostedEffect(AEffect* effect) : record(effect) {}

    VstIntPtr call(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr,
                   float opt = 0.0f) const {
        return record->dispatcher(record, opcode, index, value, ptr, opt);
    }
    void run(bool isRunning = true) const { call(effMainsChanged, 0, isRunning); }
    void set(VstInt32 index, float value) const { record->setParameter(record, index, value); }
    float get(VstInt32 index) const { return record->getParameter(record, index); }

    /// Whether the effect took so many channels.
    bool setChannels(int inputs, int outputs) const {
        VstSpeakerArrangement in{}, out{};
        in.numChannels = inputs;
        out.numChannels = outputs;
        return call(effSetSpeakerArrangement, 0, reinterpret_cast<VstIntPtr>(&in), &out) == 1;
    }

    /// With its zero.
    std::string chunk() const {
        const char* data = nullptr;
        const VstIntPtr size = call(effGetChunk, 0, 0, &data);
        return {data, static_cast<std::size_t>(size)};
    }

    /// In memory of its own size, so that a byte behind it is noticed. A host may tell another one.
    void restore(const std::string& chunk, VstInt32 told = 0) const {
        std::vector<char> bytes(chunk.begin(), chunk.end());
        call(effSetChunk, 0, std::max(told, static_cast<VstInt32>(chunk.size())), bytes.data());
    }

    void process(Buffers in, Buffers out, std::size_t frames) const {
        record->processReplacing(record, in.data(), out.data(), static_cast<VstInt32>(frames));
    }

    /// What comes out on both outputs for the same on both inputs, nothing if they differ; they
    /// were full of sevens.
    Channel play(Channel in) const {
        Channel left(in.size(), 7.0f), right = left;
        process({in.data(), in.data()}, {left.data(), right.data()}, in.size());
        return left == right ? left : Channel();
    }

    /// Whether a block comes out as it went in, or silent if Brimtide is muted.
    bool passesAudio(std::size_t frames = 64) const {
        constexpr VstInt32 Mute = 1;
        Channel in(frames);
        std::iota(in.begin(), in.end(), 1.0f);
        return play(in) == (get(Mute) != 0.0f ? Channel(frames) : in);
    }

    AEffect* const record;
};

}  // namespace tarn::test
