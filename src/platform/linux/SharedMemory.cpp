#include "platform/SharedMemory.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>

namespace tarn::platform {

namespace {

// In the worst case a call takes 80 ms.
constexpr int LockTries = 20;  // a millisecond apart
constexpr int MakeTries = 4;

// The name as POSIX wants it, with the user's id, since a logon sees its own blocks only; empty if
// it is too long.
std::array<char, 64> objectName(const std::string& name) {
    std::array<char, 64> object{};
    const int length =
        std::snprintf(object.data(), object.size(), "/tarn-%u-%s", ::getuid(), name.c_str());
    if (length < 0 || length >= static_cast<int>(object.size()))
        return {};
    std::replace(object.begin() + 1, object.end(), '/', '_');
    return object;
}

// Opens the user's own object, or returns -1. Never waits, although the name may lead to a pipe
// that somebody else has put there.
int openOwn(const std::array<char, 64>& object, int flags) noexcept {
    const int file = ::shm_open(object.data(), flags | O_NONBLOCK | O_CLOEXEC, 0600);
    struct stat status {};
    if (file < 0 || (::fstat(file, &status) == 0 && status.st_uid == ::geteuid()))
        return file;
    ::close(file);
    return -1;
}

bool tryLock(int file, int kind) noexcept {
    return ::flock(file, kind | LOCK_NB) == 0;
}

// Takes the shared lock. Other ends have the exclusive one for moments only, so whoever keeps it
// for longer is a stranger, whose object is of no use.
bool hold(int file) noexcept {
    for (int i = 0; i < LockTries; ++i) {
        if (tryLock(file, LOCK_SH))
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

// Whether nobody else holds the object: a holder keeps a shared lock. On success this end has the
// exclusive one.
bool isAbandoned(int file) noexcept {
    return tryLock(file, LOCK_EX);
}

// Whether the object has lost its name, because another process swept it up after its last holder.
bool isSwept(int file) noexcept {
    struct stat status {};
    return ::fstat(file, &status) != 0 || status.st_nlink == 0;
}

// The object without its former content, with all of its pages reserved, so that no access can fail
// later on.
bool makeFresh(int file, std::size_t bytes) noexcept {
    return ::ftruncate(file, 0) == 0 && ::posix_fallocate(file, 0, static_cast<off_t>(bytes)) == 0;
}

// A view of the object, or null if it is too short.
void* viewOf(int file, std::size_t bytes, SharedMemory::Access access) noexcept {
    struct stat status {};
    if (::fstat(file, &status) != 0 || static_cast<std::size_t>(status.st_size) < bytes)
        return nullptr;
    const bool writes = access == SharedMemory::Access::ReadWrite;
    void* data =
        ::mmap(nullptr, bytes, writes ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, file, 0);
    return data != MAP_FAILED ? data : nullptr;
}

}  // namespace

SharedMemory SharedMemory::create(const std::string& name, std::size_t bytes) {
    for (int i = 0; i < MakeTries; ++i) {
        SharedMemory memory;  // its destructor sweeps what nobody holds
        memory.name_ = objectName(name);
        const int file = openOwn(memory.name_, O_CREAT | O_RDWR);
        if (file < 0)
            return SharedMemory();
        memory.handle_ = file + 1;
        if ((isAbandoned(file) && !makeFresh(file, bytes)) || !hold(file))
            return SharedMemory();
        // Changing a lock drops it for a moment, in which a third process may sweep the object.
        if (isSwept(file))
            continue;
        memory.data_ = viewOf(file, bytes, Access::ReadWrite);
        memory.bytes_ = bytes;
        return memory ? std::move(memory) : SharedMemory();
    }
    return SharedMemory();
}

SharedMemory SharedMemory::open(const std::string& name, std::size_t bytes, Access access) {
    SharedMemory memory;
    memory.name_ = objectName(name);
    const int file = openOwn(memory.name_, access == Access::ReadWrite ? O_RDWR : O_RDONLY);
    if (file < 0)
        return SharedMemory();
    memory.handle_ = file + 1;
    if (isAbandoned(file) || !hold(file) || isSwept(file))
        return SharedMemory();
    memory.data_ = viewOf(file, bytes, access);
    memory.bytes_ = bytes;
    return memory ? std::move(memory) : SharedMemory();
}

void SharedMemory::keepToTheEnd() noexcept {
    *this = SharedMemory();
}

SharedMemory::~SharedMemory() {
    if (data_ != nullptr)
        ::munmap(data_, bytes_);
    if (handle_ == 0)
        return;
    const int file = static_cast<int>(handle_ - 1);
    if (isAbandoned(file) && !isSwept(file))
        ::shm_unlink(name_.data());
    ::close(file);
}

}  // namespace tarn::platform
