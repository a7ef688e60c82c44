#include "support/ScratchStore.h"

#include <windows.h>

namespace tarn::test {

namespace {

void removeKeys() {
    for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE})
        ::RegDeleteTreeA(root, "Software\\Tarn tests");
}

}  // namespace

const char* const ScratchStore::Key = "Software\\Tarn tests\\Scratch";

ScratchStore::ScratchStore() {
    removeKeys();
}

ScratchStore::~ScratchStore() {
    removeKeys();
}

}  // namespace tarn::test
