#include "CommandLine.h"

#include "ExitStatus.h"
#include "common/Arguments.h"

namespace tarn::receive {

namespace {

using tools::numberFrom;

constexpr double LongestTime = 1e9;  // seconds

constexpr const char* Footer = R"(Examples:
  brimtide-receive list
  brimtide-receive record -o take.wav               the one that sends, until Ctrl-C
  brimtide-receive record 1 -o take.wav
  brimtide-receive record "Lead vocal" -o take.wav --seconds 60
  brimtide-receive record 2 -o - | sox - take.flac

Exit status: 0 all is well, and a recording is complete;
2 the command line is wrong, or a file can't be read or written; 3 nothing was received;
4 something is missing from the recording;
5 no gap was seen in it, but the sender is an older one that can't tell whether there was any.)";

constexpr const char* ListFooter =
    R"(With --json, each connection has these keys; what isn't known is null:
  number, name    of the connection
  state           sending, paused (for a second or more), waiting (for its first samples),
                  gone (the sender ended without closing it), lost (so may it have), or
                  ended (the sender closed it)
  lastWriteAge    seconds since samples came
  inputLatency    of the sending host, in samples
  levelDbfs       peak of the last 4800 samples in dBFS; null for silence too
  receivers       programs that listen
  rate            in Hz
  samplesSent     since the sender began
  offline, muted  whether the host renders offline, and whether the track's output is muted
  host, product   the names of the sending host and plug-in)";

constexpr const char* RecordFooter =
    R"(The file is mono, 32-bit float, and whole at every moment. The program waits for a connection that
isn't there yet, and goes on when its sender pauses, or is closed and comes back. Press Ctrl-C to
stop. A recording of nothing leaves no file.

What was missed is replaced by silence, up to an hour in one place. Each place is told at once, and
listed in FILE.missed.txt. When the sender changes its rate, another file begins: after take.wav
comes "take 2.wav".)";

void addList(CLI::App& app, ListOptions& options) {
    CLI::App& command = *app.add_subcommand("list", "Shows the connections of this machine");
    command.footer(ListFooter);
    CLI::Option* json = command.add_flag("--json", options.isJson, "Prints JSON, for programs");
    command.add_flag("--watch", options.isWatched, "Shows them with their levels, until Ctrl-C")
        ->excludes(json);
}

void addEnds(CLI::App& command, RecordOptions& options) {
    const auto addTime = [&](const char* name, std::optional<double>& time, const char* words) {
        command.add_option(name, time, words)
            ->type_name("SECONDS")
            ->check(numberFrom(0.001, LongestTime));
    };
    addTime("-s,--seconds", options.seconds, "Stops after so many seconds of audio");
    addTime("--wait", options.wait, "Gives up when nothing at all has come within so many seconds");
    addTime("--idle", options.idle, "Stops when nothing more has come for so many seconds");
    command.add_flag("--until-end", options.stopsAtEnd,
                     "Stops when the sender is closed, or its host ends");
    command.add_flag("--stop-at-rate-change", options.stopsAtRateChange,
                     "Stops when the sender changes its rate, instead of beginning another file");
}

void addRecord(CLI::App& app, RecordOptions& options) {
    CLI::App& command = *app.add_subcommand("record", "Records a connection to a WAV file");
    command.footer(RecordFooter);
    command
        .add_option("connection", options.connection,
                    "Its number, 1 to 32, or its name; without, the one that sends")
        ->type_name("NUMBER|NAME");
    command
        .add_option("-o,--output", options.output, "The WAV file to make, or - for standard output")
        ->type_name("FILE")
        ->required();
    command
        .add_option(
            "-r,--rate", options.rate,
            "Sample rate in Hz of an older sender, which doesn't tell it (default: measured)")
        ->type_name("HZ")
        ->check(numberFrom(1000, 768000));
    addEnds(command, options);
    command.add_flag("--raw", options.isRaw, "Writes no header to standard output, only samples");
    command.add_flag("-f,--force", options.replaces, "Replaces existing files");
    command.add_flag("-q,--quiet", options.isQuiet, "Says only what goes wrong");
}

}  // namespace

std::optional<Command> parseCommandLine(int argc, char** argv, int& exitStatus) {
    CLI::App app("Lists and records what Brimtide instances send.", "brimtide-receive");
    app.footer(Footer);
    ListOptions list;
    RecordOptions record;
    addList(app, list);
    addRecord(app, record);
    if (!tools::parse(app, argc, argv, exitStatus))
        return std::nullopt;
    if (app.got_subcommand("list"))
        return list;
    if (record.isRaw && record.output != "-")
        throw Failure(ExitBadUse, "--raw is for standard output: add -o -");
    return record;
}

}  // namespace tarn::receive
