#include "platform/SystemWindow.h"

#include "platform/windows/ChildWindow.h"
#include "platform/windows/OpenMenu.h"
#include "platform/windows/Text.h"
#include "platform/windows/TextBox.h"
#include "platform/windows/WindowClass.h"

#include <utility>

namespace tarn::platform {

namespace {

class WindowsWindow final : public SystemWindow {
public:
    WindowsWindow(std::unique_ptr<WindowClass> windowClass, std::shared_ptr<ChildWindow> window)
        : class_(std::move(windowClass)), window_(std::move(window)) {}
    WindowsWindow(const WindowsWindow&) = delete;
    WindowsWindow& operator=(const WindowsWindow&) = delete;
    ~WindowsWindow() override { window_->end(); }

    void* handle() const override { return window_->handle; }

    std::optional<Area> area() const override {
        RECT client{};
        if (::GetClientRect(window_->handle, &client) == 0)
            return std::nullopt;
        ::MapWindowPoints(window_->handle, nullptr, reinterpret_cast<POINT*>(&client), 2);
        return Area{client.left, client.top, client.right, client.bottom};
    }

    bool hasFocus() const override {
        const HWND focused = ::GetFocus();
        return focused != nullptr &&
               (focused == window_->handle || focused == ::GetParent(window_->handle));
    }

    void takeFocus() override {
        if (window_->handle != nullptr)
            ::SetFocus(window_->handle);
    }

    void show(const Pixels& picture, const Area& part) override {
        if (window_->handle == nullptr)
            return;
        // The paint message's own context would leave out what lies beside the part to paint.
        const HDC context = ::GetDC(window_->handle);
        copyPixels(context, {part.left, part.top}, picture, part);
        ::ReleaseDC(window_->handle, context);
    }

    void releaseCapture() override { window_->releaseCapture(); }

    std::optional<std::int32_t> showMenu(const std::vector<MenuEntry>& entries, Spot place,
                                         MenuSide side) override {
        return canAsk() ? OpenMenu::show(std::shared_ptr(window_), entries, place, side)
                        : std::nullopt;
    }

    std::optional<std::string> editText(const TextRequest& request) override {
        return canAsk() ? TextBox::edit(std::shared_ptr(window_), request) : std::nullopt;
    }

private:
    bool canAsk() const { return window_->handle != nullptr && !window_->isWaiting(); }

    std::unique_ptr<WindowClass> class_;  // outlives the window
    std::shared_ptr<ChildWindow> window_;
};

}  // namespace

namespace detail {

bool systemHasWindows() noexcept {
    return true;
}

float systemScale() noexcept {
    constexpr float UsualDots = 96.0f;  // an inch
    const HDC screen = ::GetDC(nullptr);
    const int dots = screen != nullptr ? ::GetDeviceCaps(screen, LOGPIXELSX) : 0;
    ::ReleaseDC(nullptr, screen);
    return dots > 0 ? static_cast<float>(dots) / UsualDots : 1.0f;
}

std::unique_ptr<SystemWindow> openSystemWindow(void* parent, const Area& area,
                                               const std::string& className, WindowOwner& owner,
                                               std::string& failure) {
    auto windowClass = std::make_unique<WindowClass>(wide(className), ChildWindow::procedure);
    if (!windowClass->isRegistered()) {
        failure = "register";
        return nullptr;
    }
    const std::shared_ptr<ChildWindow> window =
        ChildWindow::create(static_cast<HWND>(parent), area, windowClass->name());
    if (window != nullptr) {
        auto opened = std::make_unique<WindowsWindow>(std::move(windowClass), window);
        if (window->start(owner))
            return opened;
    }
    failure = "create";
    return nullptr;
}

}  // namespace detail

}  // namespace tarn::platform
