// Tools as their users meet them: started with arguments, judged by exit status, output and files.
#pragma once

#include "support/ScratchFolder.h"

#include <chrono>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace tarn::test {

/// A folder whose path a command line can hold on every system.
struct ToolFolder : ScratchFolder {
    ToolFolder() : ScratchFolder("brimtide-test-") {}
    std::string operator/(const std::string& name) const { return path(name); }
};

struct ToolResult {
    int exitStatus;
    std::string output;  // as text, and so are the errors
    std::string errors;
    std::string bytes;  // of the output
};

/// Starts a program and waits for its end. Arguments hold no quotes. What it prints goes through
/// the folder.
inline ToolResult runTool(const std::string& program, const std::vector<std::string>& arguments,
                          const ToolFolder& folder = {}) {
    // A line that begins with a quote loses it on Windows.
    std::string line =
        "cd . && \"" + std::filesystem::absolute(program).make_preferred().string() + '"';
    for (const std::string& argument : arguments)
        line += " \"" + argument + '"';
    line += " >\"" + (folder / "output") + "\" 2>\"" + (folder / "errors") + '"';
    const int status = std::system(line.c_str());  // NOLINT(concurrency-mt-unsafe)
    const std::string bytes = folder.read("output");
    std::string output = bytes, errors = folder.read("errors");
    std::erase(output, '\r');
    std::erase(errors, '\r');
    // Exit statuses are small; POSIX keeps them in the second byte.
    return {status >= 256 ? status / 256 : status, output, errors, bytes};
}

/// A program that runs beside the test.
class RunningTool {
public:
    RunningTool(const std::string& program, const std::vector<std::string>& arguments)
        : result_(std::async(std::launch::async, [this, program, arguments] {
              return runTool(program, arguments, folder_);
          })) {}

    bool isRunning() const {
        return result_.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
    }

    /// Waits until it has said something on standard error, or has ended.
    void awaitWords(const std::string& words) const {
        while (isRunning() && folder_.read("errors").find(words) == std::string::npos)
            std::this_thread::yield();
    }

    ToolResult result() { return result_.get(); }

private:
    ToolFolder folder_;
    std::future<ToolResult> result_;
};

}  // namespace tarn::test
