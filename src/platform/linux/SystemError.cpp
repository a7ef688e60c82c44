#include "platform/SystemError.h"

#include <cerrno>
#include <system_error>

namespace tarn::platform {

std::uint32_t lastSystemError() noexcept {
    return static_cast<std::uint32_t>(errno);
}

std::string systemErrorText(std::uint32_t code) {
    return std::generic_category().message(static_cast<int>(code));
}

}  // namespace tarn::platform
