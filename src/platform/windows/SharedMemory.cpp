#include "platform/SharedMemory.h"

#include <windows.h>

namespace tarn::platform {

SharedMemory SharedMemory::create(const std::string& name, std::size_t bytes) {
    SharedMemory memory;
    HANDLE mapping = ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                          static_cast<DWORD>(bytes), name.c_str());
    if (mapping == nullptr)
        return memory;
    memory.handle_ = reinterpret_cast<std::intptr_t>(mapping);
    memory.data_ = ::MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, bytes);
    memory.bytes_ = bytes;
    return memory.data_ != nullptr ? std::move(memory) : SharedMemory();
}

SharedMemory SharedMemory::open(const std::string& name, std::size_t bytes) {
    SharedMemory memory;
    HANDLE mapping = ::OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, name.c_str());
    if (mapping == nullptr)
        return memory;
    memory.handle_ = reinterpret_cast<std::intptr_t>(mapping);
    memory.data_ = ::MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, bytes);
    memory.bytes_ = bytes;
    return memory.data_ != nullptr ? std::move(memory) : SharedMemory();
}

SharedMemory::~SharedMemory() {
    if (data_ != nullptr)
        ::UnmapViewOfFile(data_);
    if (handle_ != 0)
        ::CloseHandle(reinterpret_cast<HANDLE>(handle_));
}

}  // namespace tarn::platform
