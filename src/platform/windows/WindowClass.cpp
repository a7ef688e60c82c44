#include "platform/windows/WindowClass.h"

#include "platform/DynamicLibrary.h"
#include "platform/windows/ResourceCount.h"

#include <map>
#include <mutex>
#include <utility>

namespace tarn::platform {

namespace {

std::mutex classesMutex;

// How many objects use a class, by name. One that nobody uses is still here if its last window was
// about to end, but still there, when its last object went.
std::map<std::wstring, int>& registeredClasses() {
    static std::map<std::wstring, int> classes;
    return classes;
}

// A class outlives the library, if its last object went before its last window: the library that
// the host loads again, at the same place, finds it.
bool registerClass(const wchar_t* name, WNDPROC procedure) {
    WNDCLASSEXW description{};
    description.cbSize = sizeof(description);
    description.style = CS_DBLCLKS;
    description.lpfnWndProc = procedure;
    description.hInstance = ownModule();
    description.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
    description.lpszClassName = name;
    bool isRegistered = ::RegisterClassExW(&description) != 0;
    if (!isRegistered && ::UnregisterClassW(name, ownModule()))
        isRegistered = ::RegisterClassExW(&description) != 0;
    if (!isRegistered)
        return false;
    countTaken();
    return true;
}

}  // namespace

HINSTANCE ownModule() {
    static const std::uintptr_t base = ownLibrary().base;
    return reinterpret_cast<HINSTANCE>(base);
}

WindowClass::WindowClass(std::wstring name, WNDPROC procedure) : name_(std::move(name)) {
    const std::lock_guard lock(classesMutex);
    const auto [entry, isNew] = registeredClasses().try_emplace(name_, 0);
    if (isNew && !registerClass(name_.c_str(), procedure)) {
        registeredClasses().erase(entry);
        return;
    }
    ++entry->second;
    isRegistered_ = true;
}

WindowClass::~WindowClass() {
    if (!isRegistered_)
        return;
    const std::lock_guard lock(classesMutex);
    const auto entry = registeredClasses().find(name_);
    if (--entry->second > 0)
        return;
    const bool isRemoved = ::UnregisterClassW(name_.c_str(), ownModule()) != 0;
    countGivenBack(isRemoved);
    if (isRemoved)
        registeredClasses().erase(entry);
}

}  // namespace tarn::platform
