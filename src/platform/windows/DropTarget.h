// What is dragged from other windows over one of ours.
#pragma once

#include <windows.h>

#include <memory>

namespace tarn::platform {

class ChildWindow;

/// Takes drops for a window, on its thread, which uses the system's object model meanwhile. Where
/// the program keeps it out of that, nothing can be dropped.
class DropRegistration {
public:
    DropRegistration(std::weak_ptr<ChildWindow> window, HWND handle);
    DropRegistration(const DropRegistration&) = delete;
    DropRegistration& operator=(const DropRegistration&) = delete;
    ~DropRegistration();

    /// While the window is still there.
    void revoke();

private:
    bool isInitialised_ = false;
    HWND registered_ = nullptr;
};

}  // namespace tarn::platform
