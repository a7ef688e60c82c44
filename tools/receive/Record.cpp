#include "Record.h"

#include "Choice.h"
#include "ExitStatus.h"
#include "Listing.h"
#include "Losses.h"
#include "RateFinder.h"
#include "Receiver.h"
#include "Sink.h"
#include "Stop.h"
#include "common/Text.h"
#include "platform/Clock.h"
#include "platform/Screen.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <thread>

namespace tarn::receive {

namespace {

constexpr auto LookInterval = std::chrono::milliseconds(5);  // 171 ms are a ring at 192 kHz
constexpr double ProgressSeconds = 10.0;
constexpr std::uint64_t LongestSilence = 3600;  // seconds of what is missing that are filled

std::string wantedWords(const std::string& wanted) {
    if (wanted.empty())
        return "a connection that sends";
    const bool isNumber = wanted.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? "connection " + wanted
                    : "a connection with the name \"" + tools::printable(wanted) + '"';
}

std::string latencyWords(std::int32_t samples) {
    return samples == 0 ? "" : ", input latency " + std::to_string(samples) + " samples";
}

class Session {
public:
    Session(const RecordOptions& options, Target target, Sink& sink);

    int run();

private:
    void recordUntilOver();
    bool isOver(const Delivery& delivery);
    void noteEnd();
    void settleRate();

    // What one look brought.
    void store(const Delivery& delivery);
    void changeRate(const Delivery& delivery);
    void findRate(const Delivery& delivery);
    void storeLosses(const Delivery& delivery);
    void appendSilence(std::uint64_t samples);
    void append(std::span<const float> samples);
    std::uint64_t room() const;

    // What the user hears of it.
    void tell(const std::string& words) const;
    void tellState();
    void tellRate();
    void tellProgress();
    void tellSummary();
    std::string completenessWords() const;
    int exitStatus() const;

    double secondsOfFile() const { return static_cast<double>(position_) / rate_.rate(); }
    double recordedSeconds() const { return secondsBefore_ + secondsOfFile(); }

    const RecordOptions& options_;
    Sink& sink_;
    Receiver receiver_;
    RateFinder rate_;
    Losses losses_;

    std::uint64_t position_ = 0;  // in the present file, samples
    double secondsBefore_ = 0.0;  // in the files before it
    std::uint64_t received_ = 0;  // samples in all files, without what is missing
    Delivery early_;              // what was lost before the first of them
    bool isComplete_ = true;      // every loss was told
    bool hasEnded_ = false;       // the sender, after its first samples
    bool isRateOver_ = false;     // and no other may follow
    double lastSamples_ = 0.0;    // high-resolution seconds
    double lastProgress_ = 0.0;
    std::optional<State> toldState_;
    std::optional<RateFinder::Source> toldSource_;
    bool isContradictionTold_ = false;
};

Session::Session(const RecordOptions& options, Target target, Sink& sink)
    : options_(options),
      sink_(sink),
      receiver_(std::move(target), options.rate.value_or(AssumedRate)),
      rate_(options.rate),
      lastSamples_(platform::highResolutionSeconds()),
      lastProgress_(lastSamples_) {}

int Session::run() {
    int failure = ExitFine;
    losses_.beginFile(sink_.listPath());
    try {
        recordUntilOver();
        settleRate();
    } catch (const Failure& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        failure = error.exitStatus();
    }
    losses_.tellRest();
    tellSummary();
    return failure != ExitFine ? failure : exitStatus();
}

void Session::recordUntilOver() {
    Delivery delivery;
    while (!isOver(delivery)) {
        delivery = receiver_.look();
        tellState();
        if (hasEnded_ && delivery.isBeginning)
            return storeLosses(delivery);  // a successor tells what was lost of the sender's end
        store(delivery);
        noteEnd();
        if (delivery.samples.empty())
            std::this_thread::sleep_for(LookInterval);
    }
}

// Of a sender that was heard for too short a time.
void Session::settleRate() {
    if (received_ == 0 || rate_.source() != RateFinder::Source::Unknown)
        return;
    rate_.conclude();
    tellRate();
}

void Session::noteEnd() {
    const State state = receiver_.state();
    hasEnded_ |= options_.stopsAtEnd && received_ > 0 &&
                 (state == State::Ended || state == State::Abandoned);
}

bool Session::isOver(const Delivery& delivery) {
    if (isStopRequested() || isRateOver_ || room() == 0)
        return true;
    if (hasEnded_ && delivery.samples.empty())
        return true;
    const double silence = platform::highResolutionSeconds() - lastSamples_;
    return silence > (received_ == 0 ? options_.wait : options_.idle).value_or(INFINITY);
}

void Session::store(const Delivery& delivery) {
    const bool hasSamples = !delivery.samples.empty();
    const bool isChange = hasSamples && rate_.isChange(delivery);
    if (hasSamples && !isChange)
        findRate(delivery);
    storeLosses(delivery);
    if (isChange)
        changeRate(delivery);
    if (!hasSamples || isRateOver_)
        return;
    append(delivery.samples);
    received_ += delivery.samples.size();
    isComplete_ &= delivery.isComplete;
    lastSamples_ = platform::highResolutionSeconds();
    tellProgress();
}

void Session::changeRate(const Delivery& delivery) {
    const std::string words =
        "the sender changes its rate to " + std::to_string(std::lround(delivery.rate)) + " Hz";
    if (options_.stopsAtRateChange || !sink_.next()) {
        isRateOver_ = true;
        tell(words + ", so the recording ends");
        return;
    }
    tell(words + ", so another file begins");
    secondsBefore_ = recordedSeconds();
    position_ = 0;
    losses_.beginFile(sink_.listPath());
    findRate(delivery);
}

void Session::findRate(const Delivery& delivery) {
    const std::uint32_t before = rate_.rate();
    rate_.see(delivery, platform::highResolutionSeconds());
    const bool isKnown = rate_.source() != RateFinder::Source::Unknown;
    if (isKnown && (rate_.source() != toldSource_ || rate_.rate() != before))
        tellRate();
}

// What is lost before the first samples makes no file by itself.
void Session::storeLosses(const Delivery& delivery) {
    early_.missed += delivery.missed;
    early_.isMissedUnknown |= delivery.isMissedUnknown;
    if (received_ == 0 && delivery.samples.empty())
        return;
    const auto [missed, isUnknown] = std::pair(early_.missed, early_.isMissedUnknown);
    if (missed == 0 && !isUnknown)
        return;
    early_ = {};
    sink_.open();  // before the list of what is missing from it
    const bool isFilled = missed <= LongestSilence * rate_.rate();
    if (missed > 0)
        losses_.add(position_, missed,
                    isFilled ? Losses::Filling::Silence : Losses::Filling::Nothing, rate_.rate());
    if (isFilled)
        appendSilence(missed);
    if (isUnknown)
        losses_.add(position_, 0, Losses::Filling::Nothing, rate_.rate());
}

void Session::appendSilence(std::uint64_t samples) {
    static const std::vector<float> silence(4096);
    for (samples = std::min(samples, room()); samples > 0;) {
        const std::uint64_t part = std::min<std::uint64_t>(samples, silence.size());
        append(std::span(silence.data(), static_cast<std::size_t>(part)));
        samples -= part;
    }
}

// As far as there is room.
void Session::append(std::span<const float> samples) {
    const auto part = std::min<std::uint64_t>(samples.size(), room());
    sink_.append(samples.first(static_cast<std::size_t>(part)));
    position_ += part;
}

// Samples that may still come into the present file.
std::uint64_t Session::room() const {
    if (!options_.seconds)
        return UINT64_MAX;
    const double limit = std::round((*options_.seconds - secondsBefore_) * rate_.rate());
    return static_cast<std::uint64_t>(std::max(limit - static_cast<double>(position_), 0.0));
}

void Session::tell(const std::string& words) const {
    if (!options_.isQuiet)
        std::fprintf(stderr, "%s\n", words.c_str());
}

// Who waits wants to know what for.
void Session::tellState() {
    const State state = receiver_.state();
    if (std::exchange(toldState_, state) == state)
        return;
    const std::string connection = connectionWords(receiver_.slot(), receiver_.name());
    switch (state) {
        case State::Searching:
            return tell("waiting for " + wantedWords(options_.connection));
        case State::Receiving:
            return tell("receiving " + connection + latencyWords(receiver_.inputLatency()));
        case State::Silent:
            return tell(connection + " sends nothing at the moment");
        case State::Ended:
            return tell(connection + " was closed by its sender");
        case State::Abandoned:
            return tell("the sender of " + connection + " is gone; it didn't close it");
        case State::Lost:
            return tell(connection + " has sent nothing for a while; its sender may be gone");
    }
}

void Session::tellRate() {
    using Source = RateFinder::Source;
    sink_.setRate(rate_.rate());
    toldSource_ = rate_.source();
    const std::string hertz = std::to_string(rate_.rate()) + " Hz";
    const char* untold = "the sender doesn't tell its rate; ";
    switch (rate_.source()) {
        case Source::Given:
            return tell(untold + hertz + " is taken from --rate");
        case Source::Kept:
            return tell("the present " + (untold + ("the file keeps " + hertz)));
        case Source::Measured:
            return tell(untold + hertz + " was measured");
        case Source::Assumed:
            return tell(untold + hertz +
                        " is assumed, since it could not be measured; --rate sets "
                        "another");
        default:
            break;
    }
    tell("the sender tells its rate: " + hertz);
    if (options_.rate.value_or(rate_.rate()) != rate_.rate() &&
        !std::exchange(isContradictionTold_, true))
        std::fprintf(stderr, "warning: the sender's rate counts, and not --rate %u\n",
                     *options_.rate);
}

void Session::tellProgress() {
    if (lastSamples_ - lastProgress_ < ProgressSeconds)
        return;
    lastProgress_ = lastSamples_;
    char words[64];
    std::snprintf(words, sizeof words, "%.0f s recorded", recordedSeconds());
    tell(words);
}

void Session::tellSummary() {
    if (received_ == 0) {
        const std::string missed =
            early_.missed == 0 ? "" : "; " + std::to_string(early_.missed) + " samples were missed";
        return tell("nothing was received" + missed);
    }
    char length[64];
    std::snprintf(length, sizeof length, "recorded %.3f s", recordedSeconds());
    tell(length + (" to " + sink_.words()) + "; " + completenessWords());
}

std::string Session::completenessWords() const {
    if (isComplete_)
        return losses_.isEmpty() ? "nothing is missing" : losses_.summary();
    return (losses_.isEmpty() ? "no gap was seen" : losses_.summary()) +
           ", but the sender doesn't tell its position: " +
           (losses_.isEmpty() ? "samples" : "more") + " may be missing unseen";
}

int Session::exitStatus() const {
    if (received_ == 0)
        return ExitNothingReceived;
    if (!losses_.isEmpty())
        return ExitSamplesMissing;
    return isComplete_ ? ExitFine : ExitCompletenessUnknown;
}

std::unique_ptr<Sink> makeSink(const RecordOptions& options) {
    if (options.output == "-")
        return std::make_unique<StreamSink>(options.isRaw);
    return std::make_unique<FileSink>(options.output, options.replaces);
}

}  // namespace

int record(const RecordOptions& options) {
    const platform::Screen screen;
    const Target target = chooseTarget(options.connection, presentConnections());
    const std::unique_ptr<Sink> sink = makeSink(options);
    noteStopRequests();
    return Session(options, target, *sink).run();
}

}  // namespace tarn::receive
