// The command line as all tools read it, so that they answer --help, --version and wrong use alike.
#pragma once

#include <CLI/CLI.hpp>

namespace tarn::tools {

/// Accepts finite numbers from `least` to `most`.
CLI::Validator numberFrom(double least, double most);

/// Parses the arguments of `main` into what `app` is bound to; one of its commands is required.
/// After --help and --version, and when the command line is wrong, it prints what there is to say
/// and returns false; `exitStatus` is then the tool's.
bool parse(CLI::App& app, int argc, char** argv, int& exitStatus);

/// Writes text to standard output, and hands everything there over to the system. A `Failure` if it
/// can't be written, or if something before it couldn't.
void print(const std::string& text);

/// Runs a tool's `main`: what is thrown is told on standard error, and becomes the exit status.
int guarded(int (*main)(int, char**), int argc, char** argv);

}  // namespace tarn::tools
