// What the window procedure, the menu, the box and the drop target share about one window.
// Everything rests on one rule: whoever calls the owner holds a shared pointer to this object, and
// looks at `owner` afterwards, which is null once the SystemWindow object or the window has ended.
#pragma once

#include "platform/SystemWindow.h"

#include <windows.h>

#include <memory>
#include <optional>

namespace tarn::platform {

class DropRegistration;
class OpenMenu;
class TextBox;

/// On the window's thread only.
class ChildWindow : public std::enable_shared_from_this<ChildWindow> {
public:
    /// Of a class with this procedure. Null if the system refuses.
    static std::shared_ptr<ChildWindow> create(HWND parent, const Area& area,
                                               const wchar_t* className);
    static LRESULT CALLBACK procedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam);

    ChildWindow(const ChildWindow&) = delete;
    ChildWindow& operator=(const ChildWindow&) = delete;
    ~ChildWindow();

    /// The window tells its owner, and takes drops, from now on. False if it is gone already.
    bool start(WindowOwner& owner);

    /// Destroys the window without telling the owner.
    void end();

    void releaseCapture();

    Spot toClient(Spot onScreen) const;

    HWND handle = nullptr;         // null once the window is gone
    WindowOwner* owner = nullptr;  // null before `start` and after the window's or its object's end
    OpenMenu* menu = nullptr;      // while one is open
    TextBox* box = nullptr;        // while one is open

    /// Whether the user is asked already, in this window, for a choice or a text.
    bool isWaiting() const { return menu != nullptr || box != nullptr; }

private:
    friend class EndedPress;
    ChildWindow() = default;

    std::optional<LRESULT> receive(UINT message, WPARAM wParam, LPARAM lParam);
    std::optional<LRESULT> tell(UINT message, WPARAM wParam, LPARAM lParam);
    void paint();
    void press(PointerEvent event, int button, LPARAM place);
    void release(PointerEvent event, int button, WPARAM buttons, LPARAM place);
    void move(LPARAM place);
    void point(PointerEvent event, LPARAM place);
    void key(UINT message, WPARAM wParam, LPARAM lParam);
    void stop();
    void forget();

    std::shared_ptr<ChildWindow> self_;  // while the system has the window
    std::unique_ptr<DropRegistration> drops_;
    int held_ = 0;          // MK_LBUTTON and MK_RBUTTON, whose release the owner hasn't heard
    LPARAM lastPlace_ = 0;  // of the pointer, as messages have it
    WPARAM usedKey_ = 0;    // the last key whose press the owner used
    bool awaitsLeave_ = false;
};

/// Whether a key's message, by its `lParam`, comes from a key that was down before.
constexpr bool isRepeated(LPARAM lParam) {
    return (lParam & 1 << 30) != 0;
}

/// Lets the capture go while somebody else gets the pointer, and with it the releases of the
/// buttons that are held; the owner hears of those at the end.
class EndedPress {
public:
    explicit EndedPress(std::shared_ptr<ChildWindow> window);
    EndedPress(const EndedPress&) = delete;
    EndedPress& operator=(const EndedPress&) = delete;
    ~EndedPress();

private:
    std::shared_ptr<ChildWindow> window_;
    int held_;
};

/// Copies that part of the picture to a place of the context.
void copyPixels(HDC context, Spot place, const Pixels& picture, const Area& part);

}  // namespace tarn::platform
