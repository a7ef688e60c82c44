#include "platform/FileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

namespace tarn::platform {

const char PathSeparator = '/';

namespace {

// A descriptor that closes itself.
class Descriptor {
public:
    explicit Descriptor(int file) noexcept : file_(file) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    explicit operator bool() const noexcept { return file_ >= 0; }
    int get() const noexcept { return file_; }

    bool close() noexcept {
        const bool closed = file_ < 0 || ::close(file_) == 0;
        file_ = -1;
        return closed;
    }

private:
    int file_;
};

bool hasKind(const std::string& path, mode_t kind) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == kind;
}

bool writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            return false;
        bytes.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return true;
}

// Where a path leads past all links of its last component, also to nothing; empty if these lead in
// a circle.
std::string linkTarget(std::string path) {
    constexpr int MostLinks = 40;  // as many as the system follows
    std::array<char, PATH_MAX> target;
    for (int links = 0; links <= MostLinks; ++links) {
        const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
        if (length < 0)
            return path;  // no link
        path.resize(target.front() == '/' ? 0 : path.rfind('/') + 1);
        path.append(target.data(), static_cast<std::size_t>(length));
    }
    return {};
}

// A folder, a device, a pipe or a socket.
bool isNoRegularFile(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

// Also for root, whom permissions don't stop.
bool isWriteProtected(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 &&
           ((status.st_mode & 0222) == 0 ||
            ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0);
}

// A new file, and its path, in the folder of `path`.
int createBeside(const std::string& path, std::string& created) {
    static std::atomic<unsigned> counter{0};
    const std::string front =
        path.substr(0, path.rfind('/') + 1) + ".new-" + std::to_string(::getpid()) + "-";
    int file = -1;
    do {
        created = front + std::to_string(++counter);
        file = ::open(created.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (file < 0 && errno == EEXIST);
    return file;
}

bool writeWhole(Descriptor& file, const std::string& replaced, std::string_view bytes) {
    struct stat old {};
    if (::stat(replaced.c_str(), &old) == 0)
        ::fchmod(file.get(), old.st_mode & 07777);
    return writeAll(file.get(), bytes) && ::fsync(file.get()) == 0 && file.close();
}

// Makes a change of names in the folder of `path` last through a crash, as far as the file system
// can.
void syncFolderOf(const std::string& path) {
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    const Descriptor file(
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (file)
        ::fsync(file.get());
}

}  // namespace

std::string_view pathVolume(std::string_view /*path*/) {
    return {};
}

std::string currentFolderPath() {
    const std::unique_ptr<char, decltype(&std::free)> path(::realpath(".", nullptr), &std::free);
    return path ? path.get() : "";
}

bool fileExists(const std::string& path) {
    return hasKind(path, S_IFREG);
}

bool folderExists(const std::string& path) {
    return hasKind(path, S_IFDIR);
}

std::optional<FileStatus> fileStatus(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    constexpr std::int64_t Nanoseconds = 1'000'000'000;
    const timespec& time = status.st_mtim;
    return FileStatus{status.st_size, time.tv_sec, time.tv_sec * Nanoseconds + time.tv_nsec};
}

bool listFolder(const std::string& path, FolderEntries& entries) {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(path.c_str()), ::closedir);
    if (!folder)
        return false;
    // Safe on a stream that no other thread has.
    while (const dirent* entry = ::readdir(folder.get())) {  // NOLINT(concurrency-mt-unsafe)
        const std::string name = entry->d_name;
        struct stat status {};
        if (name == "." || name == ".." ||
            ::fstatat(::dirfd(folder.get()), entry->d_name, &status, 0) != 0)
            continue;
        if (S_ISDIR(status.st_mode))
            entries.folders.push_back(name);
        else if (S_ISREG(status.st_mode))
            entries.files.push_back(name);
    }
    return true;
}

bool createFile(const std::string& path) {
    return static_cast<bool>(
        Descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666)));
}

bool createFolder(const std::string& path) {
    return ::mkdir(path.c_str(), 0777) == 0;
}

bool removeFile(const std::string& path) {
    return ::unlink(path.c_str()) == 0;
}

void openStream(std::fstream& stream, const std::string& path, std::ios::openmode mode) {
    stream.open(path, mode | std::ios::binary);
}

bool replaceFile(const std::string& path, std::string_view bytes) {
    const std::string target = linkTarget(path);
    if (target.empty() || isNoRegularFile(target) || isWriteProtected(target))
        return false;
    std::string fresh;
    Descriptor file(createBeside(target, fresh));
    if (!file)
        return false;
    if (!writeWhole(file, target, bytes) || ::rename(fresh.c_str(), target.c_str()) != 0) {
        ::unlink(fresh.c_str());
        return false;
    }
    syncFolderOf(target);
    return true;
}

}  // namespace tarn::platform
