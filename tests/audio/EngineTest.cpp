// Engines with their previews, and the module around one.
#include "audio/EngineFactory.h"
#include "audio/IOPinConfig.h"
#include "audio/Module.h"
#include "parameters/Definition.h"
#include "samples/Choir.h"
#include "samples/EngineSynth.h"
#include "samples/Note.h"
#include "samples/Sample.h"
#include "support/AllocationCount.h"
#include "support/Hearer.h"

#include <climits>
#include <thread>

namespace tarn {
namespace {

// 1, 2, 3 and so on; played from frame 2 up to frame 4. Only its maker may free it.
struct Ramp : Sample {
    explicit Ramp(std::int32_t channels = 1) {
        const float values[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        Dictionary state;
        state.setInteger("channels", channels);
        state.setData("sampledata", values, sizeof values);
        read(state);
        start_ = 2;
        end_ = 4;
    }
    ~Ramp() override { EXPECT_EQ(std::this_thread::get_id(), maker); }
    const std::thread::id maker = std::this_thread::get_id();
};

struct Player {
    Player() {
        engine.setBlockSize(16);
        out.setSize(32);
    }
    // The mean of both sides, a digit a frame.
    std::string block(int frames) {
        out.setSize(frames);
        out.clear();
        EXPECT_EQ(test::allocationsOf([&] { engine.process(out, out, frames); }), 0);
        const float *left = out.getChannel(0)->getData(), *right = out.getChannel(1)->getData();
        std::string digits;
        for (int i = 0; i < frames; ++i)
            digits += static_cast<char>('0' + static_cast<int>(left[i] + right[i]) / 2);
        return digits + "|";
    }
    Engine engine{nullptr};
    IOPinConfig out{2, 1};
};

// Faults: a preview that skips frames, leaves the audio or its output, or holds its sample when it
// is over; a delay that is consumed twice or not at all.
TEST(Engine, PlaysAPreviewOverBlocksAndThenLetsGoOfItsSample) {
    const auto ramp = makeShared<Ramp>(), wide = makeShared<Ramp>(3);
    using Blocks = std::vector<int>;
    const std::tuple<Sample*, int, int, int, Blocks, const char*> previews[] = {
        {ramp.get(), 0, 6, 6, {4, 4, 4, 4, 4}, "0000|0012|0034|0000|0000|"},
        {ramp.get(), 0, 6, 4, {4, 3, -1, 4, 4}, "0056|000||0123|0450|"},  // behind what stood there
        {ramp.get(), 1, 8, 0, {3, 1, -1, 0, 5}, "234|5|||67800|"},
        {ramp.get(), INT_MIN, INT_MAX, INT_MIN, {20}, "12345678900000000000|"},
        {ramp.get(), 9, INT_MAX, 0, {4}, "0000|"},
        {wide.get(), 0, 3, 0, {4}, "0000|"},
    };
    Player player;
    for (const auto& [sample, start, end, delay, blocks, expected] : previews) {
        player.engine.playSampleRegion(sample, {"", start, end}, delay);
        std::string heard;
        for (const int frames : blocks) {
            EXPECT_TRUE(sample->isShared());
            heard += player.block(frames);
        }
        EXPECT_EQ(heard, expected) << start << " to " << end;
        player.engine.idle();
        EXPECT_FALSE(sample->isShared()) << start << " to " << end;
    }
    IOPinConfig none;
    player.engine.playSample(ramp.get(), 0);
    for (const int frames : {-1, 2}) {
        player.engine.setBlockSize(frames);
        player.engine.process(none, none, 4);
        EXPECT_EQ(player.block(4), frames < 0 ? "0000|" : "3400|");
    }
    player.engine.playSample(wide.get(), 0);
    player.engine.playSampleRegion(ramp.get(), {"", 0, 9}, 0);
    player.engine.idle();
    EXPECT_FALSE(wide->isShared());
    EXPECT_EQ(player.block(4), "1200|");
    player.engine.playSample(nullptr, 0);
    EXPECT_EQ(player.block(4), "0000|");
    player.engine.idle();
    EXPECT_FALSE(ramp->isShared());
}

// Faults: a race, a sample that is freed on the audio thread, early or never.
TEST(Engine, TheInterfacePlaysSamplesWhileBlocksAreProcessed) {
    const auto kept = makeShared<Ramp>();
    {
        Player player;
        std::atomic<bool> isOver{false};
        std::thread audio([&] {
            for (int frames = 0; !isOver; frames = (frames + 1) % 6)
                player.block(frames);
        });
        for (int i = 0; i < 300; ++i)
            player.engine.playSample(i % 3 != 0 ? kept.get() : makeShared<Ramp>().get(), i % 4);
        isOver = true;
        audio.join();
    }
    EXPECT_FALSE(kept->isShared());
}

std::string story;

struct Voices : Choir {
    Voices() : Choir(nullptr) {}
    void start() override { story += "start,"; }
    void reset() override { story += "reset,"; }
    void noteOn(const Note&) override { story += "on,"; }
    void noteOff(const Note&, bool) override { story += "off,"; }
    int getActiveVoiceCount() const override { return 3; }
};

struct Instrument : EngineSynth {
    using EngineSynth::EngineSynth;
    ~Instrument() override { story += settingsOf(*this)->find("P", 0)->getText() + " ends"; }
    int getLatency() const override { return 7; }
    void process(const IOPinConfig&, IOPinConfig&, int) noexcept override { story += "block,"; }
};

struct Factory : EngineFactory {
    std::unique_ptr<Engine> createEngine(Module* module) const override {
        EXPECT_EQ(module->settings().find("P", 0)->getParent(), module);  // has started
        return std::make_unique<Instrument>(module, std::make_unique<Voices>());
    }
};

// Faults: an engine that finds no settings in its whole life, or other ones; one that is called
// before it is there or while it mustn't be; a listener that hears of a note before the choir.
TEST(Module, AnEngineLivesWithinTheModulesSettings) {
    Radio other(nullptr);
    const Defined prototype("<P class='ParameterValue' type='float' scope='module'/>", &other);
    Factory factory;
    IOPinConfig pins;
    auto module = std::make_unique<Module>(nullptr, prototype, factory);
    for (const int latency : {0, 7}) {
        module->process(pins, pins, 8);
        module->resetEngine();
        EXPECT_EQ(module->getLatency(), latency);
        if (latency == 0)
            module->start();
    }
    module->setEnabled(false);
    module->process(pins, pins, 8);
    auto& engine = dynamic_cast<EngineSynth&>(*module->getEngine());
    const Hearer hearer(engine, [](Message& heard) { story += std::to_string(heard.code); });
    for (const int status : {Note::NoteOnStatus, Note::NoteOffStatus}) {
        Note note;
        note.setMidi(status, 0, 60, 9, 0, 0, 0);
        engine.noteEvent(note);
    }
    module->settings().find("P", 0)->setFloat(0.25f, FromUser);
    module->loadDefaults();
    prototype.get().setFloat(0.75f, FromUser);
    module.reset();
    EXPECT_EQ(story, "reset,start,block,reset,on,0off,10.50 ends");
}

}  // namespace
}  // namespace tarn
