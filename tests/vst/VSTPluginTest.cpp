#include "link/IOBridge.h"
#include "support/AllocationCount.h"
#include "support/Connections.h"
#include "vst/VSTPlugin.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <random>
#include <vector>

namespace tarn {
namespace {

VstIntPtr VSTCALLBACK host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    switch (opcode) {
        case audioMasterVersion:
            return kVstVersion;
        case audioMasterGetInputLatency:
            return 128;
        default:
            return 0;
    }
}

// An instance as a host has it: the record alone.
class Instance {
public:
    explicit Instance(int inputs = 2, int outputs = 2, bool isResumed = false)
        : record_((new VSTPlugin(host))->getAeffect()) {
        call(effMainsChanged, 0, isResumed);
        VstSpeakerArrangement in{}, out{};
        in.numChannels = inputs;
        out.numChannels = outputs;
        EXPECT_EQ(call(effSetSpeakerArrangement, 0, reinterpret_cast<VstIntPtr>(&in), &out), 1);
    }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance() { EXPECT_EQ(call(effClose), 1); }

    VstIntPtr call(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr,
                   float opt = 0.0f) {
        return record_->dispatcher(record_, opcode, index, value, ptr, opt);
    }
    void process(float* in0, float* in1, float* out0, float* out1, int frames) {
        float* inputs[] = {in0, in1};
        float* outputs[] = {out0, out1};
        record_->processReplacing(record_, inputs, outputs, frames);
    }
    AEffect* operator->() const { return record_; }
    AEffect* record() const { return record_; }

private:
    AEffect* record_;
};

using Channel = std::vector<float>;

Channel noise(std::size_t frames, unsigned seed) {
    std::mt19937 random(seed);
    Channel channel(frames);
    for (float& sample : channel)
        sample = std::uniform_real_distribution<float>(-2.0f, 2.0f)(random);
    return channel;
}

TEST(VSTPlugin, AudioPassesOnlyBetweenResumeAndSuspend) {
    Instance instance;
    Channel in = noise(64, 1), out(64, 7.0f);
    instance.process(in.data(), in.data(), out.data(), out.data(), 64);
    EXPECT_EQ(out[0], 7.0f);
    instance.call(effMainsChanged, 0, 1);
    instance.process(in.data(), in.data(), out.data(), out.data(), 64);
    EXPECT_EQ(out, in);
    instance.call(effMainsChanged, 0, 0);
    out.assign(64, 7.0f);
    instance.process(in.data(), in.data(), out.data(), out.data(), 64);
    EXPECT_EQ(out[0], 7.0f);
}

// The fault it would catch: a channel that is overwritten before it is read, when a host's buffers
// serve twice.
TEST(VSTPlugin, EveryArrangementOfBuffersIsAWire) {
    struct {
        int inputs, outputs;
        std::array<int, 4> buffers;  // of in 0, in 1, out 0, out 1
    } const cases[] = {
        {2, 2, {0, 1, 2, 3}}, {2, 2, {0, 1, 0, 1}}, {2, 2, {0, 1, 1, 0}}, {2, 2, {0, 1, 1, 2}},
        {2, 2, {0, 1, 2, 0}}, {2, 2, {0, 0, 1, 2}}, {1, 1, {0, 0, 1, 1}}, {1, 1, {0, 0, 0, 0}},
        {1, 2, {0, 0, 1, 2}}, {1, 2, {0, 0, 0, 1}}, {1, 2, {0, 0, 1, 0}},
    };
    for (const auto& each : cases) {
        Instance instance(each.inputs, each.outputs, true);
        for (const int frames : {1, 3, 64, 513, 16384}) {
            std::array<Channel, 4> buffers;
            for (unsigned i = 0; i < 4; ++i)
                buffers[i] = noise(static_cast<std::size_t>(frames), i);
            const auto& [in0, in1, out0, out1] = each.buffers;
            const Channel left = buffers[static_cast<std::size_t>(in0)];
            const Channel right = buffers[static_cast<std::size_t>(each.inputs == 1 ? in0 : in1)];
            const auto at = [&](int i) { return buffers[static_cast<std::size_t>(i)].data(); };
            instance.process(at(in0), at(in1), at(out0), at(out1), frames);
            ASSERT_EQ(buffers[static_cast<std::size_t>(out0)], left) << &each - cases;
            if (each.outputs == 2) {
                ASSERT_EQ(buffers[static_cast<std::size_t>(out1)], right) << &each - cases;
            }
            const test::RawBlock block(0);
            ASSERT_EQ(block->audio.ring[(block->audio.writeIndex - 1) & ConnectionRingMask],
                      left.back());
        }
    }
}

TEST(VSTPlugin, NullPointersAndOddCountsAreIgnored) {
    Instance instance;
    instance.call(effMainsChanged, 0, 1);
    Channel in = noise(8, 1), out(8, 7.0f);
    float* good[] = {in.data(), in.data()};
    float* bad[] = {out.data(), nullptr};
    instance->processReplacing(instance.record(), nullptr, good, 8);
    instance->processReplacing(instance.record(), good, nullptr, 8);
    instance->processReplacing(instance.record(), good, bad, 8);
    instance->processReplacing(instance.record(), bad, good, 8);
    instance.process(in.data(), in.data(), out.data(), out.data(), -1);
    EXPECT_EQ(out, Channel(8, 7.0f));
    const test::RawBlock block(0);
    EXPECT_EQ(block->lastWriteTime[0], 0u);
    instance.process(in.data(), in.data(), out.data(), out.data(), 0);  // stamps all the same
    EXPECT_NE(block->lastWriteTime[0], 0u);
    EXPECT_EQ(block->audio.writeIndex, 0u);
    instance->process(instance.record(), good, bad, 8);
    instance->processDoubleReplacing(instance.record(), nullptr, nullptr, 8);
    for (VstInt32 opcode = -1; opcode < 100; ++opcode)
        if (opcode != effClose)
            instance.call(opcode, -1, 0, nullptr);
}

TEST(VSTPlugin, AMutedOutputIsSilentAndTheConnectionGoesOn) {
    Instance instance;
    instance.call(effMainsChanged, 0, 1);
    instance->setParameter(instance.record(), 0, 1.0f);
    EXPECT_EQ(instance->getParameter(instance.record(), 0), 1.0f);
    Channel in = noise(100, 1), out(100, 7.0f);
    instance.process(in.data(), in.data(), out.data(), out.data(), 100);
    EXPECT_EQ(out, Channel(100, 0.0f));
    const test::RawBlock block(0);
    EXPECT_EQ(Channel(block->audio.ring, block->audio.ring + 100), in);
    EXPECT_EQ(block->inputLatency, 128);
    instance->setParameter(instance.record(), 0, std::numeric_limits<float>::quiet_NaN());
    instance.process(in.data(), in.data(), out.data(), out.data(), 100);
    EXPECT_EQ(out, in);
}

TEST(VSTPlugin, TextsFitTheInterfacesBuffers) {
    Instance instance;
    std::array<char, 100> text{};
    const auto reads = [&](VstInt32 opcode, VstInt32 index, std::size_t limit) {
        text.fill('#');
        instance.call(opcode, index, 0, text.data());
        EXPECT_EQ(std::string(text.data() + limit, text.size() - limit),
                  std::string(text.size() - limit, '#'))
            << opcode;
        return std::string(text.data());
    };
    EXPECT_EQ(reads(effGetParamName, 0, kVstMaxParamStrLen), "MuteOut");
    EXPECT_EQ(reads(effGetParamName, 1, kVstMaxParamStrLen), "");
    EXPECT_EQ(reads(effGetParamDisplay, 0, kVstMaxParamStrLen), "Off");
    EXPECT_EQ(reads(effGetParamLabel, 0, kVstMaxParamStrLen), "");
    EXPECT_EQ(reads(effGetEffectName, 0, kVstMaxEffectNameLen), "Brimtide");
    EXPECT_EQ(reads(effGetVendorString, 0, kVstMaxVendorStrLen), "Quorl");
    EXPECT_EQ(reads(effGetProductString, 0, kVstMaxProductStrLen), "Brimtide");
}

TEST(VSTPlugin, OnlyTheOfferedChannelsAreTaken) {
    Instance instance;
    for (const int inputs : {-1, 0, 1, 2, 3, 1'000'000})
        for (const int outputs : {-1, 0, 1, 2, 3, 1'000'000}) {
            VstSpeakerArrangement in{}, out{};
            in.numChannels = inputs;
            out.numChannels = outputs;
            const bool offered = (inputs == 1 && outputs == 1) || (inputs == 1 && outputs == 2) ||
                                 (inputs == 2 && outputs == 2);
            ASSERT_EQ(
                instance.call(effSetSpeakerArrangement, 0, reinterpret_cast<VstIntPtr>(&in), &out),
                offered)
                << inputs << ", " << outputs;
            if (offered) {
                EXPECT_EQ(instance->numInputs, inputs);
                EXPECT_EQ(instance->numOutputs, outputs);
                VstPinProperties pin;
                EXPECT_TRUE(instance.call(effGetInputProperties, 0, 0, &pin));
                EXPECT_EQ(std::string(pin.label), "Brimtide 0");
                EXPECT_EQ(pin.arrangementType, kSpeakerArrStereo);
                for (int index = -1; index < 3; ++index) {
                    const bool exists = index >= 0 && index < outputs;
                    EXPECT_EQ(instance.call(effGetOutputProperties, index, 0, &pin), exists);
                    EXPECT_EQ(std::string(pin.label), !exists        ? ""
                                                      : outputs == 2 ? "Brimtide ST1"
                                                                     : "Brimtide M1");
                    EXPECT_EQ(pin.flags, exists ? outputs == 2 ? 3 : 1 : 0);
                    EXPECT_EQ(pin.arrangementType, exists ? outputs - 1 : kSpeakerArrEmpty);
                }
            }
        }
}

TEST(VSTPlugin, ProcessingAllocatesNothing) {
    Instance instance;
    instance.call(effMainsChanged, 0, 1);
    instance.call(effSetBlockSize, 0, 16384);
    Channel in = noise(16384, 1), out(16384);
    const long before = test::allocationsOfThisThread();
    for (int frames = 1; frames <= 16384; frames *= 2) {
        instance.process(in.data(), in.data(), out.data(), out.data(), frames);
        instance.process(in.data(), out.data(), out.data(), in.data(), frames);
        instance->setParameter(instance.record(), 0, frames % 2 == 0 ? 1.0f : 0.0f);
    }
    EXPECT_EQ(test::allocationsOfThisThread(), before);
}

}  // namespace
}  // namespace tarn
