// The command line of the host.
#include "host/Failure.h"
#include "host/Play.h"
#include "host/Report.h"
#include "platform/CommandLine.h"
#include "platform/StandardOutput.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <map>

namespace tarn::host {

namespace {

constexpr const char* kFooter = R"(Examples:
  brimtide-host info Plugin.dll --json
  brimtide-host play Plugin.dll --input in.wav --output out.wav
  brimtide-host play Plugin.dll --signal ramp --seconds 60 --block 1:16384 --sent sent.wav
  brimtide-host play Plugin.dll --signal noise --realtime --set 0=1@2.5 --set 0=0@3

Exit status: 0 all is well; 1 the plug-in broke a rule of the interface, which standard error tells;
2 the command line or a file is at fault; 3 the plug-in could not be loaded or gave no instance.)";

struct CommandLine {
    std::string plugin;  // to be described
    bool isJson = false;
    PlayOptions play;
    std::string block = "512";
    std::string channels;
    std::vector<std::string> settings;
};

// "1", "2" or "1:2".
void parseChannels(const std::string& text, PlayOptions& options) {
    const auto isCount = [](char letter) { return letter == '1' || letter == '2'; };
    const bool isSingle = text.size() == 1 && isCount(text[0]);
    const bool isPair = text.size() == 3 && isCount(text[0]) && text[1] == ':' && isCount(text[2]);
    if (!isSingle && !isPair)
        throw Failure(ExitBadUse, "'" + text + "' are no channels: give 1, 2, 1:2 or 2:1");
    options.inputs = text.front() - '0';
    options.outputs = text.back() - '0';
}

CLI::App& addInfo(CLI::App& app, CommandLine& line) {
    CLI::App& command = *app.add_subcommand("info", "Lists what a plug-in reports.");
    command.add_option("plugin", line.plugin, "The plug-in's library")->required();
    command.add_flag("--json", line.isJson, "As JSON");
    return command;
}

void addPlay(CLI::App& app, CommandLine& line) {
    static const std::map<std::string, SignalKind> signals = {
        {"sine", SignalKind::Sine},       {"ramp", SignalKind::Ramp},
        {"noise", SignalKind::Noise},     {"sweep", SignalKind::Sweep},
        {"impulse", SignalKind::Impulse}, {"silence", SignalKind::Silence}};
    PlayOptions& play = line.play;
    CLI::App& command = *app.add_subcommand("play", "Plays a file or a signal through a plug-in.");
    command.add_option("plugin", play.plugin, "The plug-in's library")->required();

    auto* input = command.add_option("--input", play.input, "WAV that goes into the plug-in");
    command.add_option("--signal", play.signal.kind, "Signal that goes into the plug-in; a sine")
        ->transform(CLI::CheckedTransformer(signals))
        ->option_text("sine|ramp|noise|sweep|impulse|silence")
        ->excludes(input);
    command.add_option("--frequency", play.signal.frequency, "Of the sine, in Hz; 440")
        ->check(CLI::Range(0.0, 1e6));
    command.add_option("--level", play.signal.level, "Gain of the signal; 1")
        ->check(CLI::Range(-1e6, 1e6));
    command.add_option("--seed", play.seed, "Of the noise and of random block sizes; 1");
    command.add_option("--output", play.output, "WAV for what comes out");
    command.add_option("--sent", play.sent, "WAV for exactly what went in");

    command.add_option("--rate", play.rate, "Hz; the file's, or 44100")
        ->check(CLI::Range(1.0, 1e7));
    auto* seconds = command.add_option("--seconds", play.seconds, "Length; the file's, or 10")
                        ->check(CLI::Range(0.0, 1e9));
    command.add_option("--frames", play.frames, "Length in frames")
        ->check(CLI::Range(std::int64_t{0}, std::int64_t{1} << 48))
        ->excludes(seconds);
    command.add_option("--channels", line.channels, "Asked for: 1, 2, or IN:OUT; the file's, or 2");
    command.add_option("--block", line.block, "Frames of a block, N or at random MIN:MAX; 512");
    command
        .add_option("--announce", play.announcedBlock,
                    "Block size that the plug-in is told; the largest")
        ->check(CLI::Range(1, 1 << 22));
    command.add_flag("--realtime", play.isRealTime, "Plays as fast as it is heard");
    command.add_flag("--in-place", play.isInPlace, "Outputs lie in the inputs' buffers");

    command.add_option("--set", line.settings, "Sets a parameter at the start, or before a moment")
        ->option_text("INDEX|NAME=VALUE[@SECONDS] ...")
        ->allow_extra_args(false);
    command.add_option("--load-chunk", play.loadChunk, "File whose bytes the plug-in restores");
    command.add_option("--save-chunk", play.saveChunk, "File for the plug-in's chunk, at the end");
    command.add_option("--instances", play.instances, "That play the same at once; 1")
        ->check(CLI::Range(1, 10000));
    command.add_option("--input-latency", play.inputLatency,
                       "Samples that the plug-in is told when it asks; 0");
    command
        .add_option("--linger", play.linger,
                    "Seconds that the plug-in stays open, suspended, at the end; 0")
        ->check(CLI::Range(0.0, 1e6));
}

void stop(int signal) {
    stopPlaying();
    std::signal(signal, SIG_DFL);  // the next one ends the process
}

void runInfo(const CommandLine& line, Findings& findings) {
    std::FILE* output = platform::takeStandardOutput();  // from plug-ins that print
    const std::string text = reportOf(line.plugin, line.isJson, findings);
    const bool isWritten = output != nullptr && std::fputs(text.c_str(), output) >= 0;
    if (output == nullptr || std::fclose(output) != 0 || !isWritten)
        throw Failure(ExitBadUse, "can't write to standard output");
}

void runPlay(CommandLine& line, Findings& findings) {
    line.play.block = parseBlockSizes(line.block);
    if (!line.channels.empty())
        parseChannels(line.channels, line.play);
    for (const std::string& setting : line.settings)
        line.play.settings.push_back(parseSetting(setting));
    std::signal(SIGINT, stop);
    std::signal(SIGTERM, stop);
    play(line.play, findings);
}

int run(std::vector<std::string> arguments) {
    CommandLine line;
    CLI::App app("A VST 2.4 host for the console, as strict as hosts can be.", "brimtide-host");
    app.footer(kFooter);
    app.allow_windows_style_options(false);  // a path may begin with a slash
    app.require_subcommand(1);
    const CLI::App& info = addInfo(app, line);
    addPlay(app, line);
    try {
        std::reverse(arguments.begin(), arguments.end());  // CLI11 takes them from the end
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ExitFine : ExitBadUse;
    }

    Findings findings;
    try {
        if (info.parsed())
            runInfo(line, findings);
        else
            runPlay(line, findings);
    } catch (const Failure& failure) {
        std::cerr << "error: " << failure.what() << '\n';
        return failure.code();
    }
    std::cerr << findings.repetitions();
    return findings.empty() ? ExitFine : ExitRulesBroken;
}

}  // namespace

}  // namespace tarn::host

int main(int argc, char** argv) try {
    return tarn::host::run(tarn::platform::commandLineArguments(argc, argv));
} catch (const std::exception& error) {
    std::cerr << "error: " << error.what() << '\n';
    return tarn::host::ExitBadUse;
}
