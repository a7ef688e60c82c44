#include "platform/Desktop.h"
#include "platform/SystemWindow.h"
#include "platform/WindowRecord.h"
#include "platform/windows/Dragged.h"
#include "platform/windows/ResourceCount.h"
#include "platform/windows/WindowClass.h"
#include "support/ScratchFolder.h"

#include <gtest/gtest.h>
#include <shlobj.h>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <tuple>
#include <utility>

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

    // As the host's message loop does it: while there is something, or until the owner has heard
    // it.
    void run(const std::string& until = {}) {
        std::string heard;
        for (MSG message{}; until.empty() ? ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0
                                          : heard.find(until) == heard.npos &&
                                                ::GetMessageW(&message, nullptr, 0, 0) >= 0;) {
            if (message.hwnd == host || message.message == WM_QUIT)
                hostHeard += std::to_string(message.message) + " ";
            ::TranslateMessage(&message);
            ::DispatchMessageW(&message);
            heard += until.empty() ? "" : "; " + owner.heard();
        }
    }

    // Once the window's tick comes, in whatever loop.
    void atTick(std::function<void()> act) {
        owner.onTick = std::move(act);
        ::PostMessageW(handle, WM_TIMER, 1, 0);
    }
    bool isOpen() const { return window != nullptr && window->handle() != nullptr; }
    void press(WPARAM key, HWND to) { ::PostMessageW(to, WM_KEYDOWN, key, 0); }

    WindowClass hostClass{L"tested host", ::DefWindowProcW};
    test::WindowRecord owner;
    std::string failure, hostHeard;  // numbers of its messages
    HWND host = nullptr, handle = nullptr;
    std::unique_ptr<SystemWindow> window;
};

// Fault: an event that is lost, misplaced or told as another one; and a host that crashes since its
// user's gesture closed the editor.
TEST_F(SystemWindowTest, OwnersHearEventsAndMayEndTheWindowInEach) {
    ::SetCursorPos(0, 0);
    ::SetCursor(::LoadCursorW(nullptr, IDC_SIZEWE));  // the host's frame's
    ::SendMessageW(handle, WM_SETCURSOR, 0, 0);
    EXPECT_EQ(::GetCursor(), ::LoadCursorW(nullptr, IDC_ARROW));
    const std::tuple<UINT, WPARAM, LPARAM, LRESULT, std::string> events[] = {
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
    for (const auto& [message, wParam, lParam, result, heard] : events) {
        run();
        owner.heard();
        ::InvalidateRect(handle, nullptr, FALSE);
        EXPECT_EQ(::SendMessageW(handle, message, wParam, lParam), result);
        EXPECT_EQ(owner.heard(), heard);
        if (heard.empty())
            continue;
        owner.react = [&](const std::string&) { window.reset(); };
        ::InvalidateRect(handle, nullptr, FALSE);
        ::SendMessageW(handle, message, wParam, lParam);
        EXPECT_FALSE(::IsWindow(handle)) << heard;
        owner.react = [](const std::string&) { throw std::runtime_error("of an owner"); };
        open();
        ::SendMessageW(handle, message, wParam, lParam);
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
    run("LeftDown 5,6");
    EXPECT_EQ(::GetCapture(), handle);
    input(0, area.right + 10, area.bottom + 20);
    run("Move 110,70");
    input(MOUSEEVENTF_LEFTUP, area.right + 10, area.bottom + 20);
    run("LeftUp 110,70");
    EXPECT_EQ(::GetCapture(), nullptr);
    run("Left 0,0");

    ::SendMessageW(handle, WM_LBUTTONDOWN, MK_LBUTTON, at(1, 2));
    ::SendMessageW(handle, WM_RBUTTONDOWN, MK_LBUTTON | MK_RBUTTON, at(3, 4));
    ::SendMessageW(handle, WM_RBUTTONUP, MK_LBUTTON, at(5, 6));
    EXPECT_EQ(::GetCapture(), handle);
    owner.heard();
    ::SetCapture(host);
    run("Left 0,0; LeftUp 5,6");
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
    for (const auto& [key, told] : {std::pair('A', "key 65 97 down"), {' ', "key 32 32 down"}})
        for (const bool isUsed : {true, false}) {
            run();
            owner.answer = isUsed;
            hostHeard.clear();
            owner.heard();
            press(static_cast<WPARAM>(key), handle);
            run();
            EXPECT_NE(owner.heard().find(told), std::string::npos);
            EXPECT_EQ(hostHeard, isUsed ? "" : "256 258 ") << told << isUsed;
        }
    for (const WPARAM key : {VK_RETURN, VK_LEFT})
        for (const bool isUsed : {true, false}) {
            owner.answer = isUsed;
            press(key, handle);
            ::PostMessageW(handle, WM_KEYDOWN, key, 1 << 30);
            run();
            EXPECT_EQ(owner.heard().find("; ") == std::string::npos, key == VK_RETURN && isUsed)
                << "held, it opens what it opened once";
        }
    BYTE keys[256]{};
    keys[VK_CONTROL] = keys[VK_SHIFT] = 0x80;
    ::SetKeyboardState(keys);
    EXPECT_TRUE(isKeyDown(VK_CONTROL) && isKeyDown(VK_SHIFT) && !isKeyDown(VK_MENU));
    keys[VK_CONTROL] = keys[VK_SHIFT] = 0;
    ::SetKeyboardState(keys);
    EXPECT_FALSE(isKeyDown(VK_CONTROL));
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
    const MenuEntry line{0, "", false, false, false, {}};
    const MenuEntry low{90000, "Low", true, false, false, {}};
    const std::vector<MenuEntry> entries = {{70, "Drum & Bass", false, true, false, {}},
                                            line,
                                            {50, "Below", true, false, false, {line, low}},
                                            {30, "", true, false, true, {}}};
    const std::tuple<std::vector<WPARAM>, std::function<void()>, std::optional<int>> choices[] = {
        {{VK_UP, VK_RETURN}, nullptr, 30},
        {{VK_DOWN, VK_DOWN, VK_RIGHT, VK_RETURN}, nullptr, 90000},
        {{VK_DOWN, VK_RETURN, VK_ESCAPE}, nullptr, std::nullopt},
        {{}, [this] { window.reset(); }, std::nullopt},
        {{}, [this] { ::DestroyWindow(host); }, std::nullopt},
    };
    std::vector<std::uint8_t> grey(std::size_t{4} * 6 * 4, 200);
    std::fill_n(&grey[std::size_t{4} * 5], 3, std::uint8_t{100});  // at the bottom right
    owner.entryPicture = {grey.data(), 6, 4};
    const auto drawOwnEntry = [this] {
        const HDC context = ::GetDC(handle);
        DRAWITEMSTRUCT entry{ODT_MENU, 0, 3, 0, 0, nullptr, context, {5, 6, 50, 60}, 0};
        ::SendMessageW(handle, WM_DRAWITEM, 0, reinterpret_cast<LPARAM>(&entry));
        for (const auto& [x, y, one] :
             {std::tuple(5, 6, 200), {10, 8, 200}, {11, 8, 100}, {49, 8, 100}})
            EXPECT_EQ(::GetPixel(context, x, y), RGB(one, one, one)) << x;
        EXPECT_NE(::GetPixel(context, 50, 8), RGB(100, 100, 100));
        ::ReleaseDC(handle, context);
    };
    for (const auto& [keys, act, chosen] : choices) {
        ::SendMessageW(handle, WM_LBUTTONDOWN, MK_LBUTTON, at(3, 4));
        owner.heard();
        atTick([&, act = act] {
            EXPECT_FALSE(::GetCapture() == handle ||
                         window->showMenu(entries, {}, MenuSide::Right));
            EXPECT_NE(owner.heard().find("measure 30; draw 30"), std::string::npos);
            drawOwnEntry();
            if (act)
                act();
        });
        for (const WPARAM key : keys)
            press(key, handle);
        EXPECT_EQ(window->showMenu(entries, {300, 300}, MenuSide::Left), chosen);
        EXPECT_EQ(owner.heard().find("draw 30 selected") != std::string::npos, chosen == 30);
        if (isOpen())
            run("Left 0,0; LeftUp 3,4");
        else
            open();
    }
}

// Wine's Tahoma under a name that nobody has installed.
std::string unknownFont() {
    std::ifstream file("C:\\windows\\Fonts\\tahoma.ttf", std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    for (const std::string& old : {std::string("Tahoma"), std::string("T\0a\0h\0o\0m\0a", 11)})
        for (std::size_t at = 0; (at = bytes.find(old, at)) != std::string::npos; ++at)
            for (std::size_t i = 3 * (old.size() / 5); i < old.size(); i += old.size() / 5)
                bytes[at + i] = 'x';
    return bytes;
}

// Fault: a text that is lost or taken against the user's will, a host whose windows don't answer
// any more, or a box that outlives its editor.
TEST_F(SystemWindowTest, TheBoxReturnsTheTextOnlyAfterReturn) {
    TextRequest request;
    request.area = {250, 150, 260, 180};
    request.prefix = "a";
    request.prefixWidth = 7;
    request.postfixWidth = 5;
    request.text = "former";
    request.className = "tested box";
    const test::ScratchFolder folder;
    folder.write("own.ttf", unknownFont());
    request.family = "Tahxxx";
    request.weight = FW_BOLD;
    request.fontFiles = {folder.path("own.ttf"), "no such file"};
    const std::pair<std::function<void(HWND field)>, std::optional<std::string>> ends[] = {
        {[&](HWND field) { press(VK_RETURN, field); }, "former"},
        {[&](HWND field) {
             ::PostMessageW(field, WM_CHAR, L'\u00FC', 0);
             press(VK_RETURN, field);
         },
         "\u00FC"},
        {[&](HWND field) {
             ::PostMessageW(field, WM_KEYDOWN, VK_RETURN, 1 << 30);  // held
             press(VK_ESCAPE, field);
         },
         std::nullopt},
        {[&](HWND field) { press(VK_ESCAPE, field); }, std::nullopt},
        {[&](HWND) { ::PostMessageW(host, WM_NCLBUTTONDOWN, HTCAPTION, at(1, 1)); }, std::nullopt},
        {[&](HWND) { ::PostMessageW(handle, WM_LBUTTONDOWN, MK_LBUTTON, at(1, 1)); }, std::nullopt},
        {[&](HWND) { ::SetFocus(host); }, std::nullopt},
        {[&](HWND field) { ::SendMessageW(::GetParent(field), WM_CLOSE, 0, 0); }, std::nullopt},
        {[&](HWND) { ::PostQuitMessage(5); }, std::nullopt},
        {[&](HWND) { window.reset(); }, std::nullopt},
        {[&](HWND) { ::DestroyWindow(host); }, std::nullopt},
    };
    const int before = heldResources();
    for (const auto& [act, text] : ends) {
        window->takeFocus();
        run();
        ::SendMessageW(handle, WM_LBUTTONDBLCLK, MK_LBUTTON, at(3, 4));
        atTick([&, act = act] {
            const HWND field = ::GetFocus(), box = ::GetParent(field);
            EXPECT_EQ(box, ::FindWindowW(BoxClassName, nullptr));
            EXPECT_FALSE(::IsWindowEnabled(handle) || window->editText(request));
            EXPECT_EQ(heldResources(), before + 4);  // with class, font and font file
            RECT place{}, inside{};
            ::GetWindowRect(box, &place);
            ::GetClientRect(field, &inside);
            EXPECT_TRUE(place.left == 250 && place.right == 290 && place.bottom - place.top == 30);
            EXPECT_TRUE(inside.bottom <= 26 && inside.right == 40 - 7 - 5);
            LOGFONTW letters{};
            ::GetObjectW(reinterpret_cast<HFONT>(::SendMessageW(field, WM_GETFONT, 0, 0)),
                         sizeof letters, &letters);
            EXPECT_EQ(letters.lfWeight, FW_BOLD);
            BYTE alpha = 0;
            EXPECT_TRUE(::GetLayeredWindowAttributes(box, nullptr, &alpha, nullptr) &&
                        alpha == 204);
            owner.heard();
            act(field);
        });
        EXPECT_EQ(window->editText(request), text);
        EXPECT_EQ(owner.heard().find("Down"), std::string::npos);
        EXPECT_EQ(::FindWindowW(BoxClassName, nullptr), nullptr);
        WNDCLASSW description{};
        EXPECT_FALSE(::GetClassInfoW(ownModule(), BoxClassName, &description));
        if (isOpen()) {
            EXPECT_TRUE(::IsWindowEnabled(handle) && ::GetFocus() == handle);
            run("Left 0,0; LeftUp 3,4");
        } else {
            open();
        }
        EXPECT_EQ(heldResources(), before);
    }
    EXPECT_NE(hostHeard.find(std::to_string(WM_QUIT) + " "), std::string::npos);
}

std::string bytesOf(std::wstring_view text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

std::string fileList(DWORD offset, BOOL isWide, const std::string& paths) {
    const DROPFILES header{offset, {}, FALSE, isWide};
    return std::string(reinterpret_cast<const char*>(&header), sizeof(header)) + paths;
}

// Fault: a drop that is read beyond its end, mistaken, or told to an editor that is gone.
TEST_F(SystemWindowTest, DropsAreReadAsTextOrElseAsFiles) {
    std::string many;
    for (int i = 0; i < 1005; ++i)
        many += std::string("x\0", 2);
    const DWORD after = sizeof(DROPFILES);
    const std::tuple<CLIPFORMAT, std::string, std::string> drops[] = {
        {CF_UNICODETEXT, bytesOf(std::wstring_view(L"t\u00FC\0x", 4)), " text t\u00FC"},
        {CF_UNICODETEXT, bytesOf(L"open") + "!", " text open"},
        {CF_TEXT, std::string("plain\0rest", 10), " text plain"},
        {CF_TEXT, std::string((16 << 20) + 1, 'x'), ""},
        {CF_HDROP, fileList(after, TRUE, bytesOf(std::wstring_view(L"C:\\\u00FC\0b\0\0c\0", 9))),
         " file C:\\\u00FC file b"},
        {CF_HDROP, fileList(after, FALSE, std::string("C:\\a\0open", 9)), " file C:\\a"},
        {CF_HDROP, fileList(after, FALSE, many), std::string(1000, '.')},
        {CF_HDROP, fileList(0xFFFFFFFF, FALSE, "a"), ""},
        {CF_HDROP, fileList(after + 2, TRUE, ""), ""},
        {CF_HDROP, "short", ""},
        {CF_BITMAP, "x", ""},
    };
    const auto target = [this] {
        return static_cast<IDropTarget*>(::GetPropW(handle, L"OleDropTargetInterface"));
    };
    const POINTL place{220 + 5, 110 + 6};
    for (const auto& [format, bytes, told] : drops) {
        Dragged data(format, bytes);
        DWORD effect = DROPEFFECT_LINK;
        owner.answer = false;
        target()->DragEnter(&data, 0, place, &effect);
        EXPECT_EQ(effect, DROPEFFECT_NONE);
        owner.answer = true;
        target()->DragOver(0, place, &effect);
        EXPECT_EQ(effect, DROPEFFECT_COPY);
        target()->DragLeave();
        target()->Drop(&data, 0, place, &effect);
        EXPECT_EQ(effect, DROPEFFECT_COPY);
        EXPECT_EQ(owner.heard(), "enter" + told + " 5,6; over 5,6; end; drop" + told + " 5,6");
    }
    const int before = heldResources();
    Dragged data(CF_TEXT, "x");
    IDropTarget* const former = target();
    former->AddRef();
    owner.react = [this](const std::string&) { window.reset(); };
    DWORD effect = 0;
    EXPECT_EQ(former->Drop(&data, 0, place, &effect), S_OK);
    owner.react = nullptr;
    owner.heard();
    EXPECT_EQ(former->DragEnter(nullptr, 0, place, &effect), S_OK);
    EXPECT_EQ(former->DragOver(0, place, nullptr), E_POINTER);
    EXPECT_EQ(owner.heard(), "");
    former->Release();
    open();
    EXPECT_EQ(heldResources(), before);
}

// Fault: a host that runs out of windows or can't unload the plug-in, since each editor leaves
// something behind.
TEST_F(SystemWindowTest, EverythingIsGivenBackWhoeverEndsFirst) {
    test::WindowRecord other;
    window.reset();
    const int before = heldResources();
    for (int i = 0; i < 200; ++i) {
        open();
        {
            const auto second = SystemWindow::open(host, {}, ClassName, other, failure);
            ASSERT_TRUE(window && second && window->handle() != second->handle());
        }
        if (i % 2 == 0) {
            ::DestroyWindow(host);
            EXPECT_TRUE(owner.heard().ends_with("gone"));
            EXPECT_FALSE(window->handle() || window->area() || window->hasFocus());
            EXPECT_FALSE(window->showMenu({}, {}, MenuSide::Right) || window->editText({}));
            window->takeFocus();
            window->releaseCapture();
            window->show({nullptr, 1, 1}, {0, 0, 1, 1});
        }
        window.reset();
        ASSERT_EQ(heldResources(), before);
    }
    WNDCLASSW description{};
    EXPECT_FALSE(::GetClassInfoW(ownModule(), WideClassName, &description));

    // An owner that ends its window when it hears of the end leaves the class to the next one.
    open();
    owner.react = [this](const std::string&) { window.reset(); };
    ::DestroyWindow(host);
    owner.react = nullptr;
    open();
    window.reset();
    EXPECT_EQ(heldResources(), before);

    EXPECT_EQ(SystemWindow::open(nullptr, {}, ClassName, owner, failure), nullptr);
    EXPECT_EQ(failure, "create");
    WNDCLASSW foreign{};
    foreign.lpfnWndProc = ::DefWindowProcW;
    foreign.hInstance = ownModule();
    foreign.lpszClassName = WideClassName;
    ::RegisterClassW(&foreign);
    const HWND user = ::CreateWindowW(WideClassName, L"", 0, 0, 0, 9, 9, HWND_MESSAGE, nullptr,
                                      ownModule(), nullptr);
    EXPECT_EQ(SystemWindow::open(host, {}, ClassName, owner, failure), nullptr);
    EXPECT_EQ(failure, "register");
    ::DestroyWindow(user);  // as if the library had been unloaded since
    open();
    owner.heard();
    ::SendMessageW(handle, WM_SETFOCUS, 0, 0);
    EXPECT_EQ(owner.heard(), "focus");
}

}  // namespace
}  // namespace tarn::platform
