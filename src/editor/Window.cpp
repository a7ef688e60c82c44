#include "editor/Window.h"

#include "editor/Editor.h"
#include "foundation/Logger.h"
#include "foundation/ProductIdentity.h"
#include "platform/Desktop.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace tarn {

namespace {

// A system may tell places far outside the window: such a one is brought so near that sums stay in
// range.
std::int32_t toPlace(float value) {
    constexpr float Farthest = 1 << 20;
    return static_cast<std::int32_t>(std::clamp(value, -Farthest, Farthest));
}

std::int32_t toSkinPixels(std::int32_t value, float scale) {
    return toPlace(std::floor(static_cast<float>(value) / scale));
}

std::string classNameOf(const ProductIdentity& product) {
    return product.getProductName() + " " + product.getVersionText();
}

std::int32_t codeOf(platform::PointerEvent event) {
    switch (event) {
        case platform::PointerEvent::LeftDown:
            return WindowMessage::LeftDown;
        case platform::PointerEvent::LeftDouble:
            return WindowMessage::LeftDouble;
        case platform::PointerEvent::LeftUp:
            return WindowMessage::LeftUp;
        case platform::PointerEvent::RightDown:
            return WindowMessage::RightDown;
        case platform::PointerEvent::RightDouble:
            return WindowMessage::RightDouble;
        case platform::PointerEvent::RightUp:
            return WindowMessage::RightUp;
        case platform::PointerEvent::Move:
            return WindowMessage::MouseMove;
        case platform::PointerEvent::Left:
            break;
    }
    return WindowMessage::MouseExit;
}

std::uint32_t heldModifiers() {
    constexpr std::pair<int, std::uint32_t> Keys[] = {
        {0x10, WindowMessage::Shift}, {0x11, WindowMessage::Control}, {0x12, WindowMessage::Alt}};
    std::uint32_t held = 0;
    for (const auto& [key, modifier] : Keys)
        if (platform::isKeyDown(key))
            held |= modifier;
    return held;
}

}  // namespace

std::int32_t toScreenPixels(std::int32_t value, float scale) {
    return static_cast<std::int32_t>(std::lround(static_cast<float>(value) * scale));
}

Window::Window(Editor& owner, const Rect& rect, void* parent, float scale)
    : owner_(owner), scale_(scale) {
    const std::string className = classNameOf(ProductIdentity::get());
    const auto self = reinterpret_cast<std::uintptr_t>(this);
    const auto x = [scale](std::int32_t value) { return toScreenPixels(value, scale); };
    logLine(LogWarning, "registering window class '%s' for 0x%llx", className.c_str(),
            static_cast<unsigned long long>(self));
    std::string failure;
    system_ = platform::SystemWindow::open(
        parent, {x(rect.left), x(rect.top), x(rect.right), x(rect.bottom)}, className, *this,
        failure);
    if (system_)
        return;
    if (failure == "register")
        logLine(LogError, "failed to register window class '%s' for 0x%llx", className.c_str(),
                static_cast<unsigned long long>(self));
    else
        logLine(LogError, "failed to create window for 0x%llx",
                static_cast<unsigned long long>(self));
}

Window::~Window() = default;

Rect Window::getRect() const {
    const auto area = system_ ? system_->area() : std::nullopt;
    return area ? Rect{area->left, area->top, area->right, area->bottom} : Rect{};
}

bool Window::hasFocus() const {
    return system_ && system_->hasFocus();
}

void* Window::getHandle() const {
    return system_ ? system_->handle() : nullptr;
}

Point Window::toScreen(Point point) const {
    return getRect().topLeft() +
           Point{toScreenPixels(point.x, scale_), toScreenPixels(point.y, scale_)};
}

Point Window::toSkin(platform::Spot place) const {
    return {toSkinPixels(place.x, scale_), toSkinPixels(place.y, scale_)};
}

bool Window::canShow() const {
    return getHandle() != nullptr;
}

void Window::show(const PixelsData& picture, const Rect& part) {
    if (system_)
        system_->show(
            {picture.row(picture.getHeight() - 1), picture.getWidth(), picture.getHeight()},
            {part.left, part.top, part.right, part.bottom});
}

bool Window::send(std::int32_t code, Point point, std::uint64_t value, std::int32_t keyCode) {
    WindowMessage message(&owner_, code, this, WindowPosition{point, keyCode, heldModifiers()},
                          value);
    return owner_.receive(message);
}

void Window::paint(const platform::Area& part) {
    const auto up = [this](std::int32_t value) {
        return toPlace(std::ceil(static_cast<float>(value) / scale_));
    };
    const Point corner = toSkin({part.left, part.top});
    owner_.showAgain({corner.x, corner.y, up(part.right), up(part.bottom)});
}

void Window::pointer(platform::PointerEvent event, platform::Spot place) {
    Editor& owner = owner_;
    const auto life = owner.life();
    send(codeOf(event), toSkin(place));
    if (!life.expired() && event != platform::PointerEvent::Move)
        owner.showPending();
}

bool Window::wheel(platform::Spot place, std::int32_t delta) {
    return send(WindowMessage::Wheel, toSkin(place), toPayload(static_cast<std::int64_t>(delta)));
}

void Window::focusGained() {
    send(WindowMessage::WindowFocus);
}

bool Window::key(std::int32_t virtualKey, std::uint32_t character, bool isDown) {
    Editor& owner = owner_;
    const auto life = owner.life();
    const bool isUsed = send(isDown ? WindowMessage::KeyPress : WindowMessage::KeyRelease, {},
                             toPayload(character), virtualKey);
    if (isUsed && !life.expired())
        owner.showPending();
    return isUsed;
}

void Window::tick() {
    send(WindowMessage::Tick);
}

bool Window::dragEnter(const platform::DroppedData& data, platform::Spot place) {
    return owner_.dragEnter(data, toSkin(place));
}

bool Window::dragOver(platform::Spot place) {
    return owner_.dragOver(toSkin(place));
}

void Window::dragEnd() {
    owner_.dragLeave();
}

bool Window::drop(const platform::DroppedData& data, platform::Spot place) {
    return owner_.drop(data, toSkin(place));
}

platform::Spot Window::measureEntry(std::int32_t id) {
    const Point size = owner_.measureMenuEntry(id);
    return {toScreenPixels(size.x, scale_), toScreenPixels(size.y, scale_)};
}

platform::Pixels Window::drawEntry(std::int32_t id, bool isSelected) {
    const PixelsData* const picture = owner_.drawMenuEntry(id, isSelected, scale_);
    if (picture == nullptr)
        return {nullptr, 0, 0};
    return {picture->row(picture->getHeight() - 1), picture->getWidth(), picture->getHeight()};
}

void Window::gone() {
    owner_.windowGone();
}

}  // namespace tarn
