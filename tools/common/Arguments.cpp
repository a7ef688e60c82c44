#include "common/Arguments.h"

#include "common/Failure.h"
#include "platform/CommandLine.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iomanip>
#include <sstream>

namespace tarn::tools {

namespace {

std::string textOf(double number) {
    std::ostringstream text;
    text << std::setprecision(15) << number;
    return text.str();
}

std::string listOf(const std::vector<const CLI::App*>& commands) {
    std::string names;
    for (const CLI::App* command : commands)
        names += (names.empty() ? "" : ", ") + command->get_name();
    return names;
}

// The parser only says that a command is lacking, also when it got one that it doesn't know.
std::string wordsOf(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining();
    if (!app.get_subcommands().empty())
        return error.what();
    if (!unknown.empty() && unknown.front().starts_with('-'))
        return "unknown option '" + unknown.front() + "'";
    return (unknown.empty() ? "a command is required"
                            : "unknown command '" + unknown.front() + "'") +
           "; the commands are: " + listOf(app.get_subcommands({}));
}

std::string helpCommandOf(const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    return app.get_name() + (chosen.empty() ? "" : " " + chosen.front()->get_name()) + " --help";
}

}  // namespace

CLI::Validator numberFrom(double least, double most) {
    const std::string range = textOf(least) + " to " + textOf(most);
    const auto check = [=](const std::string& text) {
        double number = 0.0;
        const bool isNumber = CLI::detail::lexical_cast(text, number) && std::isfinite(number);
        if (isNumber && number >= least && number <= most)
            return std::string();
        return "'" + text + "' is no number from " + range;
    };
    return CLI::Validator(check, range);
}

bool parse(CLI::App& app, int argc, char** argv, int& exitStatus) {
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // a path may begin with a slash
    for (CLI::App* command : app.get_subcommands({}))
        command->allow_windows_style_options(false);
    app.set_version_flag("--version", app.get_name() + " " BRIMTIDE_VERSION,
                         "Prints the version and ends");
    std::vector<std::string> arguments = platform::commandLineArguments(argc, argv);
    std::reverse(arguments.begin(), arguments.end());  // CLI11 takes them from the end
    try {
        app.parse(arguments);
        return true;
    } catch (const CLI::CallForHelp&) {
        print(app.help());
        exitStatus = ExitFine;
    } catch (const CLI::CallForVersion& version) {
        print(version.what() + std::string("\n"));
        exitStatus = ExitFine;
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "error: %s\n'%s' tells more.\n", wordsOf(app, error).c_str(),
                     helpCommandOf(app).c_str());
        exitStatus = ExitBadUse;
    }
    return false;
}

void print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        throw Failure(ExitBadUse, "standard output can't be written to; is the disk full?");
}

int guarded(int (*main)(int, char**), int argc, char** argv) {
    try {
        return main(argc, argv);
    } catch (const Failure& failure) {
        std::fprintf(stderr, "error: %s\n", failure.what());
        return failure.exitStatus();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return ExitBadUse;
    }
}

}  // namespace tarn::tools
