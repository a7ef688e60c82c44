// The receiving program: lists the connections of the machine, and records one.
#include "Listing.h"
#include "Receiver.h"
#include "Recording.h"
#include "platform/Clock.h"
#include "platform/CommandLine.h"
#include "platform/StandardOutput.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <memory>
#include <thread>

namespace {

using namespace tarn;
using namespace tarn::receive;

enum ExitCode { Complete = 0, BadUsage = 1, FileFault = 2, NothingReceived = 3, SamplesMissed = 4 };

constexpr auto LookInterval = std::chrono::milliseconds(5);  // 171 ms are a ring at 192 kHz
constexpr double ProgressSeconds = 10.0;

volatile std::sig_atomic_t stopAsked = 0;

struct RecordOptions {
    std::string connection;
    std::string output;
    double rate = 48000.0;
    double seconds = 0.0;  // 0: no end
    double wait = 0.0;     // 0: for ever
    double idle = 0.0;     // 0: goes on
    bool isRaw = false;
    bool replaces = false;
    bool isQuiet = false;
};

// Where the samples go: a file that is whole at every moment, or standard output.
class Sink {
public:
    bool open(const RecordOptions& options) {
        const auto rate = static_cast<std::uint32_t>(std::lround(options.rate));
        if (options.output != "-") {
            file_ = std::make_unique<Recording>(options.output, rate, options.replaces);
            return file_->error().empty();
        }
        stream_ = platform::takeStandardOutput();
        if (stream_ == nullptr)
            return false;
        const auto header = wavStreamHeader(rate);
        return options.isRaw ||
               std::fwrite(header.data(), 1, header.size(), stream_) == header.size();
    }

    bool append(std::span<const float> samples) {
        if (file_)
            return file_->append(samples);
        return std::fwrite(samples.data(), sizeof(float), samples.size(), stream_) ==
               samples.size();
    }

    std::string error() const {
        return file_ ? file_->error() : "standard output could not be written";
    }

private:
    std::unique_ptr<Recording> file_;
    std::FILE* stream_ = nullptr;
};

// The places where something is missing, told at once and kept in a list beside the recording.
class MissedList {
public:
    MissedList(const std::string& output, double rate) : rate_(rate) {
        if (output != "-")
            path_ = output + ".missed.txt";
    }

    void add(std::uint64_t at, const Delivery& delivery) {
        ++places_;
        samples_ += delivery.missed;
        isUnknown_ |= delivery.isMissedUnknown;
        char line[160];
        const double seconds = static_cast<double>(at) / rate_;
        if (delivery.isMissedUnknown)
            std::snprintf(line, sizeof line,
                          "at sample %llu (%.3f s): an unknown number of samples is missing",
                          static_cast<unsigned long long>(at), seconds);
        else
            std::snprintf(
                line, sizeof line,
                "at sample %llu (%.3f s): %llu samples are missing, silence stands for them",
                static_cast<unsigned long long>(at), seconds,
                static_cast<unsigned long long>(delivery.missed));
        std::fprintf(stderr, "%s\n", line);
        if (!path_.empty())
            std::ofstream(std::filesystem::path(std::u8string(path_.begin(), path_.end())),
                          places_ == 1 ? std::ios::trunc : std::ios::app)
                << line << '\n';
    }

    bool isEmpty() const { return places_ == 0; }

    std::string summary() const {
        if (places_ == 0)
            return "nothing is missing";
        std::string text = std::to_string(samples_) + " samples are missing";
        if (isUnknown_)
            text += ", and a number that can't be known";
        return text + ", in " + std::to_string(places_) + (places_ == 1 ? " place" : " places");
    }

private:
    double rate_;
    std::string path_;
    std::uint64_t places_ = 0;
    std::uint64_t samples_ = 0;
    bool isUnknown_ = false;
};

class Session {
public:
    Session(const RecordOptions& options, Target target)
        : options_(options),
          receiver_(std::move(target), options.rate),
          missed_(options.output, options.rate) {}

    ExitCode run() {
        if (!sink_.open(options_))
            return fail(sink_.error());
        lastSamples_ = lastProgress_ = platform::highResolutionSeconds();
        while (stopAsked == 0 && !isOver()) {
            const Delivery delivery = receiver_.look();
            tellState();
            if (!store(delivery))
                return fail(sink_.error());
            if (delivery.samples.empty())
                std::this_thread::sleep_for(LookInterval);
        }
        return finish();
    }

private:
    bool isOver() const {
        const double sinceSamples = platform::highResolutionSeconds() - lastSamples_;
        const double patience = recorded_ == 0 ? options_.wait : options_.idle;
        return recorded_ >= limit() || (patience > 0.0 && sinceSamples > patience);
    }

    std::uint64_t limit() const {
        return options_.seconds > 0.0
                   ? static_cast<std::uint64_t>(std::llround(options_.seconds * options_.rate))
                   : UINT64_MAX;
    }

    bool store(const Delivery& delivery) {
        if (delivery.missed > 0 || delivery.isMissedUnknown)
            missed_.add(recorded_, delivery);
        if (delivery.missed > 0 && !appendSilence(delivery.missed))
            return false;
        const std::uint64_t room = limit() - recorded_;
        const auto samples = delivery.samples.first(
            static_cast<std::size_t>(std::min<std::uint64_t>(delivery.samples.size(), room)));
        if (samples.empty())
            return true;
        if (!sink_.append(samples))
            return false;
        recorded_ += samples.size();
        lastSamples_ = platform::highResolutionSeconds();
        tellProgress();
        return true;
    }

    bool appendSilence(std::uint64_t samples) {
        const std::vector<float> silence(4096);
        for (samples = std::min(samples, limit() - recorded_); samples > 0;) {
            const auto part =
                static_cast<std::size_t>(std::min<std::uint64_t>(samples, silence.size()));
            if (!sink_.append(std::span(silence.data(), part)))
                return false;
            recorded_ += part;
            samples -= part;
        }
        return true;
    }

    // Who waits wants to know what for.
    void tellState() {
        if (options_.isQuiet || (wasTold_ && receiver_.state() == told_))
            return;
        wasTold_ = true;
        told_ = receiver_.state();
        const std::string connection = "connection " + std::to_string(receiver_.slot() + 1) +
                                       ", \"" + printable(receiver_.name()) + "\"";
        switch (told_) {
            case State::Searching:
                std::fprintf(stderr, "waiting for connection %s\n",
                             printable(options_.connection).c_str());
                break;
            case State::Receiving:
                std::fprintf(stderr, "receiving %s, input latency %d samples\n", connection.c_str(),
                             receiver_.inputLatency());
                break;
            default:
                std::fprintf(stderr, "%s is silent\n", connection.c_str());
                break;
        }
    }

    void tellProgress() {
        const double now = platform::highResolutionSeconds();
        if (options_.isQuiet || now - lastProgress_ < ProgressSeconds)
            return;
        lastProgress_ = now;
        std::fprintf(stderr, "%.0f s recorded\n", static_cast<double>(recorded_) / options_.rate);
    }

    ExitCode fail(const std::string& why) const {
        std::fprintf(stderr, "error: %s\n", why.c_str());
        return FileFault;
    }

    ExitCode finish() const {
        if (!options_.isQuiet)
            std::fprintf(stderr, "recorded %llu samples (%.3f s); %s\n",
                         static_cast<unsigned long long>(recorded_),
                         static_cast<double>(recorded_) / options_.rate, missed_.summary().c_str());
        if (recorded_ == 0)
            return NothingReceived;
        return missed_.isEmpty() ? Complete : SamplesMissed;
    }

    const RecordOptions& options_;
    Receiver receiver_;
    Sink sink_;
    MissedList missed_;
    std::uint64_t recorded_ = 0;
    double lastSamples_ = 0.0;  // high-resolution seconds
    double lastProgress_ = 0.0;
    bool wasTold_ = false;
    State told_ = State::Searching;
};

// A number from 1 to 32 is a connection's number; anything else is a name.
Target targetOf(const std::string& connection) {
    const bool isNumber = !connection.empty() && connection.size() <= 2 &&
                          connection.find_first_not_of("0123456789") == std::string::npos;
    const unsigned long number = isNumber ? std::stoul(connection) : 0;
    if (number >= 1 && number <= ConnectionSlots)
        return {static_cast<std::uint32_t>(number - 1), {}};
    return {std::nullopt, connection};
}

ExitCode record(const RecordOptions& options) {
    const auto stop = [](int) { stopAsked = 1; };
    std::signal(SIGINT, stop);
    std::signal(SIGTERM, stop);
#if defined(SIGPIPE)
    std::signal(SIGPIPE, SIG_IGN);
#endif
    return Session(options, targetOf(options.connection)).run();
}

int run(int argc, char** argv) {
    CLI::App app("Lists and records what Brimtide instances send.", "brimtide-receive");
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // paths may begin with a slash
    app.footer(
        "Examples:\n"
        "  brimtide-receive list\n"
        "  brimtide-receive record 1 -o take.wav              until Ctrl-C\n"
        "  brimtide-receive record \"Lead vocal\" -o take.wav --seconds 60\n"
        "  brimtide-receive record 2 -o - | sox - take.flac\n"
        "\n"
        "Exit status: 0 all is well, 1 the command line is wrong, 2 a file could not be written,\n"
        "3 nothing was received, 4 something is missing from the recording.");

    bool isJson = false;
    CLI::App* list = app.add_subcommand("list", "Shows the connections of this machine");
    list->add_flag("--json", isJson, "As JSON, with ages in seconds");
    list->footer(
        "Bits: U a sender owns it, F it was written to in the last 10 s, S a receiver is "
        "attached.\n"
        "Latency: the sending host's input latency in samples.");

    RecordOptions options;
    CLI::App* recording = app.add_subcommand("record", "Records a connection to a WAV file");
    recording->footer(
        "The file is mono, 32-bit float, and whole at every moment. The program waits for a\n"
        "connection that isn't there yet, and goes on when its sender stops and comes back.\n"
        "Silence stands for samples that were missed; where that is the case is told at once, and\n"
        "listed in FILE.missed.txt.");
    recording->add_option("connection", options.connection, "Its number, 1 to 32, or its name")
        ->required();
    recording->add_option("-o,--output", options.output, "The WAV file, or - for standard output")
        ->required();
    recording
        ->add_option("-r,--rate", options.rate,
                     "Sample rate of the sender in Hz, for the file's header")
        ->capture_default_str()
        ->check(CLI::Range(1000.0, 768000.0));
    recording->add_option("-s,--seconds", options.seconds, "Stops after so much audio")
        ->check(CLI::PositiveNumber);
    recording
        ->add_option("--wait", options.wait, "Gives up when nothing has come after so many seconds")
        ->check(CLI::PositiveNumber);
    recording
        ->add_option("--idle", options.idle,
                     "Stops when the sender has been silent for so many seconds")
        ->check(CLI::PositiveNumber);
    recording->add_flag("--raw", options.isRaw, "To standard output without a header");
    recording->add_flag("-f,--force", options.replaces, "Replaces an existing file");
    recording->add_flag("-q,--quiet", options.isQuiet, "Says only what goes wrong");

    std::vector<std::string> arguments = platform::commandLineArguments(argc, argv);
    std::reverse(arguments.begin(), arguments.end());  // as CLI11 wants them
    try {
        app.parse(arguments);
        if (options.isRaw && options.output != "-")
            throw CLI::ValidationError("--raw is for standard output: use -o -");
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? Complete : BadUsage;
    }

    if (recording->parsed())
        return record(options);
    const auto connections = presentConnections();
    std::cout << (isJson ? listingJson(connections) : listingText(connections));
    return Complete;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return FileFault;
    }
}
