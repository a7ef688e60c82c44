// The window of an open interface: shows its picture, and turns the system's events into messages
// to the editor.
// Everything rests on one rule: everything that is told the editor may end it, and this window with
// it. After such a call nothing is touched that wasn't asked for again.
#pragma once

#include "drawing/Canvas.h"
#include "foundation/Message.h"
#include "foundation/Point.h"
#include "foundation/Rect.h"
#include "platform/SystemWindow.h"

#include <cstdint>
#include <memory>

namespace tarn {

class Editor;

/// A length in the skin's pixels as one in the screen's, rounded.
std::int32_t toScreenPixels(std::int32_t value, float scale);

/// The editor's coordinates are the skin's pixels; the system's are the screen's, `scale` times as
/// many. Interface thread.
class Window : public CanvasTarget, public platform::WindowOwner {
public:
    /// A visible child of `parent`, the system's window of the host, of a size in the skin's
    /// pixels. Where it can't be made, that is logged, and there is no system's window.
    Window(Editor& owner, const Rect& rect, void* parent, float scale);
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    ~Window() override;

    /// On the screen, in its pixels; empty if it can't be had.
    Rect getRect() const;

    /// Whether the focus is on the window or its parent.
    bool hasFocus() const;

    /// Null without a system's window.
    void* getHandle() const;
    platform::SystemWindow* getSystemWindow() const { return system_.get(); }

    Point toScreen(Point point) const;

    // CanvasTarget
    bool canShow() const override;
    void show(const PixelsData& picture, const Rect& part) override;

    // platform::WindowOwner
    void paint(const platform::Area& part) override;
    void pointer(platform::PointerEvent event, platform::Spot place) override;
    bool wheel(platform::Spot place, std::int32_t delta) override;
    void focusGained() override;
    bool key(std::int32_t virtualKey, std::uint32_t character, bool isDown) override;
    void tick() override;
    bool dragEnter(const platform::DroppedData& data, platform::Spot place) override;
    bool dragOver(platform::Spot place) override;
    void dragEnd() override;
    bool drop(const platform::DroppedData& data, platform::Spot place) override;
    platform::Spot measureEntry(std::int32_t id) override;
    platform::Pixels drawEntry(std::int32_t id, bool isSelected) override;
    void gone() override;

private:
    Point toSkin(platform::Spot place) const;
    bool send(std::int32_t code, Point point = {}, std::uint64_t value = 0,
              std::int32_t keyCode = 0);

    Editor& owner_;
    float scale_;
    std::unique_ptr<platform::SystemWindow> system_;
};

}  // namespace tarn
