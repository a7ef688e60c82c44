#include "platform/Desktop.h"
#include "platform/SystemWindow.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>

namespace tarn::platform {

namespace {

OffscreenDesktop* currentDesktop = nullptr;

constexpr std::int32_t BytesPerPixel = 4;

using Window = OffscreenDesktop::Window;

std::int32_t width(const Area& area) {
    return std::max(area.right - area.left, 0);
}

std::int32_t height(const Area& area) {
    return std::max(area.bottom - area.top, 0);
}

struct Button {
    std::int32_t bit;
    bool isDown;
};

// Of an event that isn't about a button: no bit.
Button buttonOf(PointerEvent event) {
    switch (event) {
        case PointerEvent::LeftDown:
        case PointerEvent::LeftDouble:
            return {1, true};
        case PointerEvent::LeftUp:
            return {1, false};
        case PointerEvent::RightDown:
        case PointerEvent::RightDouble:
            return {2, true};
        case PointerEvent::RightUp:
            return {2, false};
        default:
            return {0, false};
    }
}

void moveCapture(Window& window, Button button) {
    if (button.bit == 0)
        return;
    window.held = button.isDown ? window.held | button.bit : window.held & ~button.bit;
    window.isCaptured = window.held != 0;
}

}  // namespace

class OffscreenWindow final : public SystemWindow {
public:
    OffscreenWindow(const Area& area, WindowOwner& owner) : window_(std::make_shared<Window>()) {
        window_->owner = &owner;
        window_->area = area;
        window_->shown.resize(std::size_t{BytesPerPixel} * static_cast<std::size_t>(width(area)) *
                              static_cast<std::size_t>(height(area)));
        currentDesktop->windows_.push_back(window_.get());
    }
    OffscreenWindow(const OffscreenWindow&) = delete;
    OffscreenWindow& operator=(const OffscreenWindow&) = delete;
    ~OffscreenWindow() override { close(*window_); }

    static void close(Window& window) {
        window.owner = nullptr;
        window.isCaptured = window.hasFocus = false;
        if (currentDesktop != nullptr)
            std::erase(currentDesktop->windows_, &window);
    }

    void* handle() const override { return isOpen() ? window_.get() : nullptr; }

    std::optional<Area> area() const override {
        return isOpen() ? std::optional(window_->area) : std::nullopt;
    }

    bool hasFocus() const override { return window_->hasFocus; }

    void takeFocus() override {
        if (!isOpen() || window_->hasFocus)
            return;
        window_->hasFocus = true;
        window_->owner->focusGained();
    }

    void show(const Pixels& picture, const Area& part) override {
        if (!isOpen() || picture.bytes == nullptr)
            return;
        const std::int32_t rows = height(window_->area);
        const std::int32_t left = std::max(part.left, 0);
        const std::int32_t columns =
            std::min({part.right, picture.width, width(window_->area)}) - left;
        const std::int32_t bottom = std::min({part.bottom, picture.height, rows});
        if (columns <= 0)
            return;
        const auto pixel = [left](std::int32_t lines, std::int32_t line, std::int32_t columnCount) {
            return BytesPerPixel * (std::ptrdiff_t{lines - 1 - line} * columnCount + left);
        };
        for (std::int32_t line = std::max(part.top, 0); line < bottom; ++line) {
            std::copy_n(picture.bytes + pixel(picture.height, line, picture.width),
                        std::ptrdiff_t{BytesPerPixel} * columns,
                        window_->shown.begin() + pixel(rows, line, width(window_->area)));
            window_->shownPixels += columns;
        }
        ++window_->showCount;
    }

    void releaseCapture() override {
        window_->isCaptured = false;
        window_->held = 0;
    }

    std::optional<std::int32_t> showMenu(const std::vector<MenuEntry>& entries, Spot place,
                                         MenuSide side) override {
        if (currentDesktop != nullptr)
            currentDesktop->menuSide = side;
        return ask(currentDesktop != nullptr ? currentDesktop->menu : nullptr, entries,
                   Spot{std::max(place.x, 0), std::max(place.y, 0)});
    }

    std::optional<std::string> editText(const TextRequest& request) override {
        return ask(currentDesktop != nullptr ? currentDesktop->text : nullptr, request);
    }

private:
    bool isOpen() const { return window_->owner != nullptr; }

    // The answer may end the window, and with it this object.
    template <typename Answer, typename... Question>
    std::optional<Answer> ask(std::function<std::optional<Answer>(Question...)> user,
                              const std::type_identity_t<Question>&... question) {
        if (!isOpen() || isWaiting_ || user == nullptr)
            return std::nullopt;
        const std::shared_ptr<Window> window = window_;
        window->swallowed |= window->held;
        releaseCapture();
        isWaiting_ = true;
        std::optional<Answer> answer = user(question...);
        if (window->owner == nullptr)
            return std::nullopt;
        isWaiting_ = false;
        return answer;
    }

    std::shared_ptr<Window> window_;
    bool isWaiting_ = false;  // for the user, who has a menu or a box
};

OffscreenDesktop::OffscreenDesktop() {
    currentDesktop = this;
}

OffscreenDesktop::~OffscreenDesktop() {
    currentDesktop = nullptr;
}

void OffscreenDesktop::point(Window& window, PointerEvent event, Spot place) {
    const std::shared_ptr<Window> kept = window.shared_from_this();
    moveCapture(window, buttonOf(event));
    const auto tell = [&window](PointerEvent what, Spot where) {
        if (window.owner != nullptr)
            window.owner->pointer(what, where);
    };
    tell(event, place);
    const std::int32_t swallowed = std::exchange(window.swallowed, 0);
    if (swallowed != 0)
        tell(PointerEvent::Left, {});
    if ((swallowed & buttonOf(PointerEvent::LeftUp).bit) != 0)
        tell(PointerEvent::LeftUp, place);
    if ((swallowed & buttonOf(PointerEvent::RightUp).bit) != 0)
        tell(PointerEvent::RightUp, place);
}

void OffscreenDesktop::destroyParent(Window& window) {
    WindowOwner& owner = *window.owner;
    OffscreenWindow::close(window);
    owner.gone();
}

bool hasWindows() noexcept {
    return currentDesktop != nullptr || detail::systemHasWindows();
}

float screenScale() noexcept {
    return currentDesktop != nullptr ? currentDesktop->scale : detail::systemScale();
}

bool isKeyDown(int virtualKey) {
    return currentDesktop != nullptr ? currentDesktop->heldKeys.count(virtualKey) != 0
                                     : detail::isSystemKeyDown(virtualKey);
}

std::unique_ptr<SystemWindow> SystemWindow::open(void* parent, const Area& area,
                                                 const std::string& className, WindowOwner& owner,
                                                 std::string& failure) {
    if (currentDesktop == nullptr)
        return detail::openSystemWindow(parent, area, className, owner, failure);
    if (!currentDesktop->isFull)
        return std::make_unique<OffscreenWindow>(area, owner);
    failure = "create";
    return nullptr;
}

}  // namespace tarn::platform
