#include "platform/SystemWindow.h"
#include "platform/WindowRecord.h"
#include "platform/windows/ResourceCount.h"
#include "platform/windows/WindowClass.h"

#include <gtest/gtest.h>
#include <ole2.h>
#include <shlobj.h>

#include <cstring>

namespace tarn::platform {
namespace {

constexpr char ClassName[] = "tested window";
constexpr wchar_t WideClassName[] = L"tested window";
constexpr wchar_t BoxClassName[] = L"tested box";
constexpr std::int32_t Width = 100, Height = 50;

LPARAM at(int x, int y) {
    return MAKELPARAM(x, y);
}

class SystemWindowTest : public testing::Test {
protected:
    SystemWindowTest() { open(); }
    ~SystemWindowTest() override {
        window.reset();
        ::DestroyWindow(host);
    }

    void open() {
        if (::IsWindow(host) == 0)
            host = ::CreateWindowExW(0, hostClass.name(), L"", WS_POPUP | WS_VISIBLE, 200, 100, 300,
                                     200, nullptr, nullptr, ownModule(), nullptr);
        window =
            SystemWindow::open(host, {20, 10, 20 + Width, 10 + Height}, ClassName, owner, failure);
        handle = static_cast<HWND>(window->handle());
    }

    // As the host's message loop does it, until the owner has heard that.
    void runUntil(const std::string& last) {
        std::string heard;
        for (MSG message{}; heard.find(last) == std::string::npos;) {
            ::GetMessageW(&message, nullptr, 0, 0);
            dispatch(message);
            heard += (heard.empty() ? "" : "; ") + owner.heard();
        }
    }
    void run() {
        for (MSG message{}; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0;)
            dispatch(message);
    }
    void dispatch(const MSG& message) {
        if (message.hwnd == host && message.message >= WM_KEYFIRST && message.message <= WM_KEYLAST)
            hostKeys += std::to_string(message.message) + " ";
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }

    // Once the window's tick comes, in whatever loop.
    void atTick(std::function<void()> act) {
        owner.react = [this, act = std::move(act)](const std::string& what) {
            if (what == "tick") {
                const std::function<void()> once = act;
                owner.react = nullptr;
                once();
            }
        };
        ::PostMessageW(handle, WM_TIMER, 1, 0);
    }
    void press(WPARAM key, HWND to) { ::PostMessageW(to, WM_KEYDOWN, key, 0); }

    WindowClass hostClass{L"tested host", ::DefWindowProcW};
    test::WindowRecord owner;
    std::string failure;
    std::string hostKeys;
    HWND host = nullptr;
    HWND handle = nullptr;
    std::unique_ptr<SystemWindow> window;
};

// Fault: an event that is lost, misplaced or told as another one; and a host that crashes since its
// user's gesture closed the editor.
TEST_F(SystemWindowTest, OwnersHearEventsAndMayEndTheWindowInEach) {
    ::SetCursorPos(0, 0);
    const struct {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
        LRESULT result;
        std::string heard;
    } events[] = {
        {WM_LBUTTONDOWN, MK_LBUTTON, at(3, 4), 0, "LeftDown 3,4"},
        {WM_LBUTTONUP, 0, at(3, 4), 0, "LeftUp 3,4"},
        {WM_LBUTTONDBLCLK, MK_LBUTTON, at(5, 6), 0, "LeftDouble 5,6"},
        {WM_RBUTTONDOWN, MK_LBUTTON | MK_RBUTTON, at(-7, 8), 0, "RightDown -7,8"},
        {WM_RBUTTONDBLCLK, MK_RBUTTON, at(1, 2), 0, "RightDouble 1,2"},
        {WM_RBUTTONUP, 0, at(1, -2), 0, "RightUp 1,-2"},
        {WM_MOUSEMOVE, 0, at(9, 9), 0, "Move 9,9"},
        {WM_MOUSELEAVE, 0, 0, 0, "Left 0,0"},
        {WM_KILLFOCUS, 0, 0, 0, "Left 0,0"},
        {WM_SETFOCUS, 0, 0, 0, "focus"},
        {WM_MOUSEWHEEL, MAKEWPARAM(0, -240), at(220 + 11, 110 + 12), 0, "wheel -240 11,12"},
        {WM_KEYDOWN, VK_F5, 0, 0, "key 116 0 down"},
        {WM_KEYUP, VK_F5, 0, 0, "key 116 0 up"},
        {WM_TIMER, 77, 0, 0, "tick"},
        {WM_PAINT, 0, 0, 0, "paint 0,0 100,50"},
        {WM_CHAR, 'a', 0, 0, ""},
        {WM_ERASEBKGND, 0, 0, 1, ""},
        {WM_SETCURSOR, 0, 0, 1, ""},
        {WM_GETDLGCODE, 0, 0, DLGC_WANTALLKEYS, ""},
    };
    for (const auto& event : events) {
        run();
        owner.heard();
        ::InvalidateRect(handle, nullptr, FALSE);
        EXPECT_EQ(::SendMessageW(handle, event.message, event.wParam, event.lParam), event.result);
        EXPECT_EQ(owner.heard(), event.heard);
        if (event.heard.empty())
            continue;
        owner.react = [&](const std::string&) { window.reset(); };
        ::InvalidateRect(handle, nullptr, FALSE);
        ::SendMessageW(handle, event.message, event.wParam, event.lParam);
        EXPECT_FALSE(::IsWindow(handle)) << event.heard;
        owner.react = [](const std::string&) { throw std::runtime_error("of an owner"); };
        open();
        ::SendMessageW(handle, event.message, event.wParam, event.lParam);
        owner.react = nullptr;
    }
}

// Fault: a knob that goes on turning after its button was let go outside the window, or after
// another window took the pointer away.
TEST_F(SystemWindowTest, APressIsHeardToItsEnd) {
    const auto input = [](DWORD what, int x, int y) {
        INPUT event{};
        event.type = INPUT_MOUSE;
        event.mi.dwFlags = what | MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE;
        event.mi.dx = (x * 65536 + 32768) / ::GetSystemMetrics(SM_CXSCREEN);
        event.mi.dy = (y * 65536 + 32768) / ::GetSystemMetrics(SM_CYSCREEN);
        ::SendInput(1, &event, sizeof(event));
    };
    const Area area = window->area().value();
    input(MOUSEEVENTF_LEFTDOWN, area.left + 5, area.top + 6);
    runUntil("LeftDown 5,6");
    EXPECT_EQ(::GetCapture(), handle);
    input(0, area.right + 10, area.bottom + 20);
    runUntil("Move 110,70");
    input(MOUSEEVENTF_LEFTUP, area.right + 10, area.bottom + 20);
    runUntil("LeftUp 110,70");
    EXPECT_EQ(::GetCapture(), nullptr);
    runUntil("Left 0,0");

    ::SendMessageW(handle, WM_LBUTTONDOWN, MK_LBUTTON, at(1, 2));
    ::SendMessageW(handle, WM_RBUTTONDOWN, MK_LBUTTON | MK_RBUTTON, at(3, 4));
    ::SendMessageW(handle, WM_RBUTTONUP, MK_LBUTTON, at(5, 6));
    EXPECT_EQ(::GetCapture(), handle);
    owner.heard();
    ::SetCapture(host);
    runUntil("Left 0,0; LeftUp 5,6");
    ::SendMessageW(handle, WM_RBUTTONDOWN, MK_RBUTTON, at(1, 2));
    window->releaseCapture();
    EXPECT_EQ(::GetCapture(), nullptr);
    run();
    EXPECT_EQ(owner.heard().find("Up"), std::string::npos);
}

// Fault: keys that a host needs die in the editor, or do two things.
TEST_F(SystemWindowTest, OnlyUnusedKeysGoToTheHost) {
    ::SetFocus(nullptr);
    EXPECT_FALSE(window->hasFocus());
    window->takeFocus();
    EXPECT_TRUE(window->hasFocus());
    for (const bool isUsed : {true, false}) {
        owner.answer = isUsed;
        owner.heard();
        press('A', handle);
        run();
        EXPECT_NE(owner.heard().find("key 65 97 down"), std::string::npos);
        EXPECT_EQ(hostKeys, isUsed ? "" : "256 258 ") << isUsed;
    }
    ::SetFocus(host);
    EXPECT_TRUE(window->hasFocus());
}

// Fault: a picture upside down, or one of which only the invalid part is shown.
TEST_F(SystemWindowTest, ShowsThePicture) {
    std::vector<std::uint8_t> picture(Width * Height * 4);
    for (int i = 0; i < Width * Height; ++i) {
        picture[static_cast<std::size_t>(4 * i)] = static_cast<std::uint8_t>(i % Width);
        picture[static_cast<std::size_t>(4 * i + 1)] = static_cast<std::uint8_t>(i / Width);
    }
    owner.react = [&](const std::string&) {
        window->show({picture.data(), Width, Height}, {10, 20, Width + 5, 40});
    };
    const RECT part{0, 0, 30, 30};
    run();
    ::InvalidateRect(handle, &part, FALSE);
    owner.heard();
    ::UpdateWindow(handle);
    EXPECT_EQ(owner.heard(), "paint 0,0 30,30");
    const HDC context = ::GetDC(handle);
    for (const auto& [x, y] : {std::pair{10, 20}, {99, 20}, {10, 39}, {40, 35}})
        EXPECT_EQ(::GetPixel(context, x, y), RGB(0, Height - 1 - y, x)) << x << "," << y;
    for (const auto& [x, y] : {std::pair{9, 20}, {10, 19}, {10, 40}})
        EXPECT_NE(::GetPixel(context, x, y), RGB(0, Height - 1 - y, x)) << x << "," << y;
    ::ReleaseDC(handle, context);
}

// Fault: a choice that means another entry, or a window that no press reaches after a menu.
TEST_F(SystemWindowTest, MenusReturnTheChoiceOfAWindowThatStillLives) {
    const std::vector<MenuEntry> entries = {
        {70, "Drum & Bass", false, true, false, {}},
        {0, "", false, false, false, {}},
        {50,
         "Below",
         true,
         false,
         false,
         {{4, "", false, false, false, {}}, {90000, "Low", true, false, false, {}}}},
        {30, "", true, false, true, {}}};
    const struct {
        std::vector<WPARAM> keys;
        std::function<void()> act;
        std::optional<std::int32_t> chosen;
    } choices[] = {
        {{VK_UP, VK_RETURN}, nullptr, 30},
        {{VK_DOWN, VK_DOWN, VK_RIGHT, VK_RETURN}, nullptr, 90000},
        {{VK_DOWN, VK_RETURN, VK_ESCAPE}, nullptr, std::nullopt},
        {{}, [this] { window.reset(); }, std::nullopt},
        {{}, [this] { ::DestroyWindow(host); }, std::nullopt},
    };
    for (const auto& [keys, act, chosen] : choices) {
        ::SendMessageW(handle, WM_LBUTTONDOWN, MK_LBUTTON, at(3, 4));
        atTick([&, act = act] {
            EXPECT_EQ(::GetCapture() == handle || window->showMenu(entries, {}), false);
            if (act)
                act();
        });
        for (const WPARAM key : keys)
            press(key, handle);
        EXPECT_EQ(window->showMenu(entries, {-50, 300}), chosen);
        if (window != nullptr && window->handle() != nullptr)
            runUntil("Left 0,0; LeftUp 3,4");
        else
            open();
    }
}

}  // namespace
}  // namespace tarn::platform
