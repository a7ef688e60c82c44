#include "platform/windows/Text.h"

#include <windows.h>

namespace tarn::platform {

std::wstring wide(std::string_view utf8Text) {
    const int bytes = static_cast<int>(utf8Text.size());
    std::wstring text(static_cast<std::size_t>(
                          ::MultiByteToWideChar(CP_UTF8, 0, utf8Text.data(), bytes, nullptr, 0)),
                      L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, utf8Text.data(), bytes, text.data(),
                          static_cast<int>(text.size()));
    return text;
}

std::string utf8(std::wstring_view wideText) {
    const int units = static_cast<int>(wideText.size());
    std::string text(static_cast<std::size_t>(::WideCharToMultiByte(
                         CP_UTF8, 0, wideText.data(), units, nullptr, 0, nullptr, nullptr)),
                     '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, wideText.data(), units, text.data(),
                          static_cast<int>(text.size()), nullptr, nullptr);
    return text;
}

}  // namespace tarn::platform
