#include "platform/SharedMemory.h"

#include <windows.h>

namespace tarn::platform {

namespace {

// Whether every page of the view has memory. The maker of a mapping may have reserved its pages
// alone, and then an access would end the process.
bool isCommitted(const void* data, std::size_t bytes) noexcept {
    const char* at = static_cast<const char*>(data);
    const char* const end = at + bytes;
    while (at < end) {
        MEMORY_BASIC_INFORMATION pages{};
        if (::VirtualQuery(at, &pages, sizeof pages) == 0 || pages.State != MEM_COMMIT)
            return false;
        at = static_cast<const char*>(pages.BaseAddress) + pages.RegionSize;
    }
    return true;
}

// A view of the mapping, or null if that is too short or lacks memory.
void* viewOf(HANDLE mapping, std::size_t bytes, SharedMemory::Access access) noexcept {
    void* data = ::MapViewOfFile(
        mapping, access == SharedMemory::Access::ReadWrite ? FILE_MAP_WRITE : FILE_MAP_READ, 0, 0,
        bytes);
    if (data == nullptr || isCommitted(data, bytes))
        return data;
    ::UnmapViewOfFile(data);
    return nullptr;
}

}  // namespace

SharedMemory SharedMemory::create(const std::string& name, std::size_t bytes) {
    SharedMemory memory;
    HANDLE mapping = ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                          static_cast<DWORD>(bytes), name.c_str());
    if (mapping == nullptr)
        return memory;
    memory.handle_ = reinterpret_cast<std::intptr_t>(mapping);
    memory.data_ = viewOf(mapping, bytes, Access::ReadWrite);
    memory.bytes_ = bytes;
    return memory ? std::move(memory) : SharedMemory();
}

SharedMemory SharedMemory::open(const std::string& name, std::size_t bytes, Access access) {
    SharedMemory memory;
    HANDLE mapping = ::OpenFileMappingA(
        access == Access::ReadWrite ? FILE_MAP_ALL_ACCESS : FILE_MAP_READ, FALSE, name.c_str());
    if (mapping == nullptr)
        return memory;
    memory.handle_ = reinterpret_cast<std::intptr_t>(mapping);
    memory.data_ = viewOf(mapping, bytes, access);
    memory.bytes_ = bytes;
    return memory ? std::move(memory) : SharedMemory();
}

void SharedMemory::keepToTheEnd() noexcept {
    handle_ = 0;  // never closed: the name lives as long as its last handle
    data_ = nullptr;
}

SharedMemory::~SharedMemory() {
    if (data_ != nullptr)
        ::UnmapViewOfFile(data_);
    if (handle_ != 0)
        ::CloseHandle(reinterpret_cast<HANDLE>(handle_));
}

}  // namespace tarn::platform
