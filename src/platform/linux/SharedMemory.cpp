#include "platform/SharedMemory.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace tarn::platform {

namespace {

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

bool lock(int file, int kind) noexcept {
    int result = 0;
    do
        result = ::flock(file, kind);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

// Whether nobody else holds the object: a holder keeps a shared lock. On success this end has the
// exclusive one.
bool isAbandoned(int file) noexcept {
    return lock(file, LOCK_EX | LOCK_NB);
}

// Whether the object has lost its name, because another process swept it up after its last holder.
bool isSwept(int file) noexcept {
    struct stat status {};
    return ::fstat(file, &status) != 0 || status.st_nlink == 0;
}

bool hasBytes(int file, std::size_t bytes) noexcept {
    struct stat status {};
    return ::fstat(file, &status) == 0 && static_cast<std::size_t>(status.st_size) >= bytes;
}

// The object without its former content, with all of its pages reserved, so that no access can fail
// later on.
bool makeFresh(int file, std::size_t bytes) noexcept {
    return ::ftruncate(file, 0) == 0 && ::posix_fallocate(file, 0, static_cast<off_t>(bytes)) == 0;
}

}  // namespace

SharedMemory SharedMemory::create(const std::string& name, std::size_t bytes) {
    SharedMemory memory;
    memory.name_ = objectName(name);
    for (;;) {
        const int file = ::shm_open(memory.name_.data(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
        if (file < 0)
            return SharedMemory();
        // Changing a lock drops it for a moment, in which a third process may sweep the object:
        // look again after.
        const bool fresh = !isAbandoned(file) || makeFresh(file, bytes);
        const bool held = lock(file, LOCK_SH);
        if (fresh && held && isSwept(file)) {
            ::close(file);
            continue;
        }
        memory.handle_ = file + 1;
        if (fresh && held && hasBytes(file, bytes)) {
            void* data = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
            if (data != MAP_FAILED) {
                memory.data_ = data;
                memory.bytes_ = bytes;
                return memory;
            }
        }
        return SharedMemory();  // and the destructor of `memory` sweeps what nobody holds
    }
}

SharedMemory SharedMemory::open(const std::string& name, std::size_t bytes) {
    SharedMemory memory;
    memory.name_ = objectName(name);
    const int file = ::shm_open(memory.name_.data(), O_RDWR | O_CLOEXEC, 0);
    if (file < 0)
        return SharedMemory();
    memory.handle_ = file + 1;
    if (isAbandoned(file) || !lock(file, LOCK_SH) || isSwept(file) || !hasBytes(file, bytes))
        return SharedMemory();
    void* data = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (data == MAP_FAILED)
        return SharedMemory();
    memory.data_ = data;
    memory.bytes_ = bytes;
    return memory;
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
