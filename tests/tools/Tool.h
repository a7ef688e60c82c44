// Tools as their users meet them: started with arguments, judged by exit status, output and files.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace tarn::test {

namespace fs = std::filesystem;

/// A folder that goes with the test.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::random_device random;
        do
            path_ = fs::temp_directory_path() / ("brimtide-test-" + std::to_string(random()));
        while (!fs::create_directory(path_));
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }

    std::string operator/(const std::string& name) const { return (path_ / name).string(); }

private:
    fs::path path_;
};

inline std::string contentOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(stream), {}};
    std::erase(content, '\r');
    return content;
}

struct ToolResult {
    int exitStatus;
    std::string output;
    std::string errors;
};

/// Starts a program and waits for its end. Arguments hold no quotes.
inline ToolResult runTool(const std::string& program, const std::vector<std::string>& arguments) {
    const TemporaryFolder folder;
    // A line that begins with a quote loses it on Windows.
    std::string line = "cd . && \"" + fs::absolute(program).make_preferred().string() + '"';
    for (const std::string& argument : arguments)
        line += " \"" + argument + '"';
    line += " >\"" + (folder / "output") + "\" 2>\"" + (folder / "errors") + '"';
    const int status = std::system(line.c_str());  // NOLINT(concurrency-mt-unsafe)
    // Exit statuses are small; POSIX keeps them in the second byte.
    return {status >= 256 ? status / 256 : status, contentOf(folder / "output"),
            contentOf(folder / "errors")};
}

}  // namespace tarn::test
