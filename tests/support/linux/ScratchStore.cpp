#include "support/ScratchStore.h"

#include <cstdlib>

namespace tarn::test {

const char* const ScratchStore::Key = "Software\\Tarn tests\\Scratch";

ScratchStore::ScratchStore() {
    ::setenv("XDG_CONFIG_HOME", folder_.path("user").c_str(), 1);
    ::setenv("XDG_CONFIG_DIRS", folder_.path("machine").c_str(), 1);
}

ScratchStore::~ScratchStore() {
    ::unsetenv("XDG_CONFIG_HOME");
    ::unsetenv("XDG_CONFIG_DIRS");
}

}  // namespace tarn::test
