#include "support/HostedEffect.h"
#include "vst/AudioEffect.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace tarn {
namespace {

struct Effect : AudioEffectX, test::HostedEffect {
    Effect() : AudioEffectX(nullptr, 0, 0), HostedEffect(getAeffect()) {}
    using AudioEffectX::getMasterVersion;
    void processReplacing(float**, float**, VstInt32) noexcept override {}
};

struct Editor : AEffEditor {
    bool getRect(ERect** rect) override {
        *rect = &size;
        return true;
    }
    void idle() override { ++ticks; }
    bool onKeyDown(const VstKeyCode& key) override {
        return key.character == 'a' && key.virt == 7 && key.modifier == 8;
    }
    bool setKnobMode(VstInt32 mode) override { return mode == 2; }

    ERect size{};
    int ticks = 0;
};

// Faults: an opcode that goes to another operation or to an editor that isn't there, a pointer of
// the host's that is followed although it is null.
TEST(AudioEffect, HandsTheEditorItsOpcodes) {
    Effect effect;
    ERect* rect = nullptr;
    EXPECT_EQ(effect.call(effEditGetRect, 0, 0, &rect), 0);
    Editor editor;
    effect.setEditor(&editor);
    EXPECT_EQ(effect.record->flags, effFlagsCanReplacing | effFlagsHasEditor);
    EXPECT_EQ(effect.call(effEditGetRect), 0);
    EXPECT_EQ(effect.call(effEditGetRect, 0, 0, &rect), 1);
    EXPECT_EQ(rect, &editor.size);
    effect.call(effEditOpen, 0, 0, &effect);
    EXPECT_TRUE(editor.isOpen());
    effect.call(effEditIdle);
    effect.call(effEditClose);
    EXPECT_FALSE(editor.isOpen());
    EXPECT_EQ(editor.ticks, 1);
    EXPECT_EQ(effect.call(effEditKeyDown, 'a', 7, nullptr, 8.0f), 1);
    EXPECT_EQ(effect.call(effEditKeyUp, 'a', 7, nullptr, 300.0f), 0);
    EXPECT_EQ(effect.call(effSetEditKnobMode, 0, 2), 1);
    effect.setEditor(nullptr);
    EXPECT_EQ(effect.call(effEditIdle), 0);
    EXPECT_EQ(effect.record->flags, effFlagsCanReplacing);
}

struct Recorder : Effect {
    Recorder() { numPrograms = 2; }
    ~Recorder() override {
        EXPECT_EQ(log, "open,p0,p1,bypass,none,bank,preset,arrangement,asked,close,");
    }
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

// Faults: a value that is written past its room, a level of nothing, a rate of nothing.
TEST(AudioEffect, WritesValuesAsTexts) {
    Effect effect;
    const auto text = [](const auto& write) {
        char buffer[16] = "xxxxxxxxxxxxxxx";
        write(buffer);
        EXPECT_EQ(buffer[8], 'x');
        return std::string(buffer);
    };
    EXPECT_EQ(text([](char* to) { AudioEffect::dB2string(100.0f, to, 8); }), "40.0000");
    EXPECT_EQ(text([](char* to) { AudioEffect::dB2string(0.0f, to, 8); }), "-oo");
    EXPECT_EQ(text([](char* to) { AudioEffect::int2string(-12, to, 8); }), "-12");
    EXPECT_EQ(text([&](char* to) { effect.Hz2string(441.0f, to, 8); }), "100.000");
    EXPECT_EQ(text([&](char* to) { effect.Hz2string(0.0f, to, 8); }), "0.00000");
    EXPECT_EQ(text([&](char* to) { effect.ms2string(441.0f, to, 8); }), "10.0000");
}

}  // namespace
}  // namespace tarn
