// The command line of the receiving program.
#pragma once

#include "List.h"
#include "Record.h"

#include <optional>
#include <variant>

namespace tarn::receive {

using Command = std::variant<ListOptions, RecordOptions>;

/// Nothing after --help, --version and wrong use, which are answered; `exitStatus` is then set.
std::optional<Command> parseCommandLine(int argc, char** argv, int& exitStatus);

}  // namespace tarn::receive
