// An instance of the product as its host has it.
#pragma once

#include "link/BrimtidePluginInfo.h"
#include "plugin/Mission.h"
#include "support/Product.h"
#include "vst/VSTPlugin.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

namespace tarn::fuzz {

/// Started at first.
class Effect {
public:
    using Block = std::vector<float>;

    Effect() { call(effMainsChanged, 0, 1); }
    Effect(const Effect&) = delete;
    Effect& operator=(const Effect&) = delete;
    ~Effect() { call(effClose); }

    VstIntPtr call(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr,
                   float opt = 0.0f) const {
        return record->dispatcher(record, opcode, index, value, ptr, opt);
    }
    std::string chunk() const {
        const char* data = nullptr;
        const VstIntPtr size = call(effGetChunk, 0, 0, &data);
        return {data, static_cast<std::size_t>(size)};
    }

    /// In memory of its own size, so that a byte behind it is noticed.
    void restore(const std::string& chunk) const {
        product().messages.clear();
        std::vector<char> bytes(chunk.begin(), chunk.end());
        call(effSetChunk, 0, static_cast<VstIntPtr>(bytes.size()), bytes.data());
    }

    /// What the user was told of the last one.
    const std::vector<std::string>& messages() const { return product().messages; }

    void process(Block& in0, Block& in1, Block& out0, Block& out1) const {
        float* inputs[] = {in0.data(), in1.data()};
        float* outputs[] = {out0.data(), out1.data()};
        record->processReplacing(record, inputs, outputs, static_cast<VstInt32>(in0.size()));
    }

    /// Whether a block comes out as it went in, or silent if the instance is muted.
    bool passesAudio(std::size_t frames = 64) const {
        Block samples(frames), left(frames, 7.0f), right = left;
        std::iota(samples.begin(), samples.end(), 1.0f);
        Block same = samples;
        process(samples, same, left, right);
        if (record->getParameter(record, 1) != 0.0f)
            std::ranges::fill(samples, 0.0f);
        return left == samples && right == samples;
    }

    AEffect* const record = [] {
        product();
        const IOConfig stereo{IOPinConfig(2, 1), IOPinConfig(2, 1)};
        return (new VSTPlugin(0, host, stereo))->getAeffect();
    }();

private:
    static test::Product& product() {
        static const auto one = [] {
            auto made = test::Product::of<BrimtidePluginInfo>(PRODUCT_FOLDER);
            Mission::get().start();
            return made;
        }();
        return *one;
    }
    static VstIntPtr VSTCALLBACK host(AEffect*, VstInt32, VstInt32, VstIntPtr, void*, float) {
        return 0;
    }
};

}  // namespace tarn::fuzz
