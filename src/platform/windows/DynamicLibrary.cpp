#include "platform/DynamicLibrary.h"

#include "platform/SystemError.h"
#include "platform/windows/Text.h"

#include <windows.h>

namespace tarn::platform {

namespace {

std::wstring absolutePath(const std::string& path) {
    const std::wstring given = wide(path);
    std::wstring absolute(::GetFullPathNameW(given.c_str(), 0, nullptr, nullptr), L'\0');
    absolute.resize(::GetFullPathNameW(given.c_str(), static_cast<DWORD>(absolute.size()),
                                       absolute.data(), nullptr));
    return absolute;
}

std::string describe(DWORD code) {
    return systemErrorText(code) + " (" + std::to_string(code) + ")";
}

}  // namespace

DynamicLibrary::DynamicLibrary(const std::string& path) {
    handle_ = ::LoadLibraryExW(absolutePath(path).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (handle_ == nullptr)
        error_ = describe(::GetLastError());
}

DynamicLibrary::~DynamicLibrary() {
    if (handle_ != nullptr)
        ::FreeLibrary(static_cast<HMODULE>(handle_));
}

void* DynamicLibrary::address(const char* name) const noexcept {
    return handle_ != nullptr
               ? reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(handle_), name))
               : nullptr;
}

OwnLibrary ownLibrary() {
    HMODULE module = nullptr;
    if (!::GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            reinterpret_cast<const wchar_t*>(&ownLibrary), &module))
        return {};
    OwnLibrary own{{}, reinterpret_cast<std::uintptr_t>(module)};
    constexpr DWORD LongestPath = 32767;  // of the system
    std::wstring path(LongestPath, L'\0');
    const DWORD length = ::GetModuleFileNameW(module, path.data(), LongestPath);
    path.resize(length < LongestPath ? length : 0);
    own.path = utf8(path);
    return own;
}

}  // namespace tarn::platform
