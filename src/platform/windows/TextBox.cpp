#include "platform/windows/TextBox.h"

#include "platform/windows/ChildWindow.h"
#include "platform/windows/Text.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace tarn::platform {

namespace {

constexpr std::int32_t LeastWidth = 40;
constexpr std::int32_t Margin = 2;  // above and below the letters, at least
constexpr std::int32_t MostPixels = 1000;
constexpr BYTE Opacity = 204;
constexpr COLORREF White = RGB(255, 255, 255);
constexpr COLORREF Black = RGB(10, 12, 15);
constexpr COLORREF Paper = RGB(226, 231, 237);  // which is told from a white card

HFONT makeFont(const TextRequest& request) {
    const std::wstring family = wide(request.family).substr(0, LF_FACESIZE - 1);
    const std::int32_t pixels = std::clamp(request.pixels, 1, MostPixels);
    return ::CreateFontW(-pixels, 0, 0, 0, request.weight, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                         OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY,
                         DEFAULT_PITCH | FF_DONTCARE, family.c_str());
}

std::int32_t lineHeight(HFONT font) {
    const HDC screen = ::GetDC(nullptr);
    const HGDIOBJ former = ::SelectObject(screen, font);
    TEXTMETRICW metrics{};
    ::GetTextMetricsW(screen, &metrics);
    ::SelectObject(screen, former);
    ::ReleaseDC(nullptr, screen);
    return metrics.tmHeight;
}

bool isPress(UINT message) {
    switch (message) {
        case WM_LBUTTONDOWN:
        case WM_LBUTTONDBLCLK:
        case WM_RBUTTONDOWN:
        case WM_RBUTTONDBLCLK:
        case WM_MBUTTONDOWN:
        case WM_MBUTTONDBLCLK:
        case WM_XBUTTONDOWN:
        case WM_XBUTTONDBLCLK:
        case WM_NCLBUTTONDOWN:
        case WM_NCLBUTTONDBLCLK:
        case WM_NCRBUTTONDOWN:
        case WM_NCRBUTTONDBLCLK:
        case WM_NCMBUTTONDOWN:
        case WM_NCMBUTTONDBLCLK:
        case WM_NCXBUTTONDOWN:
        case WM_NCXBUTTONDBLCLK:
            return true;
        default:
            return false;
    }
}

// Says that the box is open.
class Entered {
public:
    Entered(ChildWindow& window, TextBox& box) : window_(window) { window_.box = &box; }
    Entered(const Entered&) = delete;
    Entered& operator=(const Entered&) = delete;
    ~Entered() { window_.box = nullptr; }

private:
    ChildWindow& window_;
};

// Keeps a window from being used while it lives, and brings the focus back at the end.
class Disabled {
public:
    explicit Disabled(std::shared_ptr<ChildWindow> window)
        : window_(std::move(window)),
          focused_(::GetFocus()),
          wasDisabled_(::EnableWindow(window_->handle, FALSE) != 0) {}
    Disabled(const Disabled&) = delete;
    Disabled& operator=(const Disabled&) = delete;
    ~Disabled() {
        if (window_->handle != nullptr && !wasDisabled_)
            ::EnableWindow(window_->handle, TRUE);
        if (::IsWindow(focused_) != 0)
            ::SetFocus(focused_);
    }

private:
    std::shared_ptr<ChildWindow> window_;
    HWND focused_;
    bool wasDisabled_;
};

}  // namespace

TextBox::FontFile::FontFile(const std::string& path) : path_(wide(path)) {
    if (::AddFontResourceExW(path_.c_str(), FR_PRIVATE, nullptr) > 0)
        countTaken();
    else
        path_.clear();
}

TextBox::FontFile::~FontFile() {
    if (!path_.empty())
        countGivenBack(::RemoveFontResourceExW(path_.c_str(), FR_PRIVATE, nullptr) != 0);
}

std::optional<std::string> TextBox::edit(const std::shared_ptr<ChildWindow>& window,
                                         const TextRequest& given) {
    const TextRequest request = given;  // the caller may end before the box does
    TextBox box(request);
    const Entered entered(*window, box);
    const EndedPress press(window);
    std::optional<std::string> text;
    {
        const Disabled meanwhile(window);
        if (window->owner != nullptr && box.open(window->handle, request))
            text = box.waitForUser();
    }
    return window->owner != nullptr ? text : std::nullopt;
}

TextBox::TextBox(const TextRequest& request)
    : class_(wide(request.className), procedure),
      ink_(request.isLight ? Black : White),
      ground_(request.isLight ? Paper : Black) {
    for (const std::string& path : request.fontFiles)
        fontFiles_.push_back(std::make_unique<FontFile>(path));
    font_ = own<OwnedFont>(makeFont(request));
}

TextBox::~TextBox() {
    if (handle_ != nullptr)
        ::DestroyWindow(handle_);
}

bool TextBox::open(HWND above, const TextRequest& request) {
    const std::int32_t line = lineHeight(font_.get());
    const std::int32_t width = std::max(request.area.right - request.area.left, LeastWidth);
    const std::int32_t height = std::max(request.area.bottom - request.area.top, line + 2 * Margin);
    ::CreateWindowExW(WS_EX_LAYERED | WS_EX_TOOLWINDOW, class_.name(), L"",
                      WS_POPUP | WS_CLIPCHILDREN, request.area.left, request.area.top, width,
                      height, ::GetAncestor(above, GA_ROOT), nullptr, ownModule(), this);
    if (handle_ == nullptr)
        return false;
    ::SetLayeredWindowAttributes(handle_, 0, Opacity, LWA_ALPHA);
    const std::int32_t fieldLeft = std::clamp(request.prefixWidth, 0, width);
    const std::int32_t fieldRight = std::max(width - std::max(request.postfixWidth, 0), fieldLeft);
    const std::int32_t top = (height - line) / 2, bottom = top + line;
    add(L"STATIC", SS_NOPREFIX, request.prefix, {0, top, fieldLeft, bottom});
    field_ = add(L"EDIT", ES_AUTOHSCROLL, request.text, {fieldLeft, top, fieldRight, bottom});
    add(L"STATIC", SS_NOPREFIX, request.postfix, {fieldRight, top, width, bottom});
    // Or the letters stand a little to the right of where the window shows them.
    ::SendMessageW(field_, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, 0);
    ::SendMessageW(field_, EM_SETSEL, 0, -1);
    ::ShowWindow(handle_, SW_SHOW);
    ::SetFocus(field_);
    return true;
}

HWND TextBox::add(const wchar_t* kind, DWORD style, const std::string& text, Area area) const {
    const HWND part = ::CreateWindowExW(
        0, kind, wide(text).c_str(), WS_CHILD | WS_VISIBLE | style, area.left, area.top,
        area.right - area.left, area.bottom - area.top, handle_, nullptr, ownModule(), nullptr);
    ::SendMessageW(part, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), FALSE);
    return part;
}

std::optional<std::string> TextBox::waitForUser() {
    while (end_ == End::StillOpen) {
        MSG message{};
        const BOOL got = ::GetMessageW(&message, nullptr, 0, 0);
        if (got == 0)  // the program's own loop has to hear it
            ::PostQuitMessage(static_cast<int>(message.wParam));
        if (got <= 0)
            end_ = End::Cancelled;
        else if (!take(message)) {
            ::TranslateMessage(&message);
            ::DispatchMessageW(&message);
        }
    }
    if (end_ != End::Accepted)
        return std::nullopt;
    std::wstring text(static_cast<std::size_t>(::GetWindowTextLengthW(field_)), L'\0');
    ::GetWindowTextW(field_, text.data(), static_cast<int>(text.size()) + 1);
    return utf8(text);
}

// What the box's parts must not get. A press outside may have ended the wait already, by the focus
// that it moved on its way here, and goes no further all the same.
bool TextBox::take(const MSG& message) {
    const bool isOutside = message.hwnd != handle_ && ::IsChild(handle_, message.hwnd) == 0;
    if (isOutside && isPress(message.message)) {
        end_ = End::Cancelled;
        return true;
    }
    if (isOutside || end_ != End::StillOpen || message.message != WM_KEYDOWN)
        return false;
    if (message.wParam == VK_RETURN) {
        if (isRepeated(message.lParam))
            return true;  // held since it opened the box
        end_ = End::Accepted;
    }
    if (message.wParam == VK_ESCAPE)
        end_ = End::Cancelled;
    return end_ != End::StillOpen;
}

// The wait may be for the next message, while the system itself calls here.
void TextBox::cancel() {
    if (end_ != End::StillOpen)
        return;
    end_ = End::Cancelled;
    ::PostThreadMessageW(::GetCurrentThreadId(), WM_NULL, 0, 0);
}

LRESULT CALLBACK TextBox::procedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        auto* box =
            static_cast<TextBox*>(reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpCreateParams);
        box->handle_ = handle;
        ::SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(box));
        countTaken();
    }
    auto* box = reinterpret_cast<TextBox*>(::GetWindowLongPtrW(handle, GWLP_USERDATA));
    if (box != nullptr) {
        if (const std::optional<LRESULT> result = box->receive(message, wParam))
            return *result;
    }
    return ::DefWindowProcW(handle, message, wParam, lParam);
}

HBRUSH TextBox::groundOf(HDC context) const {
    ::SetDCBrushColor(context, ground_);
    return static_cast<HBRUSH>(::GetStockObject(DC_BRUSH));
}

std::optional<LRESULT> TextBox::receive(UINT message, WPARAM wParam) {
    switch (message) {
        case WM_ERASEBKGND: {
            RECT all{};
            ::GetClientRect(handle_, &all);
            ::FillRect(reinterpret_cast<HDC>(wParam), &all,
                       groundOf(reinterpret_cast<HDC>(wParam)));
            return TRUE;
        }
        case WM_CTLCOLOREDIT:
        case WM_CTLCOLORSTATIC:
            ::SetTextColor(reinterpret_cast<HDC>(wParam), ink_);
            ::SetBkMode(reinterpret_cast<HDC>(wParam), TRANSPARENT);
            return reinterpret_cast<LRESULT>(groundOf(reinterpret_cast<HDC>(wParam)));
        case WM_COMMAND:
            if (HIWORD(wParam) == EN_KILLFOCUS)
                cancel();
            return 0;
        case WM_CLOSE:
            cancel();
            return 0;
        case WM_NCDESTROY:
            countGivenBack(true);
            handle_ = nullptr;
            cancel();
            return std::nullopt;
        default:
            return std::nullopt;
    }
}

}  // namespace tarn::platform
