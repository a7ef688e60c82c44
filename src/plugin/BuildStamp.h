// When the library was built.
#pragma once

namespace tarn {

/// Time and date, as in "14:03:07 Nov 25 2026": of the compilation, or of SOURCE_DATE_EPOCH, the
/// environment's, where builds must be equal. In a file of its own, which no cache can keep.
const char* buildStamp() noexcept;

}  // namespace tarn
