#include "support/HostedEffect.h"
#include "vst/AudioEffect.h"

#include <gtest/gtest.h>

#include <new>

namespace tarn {
namespace {

struct Recorder : AudioEffectX, test::HostedEffect {
    Recorder() : AudioEffectX(nullptr, 0, 0), HostedEffect(getAeffect()) { numPrograms = 2; }
    using AudioEffectX::getMasterVersion;
    ~Recorder() override {
        EXPECT_EQ(log, "open,p0,p1,bypass,none,bank,preset,arrangement,asked,close,");
    }
    void processReplacing(float**, float**, VstInt32) noexcept override {}
    void open() override { log += "open,"; }
    void setProgram(VstInt32 program) override { log += "p" + std::to_string(program) + ","; }
    bool setBypass(bool isOn) override {
        log += isOn ? "bypass," : "none,";
        return isOn;
    }
    VstInt32 setChunk(const void*, VstInt32 size, bool isPreset) override {
        log += isPreset ? "preset," : "bank,";
        return size;
    }
    bool setSpeakerArrangement(const VstSpeakerArrangement*,
                               const VstSpeakerArrangement*) override {
        log += "arrangement,";
        return true;
    }
    bool getSpeakerArrangement(VstSpeakerArrangement**, VstSpeakerArrangement**) override {
        log += "asked,";
        return true;
    }
    VstInt32 getVendorVersion() override { throw std::bad_alloc(); }
    void close() override {
        log += "close,";
        throw std::bad_alloc();
    }

    std::string log;
};

// Faults: an argument of an opcode that arrives as another, or not at all, an exception that runs
// into the host, or keeps an effect from its end.
TEST(AudioEffect, HandsOnWhatOpcodesCarry) {
    auto& effect = *new Recorder;  // until effClose
    EXPECT_EQ(effect.record->numInputs + 10 * effect.record->numOutputs, 21);
    EXPECT_EQ(effect.getMasterVersion(), 1) << "without a host";
    EXPECT_EQ(effect.call(effOpen), 0);
    EXPECT_EQ(effect.call(effGetVendorVersion), 0);
    for (const VstIntPtr program : {-1, 0, 1, 2})
        effect.call(effSetProgram, 0, program);
    EXPECT_EQ(effect.call(effSetBypass, 0, 1), 1);
    EXPECT_EQ(effect.call(effSetBypass, 0, 0), 0);
    EXPECT_EQ(effect.call(effSetChunk, 0, 7), 7);
    EXPECT_EQ(effect.call(effSetChunk, 1, 7), 7);
    VstSpeakerArrangement any{};
    const auto value = reinterpret_cast<VstIntPtr>(&any);
    EXPECT_EQ(effect.call(effSetSpeakerArrangement, 0, value, &any), 1);
    EXPECT_EQ(effect.call(effSetSpeakerArrangement, 0, 0, &any), 0);
    EXPECT_EQ(effect.call(effSetSpeakerArrangement, 0, value), 0);
    EXPECT_EQ(effect.call(effGetSpeakerArrangement, 0, value, &any), 1);
    EXPECT_EQ(effect.call(effGetSpeakerArrangement, 0, 0, &any), 0);
    EXPECT_EQ(effect.call(effClose), 1);
}

}  // namespace
}  // namespace tarn
