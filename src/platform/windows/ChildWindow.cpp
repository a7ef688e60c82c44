#include "platform/windows/ChildWindow.h"

#include "platform/Desktop.h"
#include "platform/windows/Desktop.h"
#include "platform/windows/DropTarget.h"
#include "platform/windows/OpenMenu.h"
#include "platform/windows/ResourceCount.h"
#include "platform/windows/TextBox.h"
#include "platform/windows/WindowClass.h"

#include <windowsx.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace tarn::platform {

namespace {

Spot spotOf(LPARAM place) {
    return {GET_X_LPARAM(place), GET_Y_LPARAM(place)};
}

// What a key types lies in the queue already, if the program's message loop translates keys.
std::uint32_t typedCharacter(HWND window) {
    MSG next{};
    const bool isTyped = ::PeekMessageW(&next, window, WM_CHAR, WM_CHAR,
                                        PM_NOREMOVE | PM_NOYIELD | PM_QS_POSTMESSAGE) != 0;
    return isTyped ? static_cast<std::uint32_t>(next.wParam) : 0;
}

class PaintSession {
public:
    explicit PaintSession(HWND window) : window_(window) { ::BeginPaint(window_, &paint_); }
    PaintSession(const PaintSession&) = delete;
    PaintSession& operator=(const PaintSession&) = delete;
    ~PaintSession() { ::EndPaint(window_, &paint_); }

    Area part() const {
        const RECT& part = paint_.rcPaint;
        return {part.left, part.top, part.right, part.bottom};
    }

private:
    HWND window_;
    PAINTSTRUCT paint_{};
};

}  // namespace

void copyPixels(HDC context, Spot place, const Pixels& picture, const Area& part) {
    const std::int32_t left = std::max(part.left, 0);
    const std::int32_t top = std::max(part.top, 0);
    const std::int32_t width = std::min(part.right, picture.width) - left;
    const std::int32_t height = std::min(part.bottom, picture.height) - top;
    if (picture.bytes == nullptr || width <= 0 || height <= 0)
        return;
    BITMAPINFO rows{};
    rows.bmiHeader.biSize = sizeof(rows.bmiHeader);
    rows.bmiHeader.biWidth = picture.width;
    rows.bmiHeader.biHeight = height;
    rows.bmiHeader.biPlanes = 1;
    rows.bmiHeader.biBitCount = 32;
    rows.bmiHeader.biCompression = BI_RGB;
    const std::ptrdiff_t rowsBelow = picture.height - top - height;
    ::SetDIBitsToDevice(context, place.x + left - part.left, place.y + top - part.top,
                        static_cast<DWORD>(width), static_cast<DWORD>(height), left, 0, 0,
                        static_cast<UINT>(height), picture.bytes + 4 * rowsBelow * picture.width,
                        &rows, DIB_RGB_COLORS);
}

std::shared_ptr<ChildWindow> ChildWindow::create(HWND parent, const Area& area,
                                                 const wchar_t* className) {
    const std::shared_ptr<ChildWindow> window(new ChildWindow);
    ::CreateWindowExW(0, className, L"", WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, area.left,
                      area.top, area.right - area.left, area.bottom - area.top, parent, nullptr,
                      ownModule(), window.get());
    return window->handle != nullptr ? window : nullptr;
}

ChildWindow::~ChildWindow() = default;

bool ChildWindow::start(WindowOwner& hearer) {
    drops_ = std::make_unique<DropRegistration>(weak_from_this(), handle);
    owner = handle != nullptr ? &hearer : nullptr;
    return owner != nullptr;
}

void ChildWindow::end() {
    owner = nullptr;
    if (handle != nullptr)
        ::DestroyWindow(handle);
}

void ChildWindow::releaseCapture() {
    held_ = 0;
    if (handle != nullptr && ::GetCapture() == handle)
        ::ReleaseCapture();
}

EndedPress::EndedPress(std::shared_ptr<ChildWindow> window)
    : window_(std::move(window)), held_(window_->held_) {
    window_->releaseCapture();
}

// The owner hears of it through the queue, after whatever it does now.
EndedPress::~EndedPress() {
    if (held_ == 0 || window_->handle == nullptr)
        return;
    ::PostMessageW(window_->handle, WM_MOUSELEAVE, 0, 0);
    if ((held_ & MK_LBUTTON) != 0)
        ::PostMessageW(window_->handle, WM_LBUTTONUP, 0, window_->lastPlace_);
    if ((held_ & MK_RBUTTON) != 0)
        ::PostMessageW(window_->handle, WM_RBUTTONUP, 0, window_->lastPlace_);
}

Spot ChildWindow::toClient(Spot onScreen) const {
    POINT point{onScreen.x, onScreen.y};
    ::ScreenToClient(handle, &point);
    return {static_cast<std::int32_t>(point.x), static_cast<std::int32_t>(point.y)};
}

LRESULT CALLBACK ChildWindow::procedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        auto* window = static_cast<ChildWindow*>(
            reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpCreateParams);
        window->handle = handle;
        window->self_ = window->shared_from_this();
        ::SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(window));
        countTaken();
    }
    auto* known = reinterpret_cast<ChildWindow*>(::GetWindowLongPtrW(handle, GWLP_USERDATA));
    if (known != nullptr) {
        const std::shared_ptr<ChildWindow> window = known->shared_from_this();
        try {
            if (const std::optional<LRESULT> result = window->receive(message, wParam, lParam))
                return *result;
        } catch (...) {  // the system's frames, through which it would go, know no exceptions
        }
    }
    return ::DefWindowProcW(handle, message, wParam, lParam);
}

std::optional<LRESULT> ChildWindow::receive(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CREATE:
            setCursor(CursorShape::Arrow);
            return std::nullopt;
        case WM_ERASEBKGND:
            return TRUE;
        case WM_SETCURSOR:  // the pointer may come from a window with another one
            ::SetCursor(currentCursor());
            return TRUE;
        case WM_GETDLGCODE:
            return DLGC_WANTALLKEYS;
        case WM_DESTROY:
            stop();
            return std::nullopt;
        case WM_NCDESTROY:
            forget();
            return std::nullopt;
        default:
            return owner != nullptr ? tell(message, wParam, lParam) : std::nullopt;
    }
}

std::optional<LRESULT> ChildWindow::tell(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_PAINT:
            paint();
            return 0;
        case WM_TIMER:
            owner->tick();
            return 0;
        case WM_MOUSEMOVE:
            move(lParam);
            return 0;
        case WM_LBUTTONDOWN:
            press(PointerEvent::LeftDown, MK_LBUTTON, lParam);
            return 0;
        case WM_LBUTTONDBLCLK:
            press(PointerEvent::LeftDouble, MK_LBUTTON, lParam);
            return 0;
        case WM_LBUTTONUP:
            release(PointerEvent::LeftUp, MK_LBUTTON, wParam, lParam);
            return 0;
        case WM_RBUTTONDOWN:
            press(PointerEvent::RightDown, MK_RBUTTON, lParam);
            return 0;
        case WM_RBUTTONDBLCLK:
            press(PointerEvent::RightDouble, MK_RBUTTON, lParam);
            return 0;
        case WM_RBUTTONUP:
            release(PointerEvent::RightUp, MK_RBUTTON, wParam, lParam);
            return 0;
        case WM_CAPTURECHANGED:
            if (reinterpret_cast<HWND>(lParam) != handle) {
                const EndedPress ended(shared_from_this());
            }
            return 0;
        case WM_MOUSEWHEEL:
            if (!owner->wheel(toClient(spotOf(lParam)), GET_WHEEL_DELTA_WPARAM(wParam)))
                return std::nullopt;
            return 0;
        case WM_MOUSELEAVE:
            awaitsLeave_ = false;
            [[fallthrough]];
        case WM_KILLFOCUS:
            owner->pointer(PointerEvent::Left, {});
            return 0;
        case WM_SETFOCUS:
            owner->focusGained();
            return 0;
        case WM_KEYDOWN:
        case WM_KEYUP:
            key(message, wParam, lParam);
            return 0;
        case WM_CHAR:
            return 0;
        case WM_MEASUREITEM:
            if (menu == nullptr)
                return std::nullopt;
            menu->measure(*this, *reinterpret_cast<MEASUREITEMSTRUCT*>(lParam));
            return TRUE;
        case WM_DRAWITEM:
            if (menu == nullptr)
                return std::nullopt;
            menu->draw(*this, *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
            return TRUE;
        default:
            return std::nullopt;
    }
}

void ChildWindow::paint() {
    const PaintSession session(handle);
    owner->paint(session.part());
}

void ChildWindow::press(PointerEvent event, int button, LPARAM place) {
    lastPlace_ = place;
    held_ |= button;
    ::SetCapture(handle);
    point(event, place);
}

void ChildWindow::release(PointerEvent event, int button, WPARAM buttons, LPARAM place) {
    lastPlace_ = place;
    held_ &= ~button;
    if ((buttons & (MK_LBUTTON | MK_RBUTTON)) == 0)
        releaseCapture();
    point(event, place);
}

// The window that had the capture hears first that it is gone, and may end this one.
void ChildWindow::point(PointerEvent event, LPARAM place) {
    if (owner != nullptr)
        owner->pointer(event, spotOf(place));
}

void ChildWindow::move(LPARAM place) {
    lastPlace_ = place;
    if (!awaitsLeave_) {
        TRACKMOUSEEVENT request{sizeof(request), TME_LEAVE, handle, 0};
        awaitsLeave_ = ::TrackMouseEvent(&request) != 0;
    }
    owner->pointer(PointerEvent::Move, spotOf(place));
}

// The parent's message loop translates what it gets, so the character needn't go there. Return and
// the space bar, held, would press a button, or open a menu or a box, over and over.
void ChildWindow::key(UINT message, WPARAM wParam, LPARAM lParam) {
    const bool isDown = message == WM_KEYDOWN;
    if (isDown && isRepeated(lParam) && wParam == usedKey_ &&
        (wParam == VK_RETURN || wParam == VK_SPACE))
        return;
    const std::uint32_t character = isDown ? typedCharacter(handle) : 0;
    if (owner == nullptr)  // other programs' code runs while a message is looked for
        return;
    usedKey_ = 0;
    const bool isUsed = owner->key(static_cast<std::int32_t>(wParam), character, isDown);
    if (isUsed && isDown)
        usedKey_ = wParam;
    if (!isUsed && handle != nullptr)
        ::PostMessageW(::GetParent(handle), message, wParam, lParam);
}

void ChildWindow::stop() {
    if (drops_ != nullptr)
        drops_->revoke();
    if (menu != nullptr)
        ::EndMenu();
    if (box != nullptr)
        box->cancel();
}

void ChildWindow::forget() {
    countGivenBack(true);
    ::SetWindowLongPtrW(handle, GWLP_USERDATA, 0);
    handle = nullptr;
    self_.reset();
    if (WindowOwner* former = std::exchange(owner, nullptr); former != nullptr)
        former->gone();
}

}  // namespace tarn::platform
