#include "foundation/WindowTimer.h"

#include "platform/WindowTimer.h"

namespace tarn {

WindowTimer::WindowTimer(void* window, std::uint32_t periodMs)
    : window_(window), timerHandle_(platform::startWindowTimer(window, Identifier, periodMs)) {}

WindowTimer::~WindowTimer() {
    platform::stopWindowTimer(window_, timerHandle_);
}

}  // namespace tarn
