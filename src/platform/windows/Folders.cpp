#include "platform/Folders.h"

#include "platform/windows/Text.h"

#include <windows.h>

#include <shlobj.h>

namespace tarn::platform {

namespace {

int shellFolder(KnownFolder folder) {
    switch (folder) {
        case KnownFolder::ProgramFiles:
            return CSIDL_PROGRAM_FILES;
        case KnownFolder::CommonApplicationData:
            return CSIDL_COMMON_APPDATA;
        case KnownFolder::LocalApplicationData:
            return CSIDL_LOCAL_APPDATA;
        case KnownFolder::Documents:
            return CSIDL_PERSONAL;
    }
    return -1;
}

}  // namespace

std::string knownFolderPath(KnownFolder folder, bool create) {
    wchar_t path[MAX_PATH] = {};
    const int flags = create ? CSIDL_FLAG_CREATE : 0;
    if (::SHGetFolderPathW(nullptr, shellFolder(folder) | flags, nullptr, SHGFP_TYPE_CURRENT,
                           path) != S_OK)
        return {};
    return utf8(path);
}

}  // namespace tarn::platform
