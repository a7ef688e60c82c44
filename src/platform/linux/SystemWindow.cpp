#include "platform/SystemWindow.h"

namespace tarn::platform::detail {

bool systemHasWindows() noexcept {
    return false;
}

float systemScale() noexcept {
    return 1.0f;
}

std::unique_ptr<SystemWindow> openSystemWindow(void* /*parent*/, const Area& /*area*/,
                                               const std::string& /*className*/,
                                               WindowOwner& /*owner*/, std::string& failure) {
    failure = "create";
    return nullptr;
}

}  // namespace tarn::platform::detail
