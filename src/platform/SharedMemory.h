// A named block of memory that several processes of the same logon see.
// Everything rests on one rule: the block lives as long as anyone holds it, under its name, and
// vanishes with its last holder, however that holder ends.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace tarn::platform {

/// One hold on a block, or none. Movable, not copyable; not for the audio thread, except for
/// `data`.
///
/// Windows: a file mapping of the paging file under exactly `name`.
///
/// Linux: a POSIX shared memory object whose name carries the user's id. Every holder keeps a
/// shared lock on it, and who finds it without one knows that its holders were killed, and takes
/// the name away. A stranger's exclusive lock is waited for through some 20 ms, then nothing is
/// held. A process of the same user that truncates the object makes an access to it fail fatally;
/// there is no portable guard against that.
class SharedMemory {
public:
    /// Holds nothing.
    SharedMemory() noexcept = default;

    /// Makes the block, zeroed, or takes hold of the one that exists. Holds nothing on failure: the
    /// name belongs to something else or is longer than the system takes, which is 40 bytes at
    /// least, memory is short, or `open` would refuse the block.
    static SharedMemory create(const std::string& name, std::size_t bytes);

    /// What the holder may do with the bytes. A write through a read-only view ends the process.
    enum class Access { ReadWrite, ReadOnly };

    /// Takes hold of an existing block of at least `bytes`; holds nothing if there is none, if it
    /// doesn't allow the access, or if it can't be trusted to stay: another user's object (Linux),
    /// or pages without memory (Windows).
    static SharedMemory open(const std::string& name, std::size_t bytes,
                             Access access = Access::ReadWrite);

    /// For the end of the library, which may come before the end of the process; nothing is held
    /// afterwards as far as this object knows. Windows: the block and its name stay until the
    /// process ends. Linux: lets go now, since nothing would take the name away later.
    void keepToTheEnd() noexcept;

    SharedMemory(SharedMemory&& other) noexcept { swap(other); }
    SharedMemory& operator=(SharedMemory&& other) noexcept {
        SharedMemory(std::move(other)).swap(*this);
        return *this;
    }
    ~SharedMemory();

    explicit operator bool() const noexcept { return data_ != nullptr; }

    /// The block's first byte in this process, null when nothing is held. Aligned to a page. Any
    /// thread.
    void* data() const noexcept { return data_; }

private:
    void swap(SharedMemory& other) noexcept {
        std::swap(handle_, other.handle_);
        std::swap(data_, other.data_);
        std::swap(bytes_, other.bytes_);
        std::swap(name_, other.name_);
    }

    std::intptr_t handle_ = 0;  // of the operating system; it keeps the name alive
    void* data_ = nullptr;
    std::size_t bytes_ = 0;
    std::array<char, 64> name_{};  // as the operating system knows the block
};

}  // namespace tarn::platform
