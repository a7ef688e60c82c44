#include "platform/HostWindow.h"

namespace tarn::platform {

std::unique_ptr<HostWindow> HostWindow::open(const std::string& /*title*/, Spot /*size*/) {
    return nullptr;
}

ProcessHoldings processHoldings() noexcept {
    return {};
}

}  // namespace tarn::platform
