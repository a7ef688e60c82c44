#include "support/ScratchStore.h"

#include <windows.h>

namespace tarn::test {

ScratchStore::ScratchStore() {
    for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE})
        ::RegDeleteTreeA(root, "Software\\Tarn tests");
}

ScratchStore::~ScratchStore() {
    for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE})
        ::RegDeleteTreeA(root, "Software\\Tarn tests");
}

}  // namespace tarn::test
