// A window class of this library, which all its windows of one kind share.
#pragma once

#include <windows.h>

#include <string>

namespace tarn::platform {

/// The library that this code is part of, which may be loaded into any program.
HINSTANCE ownModule();

/// Registered with the first object of its name, and removed with the last one: the windows have to
/// end before. All objects of a name give the same procedure. Any thread.
class WindowClass {
public:
    WindowClass(std::wstring name, WNDPROC procedure);
    WindowClass(const WindowClass&) = delete;
    WindowClass& operator=(const WindowClass&) = delete;
    ~WindowClass();

    bool isRegistered() const { return isRegistered_; }
    const wchar_t* name() const { return name_.c_str(); }

private:
    std::wstring name_;
    bool isRegistered_ = false;
};

}  // namespace tarn::platform
