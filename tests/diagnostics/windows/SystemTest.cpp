#include "foundation/File.h"
#include "platform/Dialogs.h"
#include "support/ScratchFolder.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <tuple>

namespace tarn {
namespace {

std::wstring textOf(HWND window) {
    wchar_t text[256] = {};
    ::GetWindowTextW(window, text, 256);
    return text;
}

WORD button = IDOK;
HWND owner = nullptr;
std::wstring title;
std::wstring text;

// Sits before the boxes of this thread in the user's place: presses the button as soon as one comes
// up, and looks at it before it goes.
LRESULT CALLBACK actAsUser(int code, WPARAM window, LPARAM data) {
    const auto box = reinterpret_cast<HWND>(window);
    wchar_t name[16] = {};
    if ((code == HCBT_ACTIVATE || code == HCBT_DESTROYWND) && ::GetClassNameW(box, name, 16) > 0 &&
        std::wstring(name) == L"#32770" && ::GetAncestor(box, GA_ROOT) == box) {
        if (code == HCBT_ACTIVATE)
            ::PostMessageW(box, WM_COMMAND, button, 0);
        title = textOf(box);
        text = textOf(::GetDlgItem(box, 0xFFFF));
        owner = ::GetWindow(box, GW_OWNER);
    }
    return ::CallNextHookEx(nullptr, code, window, data);
}

TEST(WindowsSystem, BoxesAreTheSystemsOwn) {
    using namespace platform;
    ::SetWindowsHookExW(WH_CBT, actAsUser, nullptr, ::GetCurrentThreadId());
    static HWND editor = ::CreateWindowExW(0, L"STATIC", L"", WS_OVERLAPPED, 0, 0, 100, 100,
                                           nullptr, nullptr, nullptr, nullptr);
    setDialogOwner([]() noexcept { return static_cast<void*>(editor); });
    const std::tuple<int, MessageKind, MessageAnswer> presses[] = {
        {IDYES, MessageKind::Ask, MessageAnswer::Yes},
        {IDNO, MessageKind::Ask, MessageAnswer::No},
        {IDCANCEL, MessageKind::Ask, MessageAnswer::Cancel},
        {IDOK, MessageKind::Confirm, MessageAnswer::Ok}};
    for (const auto& [press, kind, answer] : presses) {
        const bool parented = answer != MessageAnswer::Ok;
        button = static_cast<WORD>(press);
        EXPECT_EQ(showMessage({kind, "Brimtide", "山田 Zoë?", parented}), answer);
        EXPECT_EQ(title + L"|" + text, L"Brimtide|\u5C71\u7530 Zo\u00EB?");
        EXPECT_EQ(owner == editor, parented);
    }
    setDialogOwner(nullptr);
    ::DestroyWindow(editor);

    const test::ScratchFolder scratch;
    scratch.write("プリセット.xml", "");
    File file(scratch.path("プリセット.xml"));
    EXPECT_TRUE(file.browseOpen({"Öffnen", "", "Brimtide Banks", "*.xml;"}));
    EXPECT_EQ(file.getPath(), scratch.path("プリセット.xml"));
    EXPECT_EQ(title, L"\u00D6ffnen");
    File fresh(scratch.path("neu"));
    EXPECT_TRUE(fresh.browseSave({"Sichern", "", "", "*.xml;"}));
    EXPECT_EQ(fresh.getPath(), scratch.path("neu.xml"));
}

}  // namespace
}  // namespace tarn
