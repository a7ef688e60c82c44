#include "platform/SystemError.h"

#include "platform/windows/Text.h"

#include <windows.h>

#include <iterator>

namespace tarn::platform {

std::uint32_t lastSystemError() noexcept {
    return ::GetLastError();
}

std::string systemErrorText(std::uint32_t code) {
    wchar_t text[512];
    DWORD length =
        ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                         0, text, static_cast<DWORD>(std::size(text)), nullptr);
    while (length > 0 && text[length - 1] <= L' ')
        --length;
    return length > 0 ? utf8(std::wstring_view(text, length)) : "error " + std::to_string(code);
}

}  // namespace tarn::platform
