#include "platform/Dialogs.h"

#include "platform/windows/Text.h"

#include <windows.h>

#include <cderr.h>
#include <commdlg.h>
#include <objbase.h>
#include <ole2.h>
#include <shlobj.h>

#include <algorithm>
#include <vector>

namespace tarn::platform::detail {

namespace {

constexpr std::size_t LongestPath = 32768;  // UTF-16 units, of any Windows

UINT messageFlags(MessageKind kind) {
    switch (kind) {
        case MessageKind::Alert:
            return MB_TASKMODAL | MB_ICONHAND;
        case MessageKind::Inform:
            return MB_TASKMODAL | MB_ICONINFORMATION;
        case MessageKind::Confirm:
            return MB_TASKMODAL | MB_ICONQUESTION | MB_OKCANCEL;
        case MessageKind::Ask:
            return MB_TASKMODAL | MB_ICONQUESTION | MB_YESNOCANCEL;
    }
    return MB_TASKMODAL;
}

// "*.xml" out of "*.xml;", as the dialog wants it.
std::string wildcards(const FileRequest& request) {
    const std::size_t end = request.wildcards.find_last_not_of(';') + 1;
    return end > 0 ? request.wildcards.substr(0, end) : "*.*";
}

// Pairs of a text and its wildcards, each ended by a zero, and a zero at the end.
std::wstring filter(const FileRequest& request) {
    const std::wstring patterns = wide(wildcards(request));
    std::wstring text = request.kind.empty() ? patterns : wide(request.kind);
    text.push_back(L'\0');
    text += patterns;
    text.push_back(L'\0');
    return text;
}

// What the dialog appends to a name that was typed without one: "xml" out of "*.xml;*.txt;".
std::wstring defaultExtension(const FileRequest& request) {
    const std::string first = request.wildcards.substr(0, request.wildcards.find(';'));
    const bool usable =
        first.starts_with("*.") && first.find_first_of("*?", 2) == std::string::npos;
    return usable ? wide(first.substr(2)) : std::wstring();
}

FileAnswer chooseInFileDialog(const FileRequest& request, HWND owner) {
    const bool saves = request.purpose == FilePurpose::Save;
    const std::wstring title = wide(request.title);
    const std::wstring folder = wide(request.folder);
    const std::wstring filters = filter(request);
    const std::wstring extension = defaultExtension(request);
    std::vector<wchar_t> path(LongestPath);
    const std::wstring name = wide(request.name);
    std::copy_n(name.begin(), std::min(name.size(), path.size() - 1), path.begin());

    OPENFILENAMEW dialog{};
    dialog.lStructSize = sizeof(dialog);
    dialog.hwndOwner = owner;
    dialog.lpstrFilter = filters.c_str();
    dialog.lpstrFile = path.data();
    dialog.nMaxFile = static_cast<DWORD>(path.size());
    dialog.lpstrInitialDir = folder.empty() ? nullptr : folder.c_str();
    dialog.lpstrTitle = title.empty() ? nullptr : title.c_str();
    dialog.lpstrDefExt = extension.empty() ? nullptr : extension.c_str();
    // The current folder is the host's.
    dialog.Flags = OFN_EXPLORER | OFN_ENABLESIZING | OFN_HIDEREADONLY | OFN_NOCHANGEDIR |
                   OFN_PATHMUSTEXIST | (saves ? 0 : OFN_FILEMUSTEXIST);
    const auto ask = [&] {
        return (saves ? ::GetSaveFileNameW(&dialog) : ::GetOpenFileNameW(&dialog)) != 0;
    };
    bool isChosen = ask();
    if (!isChosen && ::CommDlgExtendedError() == FNERR_INVALIDFILENAME) {
        path[0] = L'\0';  // as of a file that came from another system
        isChosen = ask();
    }
    if (isChosen)
        return {utf8(path.data()), 0};
    return {{}, ::CommDlgExtendedError()};  // 0 when the user cancelled
}

int CALLBACK selectFolder(HWND dialog, UINT message, LPARAM, LPARAM folder) {
    if (message == BFFM_INITIALIZED)
        ::SendMessageW(dialog, BFFM_SETSELECTIONW, TRUE, folder);
    return 0;
}

FileAnswer chooseInFolderDialog(const FileRequest& request, HWND owner) {
    const std::wstring prompt = wide(request.prompt.empty() ? request.title : request.prompt);
    const std::wstring folder = wide(request.folder);
    BROWSEINFOW dialog{};
    dialog.hwndOwner = owner;
    dialog.lpszTitle = prompt.c_str();
    dialog.ulFlags = BIF_RETURNONLYFSDIRS | BIF_NEWDIALOGSTYLE;
    dialog.lpfn = selectFolder;
    dialog.lParam = reinterpret_cast<LPARAM>(folder.c_str());

    FileAnswer answer;
    const bool initialised = SUCCEEDED(::OleInitialize(nullptr));
    if (PIDLIST_ABSOLUTE chosen = ::SHBrowseForFolderW(&dialog)) {
        wchar_t path[MAX_PATH] = {};
        if (::SHGetPathFromIDListW(chosen, path))
            answer.path = utf8(path);
        ::CoTaskMemFree(chosen);
    }
    if (initialised)
        ::OleUninitialize();
    return answer;
}

}  // namespace

MessageAnswer showSystemMessage(const MessageRequest& request, void* owner) {
    const int button = ::MessageBoxW(static_cast<HWND>(owner), wide(request.text).c_str(),
                                     wide(request.title).c_str(), messageFlags(request.kind));
    switch (button) {
        case IDOK:
            return MessageAnswer::Ok;
        case IDYES:
            return MessageAnswer::Yes;
        case IDNO:
            return MessageAnswer::No;
        default:
            return MessageAnswer::Cancel;
    }
}

FileAnswer chooseSystemFile(const FileRequest& request, void* owner) {
    return request.purpose == FilePurpose::Folder
               ? chooseInFolderDialog(request, static_cast<HWND>(owner))
               : chooseInFileDialog(request, static_cast<HWND>(owner));
}

}  // namespace tarn::platform::detail
