#include "support/ScratchStore.h"

#include <windows.h>

#include <string>

namespace tarn::test {

namespace {

void deleteKeys() {
    for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE})
        ::RegDeleteTreeA(root, ScratchStore::key().c_str());
}

}  // namespace

ScratchStore::ScratchStore() {
    deleteKeys();
}

ScratchStore::~ScratchStore() {
    deleteKeys();
}

std::string ScratchStore::key() {
    return "Software\\Tarn tests\\" + std::to_string(::GetCurrentProcessId());
}

}  // namespace tarn::test
