// Files and folders by their UTF-8 paths.
// Everything rests on one rule: a path that can't be looked at counts as absent, and nothing here
// throws but for want of memory. Any thread but the audio thread.
#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::platform {

/// What stands between the components of a path that this system is given.
extern const char PathSeparator;

/// The front of an absolute path that stands before its first component's separator: a drive, "C:",
/// or a share, "\\server\name", with either kind of separator. Always empty on Linux.
std::string_view pathVolume(std::string_view path);

std::string currentFolderPath();

/// A device, a pipe or the like is neither a file nor a folder.
bool fileExists(const std::string& path);
bool folderExists(const std::string& path);

struct FileStatus {
    std::int64_t bytes;
    std::int64_t modificationTime;  // seconds since 1 January 1970 UTC
    std::int64_t changeStamp;       // the same, as finely as the system counts, in units of its own
};

/// Nothing if the path is no file.
std::optional<FileStatus> fileStatus(const std::string& path);

/// The names in a folder, without "." and "..", in the order of the system; false if it can't be
/// read. A link counts as what it leads to.
struct FolderEntries {
    std::vector<std::string> files;
    std::vector<std::string> folders;
};
bool listFolder(const std::string& path, FolderEntries& entries);

/// Makes an empty file, or one level of a folder, where nothing stands; false otherwise.
bool createFile(const std::string& path);
bool createFolder(const std::string& path);

bool removeFile(const std::string& path);

/// Opens a file in binary mode, shared with everyone; the stream's state tells the outcome.
void openStream(std::fstream& stream, const std::string& path, std::ios::openmode mode);

/// Makes `bytes` the content of a file, new or not: at every moment, also after a crash, the path
/// leads to the whole old content or the whole new one. False if it can't be done, the file is
/// write-protected, or something else than a file is there; then nothing has changed. On Linux
/// links are followed, also where they lead to nothing yet.
bool replaceFile(const std::string& path, std::string_view bytes);

}  // namespace tarn::platform
