// The pack maker: puts WAV files into a pack, and lists what a pack holds.
#include "common/Arguments.h"
#include "common/Failure.h"
#include "common/Text.h"
#include "foundation/File.h"
#include "samples/Pack.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace tarn;

using tools::ExitBadUse;
using tools::ExitFine;
using tools::Failure;
using tools::isSameFile;
using tools::printable;

constexpr int ExitEntriesBroken = 3;

// Paths and names may hold whatever a file's name can.
Failure badUse(const std::string& words) {
    return Failure(ExitBadUse, printable(words));
}

// The formats that a sampler plays as they were meant. Loading looks at the bits of a value alone.
bool isPlayable(const FormatChunk& format) {
    return format.valueFormat ==
           (format.bitsPerSample > 24 ? FormatChunk::Floats : FormatChunk::Integers);
}

// A name for the entry before an equals sign, unless the whole is a file.
PackedFile readEntry(const std::string& argument, const std::string& pack) {
    const std::size_t equals = argument.find('=');
    const bool isNamed = equals != std::string::npos && !File(argument).exists();
    File file(isNamed ? argument.substr(equals + 1) : argument);
    PackedFile entry;
    entry.name = isNamed ? argument.substr(0, equals) : file.getStem();
    if (entry.name.empty())
        throw badUse("'" + argument + "' has no name for the pack; NAME=FILE gives one");
    if (isSameFile(file.getPath(), pack))
        throw badUse(pack + " would be overwritten: it is to be packed itself");
    if (!file.openRead())
        throw badUse(file.getPath() + " can't be opened");
    entry.body.resize(static_cast<std::size_t>(std::max<std::int64_t>(file.getSize(), 0)));
    if (!file.getStream()->read(entry.body.data(), static_cast<std::streamsize>(entry.body.size())))
        throw badUse(file.getPath() + " can't be read");
    const auto sample = loadPacked(entry, nullptr);
    if (!sample || !isPlayable(sample->getChunks().format))
        throw badUse(file.getPath() + " is no WAV file of 8, 16 or 24 bits or 32-bit floats");
    return entry;
}

int write(const std::string& path, const std::vector<std::string>& arguments, bool replaces) {
    const File file(path);
    if (file.exists() && !replaces)
        throw badUse(path + " exists already; --force replaces it");
    std::vector<PackedFile> entries;
    std::set<std::string> names;
    for (const std::string& argument : arguments) {
        entries.push_back(readEntry(argument, path));
        if (!names.insert(entries.back().name).second)
            throw badUse("two samples would have the name " + entries.back().name +
                         "; NAME=FILE gives another");
    }
    if (!writePack(file, entries))
        throw badUse(path + " can't be written");
    tools::print(std::to_string(entries.size()) +
                 (entries.size() == 1 ? " sample in " : " samples in ") + printable(path) + "\n");
    return ExitFine;
}

void printEntry(const PackedFile& entry, const SampleWav& sample) {
    const FormatChunk& format = sample.getChunks().format;
    const double seconds = static_cast<double>(sample.getFrames()) / sample.getSampleRate();
    std::printf("%-24s %9.3f s %6d Hz %2d bit %2d ch  note %3d  %s\n",
                printable(entry.name).c_str(), seconds, sample.getSampleRate(),
                sample.getBitDepth(), format.channels, sample.getRootNote(),
                sample.getLoopMode() == Sample::NoLoop ? "" : "loop");
}

int list(const std::string& path) {
    File file(path);
    if (!file.openRead())
        throw badUse(path + " can't be opened");
    PackReader reader(*file.getStream());
    if (!reader.isPack())
        throw badUse(path + " is no pack");
    bool isBroken = false;
    for (PackedFile entry; reader.next(entry);) {
        const auto sample = loadPacked(entry, nullptr);
        isBroken |= !sample;
        if (sample)
            printEntry(entry, *sample);
        else
            std::printf("%-24s no WAV file that can be loaded, %zu bytes\n",
                        printable(entry.name).c_str(), entry.body.size());
    }
    tools::print(reader.isCutOff() ? "the file ends inside a sample\n" : "");
    return isBroken || reader.isCutOff() ? ExitEntriesBroken : ExitFine;
}

int run(int argc, char** argv) {
    CLI::App app("Makes and lists packs: files that hold many samples.", "brimtide-pack");
    app.footer(
        "Examples:\n"
        "  brimtide-pack write Drums.pack kick.wav snare.wav\n"
        "  brimtide-pack write Drums.pack kick=takes/03.wav --force\n"
        "  brimtide-pack list Drums.pack\n"
        "\n"
        "Exit status: 0 all is well; 2 the command line is wrong, or a file can't be read or\n"
        "written; 3 the pack holds something that can't be loaded.");

    std::string pack;
    std::vector<std::string> files;
    bool replaces = false;
    CLI::App* writing = app.add_subcommand("write", "Puts WAV files into a new pack");
    writing->footer(
        "FILE goes into the pack under its name without folder and extension, and NAME=FILE under\n"
        "the name given. Every file is loaded first, so that the pack holds only what can be "
        "loaded\n"
        "again.");
    writing->add_option("pack", pack, "The pack to make")->required();
    writing->add_option("files", files, "The WAV files, each as FILE or NAME=FILE")->required();
    writing->add_flag("-f,--force", replaces, "Replaces an existing pack");
    CLI::App* listing = app.add_subcommand("list", "Shows the samples of a pack");
    listing->add_option("pack", pack, "The pack to show")->required();

    int exitStatus = ExitFine;
    if (!tools::parse(app, argc, argv, exitStatus))
        return exitStatus;
    return writing->parsed() ? write(pack, files, replaces) : list(pack);
}

}  // namespace

int main(int argc, char** argv) {
    return tools::guarded(run, argc, argv);
}
