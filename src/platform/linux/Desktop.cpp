#include "platform/Desktop.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace tarn::platform {

void setCursor(CursorShape /*shape*/) {}

bool detail::isSystemKeyDown(int /*virtualKey*/) {
    return false;
}

bool openAddress(const std::string& address) {
    // The shell ends at once and leaves the browser to the system. The address is a parameter, in
    // which the shell sees nothing of its own.
    std::string shell = "sh";
    std::string option = "-c";
    std::string script =
        "command -v xdg-open >/dev/null && { xdg-open \"$0\" </dev/null >/dev/null 2>&1 & }";
    std::string parameter = address;
    char* const arguments[] = {shell.data(), option.data(), script.data(), parameter.data(),
                               nullptr};
    pid_t child = 0;
    if (::posix_spawnp(&child, "sh", nullptr, nullptr, arguments, ::environ) != 0)
        return false;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        // Where the host ignores its children's ends, or collects them itself, nobody tells how the
        // shell ended: then it is taken to have found the browser.
        if (errno == ECHILD)
            return true;
        if (errno != EINTR)
            return false;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace tarn::platform
