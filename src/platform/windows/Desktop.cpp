#include "platform/windows/Desktop.h"

#include "platform/Desktop.h"
#include "platform/windows/Text.h"

#include <windows.h>

#include <shellapi.h>

#include <atomic>

namespace tarn::platform {

namespace {

const wchar_t* cursorName(CursorShape shape) {
    switch (shape) {
        case CursorShape::Arrow:
            return IDC_ARROW;
        case CursorShape::Move:
            return IDC_SIZEALL;
        case CursorShape::LeftRight:
            return IDC_SIZEWE;
        case CursorShape::UpDown:
            return IDC_SIZENS;
        case CursorShape::Hand:
            return IDC_HAND;
        case CursorShape::Wait:
            return IDC_WAIT;
    }
    return IDC_ARROW;
}

std::atomic<CursorShape> current{CursorShape::Arrow};

}  // namespace

void setCursor(CursorShape shape) {
    current = shape;
    ::SetCursor(currentCursor());
}

HCURSOR currentCursor() {
    return ::LoadCursorW(nullptr, cursorName(current));
}

bool detail::isSystemKeyDown(int virtualKey) {
    return (::GetKeyState(virtualKey) & 0x80) != 0;
}

bool openAddress(const std::string& address) {
    const HINSTANCE result =
        ::ShellExecuteW(nullptr, L"open", wide(address).c_str(), nullptr, nullptr, SW_SHOW);
    return reinterpret_cast<INT_PTR>(result) > 32;  // smaller ones are its error codes
}

}  // namespace tarn::platform
