#include "plugin/BuildStamp.h"

namespace tarn {

const char* buildStamp() noexcept {
    return __TIME__ " " __DATE__;
}

}  // namespace tarn
