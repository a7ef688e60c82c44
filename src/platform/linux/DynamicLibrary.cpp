#include "platform/DynamicLibrary.h"

#include <dlfcn.h>

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

}  // namespace tarn::platform
