#include "support/ScratchStore.h"

#include <cstdlib>

namespace tarn::test {

ScratchStore::ScratchStore() {
    ::setenv("XDG_CONFIG_HOME", path("user").c_str(), 1);
    ::setenv("XDG_CONFIG_DIRS", path("machine").c_str(), 1);
}

ScratchStore::~ScratchStore() = default;

std::string ScratchStore::key() {
    return "Software\\Tarn tests";
}

}  // namespace tarn::test
