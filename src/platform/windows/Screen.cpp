#include "platform/Screen.h"

#include <windows.h>

namespace tarn::platform {

namespace {

constexpr DWORD ObeysEscapes = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING, since Windows 10

HANDLE standardOutput() {
    return ::GetStdHandle(STD_OUTPUT_HANDLE);
}

}  // namespace

Screen::Screen() : formerCodePage_(::GetConsoleOutputCP()) {
    if (formerCodePage_ != 0)
        ::SetConsoleOutputCP(CP_UTF8);
    canRedraw_ = ::GetConsoleMode(standardOutput(), &formerMode_) != 0 &&
                 ::SetConsoleMode(standardOutput(), formerMode_ | ObeysEscapes) != 0;
}

Screen::~Screen() {
    if (canRedraw_)
        ::SetConsoleMode(standardOutput(), formerMode_);
    if (formerCodePage_ != 0)
        ::SetConsoleOutputCP(static_cast<UINT>(formerCodePage_));
}

}  // namespace tarn::platform
