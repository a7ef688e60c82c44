#include "platform/HostWindow.h"

#include "platform/windows/Dragged.h"
#include "platform/windows/Text.h"
#include "platform/windows/WindowClass.h"

#include <dlgs.h>
#include <shlobj.h>

#include <algorithm>
#include <map>
#include <utility>

namespace tarn::platform {

namespace {

constexpr DWORD Style = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;
constexpr int BytesPerPixel = 4;
constexpr UINT TickMs = 20;

LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_CLOSE) {
        ::ShowWindow(window, SW_HIDE);  // whoever opened it looks, and ends the interface first
        return 0;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

BOOL CALLBACK countWindow(HWND, LPARAM counter) {
    ++*reinterpret_cast<int*>(counter);
    return TRUE;
}

BOOL CALLBACK countOwnWindow(HWND window, LPARAM counter) {
    DWORD process = 0;
    ::GetWindowThreadProcessId(window, &process);
    if (process == ::GetCurrentProcessId()) {
        countWindow(window, counter);
        ::EnumChildWindows(window, countWindow, counter);
    }
    return TRUE;
}

std::int64_t heapBytes() {
    constexpr DWORD MostHeaps = 64;
    HANDLE heaps[MostHeaps];
    const DWORD count = std::min(::GetProcessHeaps(MostHeaps, heaps), MostHeaps);
    std::int64_t bytes = 0;
    for (DWORD i = 0; i < count; ++i) {
        ::HeapLock(heaps[i]);
        for (PROCESS_HEAP_ENTRY entry{}; ::HeapWalk(heaps[i], &entry) != 0;)
            if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0)
                bytes += static_cast<std::int64_t>(entry.cbData);
        ::HeapUnlock(heaps[i]);
    }
    return bytes;
}

// Those that stand twice on a keyboard; without the mark the one of the number block is meant.
bool isExtended(std::int32_t key) {
    return (key >= VK_PRIOR && key <= VK_DOWN) || key == VK_INSERT || key == VK_DELETE;
}

constexpr wchar_t MenuClass[] = L"#32768";
constexpr wchar_t DialogClass[] = L"#32770";
constexpr int MessageText = 0xFFFF;  // of a message box, the part that says it
constexpr int LongestText = 1000;

// Of this thread, of a class of the system's, with that part if it is another one than 0.
HWND ownWindow(const wchar_t* className, int part) {
    for (HWND found = nullptr;
         (found = ::FindWindowExW(nullptr, found, className, nullptr)) != nullptr;)
        if (::GetWindowThreadProcessId(found, nullptr) == ::GetCurrentThreadId() &&
            ::IsWindowVisible(found) != 0 && (part == 0 || ::GetDlgItem(found, part) != nullptr))
            return found;
    return nullptr;
}

bool isLine(HMENU menu, int place) {
    return (::GetMenuState(menu, static_cast<UINT>(place), MF_BYPOSITION) & MF_SEPARATOR) != 0;
}

// -1 without such an entry.
int placeOf(HMENU menu, const std::string& entry) {
    int place = ::GetMenuItemCount(menu) - 1;
    for (wchar_t text[LongestText] = L""; place >= 0; --place)
        if (::GetMenuStringW(menu, static_cast<UINT>(place), text, LongestText, MF_BYPOSITION) >
                0 &&
            utf8(text) == entry)
            break;
    return place;
}

SIZE outerSize(Spot inner) {
    RECT rect{0, 0, inner.x, inner.y};
    ::AdjustWindowRect(&rect, Style, FALSE);
    return {rect.right - rect.left, rect.bottom - rect.top};
}

std::string bytesOf(std::wstring_view text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

// As the system hands over files: a header, then the paths, each ended by a zero, and one more.
std::string fileList(const std::vector<std::string>& files) {
    const DROPFILES header{sizeof(DROPFILES), {}, FALSE, TRUE};
    std::string bytes(reinterpret_cast<const char*>(&header), sizeof header);
    for (const std::string& file : files)
        bytes += bytesOf(wide(file) + L'\0');
    return bytes + bytesOf(std::wstring_view(L"\0", 1));
}

class WindowsHostWindow final : public HostWindow {
public:
    WindowsHostWindow(const std::string& title, Spot size) : class_(L"Brimtide host", procedure) {
        const SIZE outer = outerSize(size);
        window_ = ::CreateWindowExW(WS_EX_TOPMOST, class_.name(), wide(title).c_str(), Style, 40,
                                    40, outer.cx, outer.cy, nullptr, nullptr, ownModule(), nullptr);
        timer_ = ::SetTimer(nullptr, 0, TickMs, timerTick);
        ticking()[timer_] = this;
        ::ShowWindow(window_, SW_SHOW);
        ::SetForegroundWindow(window_);
        ::UpdateWindow(window_);
    }
    WindowsHostWindow(const WindowsHostWindow&) = delete;
    WindowsHostWindow& operator=(const WindowsHostWindow&) = delete;
    ~WindowsHostWindow() override {
        ::KillTimer(nullptr, timer_);
        ticking().erase(timer_);
        destroy();
    }

    void destroy() override {
        if (window_ != nullptr)
            ::DestroyWindow(std::exchange(window_, nullptr));
    }

    void* handle() const override { return window_; }

    void resize(Spot size) override {
        const SIZE outer = outerSize(size);
        ::SetWindowPos(window_, nullptr, 0, 0, outer.cx, outer.cy, SWP_NOMOVE | SWP_NOZORDER);
    }

    bool isOpen() const override { return ::IsWindowVisible(window_) != 0; }

    void serve() override {
        MSG message{};
        for (bool isThere = ::GetMessageW(&message, nullptr, 0, 0) > 0; isThere;
             isThere = ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
            ::TranslateMessage(&message);
            ::DispatchMessageW(&message);
        }
    }

    int childCount() const override {
        int count = 0;
        ::EnumChildWindows(window_, countWindow, reinterpret_cast<LPARAM>(&count));
        return count;
    }

    std::vector<std::uint8_t> picture(Spot& size) override {
        RECT client{};
        ::GetClientRect(window_, &client);
        size = {client.right, client.bottom};
        BITMAPINFO form{};
        form.bmiHeader.biSize = sizeof form.bmiHeader;
        form.bmiHeader.biWidth = size.x;
        form.bmiHeader.biHeight = -size.y;  // the top row first
        form.bmiHeader.biPlanes = 1;
        form.bmiHeader.biBitCount = 8 * BytesPerPixel;
        const POINT corner = toScreen({});
        const HDC screen = ::GetDC(nullptr);
        const HDC memory = ::CreateCompatibleDC(screen);
        void* pixels = nullptr;
        const HBITMAP bitmap =
            ::CreateDIBSection(screen, &form, DIB_RGB_COLORS, &pixels, nullptr, 0);
        std::vector<std::uint8_t> picture;
        if (bitmap != nullptr) {
            const HGDIOBJ former = ::SelectObject(memory, bitmap);
            // What lies beyond the screen stays black. If it were asked for, Wine would give
            // nothing at all.
            const int left = ::GetSystemMetrics(SM_XVIRTUALSCREEN),
                      top = ::GetSystemMetrics(SM_YVIRTUALSCREEN);
            const RECT whole{left, top, left + ::GetSystemMetrics(SM_CXVIRTUALSCREEN),
                             top + ::GetSystemMetrics(SM_CYVIRTUALSCREEN)};
            RECT part{corner.x, corner.y, corner.x + size.x, corner.y + size.y};
            ::IntersectRect(&part, &part, &whole);
            ::BitBlt(memory, part.left - corner.x, part.top - corner.y, part.right - part.left,
                     part.bottom - part.top, screen, part.left, part.top, SRCCOPY);
            ::GdiFlush();
            const auto* const bytes = static_cast<const std::uint8_t*>(pixels);
            const std::size_t count =
                static_cast<std::size_t>(size.x) * static_cast<std::size_t>(size.y);
            for (std::size_t i = 0; i < count; ++i)
                for (const int channel : {2, 1, 0})
                    picture.push_back(bytes[i * BytesPerPixel + static_cast<std::size_t>(channel)]);
            ::SelectObject(memory, former);
            ::DeleteObject(bitmap);
        }
        ::DeleteDC(memory);
        ::ReleaseDC(nullptr, screen);
        return picture;
    }

    void movePointer(Spot place) override {
        const POINT screen = toScreen(place);
        mouse(MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE,
              ofScreen(screen.x, ::GetSystemMetrics(SM_CXSCREEN)),
              ofScreen(screen.y, ::GetSystemMetrics(SM_CYSCREEN)), 0);
    }

    void button(bool isRight, bool isDown) override {
        if (isRight)
            mouse(isDown ? MOUSEEVENTF_RIGHTDOWN : MOUSEEVENTF_RIGHTUP, 0, 0, 0);
        else
            mouse(isDown ? MOUSEEVENTF_LEFTDOWN : MOUSEEVENTF_LEFTUP, 0, 0, 0);
    }

    void wheel(std::int32_t delta) override {
        mouse(MOUSEEVENTF_WHEEL, 0, 0, static_cast<DWORD>(delta));
    }

    void key(std::int32_t virtualKey, bool isDown) override {
        INPUT event{};
        event.type = INPUT_KEYBOARD;
        event.ki.wVk = static_cast<WORD>(virtualKey);
        event.ki.dwFlags = (isDown ? 0u : DWORD{KEYEVENTF_KEYUP}) |
                           (isExtended(virtualKey) ? DWORD{KEYEVENTF_EXTENDEDKEY} : 0u);
        ::SendInput(1, &event, sizeof event);
    }

    bool drop(const DroppedData& data, Spot place) override {
        const POINT screen = toScreen(place);
        // Where the system keeps what a window has registered for drops.
        auto* const target = static_cast<IDropTarget*>(
            ::GetPropW(::WindowFromPoint(screen), L"OleDropTargetInterface"));
        if (target == nullptr)
            return false;
        Dragged dragged(data.text ? CF_UNICODETEXT : CF_HDROP,
                        data.text ? bytesOf(wide(*data.text) + L'\0') : fileList(data.files));
        const POINTL at{screen.x, screen.y};
        DWORD effect = DROPEFFECT_COPY;
        target->AddRef();
        target->DragEnter(&dragged, MK_LBUTTON, at, &effect);
        effect = DROPEFFECT_COPY;
        target->DragOver(MK_LBUTTON, at, &effect);
        const bool isWanted = effect != DROPEFFECT_NONE;
        effect = DROPEFFECT_COPY;
        if (isWanted)
            target->Drop(&dragged, 0, at, &effect);
        else
            target->DragLeave();
        target->Release();
        return isWanted && effect != DROPEFFECT_NONE;
    }

    bool choose(const std::vector<std::string>& entries, std::string& missing) override {
        const HWND shown = ownWindow(MenuClass, 0);
        if (shown == nullptr)
            return false;
        auto menu = reinterpret_cast<HMENU>(::SendMessageW(shown, MN_GETHMENU, 0, 0));
        press(VK_DOWN);  // the first entry; in a menu below it is selected already
        for (const std::string& entry : entries) {
            const int place = entry.empty() ? -1 : placeOf(menu, entry);
            if (place < 0) {
                missing = entry;
                for (std::size_t i = 0; i < entries.size(); ++i)
                    press(VK_ESCAPE);
                break;
            }
            for (int above = 0; above < place; ++above)
                if (!isLine(menu, above))
                    press(VK_DOWN);
            menu = ::GetSubMenu(menu, place);
            press(menu != nullptr ? VK_RIGHT : VK_RETURN);
        }
        return true;
    }

    bool enter(const std::string& text) override {
        const HWND focused = ::GetFocus(), root = ::GetAncestor(focused, GA_ROOT);
        for (const int field : {edt1, cmb13})  // either, of a file dialog
            if (::SetDlgItemTextW(root, field, wide(text).c_str()) != 0)
                return ::PostMessageW(root, WM_COMMAND, IDOK, 0) != 0;
        wchar_t name[LongestText] = L"";
        ::GetClassNameW(focused, name, LongestText);
        if (::lstrcmpiW(name, L"Edit") != 0)
            return false;
        ::SetWindowTextW(focused, wide(text).c_str());
        return ::PostMessageW(focused, WM_KEYDOWN, VK_RETURN, 0) != 0;
    }

    bool answer(MessageAnswer button, std::string& text) override {
        const HWND box = ownWindow(DialogClass, MessageText);
        if (box == nullptr)
            return false;
        wchar_t shown[LongestText] = L"";
        ::GetDlgItemTextW(box, MessageText, shown, LongestText);
        text = utf8(shown);
        const std::map<MessageAnswer, WPARAM> buttons = {{MessageAnswer::Ok, IDOK},
                                                         {MessageAnswer::Yes, IDYES},
                                                         {MessageAnswer::No, IDNO},
                                                         {MessageAnswer::Cancel, IDCANCEL}};
        return ::PostMessageW(box, WM_COMMAND, buttons.at(button), 0) != 0;
    }

private:
    void press(std::int32_t virtualKey) {
        key(virtualKey, true);
        key(virtualKey, false);
    }

    // By the thread's timers, which have no place for more.
    static std::map<UINT_PTR, HostWindow*>& ticking() {
        static std::map<UINT_PTR, HostWindow*> windows;
        return windows;
    }

    static void CALLBACK timerTick(HWND, UINT, UINT_PTR timer, DWORD) {
        const auto found = ticking().find(timer);
        if (found != ticking().end() && found->second->tick)
            found->second->tick();
    }

    POINT toScreen(Spot place) const {
        POINT point{place.x, place.y};
        ::ClientToScreen(window_, &point);
        return point;
    }

    // As SendInput wants a place: the screen's length is 65,536.
    static LONG ofScreen(LONG place, int length) {
        return static_cast<LONG>((LONGLONG{65536} * place + 32768) / length);
    }

    static void mouse(DWORD what, LONG x, LONG y, DWORD data) {
        INPUT event{};
        event.type = INPUT_MOUSE;
        event.mi.dwFlags = what;
        event.mi.dx = x;
        event.mi.dy = y;
        event.mi.mouseData = data;
        ::SendInput(1, &event, sizeof event);
    }

    WindowClass class_;
    HWND window_;
    UINT_PTR timer_ = 0;
};

}  // namespace

std::unique_ptr<HostWindow> HostWindow::open(const std::string& title, Spot size) {
    auto window = std::make_unique<WindowsHostWindow>(title, size);
    if (window->handle() == nullptr)
        return nullptr;
    return window;
}

ProcessHoldings processHoldings() noexcept {
    const HANDLE process = ::GetCurrentProcess();
    int windows = 0;
    ::EnumWindows(countOwnWindow, reinterpret_cast<LPARAM>(&windows));
    DWORD handles = 0;
    ::GetProcessHandleCount(process, &handles);
    return {std::int64_t{windows} + handles + ::GetGuiResources(process, GR_GDIOBJECTS) +
                ::GetGuiResources(process, GR_USEROBJECTS),
            heapBytes()};
}

}  // namespace tarn::platform
