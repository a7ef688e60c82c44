#include "link/IOBridge.h"
#include "platform/Clock.h"
#include "support/AllocationCount.h"
#include "support/Connections.h"
#include "vst/VSTPlugin.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace tarn {
namespace {

// What the host does when a block asks it for its latency, on the block's thread.
std::function<void()> duringBlock;

VstIntPtr VSTCALLBACK host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    if (opcode != audioMasterGetInputLatency)
        return 0;
    if (duringBlock)
        duringBlock();
    return 128;
}

using Channel = std::vector<float>;

// An instance as a host has it: the record alone.
class Instance {
public:
    explicit Instance(bool isResumed, int inputs = 2, int outputs = 2)
        : record_((new VSTPlugin(host))->getAeffect()) {
        if (isResumed)
            call(effMainsChanged, 0, 1);
        EXPECT_TRUE(setChannels(inputs, outputs));
    }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance() { EXPECT_EQ(call(effClose), 1); }

    VstIntPtr call(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr) {
        return record_->dispatcher(record_, opcode, index, value, ptr, 0.0f);
    }
    bool setChannels(int inputs, int outputs) {
        VstSpeakerArrangement in{}, out{};
        in.numChannels = inputs;
        out.numChannels = outputs;
        return call(effSetSpeakerArrangement, 0, reinterpret_cast<VstIntPtr>(&in), &out) == 1;
    }
    void mute(float value) { record_->setParameter(record_, 0, value); }

    void process(Channel& in0, Channel& in1, Channel& out0, Channel& out1) {
        float* inputs[] = {in0.data(), in1.data()};
        float* outputs[] = {out0.data(), out1.data()};
        process(inputs, outputs, static_cast<VstInt32>(in0.size()));
    }
    void process(float** inputs, float** outputs, VstInt32 frames) {
        record_->processReplacing(record_, inputs, outputs, frames);
    }
    AEffect* operator->() const { return record_; }
    AEffect* record() const { return record_; }

private:
    AEffect* record_;
};

Channel noise(std::size_t frames, unsigned seed) {
    std::mt19937 random(seed);
    Channel channel(frames);
    for (float& sample : channel)
        sample = std::uniform_real_distribution<float>(-2.0f, 2.0f)(random);
    return channel;
}

// Faults: audio before a start or after a stop, a connection that falls silent with a muted output.
TEST(VSTPlugin, AudioPassesBetweenResumeAndSuspendUnlessItIsMuted) {
    Instance instance(false);
    Channel in = noise(64, 1), out(64, 7.0f);
    instance.process(in, in, out, out);
    EXPECT_EQ(out, Channel(64, 7.0f));
    instance.call(effMainsChanged, 0, 1);
    instance.mute(1.0f);
    EXPECT_EQ(instance->getParameter(instance.record(), 0), 1.0f);
    instance.process(in, in, out, out);
    EXPECT_EQ(out, Channel(64, 0.0f));
    const test::RawBlock block(0);
    EXPECT_EQ(Channel(block->audio.ring, block->audio.ring + 64), in);
    EXPECT_EQ(block->inputLatency, 128);
    instance.mute(std::numeric_limits<float>::quiet_NaN());
    instance.process(in, in, out, out);
    EXPECT_EQ(out, in);
    instance.call(effMainsChanged, 0, 0);
    out.assign(64, 7.0f);
    instance.process(in, in, out, out);
    EXPECT_EQ(out, Channel(64, 7.0f));
}

// Where a buffer lies: some buffers share their memory, or a part of it.
struct Place {
    std::size_t number;
    int shift = 0;  // frames
};

// Faults: a channel that is overwritten before it is read; the record's counts, which the host can
// write, taken for those of the buffers.
TEST(VSTPlugin, EveryArrangementOfBuffersIsAWire) {
    const struct {
        int inputs, outputs;
        Place in0, in1, out0, out1;
    } cases[] = {
        {2, 2, {0}, {1}, {2}, {3}},          {2, 2, {0}, {1}, {0}, {1}},
        {2, 2, {0}, {1}, {1}, {0}},          {2, 2, {0}, {1}, {1}, {2}},
        {2, 2, {0}, {1}, {2}, {0}},          {2, 2, {0}, {0}, {1}, {2}},
        {1, 1, {0}, {0}, {1}, {1}},          {1, 1, {0}, {0}, {0}, {0}},
        {1, 2, {0}, {0}, {1}, {2}},          {1, 2, {0}, {0}, {0}, {1}},
        {1, 2, {0}, {0}, {1}, {0}},          {1, 1, {0}, {0}, {0, 1}, {0, 1}},
        {1, 2, {0}, {0}, {0, 1}, {1}},       {1, 2, {0}, {0}, {0, -1}, {1}},
        {1, 2, {0}, {0}, {1}, {0, 2}},       {2, 2, {0}, {1}, {0, 1}, {1, -1}},
        {2, 2, {0}, {1}, {1, 1}, {2}},       {2, 2, {0}, {1}, {1, -1}, {0, 2}},
        {2, 2, {0}, {1}, {1, 62}, {0, -63}},
    };
    int row = 0;
    for (const auto& [inputs, outputs, in0, in1, out0, out1] : cases) {
        ++row;
        Instance instance(true, inputs, outputs);
        instance->numInputs = instance->numOutputs = 1'000'000;
        for (const std::size_t frames : {1u, 3u, 64u, 513u, 16385u}) {
            // A block beyond the announced size is passed in parts.
            if (out0.shift != 0)
                instance.call(effSetBlockSize, 0, static_cast<VstIntPtr>(frames));
            Channel memory = noise(4 * (frames + 64) + 64, 0);
            const auto at = [&](const Place& place) {
                return memory.data() + 64 + place.number * (frames + 64) + place.shift;
            };
            const auto audioAt = [&](const Place& place) {
                return Channel(at(place), at(place) + frames);
            };
            const Channel left = audioAt(in0), right = audioAt(inputs == 1 ? in0 : in1);
            float* from[] = {at(in0), at(in1)};
            float* to[] = {at(out0), at(out1)};
            instance.process(from, to, static_cast<VstInt32>(frames));
            ASSERT_EQ(audioAt(out0), left) << row << ", " << frames;
            ASSERT_TRUE(outputs == 1 || audioAt(out1) == right) << row << ", " << frames;
            const test::RawBlock block(0);
            ASSERT_EQ(block->audio.ring[(block->audio.writeIndex - 1) & ConnectionRingMask],
                      left.back());
        }
    }
}

// A crossed block on an audio thread of its own, held up in the host until it is let go.
class HeldBlock {
public:
    explicit HeldBlock(Instance& instance) {
        duringBlock = [this] {
            if (isInside_.exchange(true))
                return;
            entered_.set_value();
            released_.get_future().wait();
        };
        thread_ = std::thread([this, &instance] { instance.process(a_, b_, b_, a_); });
        entered_.get_future().wait();
    }
    HeldBlock(const HeldBlock&) = delete;
    HeldBlock& operator=(const HeldBlock&) = delete;
    ~HeldBlock() {
        release();
        thread_.join();
        duringBlock = nullptr;
        EXPECT_EQ(a_, right_);
        EXPECT_EQ(b_, left_);
    }

    void release() {
        if (!isReleased_.exchange(true))
            released_.set_value();
    }

private:
    const Channel left_ = noise(64, 1), right_ = noise(64, 2);
    Channel a_ = left_, b_ = right_;
    std::promise<void> entered_, released_;
    std::atomic<bool> isInside_{false}, isReleased_{false};
    std::thread thread_;
};

void expectWire(Instance& instance) {
    Channel in = noise(64, 1), out(64);
    instance.process(in, in, out, out);
    EXPECT_EQ(out, in);
}

void expectNoEntry(Instance& instance) {
    Channel out(64, 7.0f), in(64);
    instance.process(in, in, out, out);
    EXPECT_EQ(out, Channel(64, 7.0f));
}

// Fault: what a block uses is freed while a host that has lost its patience changes something.
TEST(VSTPlugin, NothingIsChangedUnderABlockThatDoesNotEnd) {
    Instance instance(true);
    platform::setHighResolutionClock([]() noexcept {
        static double hurried = 0.0;
        return hurried += 1.0;
    });
    {
        const HeldBlock block(instance);
        EXPECT_FALSE(instance.setChannels(1, 1));
        EXPECT_EQ(instance->numOutputs, 2);
        instance.call(effSetBlockSize, 0, 100'000);
        expectNoEntry(instance);
    }
    expectWire(instance);
    EXPECT_TRUE(instance.setChannels(1, 1));
    expectWire(instance);
}

TEST(VSTPlugin, AChangeWaitsForTheBlockUnderWay) {
    static HeldBlock* held = nullptr;
    static int looksAtTheClock = 0;
    Instance instance(true);
    platform::setHighResolutionClock([]() noexcept {
        if (++looksAtTheClock == 2)
            held->release();
        return 0.0;
    });
    HeldBlock block(instance);
    held = &block;
    EXPECT_TRUE(instance.setChannels(1, 2));
    EXPECT_GE(looksAtTheClock, 2);
    instance.call(effMainsChanged, 0, 0);
    EXPECT_TRUE(instance.setChannels(1, 1));
    expectNoEntry(instance);
}

// Fault: a host that hangs, because the block waits for its own end.
TEST(VSTPlugin, ABlockCannotChangeWhatItUses) {
    Instance instance(true);
    platform::setHighResolutionClock([]() noexcept { return 0.0; });
    int blocks = 0;
    duringBlock = [&] {
        ++blocks;
        EXPECT_FALSE(instance.setChannels(1, 1));
        instance.call(effSetBlockSize, 0, 100'000);
        expectNoEntry(instance);
    };
    const Channel left = noise(64, 1), right = noise(64, 2);
    Channel a = left, b = right;
    instance.process(a, b, b, a);
    EXPECT_EQ(a, right);
    EXPECT_EQ(b, left);
    EXPECT_EQ(blocks, 1);
}

// Fault: a host crashes that processes on two threads at once, and changes things meanwhile.
TEST(VSTPlugin, BlocksAndChangesOnAllThreadsAreHarmless) {
    Instance instance(true);
    std::atomic<bool> isOver{false};
    const auto playBlocks = [&] {
        Channel a = noise(64, 1), b = noise(64, 2);
        while (!isOver)
            instance.process(a, b, b, a);
    };
    std::thread first(playBlocks), second(playBlocks);
    for (int i = 0; i < 100; ++i) {
        instance.setChannels(1, 1 + i % 2);
        instance.call(effSetBlockSize, 0, i % 3 * 10'000);
        instance.setChannels(2, 2);
    }
    isOver = true;
    first.join();
    second.join();
    EXPECT_TRUE(instance.setChannels(2, 2));
    expectWire(instance);
}

TEST(VSTPlugin, NullPointersAndOddCountsAreIgnored) {
    Instance instance(true);
    Channel in = noise(8, 1), out(8, 7.0f);
    float* good[] = {in.data(), in.data()};
    float* outputs[] = {out.data(), out.data()};
    float* bad[] = {out.data(), nullptr};
    const std::tuple<float**, float**, VstInt32> ignored[] = {{nullptr, good, 8},
                                                              {good, nullptr, 8},
                                                              {good, bad, 8},
                                                              {bad, good, 8},
                                                              {good, outputs, -1}};
    for (const auto& [from, to, frames] : ignored)
        instance.process(from, to, frames);
    EXPECT_EQ(out, Channel(8, 7.0f));
    const test::RawBlock block(0);
    EXPECT_EQ(block->lastWriteTime[0], 0u);
    instance.process(good, outputs, 0);  // stamps all the same
    EXPECT_NE(block->lastWriteTime[0], 0u);
    EXPECT_EQ(block->audio.writeIndex, 0u);
    instance->process(instance.record(), good, bad, 8);
    instance->processDoubleReplacing(instance.record(), nullptr, nullptr, 8);
    for (VstInt32 opcode = -1; opcode < 100; ++opcode)
        if (opcode != effClose)
            instance.call(opcode, -1, 0, nullptr);
    char name[kVstMaxParamStrLen] = "none";
    instance.call(effGetParamName, 1, 0, name);
    EXPECT_STREQ(name, "");
}

// Faults: channels of which the engine has none, a pin that is told of by another one's number.
TEST(VSTPlugin, OnlyTheOfferedChannelsAreTaken) {
    using PinFacts = std::tuple<VstIntPtr, std::string, VstInt32, VstInt32>;
    const PinFacts none(0, "", 0, kSpeakerArrEmpty), mono(1, "Brimtide M1", 1, kSpeakerArrMono),
        stereo(1, "Brimtide ST1", 3, kSpeakerArrStereo),
        input(1, "Brimtide 0", 3, kSpeakerArrStereo);
    Instance instance(true);
    const auto factsOf = [&](VstInt32 opcode, VstInt32 index) {
        VstPinProperties pin{};
        const VstIntPtr exists = instance.call(opcode, index, 0, &pin);
        return PinFacts(exists, pin.label, pin.flags, pin.arrangementType);
    };
    const int counts[] = {-1, 0, 1, 2, 3, 1'000'000};
    for (const int inputs : counts)
        for (const int outputs : counts) {
            const bool isOffered = inputs >= 1 && inputs <= outputs && outputs <= 2;
            ASSERT_EQ(instance.setChannels(inputs, outputs), isOffered)
                << inputs << ", " << outputs;
            if (!isOffered)
                continue;
            EXPECT_EQ(instance->numInputs, inputs);
            EXPECT_EQ(instance->numOutputs, outputs);
            EXPECT_EQ(factsOf(effGetInputProperties, 0), input);
            for (int index = -1; index < 3; ++index)
                EXPECT_EQ(factsOf(effGetOutputProperties, index), index < 0 || index >= outputs
                                                                      ? none
                                                                  : outputs == 2 ? stereo
                                                                                 : mono);
        }
}

TEST(VSTPlugin, ProcessingAllocatesNothing) {
    Instance instance(true);
    for (std::size_t frames = 1; frames <= 32768; frames *= 2) {
        Channel in = noise(frames, 1), out(frames);
        const long before = test::allocationsOfThisThread();
        instance.process(in, in, out, out);
        instance.process(in, out, out, in);
        instance.mute(frames % 2 == 0 ? 1.0f : 0.0f);
        EXPECT_EQ(test::allocationsOfThisThread(), before);
    }
}

}  // namespace
}  // namespace tarn
