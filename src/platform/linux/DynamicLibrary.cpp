#include "platform/DynamicLibrary.h"

#include <dlfcn.h>

#include <cstdlib>
#include <memory>

namespace tarn::platform {

DynamicLibrary::DynamicLibrary(const std::string& path) {
    // A bare name would be searched in the system's folders.
    const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
    handle_ = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr)
        error_ = ::dlerror();
}

DynamicLibrary::~DynamicLibrary() {
    if (handle_ != nullptr)
        ::dlclose(handle_);
}

void* DynamicLibrary::address(const char* name) const noexcept {
    return handle_ != nullptr ? ::dlsym(handle_, name) : nullptr;
}

OwnLibrary ownLibrary() {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<void*>(&ownLibrary), &info) == 0 || info.dli_fname == nullptr)
        return {};
    const std::unique_ptr<char, decltype(&std::free)> path(::realpath(info.dli_fname, nullptr),
                                                           &std::free);
    return {path ? path.get() : "", reinterpret_cast<std::uintptr_t>(info.dli_fbase)};
}

}  // namespace tarn::platform
