// Between the UTF-8 of the system inside and the UTF-16 of Windows at its edge.
#pragma once

#include <string>
#include <string_view>

namespace tarn::platform {

/// Invalid sequences become U+FFFD; never fails.
std::wstring wide(std::string_view utf8Text);
std::string utf8(std::wstring_view wideText);

}  // namespace tarn::platform
