#include "audio/EngineEffect.h"
#include "audio/IOPinConfig.h"
#include "diagnostics/System.h"
#include "samples/Note.h"
#include "samples/Sample.h"
#include "support/AllocationCount.h"
#include "support/Hearer.h"

#include <gmock/gmock.h>

#include <limits>
#include <thread>

namespace tarn {
namespace {

using Values = std::vector<float>;

constexpr std::int32_t Least = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t Most = std::numeric_limits<std::int32_t>::max();

// 1, 2, 3 and so on; played from frame 2 up to frame 9.
struct Ramp : Sample {
    explicit Ramp(std::int32_t frames = 10, std::int32_t channels = 1) {
        Values values(static_cast<std::size_t>(frames * channels));
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = static_cast<float>(i + 1);
        Dictionary state;
        state.setInteger("channels", channels);
        if (frames > 0)
            state.setData("sampledata", values.data(), values.size() * sizeof(float));
        state.setInteger("SampleStart", 2);
        state.setInteger("SampleEnd", 9);
        read(state);
    }
    ~Ramp() override { EXPECT_EQ(std::this_thread::get_id(), maker_); }

private:
    std::thread::id maker_ = std::this_thread::get_id();
};

// An engine for blocks of 16 frames, and what its left output holds.
struct Player {
    Player() { engine.setBlockSize(16); }
    Values block(int frames, float before = 0.0f) {
        Values left(static_cast<std::size_t>(std::max(frames, 0)), before), right = left;
        left.reserve(1);
        right.reserve(1);
        float* const sides[] = {left.data(), right.data()};
        out.attach(sides, frames);
        const long allocations = test::allocationsOfThisThread();
        engine.process(in, out, frames);
        EXPECT_EQ(test::allocationsOfThisThread(), allocations);
        EXPECT_EQ(left, right);
        return left;
    }
    // The blocks of these lengths, one digit a sample, "|" between them.
    std::string blocks(std::initializer_list<int> lengths) {
        std::string all;
        for (const int frames : lengths) {
            for (const float sample : block(frames))
                all += static_cast<char>('0' + static_cast<int>(sample));
            all += '|';
        }
        return all;
    }

    EngineEffect engine{nullptr};
    IOPinConfig in, out{2, 1};
};

// Faults: a preview that replaces what is there, that skips frames between blocks, or that holds
// its sample when it is over.
TEST(Engine, APreviewGoesOnOverBlocksAndThenLetsGoOfItsSample) {
    Player player;
    const auto sample = makeShared<Ramp>();
    player.engine.playSample(sample.get(), 0);
    EXPECT_EQ(player.block(4, 0.5f), (Values{3.5f, 4.5f, 5.5f, 6.5f}));
    EXPECT_EQ(player.out.getChannel(1)->getCount(), 4);
    player.engine.idle();
    EXPECT_TRUE(sample->isShared());
    EXPECT_EQ(player.block(4, 0.5f), (Values{7.5f, 8.5f, 9.5f, 0.5f}));
    EXPECT_EQ(player.out.getChannel(0)->getCount(), 3);
    player.engine.idle();
    EXPECT_FALSE(sample->isShared());

    player.engine.playSample(sample.get(), 0);
    player.engine.playSampleRegion(sample.get(), {"", 0, 9}, 0);
    EXPECT_EQ(player.blocks({3, 4, 1}), "123|4567|8|");
    player.engine.playSample(nullptr, 0);
    EXPECT_EQ(player.blocks({4}), "0000|");
    player.engine.idle();
    EXPECT_FALSE(sample->isShared());
    player.engine.playSample(makeShared<Ramp>().get(), 0);
}

// Faults: a delay that is consumed twice or not at all, a start one block too late.
TEST(Engine, ADelayPutsTheSampleOffInEveryBlock) {
    Player player;
    const auto sample = makeShared<Ramp>();
    const auto play = [&](int delay, std::initializer_list<int> lengths) {
        player.engine.playSampleRegion(sample.get(), {"", 0, 6}, delay);
        return player.blocks(lengths);
    };
    EXPECT_EQ(play(6, {4, 4, 4, 4, 4}), "0000|0012|0034|0000|0000|");
    EXPECT_EQ(play(4, {4, 4, 3, 4}), "0056|0056|000|0123|");  // behind what stood there
    EXPECT_EQ(play(-3, {4, 4}), "1234|5600|");
}

// The fault it would catch: frame numbers from anywhere that lead out of the audio, or that keep
// the sample.
TEST(Engine, ARegionIsCutToTheFramesThatExist) {
    Player player;
    const auto sample = makeShared<Ramp>(5), stereo = makeShared<Ramp>(5, 2),
               empty = makeShared<Ramp>(0);
    const std::tuple<Sample*, std::int32_t, std::int32_t, const char*> regions[] = {
        {sample.get(), -5, 3, "1230|"},       {sample.get(), Least, Most, "1234|"},
        {sample.get(), 3, Most, "4500|"},     {sample.get(), Least, Least, "0000|"},
        {sample.get(), 5, Most, "0000|"},     {sample.get(), Most, Most, "0000|"},
        {sample.get(), 2, 2, "0000|"},        {sample.get(), 3, 1, "0000|"},
        {sample.get(), Most, Least, "0000|"}, {stereo.get(), 0, 5, "0000|"},
        {empty.get(), 0, 5, "0000|"},
    };
    for (const auto& [played, start, end, heard] : regions) {
        player.engine.playSampleRegion(played, {"", start, end}, 0);
        EXPECT_EQ(player.blocks({4}), heard) << start << " to " << end;
        player.blocks({4});
        player.engine.idle();
        EXPECT_FALSE(played->isShared()) << start << " to " << end;
    }
}

// The fault it would catch: outputs or sizes that lead the player out of its memory.
TEST(Engine, OutputsAndSizesOfAnyKindAreHarmless) {
    Player player;
    IOPinConfig none, quadro(4, 1), mono(1, 1);
    player.engine.playSampleRegion(makeShared<Ramp>(9).get(), {"", 0, 9}, Most);
    player.engine.process(player.in, none, Most);
    EXPECT_EQ(player.blocks({-1, 0, 4}), "||0000|");
    player.engine.playSampleRegion(makeShared<Ramp>(9).get(), {"", 0, 9}, Least);
    player.engine.process(player.in, none, 4);
    EXPECT_EQ(player.blocks({-1, 0, 2}), "||12|");
    player.engine.setBlockSize(-1);
    EXPECT_EQ(player.blocks({4}), "0000|");
    player.engine.setBlockSize(1);
    EXPECT_EQ(player.blocks({4}), "3000|");
    player.engine.setBlockSize(4);
    quadro.setSize(16);
    quadro.clear();
    player.engine.process(player.in, quadro, 16);
    EXPECT_EQ(*quadro.getChannel(0)->getData(), 0.0f);
    mono.setSize(16);
    mono.clear();
    player.engine.process(player.in, mono, 16);
    EXPECT_NEAR(*mono.getChannel(0)->getData(), 16 * 0.5857864f, 1e-5f);
    EXPECT_EQ(player.engine.getSampleRate() + player.engine.getLatency(), 44100);
}

// Faults: a race, a sample freed on the audio thread or never, an allocation there.
TEST(Engine, TheInterfacePlaysSamplesWhileBlocksAreProcessed) {
    Player player;
    std::atomic<bool> isOver{false};
    std::thread audio([&] {
        for (int frames = 0; !isOver; frames = (frames + 1) % 6)
            player.block(frames);
    });
    const auto kept = makeShared<Ramp>();
    for (int i = 0; i < 300; ++i) {
        player.engine.playSample(i % 3 != 0 ? kept.get() : makeShared<Ramp>().get(), i % 4);
        if (i % 5 == 0)
            player.engine.idle();
        if (i % 7 == 0)
            std::this_thread::yield();
    }
    isOver = true;
    audio.join();
    player.engine.playSample(nullptr, 0);
    player.block(4);
    player.engine.idle();
    EXPECT_FALSE(kept->isShared());
}

TEST(Engine, TellsNotesAndTheTimeBetweenBlocks) {
    Player player;
    std::string heard;
    const Hearer hearer(player.engine, [&](Message& message) {
        const auto& midi = dynamic_cast<MidiMessage&>(message);
        heard += std::to_string(midi.code) + " " + std::to_string(midi.note.key) + ",";
        EXPECT_EQ(midi.sender, &player.engine);
    });
    Note note;
    player.engine.noteEvent(note);
    note.setMidi(Note::NoteOnStatus, 0, 60, 99, 0, 0, 0);
    player.engine.noteEvent(note);
    note.setMidi(Note::NoteOffStatus, 0, 61, 99, 0, 0, 0);
    player.engine.noteEvent(note);
    EXPECT_EQ(heard, "1 0,0 60,1 61,");

    // The first block's interval is the clock's time.
    const double before = System::getTime();
    player.block(1);
    const double after = System::getTime();
    const auto smoothed = [](double from, double to) { return from + (to - from) * 0.1f; };
    const double first = player.engine.getProcessInterval();
    EXPECT_GE(first, smoothed(0.1f, before));
    EXPECT_LE(first, smoothed(0.1f, after));
    player.block(1);
    EXPECT_LT(player.engine.getProcessInterval(), smoothed(first, System::getTime() - before));
    EXPECT_GE(player.engine.getProcessInterval(), smoothed(first, 0.0));
}

}  // namespace
}  // namespace tarn
