// The command line of the host.
#include "common/Arguments.h"
#include "host/Edit.h"
#include "host/Failure.h"
#include "host/Play.h"
#include "host/Report.h"
#include "host/Script.h"
#include "platform/StandardOutput.h"

#include <csignal>
#include <cstdio>
#include <iostream>
#include <map>

namespace tarn::host {

namespace {

using tools::numberFrom;

constexpr const char* kFooter = R"(Examples:
  brimtide-host info Plugin.dll --json
  brimtide-host play Plugin.dll --input in.wav --output out.wav
  brimtide-host play Plugin.dll --signal ramp --seconds 60 --block 1:16384 --sent sent.wav
  brimtide-host play Plugin.dll --signal noise --realtime --set Mute=1@2.5 --set Mute=0@3
  brimtide-host play Plugin.dll --text "Name=Lead vocal" --save-chunk state.xml
  brimtide-host edit Plugin.dll --do "click left 100 60" --do "screenshot clicked.png"

Exit status: 0 all is well; 1 the plug-in broke a rule of the interface, or isn't what a script
expects, which standard error tells;
2 the command line is wrong, or a file can't be read or written; 3 the plug-in could not be loaded
or gave no instance.)";

struct CommandLine {
    std::string plugin;  // to be described
    bool isJson = false;
    PlayOptions play;
    EditOptions edit;
    std::string block = "512";
    std::string channels;
    std::vector<std::string> settings;
    std::vector<std::string> textSettings;
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
    CLI::App& command =
        *app.add_subcommand("info", "Shows everything that a plug-in reports of itself.");
    command.add_option("plugin", line.plugin, "The plug-in's library")->required();
    command.add_flag("--json", line.isJson, "Prints JSON");
    return command;
}

void addSignal(CLI::App& command, PlayOptions& play) {
    static const std::map<std::string, SignalKind> signals = {
        {"sine", SignalKind::Sine},       {"ramp", SignalKind::Ramp},
        {"noise", SignalKind::Noise},     {"sweep", SignalKind::Sweep},
        {"impulse", SignalKind::Impulse}, {"silence", SignalKind::Silence}};
    auto* input = command.add_option("--input", play.input, "WAV file to play into the plug-in");
    command
        .add_option("--signal", play.signal.kind, "Signal to play into the plug-in (default sine)")
        ->transform(CLI::CheckedTransformer(signals))
        ->option_text("sine|ramp|noise|sweep|impulse|silence")
        ->excludes(input);
    command
        .add_option("--frequency", play.signal.frequency,
                    "Frequency of the sine in Hz (default 440)")
        ->check(numberFrom(0.0, 1e6));
    command
        .add_option("--level", play.signal.level,
                    "Gain of the signal, a factor and not dB (default 1)")
        ->check(numberFrom(-1e6, 1e6));
    command.add_option("--seed", play.seed,
                       "Start of the noise and of random block sizes: equal seeds give equal runs "
                       "(default 1)");
}

void addExtent(CLI::App& command, CommandLine& line) {
    PlayOptions& play = line.play;
    command
        .add_option("--rate", play.rate,
                    "Sample rate in Hz (default: the input file's, else 44100)")
        ->check(numberFrom(1.0, 1e7));
    auto* seconds = command
                        .add_option("--seconds", play.seconds,
                                    "Length in seconds (default: the input file's, else 10)")
                        ->check(numberFrom(0.0, 1e9));
    command.add_option("--frames", play.frames, "Length in frames, instead of --seconds")
        ->check(numberFrom(0, 0x1p48))
        ->excludes(seconds);
    command.add_option("--channels", line.channels,
                       "Channels that the plug-in is asked for: 1, 2, or IN:OUT such as 1:2 "
                       "(default: the input file's, else 2)");
    command.add_option("--block", line.block,
                       "Frames of a block: N, or MIN:MAX for random sizes (default 512)");
    command
        .add_option("--announce", play.announcedBlock,
                    "Largest block size that the plug-in is told (default: the largest played)")
        ->check(numberFrom(1, 1 << 22));
    command.add_flag("--realtime", play.isRealTime,
                     "Plays at real-time speed, not as fast as possible");
    command
        .add_option("--linger", play.linger,
                    "Seconds to keep the plug-in open, but suspended, after the end (default 0)")
        ->check(numberFrom(0.0, 1e6));
}

void addStart(CLI::App& command, CommandLine& line, std::string& chunk) {
    command
        .add_option("--text", line.textSettings,
                    "Sets a parameter at the start by what a user would type, such as a name")
        ->option_text("INDEX|NAME=TEXT ...")
        ->allow_extra_args(false);
    command.add_option("--load-chunk", chunk,
                       "File with a saved state, which the plug-in restores at the start");
}

void addPlay(CLI::App& app, CommandLine& line) {
    PlayOptions& play = line.play;
    CLI::App& command = *app.add_subcommand("play", "Plays a file or a signal through a plug-in.");
    command.add_option("plugin", play.plugin, "The plug-in's library")->required();
    addSignal(command, play);
    command.add_option("--output", play.output, "WAV file for what the plug-in puts out");
    command.add_option("--sent", play.sent, "WAV file for exactly what the plug-in was given");
    addExtent(command, line);
    command.add_flag("--in-place", play.isInPlace,
                     "Gives the plug-in the same buffers for inputs and outputs");
    command
        .add_option("--set", line.settings,
                    "Sets a parameter to a value from 0 to 1, at the start or after some seconds")
        ->option_text("INDEX|NAME=VALUE[@SECONDS] ...")
        ->allow_extra_args(false);
    addStart(command, line, play.loadChunk);
    command.add_option("--save-chunk", play.saveChunk, "File for the plug-in's state at the end");
    command
        .add_option("--instances", play.instances,
                    "Instances that play the same audio in parallel (default 1)")
        ->check(numberFrom(1, 10000));
    command.add_option("--input-latency", play.inputLatency,
                       "Input latency in samples that the plug-in is told (default 0)");
}

CLI::App& addEdit(CLI::App& app, CommandLine& line) {
    EditOptions& edit = line.edit;
    CLI::App& command = *app.add_subcommand(
        "edit", "Opens a plug-in's interface while audio plays, and plays its user.");
    command.footer(scriptHelp());
    command.add_option("plugin", edit.plugin, "The plug-in's library")->required();
    command.add_option("--script", edit.script,
                       "File with what the user does; without any, it is you, until you close the "
                       "window");
    command.add_option("--do", edit.steps, "A line of such a script, after the file's")
        ->option_text("STEP ...")
        ->allow_extra_args(false);
    command
        .add_option("--times", edit.times,
                    "Opens and closes the interface so often at the end, and tells what stays "
                    "behind")
        ->check(numberFrom(1, 1'000'000));
    command
        .add_option("--instances", edit.instances,
                    "Instances, each with a window; the script plays in the first (default 1)")
        ->check(numberFrom(1, 100));
    addStart(command, line, edit.loadChunk);
    return command;
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
        throw Failure(ExitBadUse, "standard output can't be written to; is the disk full?");
}

void runPlay(CommandLine& line, Findings& findings) {
    line.play.block = parseBlockSizes(line.block);
    if (!line.channels.empty())
        parseChannels(line.channels, line.play);
    for (const std::string& setting : line.settings)
        line.play.settings.push_back(parseSetting(setting));
    for (const std::string& setting : line.textSettings)
        line.play.textSettings.push_back(parseTextSetting(setting));
    std::signal(SIGINT, stop);
    std::signal(SIGTERM, stop);
    play(line.play, findings);
}

void runEdit(CommandLine& line, Findings& findings) {
    for (const std::string& setting : line.textSettings)
        line.edit.textSettings.push_back(parseTextSetting(setting));
    edit(line.edit, findings);
}

int run(int argc, char** argv) {
    CommandLine line;
    CLI::App app("A console host for VST 2.4 plug-ins, which checks that they keep the rules.",
                 "brimtide-host");
    app.footer(kFooter);
    const CLI::App& info = addInfo(app, line);
    const CLI::App& edits = addEdit(app, line);
    addPlay(app, line);
    int exitStatus = ExitFine;
    if (!tools::parse(app, argc, argv, exitStatus))
        return exitStatus;

    Findings findings;
    if (info.parsed())
        runInfo(line, findings);
    else if (edits.parsed())
        runEdit(line, findings);
    else
        runPlay(line, findings);
    std::cerr << findings.repetitions();
    return findings.empty() ? ExitFine : ExitRulesBroken;
}

}  // namespace

}  // namespace tarn::host

int main(int argc, char** argv) {
    return tarn::tools::guarded(tarn::host::run, argc, argv);
}
