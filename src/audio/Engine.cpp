#include "audio/Engine.h"

#include "audio/IOPinConfig.h"
#include "diagnostics/System.h"
#include "samples/Note.h"
#include "samples/Sample.h"

#include <algorithm>
#include <span>
#include <utility>

namespace tarn {

namespace {

constexpr float AuditionGain = 1.0f;
constexpr float Centre = 0.5f;

}  // namespace

// A preview: the interface thread's before it is requested, and again when it is over.
struct Engine::Audition {
    SharedObjectPtr<Sample> sample;
    std::int32_t position = 0;  // the next frame
    std::int32_t last = -1;     // the last frame, before `position` if there is none
    std::int32_t delay = 0;     // frames
    std::atomic<bool> isOver{false};

    std::span<const float> rest() const noexcept {
        return sample ? sample->view(position, last) : std::span<const float>();
    }
};

Engine::Engine(Radio* module) : Radio(module) {}

Engine::~Engine() = default;

void Engine::setBlockSize(int frames) {
    blockSize_ = frames;
    scratch_.setSize(frames);
}

void Engine::noteEvent(const Note& note) {
    const bool isOn = note.getType() == Note::NoteOn;
    MidiMessage message(this, isOn ? MidiMessage::NoteOn : MidiMessage::OtherNote, &note,
                        note.toEvent(), 0);
    transmit(message);
}

void Engine::playSample(Sample* sample, int delay) {
    SampleRegion region;
    if (sample != nullptr)
        region = {{}, sample->getStart(), sample->getEnd()};
    playSampleRegion(sample, region, delay);
}

void Engine::playSampleRegion(Sample* sample, const SampleRegion& region, int delay) {
    freeFinished();
    auto audition = std::make_unique<Audition>();
    audition->sample.reset(sample);
    audition->position = std::max(region.start, 0);
    audition->last = std::max(region.end, 0) - 1;
    audition->delay = std::max(delay, 0);
    auditions_.push_back(std::move(audition));
    Audition* const next = auditions_.back().get();
    if (Audition* const unheard = requested_.exchange(next, std::memory_order_acq_rel))
        unheard->isOver = true;
}

void Engine::process(const IOPinConfig& /*in*/, IOPinConfig& out, int frames) noexcept {
    measureInterval();
    if (Audition* const next = requested_.exchange(nullptr, std::memory_order_acquire)) {
        finishAudition();
        playing_ = next;
    }
    IOPin* const pin = out.getPin(0);
    if (playing_ != nullptr && pin != nullptr)
        playAudition(*pin, std::max(frames, 0));
}

void Engine::measureInterval() noexcept {
    constexpr double Smoothing = 0.1f;
    const double now = System::getTime();
    const double interval = processInterval_;
    processInterval_ = interval + (now - lastProcessTime_ - interval) * Smoothing;
    lastProcessTime_ = now;
}

void Engine::finishAudition() noexcept {
    if (playing_ != nullptr)
        playing_->isOver.store(true, std::memory_order_release);
    playing_ = nullptr;
}

void Engine::playAudition(IOPin& out, int frames) noexcept {
    Audition& audition = *playing_;
    if (audition.delay > frames) {
        audition.delay -= frames;
        return;
    }
    const std::span<const float> rest = audition.rest();
    const auto left = static_cast<int>(rest.size());
    // The right side is the last to grow, and may not have.
    const int room = std::min(out.getSize(), scratch_.getChannel(1)->getSize());
    const int begin = std::min(audition.delay, room);
    const int count = std::min(left, room - begin);
    scratch_.setCount(std::min(left, room));
    for (const int side : {0, 1})
        std::copy_n(rest.data(), count, scratch_.getChannel(side)->getData() + begin);
    mixer_.mix(out, scratch_, AuditionGain, Centre);
    audition.position += count;
    if (count == left)
        finishAudition();
}

void Engine::freeFinished() {
    std::erase_if(auditions_, [](const auto& audition) {
        return audition->isOver.load(std::memory_order_acquire);
    });
}

}  // namespace tarn
