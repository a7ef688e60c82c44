// What of the system's a process has open.
#pragma once

namespace tarn::test {

/// Open files on Linux, handles on Windows.
int openHandles();

}  // namespace tarn::test
