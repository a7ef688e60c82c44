#include "support/OpenHandles.h"

#include <windows.h>

namespace tarn::test {

int openHandles() {
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return static_cast<int>(count);
}

}  // namespace tarn::test
