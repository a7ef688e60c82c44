#include "platform/Machine.h"

#include <windows.h>

#include <algorithm>

namespace tarn::platform {

int processorCount() noexcept {
    SYSTEM_INFO info{};
    ::GetSystemInfo(&info);
    return std::max(static_cast<int>(info.dwNumberOfProcessors), 1);
}

std::optional<WindowsVersion> windowsVersion() noexcept {
    OSVERSIONINFOW info{};
    info.dwOSVersionInfoSize = sizeof(info);
    if (!::GetVersionExW(&info))
        return std::nullopt;
    return WindowsVersion{info.dwMajorVersion, info.dwMinorVersion};
}

HeapSetup useLowFragmentationHeap() noexcept {
    // By name: the systems that lack it are to load the product all the same.
    using SetInformation = BOOL(WINAPI*)(HANDLE, HEAP_INFORMATION_CLASS, PVOID, SIZE_T);
    const auto setInformation = reinterpret_cast<SetInformation>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"Kernel32.dll"), "HeapSetInformation")));
    if (setInformation == nullptr)
        return HeapSetup::Unknown;
    ULONG lowFragmentation = 2;
    return setInformation(::GetProcessHeap(), HeapCompatibilityInformation, &lowFragmentation,
                          sizeof(lowFragmentation))
               ? HeapSetup::Done
               : HeapSetup::Refused;
}

}  // namespace tarn::platform
