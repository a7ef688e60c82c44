#include "diagnostics/System.h"
#include "foundation/File.h"
#include "platform/Dialogs.h"
#include "platform/Folders.h"
#include "support/ScratchFolder.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <shlobj.h>

#include <functional>
#include <string>

namespace tarn {
namespace {

using test::ScratchFolder;

TEST(WindowsSystem, FoldersAreThoseOfTheShell) {
    using enum platform::KnownFolder;
    const struct {
        platform::KnownFolder folder;
        int shellFolder;
    } cases[] = {{ProgramFiles, 0x26},
                 {CommonApplicationData, 0x23},
                 {LocalApplicationData, 0x1C},
                 {Documents, 5}};
    for (const auto& c : cases) {
        char path[MAX_PATH] = {};
        ASSERT_EQ(::SHGetFolderPathA(nullptr, c.shellFolder, nullptr, 0, path), S_OK);
        EXPECT_EQ(platform::knownFolderPath(c.folder), path);
        EXPECT_TRUE(Folder(platform::knownFolderPath(c.folder, true)).exists());
    }
}

TEST(WindowsSystem, ShowsTheSystemsCursors) {
    const struct {
        int kind;
        const wchar_t* name;
    } cases[] = {{1, IDC_SIZEALL}, {4, IDC_SIZEWE}, {7, IDC_SIZENS}, {8, IDC_ARROW},
                 {9, IDC_HAND},    {10, IDC_WAIT},  {0, IDC_ARROW}};
    for (const auto& c : cases) {
        System::setCursor(c.kind);
        EXPECT_EQ(::GetCursor(), ::LoadCursorW(nullptr, c.name)) << c.kind;
    }
}

TEST(WindowsSystem, TellsTheSystemsLastErrorOnOneLine) {
    for (DWORD code : {ERROR_ACCESS_DENIED, ERROR_FILE_NOT_FOUND, 0x2FFFFFFFl}) {
        ::SetLastError(code);
        const std::string text = System::getLastErrorText();
        EXPECT_GT(text.size(), 5u);
        EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos) << text;
    }
}

// Sits before the boxes of this thread in the user's place: acts as soon as one comes up, and looks
// at it before it goes.
class User {
public:
    using Deed = std::function<void(HWND box)>;

    explicit User(Deed act, Deed look = nullptr) {
        act_ = std::move(act);
        look_ = std::move(look);
        hook_ = ::SetWindowsHookExW(WH_CBT, watch, nullptr, ::GetCurrentThreadId());
    }
    User(const User&) = delete;
    User& operator=(const User&) = delete;
    ~User() { ::UnhookWindowsHookEx(hook_); }

private:
    static LRESULT CALLBACK watch(int code, WPARAM window, LPARAM data) {
        wchar_t name[16] = {};
        const auto box = reinterpret_cast<HWND>(window);
        const Deed& deed = code == HCBT_ACTIVATE ? act_ : look_;
        if ((code == HCBT_ACTIVATE || code == HCBT_DESTROYWND) && deed &&
            ::GetClassNameW(box, name, 16) > 0 && std::wstring(name) == L"#32770")
            deed(box);
        return ::CallNextHookEx(nullptr, code, window, data);
    }

    static inline Deed act_;
    static inline Deed look_;
    HHOOK hook_;
};

std::wstring textOf(HWND window) {
    wchar_t text[256] = {};
    ::GetWindowTextW(window, text, 256);
    return text;
}

TEST(WindowsSystem, BoxesAreTheSystemsOwn) {
    using namespace platform;
    std::wstring title;
    std::wstring text;
    WORD button = IDNO;
    HWND owner = nullptr;
    const User user([&](HWND box) { ::PostMessageW(box, WM_COMMAND, button, 0); },
                    [&](HWND box) {
                        title = textOf(box);
                        text = textOf(::GetDlgItem(box, 0xFFFF));
                        owner = ::GetWindow(box, GW_OWNER);
                    });
    EXPECT_EQ(showMessage({MessageKind::Ask, "Brimtide", "山田 Zoë?", false}), MessageAnswer::No);
    EXPECT_EQ(title, L"Brimtide");
    EXPECT_EQ(text, L"\u5C71\u7530 Zo\u00EB?");
    button = IDCANCEL;
    EXPECT_EQ(System::ask("?", false), 2);
    EXPECT_EQ(System::confirm("?", false), 1);
    button = IDOK;
    EXPECT_EQ(System::confirm("?", false), 0);

    static HWND editor = ::CreateWindowExW(0, L"STATIC", L"", WS_OVERLAPPED, 0, 0, 100, 100,
                                           nullptr, nullptr, nullptr, nullptr);
    setDialogOwner([]() noexcept { return static_cast<void*>(editor); });
    System::alert("!", true);
    EXPECT_EQ(owner, editor);
    System::alert("!", false);
    EXPECT_NE(owner, editor);
    setDialogOwner(nullptr);
    ::DestroyWindow(editor);
}

TEST(WindowsSystem, FilesAreChosenInTheSystemsDialogs) {
    const ScratchFolder scratch;
    scratch.write("プリセット.xml", "");
    std::wstring title;
    const User user([&](HWND dialog) {
        title = textOf(dialog);
        ::PostMessageW(dialog, WM_COMMAND, IDOK, 0);
    });
    File file(scratch.path("プリセット.xml"));
    const std::string path = file.getPath();
    EXPECT_TRUE(file.browseOpen({"Öffnen", "", "Brimtide Banks", "*.xml;"}));
    EXPECT_EQ(file.getPath(), path);
    EXPECT_EQ(title, L"\u00D6ffnen");
    File fresh(scratch.path("neu"));
    EXPECT_TRUE(fresh.browseSave({"Sichern", "", "", "*.xml;"}));
    EXPECT_EQ(fresh.getPath(), scratch.path("neu.xml"));
}

}  // namespace
}  // namespace tarn
