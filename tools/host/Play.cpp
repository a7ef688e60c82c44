#include "host/Play.h"

#include "common/Text.h"
#include "host/AudioFile.h"
#include "host/Failure.h"
#include "host/Files.h"
#include "host/GuardedBuffers.h"
#include "host/Host.h"
#include "host/Instance.h"
#include "host/PluginLibrary.h"
#include "host/Source.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <future>
#include <iomanip>
#include <iostream>
#include <memory>
#include <thread>

namespace tarn::host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kDefaultRate = 44100.0;
constexpr double kDefaultSeconds = 10.0;
constexpr std::chrono::seconds kProgressInterval{5};

std::atomic<bool> isStopRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "it is set by signal handlers");

Clock::duration durationOf(double seconds) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

// A file to be written must not be one that the run needs otherwise.
void refuseSame(const std::string& path, std::initializer_list<std::string> others) {
    for (const std::string& other : others)
        if (tools::isSameFile(path, other))
            throw Failure(ExitBadUse,
                          path + " can't be written: the run needs it as " + other + " already");
}

// Waits for a moment, in steps, so that a request to stop is soon heard.
void waitUntil(Clock::time_point moment) {
    constexpr std::chrono::milliseconds step{50};
    while (!isStopRequested && moment - Clock::now() > step)
        std::this_thread::sleep_for(step);
    if (!isStopRequested)
        std::this_thread::sleep_until(moment);
}

/// Tells every few seconds how far a run has come.
class Progress {
public:
    Progress(std::int64_t frames, double rate) : frames_(frames), rate_(rate) {}

    void report(std::int64_t position) {
        if (Clock::now() < next_)
            return;
        next_ += kProgressInterval;
        std::cerr << std::fixed << std::setprecision(1) << static_cast<double>(position) / rate_
                  << " s of " << static_cast<double>(frames_) / rate_ << " s\n";
    }

private:
    std::int64_t frames_;
    double rate_;
    Clock::time_point next_ = Clock::now() + kProgressInterval;
};

/// An instance and what its blocks lie in.
struct Voice {
    Voice(VstPluginEntry entry, Host& host, Findings& findings) : instance(entry, host, findings) {}

    Instance instance;
    std::unique_ptr<GuardedBuffers> buffers;
};

class Run {
public:
    Run(const PlayOptions& options, Findings& findings);

    void prepare();
    void playBlocks();
    void finish();

private:
    double chooseRate() const;
    std::int64_t chooseFrames() const;
    HostSettings hostSettings() const;
    void arrange(Instance& instance) const;
    void makeBuffers(Voice& voice) const;
    std::vector<ParameterChange> applySettings();
    VstInt32 indexOf(const std::string& parameter) const;
    void openFiles();
    std::unique_ptr<AudioWriter> openOutput(const std::string& path, int channels) const;
    void playBlock(const Schedule::Block& block);
    void record(const GuardedBuffers& buffers, std::size_t frames);

    const PlayOptions& options_;
    Findings& findings_;
    std::unique_ptr<AudioReader> inputFile_;
    double rate_;
    std::int64_t frames_;
    Host host_;
    PluginLibrary library_;
    std::vector<std::unique_ptr<Voice>> voices_;
    std::unique_ptr<Schedule> schedule_;
    std::unique_ptr<Source> source_;
    Channels input_;  // of the present block
    std::unique_ptr<AudioWriter> output_;
    std::unique_ptr<AudioWriter> sent_;
    std::vector<float> silence_;  // for channels of the output that the plug-in took away
};

Run::Run(const PlayOptions& options, Findings& findings)
    : options_(options),
      findings_(findings),
      inputFile_(options.input.empty() ? nullptr : std::make_unique<AudioReader>(options.input)),
      rate_(chooseRate()),
      frames_(chooseFrames()),
      host_(hostSettings(), findings),
      library_(options.plugin) {
    for (int i = 0; i < options.instances; ++i)
        voices_.push_back(std::make_unique<Voice>(library_.entry(), host_, findings));
}

double Run::chooseRate() const {
    if (inputFile_ == nullptr)
        return options_.rate.value_or(kDefaultRate);
    if (options_.rate && *options_.rate != inputFile_->rate())
        throw Failure(ExitBadUse, options_.input +
                                      " has another rate than --rate says, and this "
                                      "host doesn't resample");
    return inputFile_->rate();
}

std::int64_t Run::chooseFrames() const {
    if (options_.frames)
        return *options_.frames;
    if (options_.seconds)
        return std::llround(*options_.seconds * rate_);
    return inputFile_ != nullptr ? inputFile_->frames() : std::llround(kDefaultSeconds * rate_);
}

HostSettings Run::hostSettings() const {
    HostSettings settings;
    settings.rate = rate_;
    settings.announcedBlock =
        options_.announcedBlock > 0 ? options_.announcedBlock : options_.block.most;
    settings.inputLatency = options_.inputLatency;
    settings.isRealTime = options_.isRealTime;
    settings.folder = folderOf(options_.plugin);
    return settings;
}

void Run::prepare() {
    for (const auto& voice : voices_) {
        Instance& instance = voice->instance;
        if ((instance.record().flags & effFlagsCanReplacing) == 0)
            throw Failure(ExitRulesBroken, "the plug-in lacks processReplacing");
        instance.configure();
        arrange(instance);
        if (!options_.loadChunk.empty() && !instance.setChunk(readFile(options_.loadChunk)))
            throw Failure(ExitBadUse, "the plug-in takes no chunk");
    }
    schedule_ = std::make_unique<Schedule>(frames_, options_.block, options_.seed, applySettings());
    for (const auto& voice : voices_) {
        voice->instance.resume();
        makeBuffers(*voice);
    }
    openFiles();
}

void Run::arrange(Instance& instance) const {
    const int own = inputFile_ != nullptr ? std::min(inputFile_->channels(), 2) : 2;
    const int inputs = options_.inputs > 0 ? options_.inputs : own;
    const int outputs = options_.outputs > 0 ? options_.outputs : inputs;
    if (!instance.arrange(inputs, outputs) &&
        (instance.inputs() != inputs || instance.outputs() != outputs))
        std::cerr << "the plug-in doesn't take " << inputs << " in and " << outputs
                  << " out; it has " << instance.inputs() << " in and " << instance.outputs()
                  << " out\n";
}

void Run::makeBuffers(Voice& voice) const {
    voice.instance.takeIOChange();
    const int capacity = std::max(host_.settings().announcedBlock, options_.block.most);
    voice.buffers = std::make_unique<GuardedBuffers>(
        voice.instance.inputs(), voice.instance.outputs(), capacity, options_.isInPlace);
}

// Sets what is to be set before the start; returns what is to be set later.
std::vector<ParameterChange> Run::applySettings() {
    for (const TextSetting& setting : options_.textSettings) {
        const VstInt32 index = indexOf(setting.parameter);
        for (const auto& voice : voices_)
            if (!voice->instance.setParameterText(index, setting.text))
                throw Failure(ExitBadUse, "the plug-in doesn't take '" + setting.text +
                                              "' for parameter '" + setting.parameter + "'");
    }
    std::vector<ParameterChange> changes;
    for (const Setting& setting : options_.settings) {
        const VstInt32 index = indexOf(setting.parameter);
        if (setting.seconds >= 0.0) {
            changes.push_back({std::llround(setting.seconds * rate_), index, setting.value});
            continue;
        }
        for (const auto& voice : voices_)
            voice->instance.setParameter(index, setting.value);
    }
    return changes;
}

VstInt32 Run::indexOf(const std::string& parameter) const {
    const auto index = voices_.front()->instance.findParameter(parameter);
    if (!index)
        throw Failure(ExitBadUse, "the plug-in has no parameter '" + parameter + "'");
    return *index;
}

void Run::openFiles() {
    const Instance& first = voices_.front()->instance;
    if (inputFile_ != nullptr) {
        source_ = std::make_unique<FileSource>(*inputFile_);
    } else {
        SignalSettings signal = options_.signal;
        signal.rate = rate_;
        signal.seconds = static_cast<double>(frames_) / rate_;
        signal.seed = options_.seed;
        source_ = std::make_unique<SignalSource>(signal);
    }
    // Each is compared with those that are there by then, which shows every spelling of one file.
    const std::string& plugin = options_.plugin;
    const std::string& input = options_.input;
    refuseSame(options_.output, {plugin, input, options_.loadChunk});
    output_ = openOutput(options_.output, first.outputs());
    refuseSame(options_.sent, {plugin, input, options_.loadChunk, options_.output});
    sent_ = openOutput(options_.sent, first.inputs());
    refuseSame(options_.saveChunk, {plugin, input, options_.output, options_.sent});
}

// Null for an empty path.
std::unique_ptr<AudioWriter> Run::openOutput(const std::string& path, int channels) const {
    if (path.empty())
        return nullptr;
    if (channels == 0)
        throw Failure(ExitBadUse, "the plug-in has no channel to write to " + path);
    return std::make_unique<AudioWriter>(path, channels, rate_);
}

void Run::playBlocks() {
    Progress progress(frames_, rate_);
    const Clock::time_point start = Clock::now();
    const auto momentOf = [&](std::int64_t position) {
        return start + durationOf(static_cast<double>(position) / rate_);
    };
    std::int64_t position = 0;
    std::int64_t blocks = 0;
    while (!schedule_->isDone() && !isStopRequested) {
        const Schedule::Block block = schedule_->next();
        if (options_.isRealTime)
            waitUntil(momentOf(block.position));
        playBlock(block);
        position = block.position + block.frames;
        ++blocks;
        progress.report(position);
    }
    if (options_.isRealTime)
        waitUntil(momentOf(position));
    const std::chrono::duration<double> taken = Clock::now() - start;
    std::cerr << position << " frames in " << blocks << " blocks, " << std::fixed
              << std::setprecision(3) << taken.count() << " s\n";
}

void Run::playBlock(const Schedule::Block& block) {
    const auto frames = static_cast<std::size_t>(block.frames);
    std::size_t inputs = 0;
    for (const auto& voice : voices_) {
        if (voice->instance.takeIOChange())
            makeBuffers(*voice);
        inputs = std::max(inputs, static_cast<std::size_t>(voice->instance.inputs()));
    }
    input_.resize(std::max({inputs, input_.size(), sent_ != nullptr ? sent_->channelCount() : 0}));
    source_->read(input_, frames);

    const std::string where =
        "block of " + std::to_string(frames) + " frames at frame " + std::to_string(block.position);
    for (const auto& voice : voices_) {
        GuardedBuffers& buffers = *voice->buffers;
        buffers.load(input_, frames);
        host_.beginBlock(block.position);
        for (const ParameterChange& change : block.changes)
            voice->instance.setParameter(change.parameter, change.value);
        voice->instance.process(buffers.inputs(), buffers.outputs(), block.frames);
        host_.endBlock();
        buffers.check(input_, frames, where, findings_);
    }
    record(*voices_.front()->buffers, frames);
}

void Run::record(const GuardedBuffers& buffers, std::size_t frames) {
    std::vector<std::span<const float>> channels;
    if (output_ != nullptr) {
        silence_.resize(frames);
        for (std::size_t i = 0; i < output_->channelCount(); ++i)
            channels.push_back(i < buffers.outputCount() ? buffers.output(i, frames)
                                                         : std::span<const float>(silence_));
        output_->write(channels);
    }
    if (sent_ != nullptr) {
        channels.assign(input_.begin(),
                        input_.begin() + static_cast<std::ptrdiff_t>(sent_->channelCount()));
        sent_->write(channels);
    }
}

void Run::finish() {
    for (const auto& voice : voices_)
        voice->instance.suspend();
    for (const auto& file : {output_.get(), sent_.get()})
        if (file != nullptr)
            file->finish();
    if (!options_.saveChunk.empty()) {
        const auto chunk = voices_.front()->instance.chunk();
        if (!chunk)
            throw Failure(ExitBadUse, "the plug-in gives no chunk");
        writeFile(options_.saveChunk, *chunk);
    }
    waitUntil(Clock::now() + durationOf(options_.linger));
}

}  // namespace

void play(const PlayOptions& options, Findings& findings) {
    Run run(options, findings);
    run.prepare();
    // Blocks come on a thread of their own, as in every host that plays.
    std::async(std::launch::async, [&run] { run.playBlocks(); }).get();
    run.finish();
}

void stopPlaying() noexcept {
    isStopRequested = true;
}

}  // namespace tarn::host
