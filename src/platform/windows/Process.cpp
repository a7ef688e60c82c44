#include "platform/Process.h"

#include <windows.h>

// After windows.h.
#include <ntsecapi.h>

#include <memory>
#include <optional>
#include <stdexcept>

namespace tarn::platform {

namespace {

ProcessName nameOf(DWORD id, std::uint32_t startMs) noexcept {
    return static_cast<ProcessName>(startMs) << 32 | id;
}

// In milliseconds of the calendar, cut to 32 bits; nothing if the system doesn't tell.
std::optional<std::uint32_t> startOf(HANDLE process) noexcept {
    FILETIME start{}, end{}, kernel{}, user{};
    if (!::GetProcessTimes(process, &start, &end, &kernel, &user))
        return std::nullopt;
    const ULARGE_INTEGER ticks{{start.dwLowDateTime, start.dwHighDateTime}};  // of 100 ns
    return static_cast<std::uint32_t>(ticks.QuadPart / 10'000);
}

struct HandleCloser {
    void operator()(HANDLE handle) const noexcept { ::CloseHandle(handle); }
};
using OpenHandle = std::unique_ptr<void, HandleCloser>;

}  // namespace

ProcessName currentProcess() noexcept {
    static const ProcessName name =
        nameOf(::GetCurrentProcessId(), startOf(::GetCurrentProcess()).value_or(0));
    return name;
}

std::uint64_t processSpace() noexcept {
    return 0;
}

ProcessLife lifeOf(ProcessName process, std::uint64_t space) noexcept {
    if (space != processSpace())
        return ProcessLife::Unknown;
    const auto id = static_cast<DWORD>(process);
    if (id == 0)
        return ProcessLife::Gone;  // the idle process, which has no name here
    const OpenHandle handle(
        ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, id));
    if (handle == nullptr)
        return ::GetLastError() == ERROR_INVALID_PARAMETER ? ProcessLife::Gone
                                                           : ProcessLife::Unknown;
    // Someone who holds a handle keeps the id of a process that has ended.
    if (::WaitForSingleObject(handle.get(), 0) == WAIT_OBJECT_0)
        return ProcessLife::Gone;
    const std::optional<std::uint32_t> start = startOf(handle.get());
    if (!start || nameOf(id, 0) == process)  // the latter couldn't find out when it began
        return ProcessLife::Unknown;
    return nameOf(id, *start) == process ? ProcessLife::Running : ProcessLife::Gone;
}

std::uint64_t uniqueNumber() {
    std::uint64_t number = 0;
    while (number == 0)
        if (!::RtlGenRandom(&number, sizeof number))
            throw std::runtime_error("The system has no random numbers.");
    return number;
}

}  // namespace tarn::platform
