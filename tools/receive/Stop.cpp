#include "Stop.h"

#include <atomic>
#include <csignal>

namespace tarn::receive {

namespace {

std::atomic<bool> isRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "it is set by signal handlers");

void note(int signal) {
    isRequested = true;
    std::signal(signal, SIG_DFL);  // the next one ends the process
}

}  // namespace

void noteStopRequests() {
    std::signal(SIGINT, note);
    std::signal(SIGTERM, note);
#if defined(SIGBREAK)
    std::signal(SIGBREAK, note);  // Ctrl-Break, and a console window that is closed
#endif
#if defined(SIGPIPE)
    std::signal(SIGPIPE, SIG_IGN);
#endif
}

bool isStopRequested() noexcept {
    return isRequested;
}

}  // namespace tarn::receive
