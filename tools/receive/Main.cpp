// The receiving program: lists the connections of the machine, and records one.
#include "CommandLine.h"
#include "ExitStatus.h"
#include "common/Arguments.h"

namespace tarn::receive {

namespace {

int run(int argc, char** argv) {
    int exitStatus = ExitFine;
    const std::optional<Command> command = parseCommandLine(argc, argv, exitStatus);
    if (!command)
        return exitStatus;
    if (const auto* options = std::get_if<RecordOptions>(&*command))
        return record(*options);
    list(std::get<ListOptions>(*command));
    return ExitFine;
}

}  // namespace

}  // namespace tarn::receive

int main(int argc, char** argv) {
    return tarn::tools::guarded(tarn::receive::run, argc, argv);
}
