// Which process this is, and whether another one still runs.
#pragma once

#include <cstdint>

namespace tarn::platform {

/// Names one process of this machine for as long as the machine runs: the process id in the low 32
/// bits, and in the high 32 bits the moment of its start in milliseconds, so that a later process
/// with the same id is another one. Never 0. Processes of both widths, and those of another user,
/// have such names too; it is small enough to be changed in one atomic step.
using ProcessName = std::uint64_t;

/// This process. Asks the system at the first call. Any thread.
ProcessName currentProcess() noexcept;

/// The space within which names of processes mean something: on Linux the namespace of process ids,
/// of which a sandbox may have one of its own; always 0 on Windows, where there is one. Any thread.
std::uint64_t processSpace() noexcept;

enum class ProcessLife {
    Running,
    Gone,     // ended; also when its id belongs to a later process, or it waits to be collected
    Unknown,  // the system doesn't tell this user, or the process is of another space
};

/// Any values may be asked for; name 0 is Gone. Not for the audio thread.
ProcessLife lifeOf(ProcessName process, std::uint64_t space) noexcept;

/// 64 bits that nobody can foresee and no other call gives, never 0. Not for the audio thread.
std::uint64_t uniqueNumber();

}  // namespace tarn::platform
