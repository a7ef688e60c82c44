// Standard output as a place for data.
#pragma once

#include <cstdio>

namespace tarn::platform {

/// Takes standard output over for binary data: returns a stream to where it led, unbuffered and
/// without line-end conversion, and leads whatever else the process prints to `stdout` to standard
/// error, so that no stray text gets into the data. The caller closes the stream. Null on failure.
/// Once a process, before threads are started.
std::FILE* takeStandardOutput();

}  // namespace tarn::platform
