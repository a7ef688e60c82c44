#include "platform/Process.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <stdexcept>

namespace tarn::platform {

namespace {

ProcessName nameOf(std::uint32_t id, std::uint32_t startMs) noexcept {
    return static_cast<ProcessName>(startMs) << 32 | id;
}

struct ProcessStatus {
    std::uint32_t startMs;  // since the machine started
    bool isZombie;
};

// As much of the process's one line as there is room for, with a zero behind it; nothing if it
// can't be read.
void readStatus(std::uint32_t id, std::span<char> text) noexcept {
    char path[32];
    std::snprintf(path, sizeof path, "/proc/%u/stat", id);
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return;
    const ssize_t bytes = ::read(file, text.data(), text.size() - 1);
    text[static_cast<std::size_t>(std::max<ssize_t>(bytes, 0))] = '\0';
    ::close(file);
}

// What /proc tells of a process: nothing if there is no such process or it can't be looked at.
std::optional<ProcessStatus> statusOf(std::uint32_t id) noexcept {
    char text[1024] = "";
    readStatus(id, text);
    // The second field is the program's name in parentheses, and may hold any character.
    const char* nameEnd = std::strrchr(text, ')');
    if (nameEnd == nullptr)
        return std::nullopt;
    // Fields 3, 20 and 22.
    char state = '\0';
    long threads = 0;
    unsigned long long startTicks = 0;
    if (std::sscanf(nameEnd + 1,
                    " %c %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %ld %*s "
                    "%llu",
                    &state, &threads, &startTicks) != 3)
        return std::nullopt;
    const auto ticksPerSecond = static_cast<unsigned long long>(::sysconf(_SC_CLK_TCK));
    // A process whose first thread has ended looks like a zombie while its other threads run on.
    return ProcessStatus{static_cast<std::uint32_t>(startTicks * 1000 / ticksPerSecond),
                         state == 'Z' && threads <= 1};
}

}  // namespace

ProcessName currentProcess() noexcept {
    static const ProcessName name = [] {
        const auto id = static_cast<std::uint32_t>(::getpid());
        const std::optional<ProcessStatus> status = statusOf(id);
        return nameOf(id, status ? status->startMs : 0);
    }();
    return name;
}

std::uint64_t processSpace() noexcept {
    static const std::uint64_t space = [] {
        struct stat status {};
        return ::stat("/proc/self/ns/pid", &status) == 0 ? std::uint64_t{status.st_ino} : 0;
    }();
    return space;
}

ProcessLife lifeOf(ProcessName process, std::uint64_t space) noexcept {
    if (space != processSpace())
        return ProcessLife::Unknown;
    const auto id = static_cast<std::uint32_t>(process);
    if (id == 0 || id > static_cast<std::uint32_t>(std::numeric_limits<pid_t>::max()))
        return ProcessLife::Gone;
    if (const std::optional<ProcessStatus> status = statusOf(id)) {
        if (!status->isZombie && nameOf(id, 0) == process)
            return ProcessLife::Unknown;  // it couldn't find out when it began
        return !status->isZombie && nameOf(id, status->startMs) == process ? ProcessLife::Running
                                                                           : ProcessLife::Gone;
    }
    const bool isGone = ::kill(static_cast<pid_t>(id), 0) != 0 && errno == ESRCH;
    return isGone ? ProcessLife::Gone : ProcessLife::Unknown;
}

std::uint64_t uniqueNumber() {
    std::uint64_t number = 0;
    while (number == 0)
        if (::getrandom(&number, sizeof number, 0) != sizeof number && errno != EINTR)
            throw std::runtime_error("The system has no random numbers.");
    return number;
}

}  // namespace tarn::platform
