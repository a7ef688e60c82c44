// The pack maker: puts WAV files into a pack, and lists what a pack holds.
#include "foundation/File.h"
#include "platform/CommandLine.h"
#include "samples/Pack.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace tarn;

enum ExitCode { Complete = 0, BadUsage = 1, FileFault = 2, EntriesBroken = 3 };

struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A name for the entry before an equals sign, unless the whole is a file.
PackedFile readEntry(const std::string& argument) {
    const std::size_t equals = argument.find('=');
    const bool isNamed = equals != std::string::npos && !File(argument).exists();
    File file(isNamed ? argument.substr(equals + 1) : argument);
    PackedFile entry;
    entry.name = isNamed ? argument.substr(0, equals) : file.getStem();
    if (entry.name.empty())
        throw Failure("an entry needs a name: " + argument);
    if (!file.openRead())
        throw Failure("can't be opened: " + file.getPath());
    entry.body.resize(static_cast<std::size_t>(std::max<std::int64_t>(file.getSize(), 0)));
    if (!file.getStream()->read(entry.body.data(), static_cast<std::streamsize>(entry.body.size())))
        throw Failure("can't be read: " + file.getPath());
    if (!loadPacked(entry, nullptr))
        throw Failure("no WAV file of 8, 16 or 24 bits or 32-bit floats: " + file.getPath());
    return entry;
}

ExitCode write(const std::string& path, const std::vector<std::string>& arguments, bool replaces) {
    const File file(path);
    if (file.exists() && !replaces)
        throw Failure("exists already, --force replaces it: " + path);
    std::vector<PackedFile> entries;
    std::set<std::string> names;
    for (const std::string& argument : arguments) {
        entries.push_back(readEntry(argument));
        if (!names.insert(entries.back().name).second)
            throw Failure("two entries have the name " + entries.back().name +
                          "; NAME=FILE gives another");
    }
    if (!writePack(file, entries))
        throw Failure("can't be written: " + path);
    std::printf("%zu %s in %s\n", entries.size(), entries.size() == 1 ? "sample" : "samples",
                path.c_str());
    return Complete;
}

void printEntry(const PackedFile& entry, const SampleWav& sample) {
    const FormatChunk& format = sample.getChunks().format;
    const double seconds = static_cast<double>(sample.getFrames()) / sample.getSampleRate();
    std::printf("%-24s %9.3f s %6d Hz %2d bit %2d ch  note %3d  %s\n", entry.name.c_str(), seconds,
                sample.getSampleRate(), sample.getBitDepth(), format.channels, sample.getRootNote(),
                sample.getLoopMode() == Sample::NoLoop ? "" : "loop");
}

ExitCode list(const std::string& path) {
    File file(path);
    if (!file.openRead())
        throw Failure("can't be opened: " + path);
    PackReader reader(*file.getStream());
    if (!reader.isPack())
        throw Failure("no pack: " + path);
    bool isBroken = false;
    for (PackedFile entry; reader.next(entry);) {
        const auto sample = loadPacked(entry, nullptr);
        isBroken |= !sample;
        if (sample)
            printEntry(entry, *sample);
        else
            std::printf("%-24s no WAV file that can be loaded, %zu bytes\n", entry.name.c_str(),
                        entry.body.size());
    }
    if (reader.isCutOff())
        std::printf("the file ends inside an entry\n");
    return isBroken || reader.isCutOff() ? EntriesBroken : Complete;
}

int run(int argc, char** argv) {
    CLI::App app("Makes and lists packs of samples.", "brimtide-pack");
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // paths may begin with a slash
    app.footer(
        "Examples:\n"
        "  brimtide-pack write Drums.pack kick.wav snare.wav\n"
        "  brimtide-pack write Drums.pack kick=takes/03.wav --force\n"
        "  brimtide-pack list Drums.pack\n"
        "\n"
        "Exit status: 0 all is well, 1 the command line is wrong, 2 a file can't be read or\n"
        "written, 3 the pack holds what can't be loaded.");

    std::string pack;
    std::vector<std::string> files;
    bool replaces = false;
    CLI::App* writing = app.add_subcommand("write", "Puts WAV files into a new pack");
    writing->footer(
        "An entry has its file's name without folder and extension, or the one before the equals\n"
        "sign. Every file is loaded first, so that a pack holds nothing that can't be.");
    writing->add_option("pack", pack, "The pack to make")->required();
    writing->add_option("files", files, "WAV files: FILE or NAME=FILE")->required();
    writing->add_flag("-f,--force", replaces, "Replaces an existing file");
    CLI::App* listing = app.add_subcommand("list", "Shows the samples of a pack");
    listing->add_option("pack", pack, "The pack")->required();

    std::vector<std::string> arguments = platform::commandLineArguments(argc, argv);
    std::reverse(arguments.begin(), arguments.end());  // as CLI11 wants them
    try {
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? Complete : BadUsage;
    }
    return writing->parsed() ? write(pack, files, replaces) : list(pack);
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
