// The audio root object of a module: what the host's process call reaches in the end.
//
// The base holds no processing of its own but previews: it plays a sample on top of what the first
// output pin holds. A product's `process` calls the base's after its own to have them.
//
// Everything rests on one rule: the interface thread makes and frees previews, and the audio thread
// only plays them. A new preview waits in one word until a block begins. The one that it replaces,
// or that came to its end, is marked as over, and it and its hold on the sample are freed by the
// next `playSample`, by `idle` or by the destructor. So the audio thread never waits, allocates or
// frees.
#pragma once

#include "audio/IOPin.h"
#include "audio/Mixer.h"
#include "foundation/Radio.h"
#include "foundation/Word.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace tarn {

class IOPinConfig;
class Note;
class Sample;
struct SampleRegion;

/// Made and destroyed on the control thread, as its module's; no block is processed then.
class Engine : public Radio {
public:
    explicit Engine(Radio* module);
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    ~Engine() override;

    /// All notes are to be cleared, as after a gap between blocks. Control thread.
    virtual void reset() { onReset(); }

    /// The host starts, or a state was read; the latter also while blocks are processed. Control
    /// thread.
    virtual void onReset() {}

    /// For a product's own use. Control thread.
    virtual void setEngineFlag(bool isSet) { engineFlag_ = isSet; }

    /// The largest block that the host announces, in frames, 0 at first. Of longer ones previews
    /// may fill no more than that. Throws std::bad_alloc. Control thread, while no block is
    /// processed.
    virtual void setBlockSize(int frames);

    /// In Hz, 44,100 at first. Control thread, while no block is processed.
    virtual void setSampleRate(int rate) { sampleRate_ = rate; }
    virtual int getSampleRate() const { return sampleRate_; }

    /// What the host is told to compensate, in frames.
    virtual int getLatency() const { return 0; }

    /// The editor's regular call, in which previews that are over are freed; whoever overrides it
    /// calls the base's. Interface thread.
    virtual void idle() { freeFinished(); }

    /// From the host or the on-screen keyboard: tells the listeners, in a MidiMessage. Audio and
    /// interface thread; allocates nothing.
    virtual void noteEvent(const Note& note);

    /// Plays the sample from its start to its end frame, in place of the present preview. The
    /// preview holds the sample; null only ends the present one. Interface thread, with or without
    /// blocks under way.
    virtual void playSample(Sample* sample, int delay);

    /// The same of the frames from `region.start` on, as far as they exist; the one at `region.end`
    /// is the first that isn't heard. Nothing is heard of a sample that has several channels.
    ///
    /// With a delay, blocks pass by until one is at least as long as what is left of the delay. In
    /// this and in all later blocks the sample begins that many frames behind the block's
    /// beginning, and before it stands what the last preview left there.
    virtual void playSampleRegion(Sample* sample, const SampleRegion& region, int delay);

    /// One block: takes the time since the last one, and adds the preview to the first output pin,
    /// if that is mono or stereo, over its whole size. Audio thread.
    virtual void process(const IOPinConfig& in, IOPinConfig& out, int frames) noexcept;

    // For a product's own use.
    virtual int queryInt(int /*what*/) { return 0; }
    virtual double queryDouble(int /*what*/) { return 0.0; }

    /// Parameter number 1 of the plug-in has changed. Any thread.
    virtual void onMasterValue(float /*value*/) {}

    /// Between blocks, in seconds, smoothed over some ten of them. Any thread.
    double getProcessInterval() const noexcept { return processInterval_; }

protected:
    bool getEngineFlag() const { return engineFlag_; }
    int getBlockSize() const { return blockSize_; }

private:
    struct Audition;

    void measureInterval() noexcept;
    void finishAudition() noexcept;
    void playAudition(IOPin& out, int frames) noexcept;
    void freeFinished();

    IOPinStereo scratch_;
    Mixer mixer_{this};
    bool engineFlag_ = false;
    int blockSize_ = 0;
    int sampleRate_ = 44100;
    std::vector<std::unique_ptr<Audition>> auditions_;  // interface thread
    std::atomic<Audition*> requested_{nullptr};         // not yet taken by the audio thread
    Audition* playing_ = nullptr;                       // audio thread
    double lastProcessTime_ = 0.0;                      // seconds, audio thread
    Word<double> processInterval_{0.1f};
};

}  // namespace tarn
