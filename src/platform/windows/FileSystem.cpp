#include "platform/FileSystem.h"

#include "platform/windows/Text.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cwctype>
#include <filesystem>
#include <string>

namespace tarn::platform {

const char PathSeparator = '\\';

namespace {

constexpr std::string_view Separators = "\\/";

DWORD attributes(const std::string& path) {
    return ::GetFileAttributesW(wide(path).c_str());
}

bool isWriteProtected(const std::string& path) {
    const DWORD found = attributes(path);
    return found != INVALID_FILE_ATTRIBUTES && (found & FILE_ATTRIBUTE_READONLY) != 0;
}

// The attributes don't tell: "COM1.wav" may be a port, and "\\server\pipe\x.wav" is a pipe.
bool isDevice(const std::string& path) {
    const std::wstring given = wide(path);
    std::wstring full(::GetFullPathNameW(given.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(
        ::GetFullPathNameW(given.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    for (wchar_t& letter : full)
        letter = static_cast<wchar_t>(std::towlower(letter));
    if (full.starts_with(LR"(\\?\)"))
        return full.find(L':') != 5 && !full.starts_with(LR"(\\?\unc\)");
    if (!full.starts_with(LR"(\\)"))
        return false;
    const std::size_t share = std::min(full.find(L'\\', 2), full.size());
    return full.starts_with(LR"(\\.\)") || full.compare(share, 6, LR"(\pipe\)") == 0 ||
           full.compare(share, 10, LR"(\mailslot\)") == 0;
}

bool isFolder(DWORD attributes) {
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::int64_t joined(DWORD high, DWORD low) {
    return static_cast<std::int64_t>((static_cast<std::uint64_t>(high) << 32) | low);
}

std::int64_t secondsSince1970(const FILETIME& time) {
    constexpr std::int64_t TicksPerSecond = 10'000'000;      // of 100 ns
    constexpr std::int64_t From1601To1970 = 11'644'473'600;  // seconds
    return joined(time.dwHighDateTime, time.dwLowDateTime) / TicksPerSecond - From1601To1970;
}

bool writeAll(HANDLE file, std::string_view bytes) {
    constexpr std::size_t Most = 1u << 30;
    while (!bytes.empty()) {
        DWORD written = 0;
        if (!::WriteFile(file, bytes.data(), static_cast<DWORD>(std::min(bytes.size(), Most)),
                         &written, nullptr))
            return false;
        bytes.remove_prefix(written);
    }
    return true;
}

// A new file, and its path, in the folder of `path`.
HANDLE createBeside(const std::wstring& path, std::wstring& created) {
    static std::atomic<unsigned> counter{0};
    const std::size_t name = path.find_last_of(L"\\/:") + 1;  // 0 when there is no folder
    const std::wstring front =
        path.substr(0, name) + L"~new-" + std::to_wstring(::GetCurrentProcessId()) + L"-";
    HANDLE file = INVALID_HANDLE_VALUE;
    do {
        created = front + std::to_wstring(++counter);
        file = ::CreateFileW(created.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
    } while (file == INVALID_HANDLE_VALUE && ::GetLastError() == ERROR_FILE_EXISTS);
    return file;
}

bool writeWhole(HANDLE file, std::string_view bytes) {
    const bool written = writeAll(file, bytes) && ::FlushFileBuffers(file);
    return ::CloseHandle(file) && written;
}

}  // namespace

std::string_view pathVolume(std::string_view path) {
    const auto isSeparator = [path](std::size_t i) {
        return i < path.size() && Separators.find(path[i]) != std::string_view::npos;
    };
    const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    if (path.size() >= 2 && isLetter(path[0]) && path[1] == ':' &&
        (path.size() == 2 || isSeparator(2)))
        return path.substr(0, 2);
    if (!isSeparator(0) || !isSeparator(1) || path.size() == 2 || isSeparator(2))
        return {};
    const std::size_t server = path.find_first_of(Separators, 2);
    return path.substr(
        0, server == std::string_view::npos ? server : path.find_first_of(Separators, server + 1));
}

std::string currentFolderPath() {
    std::wstring path(::GetCurrentDirectoryW(0, nullptr), L'\0');
    const DWORD length = ::GetCurrentDirectoryW(static_cast<DWORD>(path.size()), path.data());
    if (length >= path.size())  // another thread moved meanwhile
        return {};
    path.resize(length);
    return utf8(path);
}

bool fileExists(const std::string& path) {
    const DWORD found = attributes(path);
    return found != INVALID_FILE_ATTRIBUTES &&
           (found & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) == 0 && !isDevice(path);
}

bool folderExists(const std::string& path) {
    const DWORD found = attributes(path);
    return found != INVALID_FILE_ATTRIBUTES && isFolder(found);
}

std::optional<FileStatus> fileStatus(const std::string& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExW(wide(path).c_str(), GetFileExInfoStandard, &data) ||
        isFolder(data.dwFileAttributes) || isDevice(path))
        return std::nullopt;
    return FileStatus{
        joined(data.nFileSizeHigh, data.nFileSizeLow), secondsSince1970(data.ftLastWriteTime),
        joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime)};
}

bool listFolder(const std::string& path, FolderEntries& entries) {
    const bool separated = !path.empty() && Separators.find(path.back()) != std::string_view::npos;
    WIN32_FIND_DATAW found{};
    HANDLE search = ::FindFirstFileW(wide(path + (separated ? "*.*" : "\\*.*")).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return folderExists(path);  // the root of an empty drive
    do {
        const std::string name = utf8(found.cFileName);
        if (name == "." || name == "..")
            continue;
        (isFolder(found.dwFileAttributes) ? entries.folders : entries.files).push_back(name);
    } while (::FindNextFileW(search, &found));
    ::FindClose(search);
    return true;
}

bool createFile(const std::string& path) {
    HANDLE file = ::CreateFileW(wide(path).c_str(), FILE_ALL_ACCESS, FILE_SHARE_READ, nullptr,
                                CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file != INVALID_HANDLE_VALUE && ::CloseHandle(file);
}

bool createFolder(const std::string& path) {
    return ::CreateDirectoryW(wide(path).c_str(), nullptr);
}

bool removeFile(const std::string& path) {
    return ::DeleteFileW(wide(path).c_str());
}

void openStream(std::fstream& stream, const std::string& path, std::ios::openmode mode) {
    stream.open(std::filesystem::path(wide(path)), mode | std::ios::binary);
}

bool replaceFile(const std::string& path, std::string_view bytes) {
    if (isWriteProtected(path))
        return false;
    const std::wstring target = wide(path);
    std::wstring fresh;
    HANDLE file = createBeside(target, fresh);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    if (!writeWhole(file, bytes) ||
        !::MoveFileExW(fresh.c_str(), target.c_str(),
                       MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        ::DeleteFileW(fresh.c_str());
        return false;
    }
    return true;
}

}  // namespace tarn::platform
