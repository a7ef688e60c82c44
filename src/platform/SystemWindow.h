// A child window under a host's window, with its menu, its text box and what is dropped on it.
// Everything rests on one rule: any call into the owner may end the window. So nobody here touches
// the window or the owner after such a call without having asked whether they are still there.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tarn::platform {

// In pixels; right and bottom lie outside.
struct Spot {
    std::int32_t x = 0;
    std::int32_t y = 0;
};
struct Area {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
};

/// 32-bit pixels: blue, green, red, alpha, the lowest row first, no gaps. Not owned.
struct Pixels {
    const std::uint8_t* bytes;
    std::int32_t width;
    std::int32_t height;
};

enum class PointerEvent {
    LeftDown,
    LeftDouble,
    LeftUp,
    RightDown,
    RightDouble,
    RightUp,
    Move,
    Left
};

/// What hangs over the window or was dropped: paths of files, or a text; all UTF-8.
struct DroppedData {
    std::vector<std::string> files;
    std::optional<std::string> text;
};

/// Hears its window, on the window's thread. Positions are from the window's top left. The window
/// drops an exception that leaves an operation.
class WindowOwner {
public:
    virtual ~WindowOwner() = default;

    /// The part of the window that the system wants to see again; `SystemWindow::show` answers.
    virtual void paint(const Area& part) = 0;

    /// `Left` is the pointer's leaving of the window, and the loss of the focus, without a place. A
    /// press that the system ends early, since something else wants the pointer, ends with `Left`
    /// and the button's `Up` where the pointer was last.
    virtual void pointer(PointerEvent event, Spot place) = 0;

    /// 120 a notch, positive away from the user; whether it was used. One that wasn't goes to the
    /// parent window.
    virtual bool wheel(Spot place, std::int32_t delta) = 0;

    virtual void focusGained() = 0;

    /// A key's Windows virtual-key code, and the UTF-16 unit that it types, or 0; whether it was
    /// used. One that wasn't goes to the parent window.
    virtual bool key(std::int32_t virtualKey, std::uint32_t character, bool isDown) = 0;

    /// A tick of the timer that somebody has started for the window.
    virtual void tick() = 0;

    // Something is dragged in, over the window, out again, or dropped. Whether it would be taken,
    // or was. `dragEnd` follows a drag out; not a drop.
    virtual bool dragEnter(const DroppedData& data, Spot place) = 0;
    virtual bool dragOver(Spot place) = 0;
    virtual void dragEnd() = 0;
    virtual bool drop(const DroppedData& data, Spot place) = 0;

    /// An owner-drawn entry's size; and its picture of that size, which stays valid until the next
    /// call. A picture without bytes leaves the entry empty.
    virtual Spot measureEntry(std::int32_t id) = 0;
    virtual Pixels drawEntry(std::int32_t id, bool isSelected) = 0;

    /// The system has destroyed the window, because the parent went first. The SystemWindow object
    /// is still there, and does nothing any more.
    virtual void gone() = 0;
};

struct MenuEntry {
    std::int32_t id = 0;  // above 0, and different within the whole menu; what `showMenu` returns
    std::string text;     // UTF-8; empty for a separator
    bool isChecked = false;
    bool isDisabled = false;
    bool isOwnerDrawn = false;
    std::vector<MenuEntry> entries;  // of a sub-menu; such an entry can't be chosen itself
};

/// To which side of its place a menu opens, while the screen has room there.
enum class MenuSide { Right, Left };

struct TextRequest {
    Area area;  // on the screen
    std::string prefix;
    std::string text;
    std::string postfix;
    std::int32_t prefixWidth = 0;  // of the screen's pixels, as all sizes here
    std::int32_t postfixWidth = 0;
    std::string className;
    std::string family;  // of the letters, installed or one of `fontFiles`
    std::int32_t pixels = 12;
    std::int32_t weight = 400;           // as OpenType counts it: 400 normal, 700 bold
    std::vector<std::string> fontFiles;  // paths; known to this process only
    bool isLight = false;                // dark letters on a light ground, not the other way round
};

/// Made, used and destroyed on one thread, the one that runs the host's windows; the destructor may
/// run inside any call into the owner, and inside `showMenu` and `editText`, which return nothing
/// then.
class SystemWindow {
public:
    /// A visible child of `parent`, the system's handle of the host's window, at `area` of it. Null
    /// if it can't be made; `failure` says then which step failed: "register" or "create". `owner`
    /// outlives it, and hears nothing before the call's end.
    /// Linux has none of its own yet: null, but for an OffscreenDesktop's.
    static std::unique_ptr<SystemWindow> open(void* parent, const Area& area,
                                              const std::string& className, WindowOwner& owner,
                                              std::string& failure);
    virtual ~SystemWindow() = default;

    /// The system's handle; null once the window is gone.
    virtual void* handle() const = 0;

    /// The client area on the screen; nothing if it can't be had.
    virtual std::optional<Area> area() const = 0;

    /// Whether it or its parent has the focus.
    virtual bool hasFocus() const = 0;
    virtual void takeFocus() = 0;

    /// Copies that part of the picture to the same place of the window.
    virtual void show(const Pixels& picture, const Area& part) = 0;

    /// A press takes the capture, and the release of the last button lets it go; this lets it go
    /// early.
    virtual void releaseCapture() = 0;

    // While a menu or a box is open, events go on arriving. A press before it counts as ended
    // early: its release goes to the menu or box.

    /// Opens a menu at a place of the screen, not left of nor above the screen, and waits. Right
    /// clicks choose too. The id of the chosen entry; nothing if the user chose none, the window
    /// went, or another menu or box of this window is open.
    virtual std::optional<std::int32_t> showMenu(const std::vector<MenuEntry>& entries, Spot place,
                                                 MenuSide side) = 0;

    /// Opens a box with a text to edit, all of it selected, over the window, and waits; it is at
    /// least 40 pixels wide, and as high as its letters ask. The text after Return; nothing after
    /// Escape, a press outside, which goes no further, a loss of the focus, the window's end, or
    /// while another menu or box of this window is open.
    virtual std::optional<std::string> editText(const TextRequest& request) = 0;
};

/// Whether this system has windows to open. Any thread.
bool hasWindows() noexcept;

/// How many of the screen's pixels there are for each of a screen of 96 dots per inch, as the user
/// has set it for the main screen: 1.5 at 150 %. A process that leaves this to the system is
/// told 1.
float screenScale() noexcept;

/// While it lives, windows are opened in memory, whatever their parent, and a test plays the user.
/// One at a time, in the thread of the windows.
class OffscreenDesktop {
public:
    OffscreenDesktop();
    OffscreenDesktop(const OffscreenDesktop&) = delete;
    OffscreenDesktop& operator=(const OffscreenDesktop&) = delete;
    ~OffscreenDesktop();

    // How the user answers a menu and a box; null cancels.
    std::function<std::optional<std::int32_t>(const std::vector<MenuEntry>&, Spot)> menu;
    MenuSide menuSide = MenuSide::Right;  // of the last one
    std::function<std::optional<std::string>(const TextRequest&)> text;

    /// Answers false from the next `open` on, as a system does that is short of windows.
    bool isFull = false;

    /// What `screenScale` answers.
    float scale = 1.0f;

    /// The keys that the user holds, by their Windows virtual-key codes, for `isKeyDown`.
    std::set<int> heldKeys;

    /// The windows that are open, the last one last. Events are given to their owners directly.
    struct Window : std::enable_shared_from_this<Window> {
        WindowOwner* owner = nullptr;  // null once the window is gone
        Area area;
        bool isCaptured = false;
        bool hasFocus = false;
        std::int32_t held = 0;            // buttons whose release will come: 1 left, 2 right
        std::int32_t swallowed = 0;       // those whose release a menu or a box has got
        std::vector<std::uint8_t> shown;  // the picture, like Pixels::bytes
        std::int32_t showCount = 0;
        std::int64_t shownPixels = 0;  // copied by all calls of `show` together
    };
    const std::vector<Window*>& windows() const { return windows_; }

    /// As a user does it: takes and lets go of the capture as a system's window does, and tells of
    /// the end of a press that a menu or a box swallows. The window may be gone afterwards.
    void point(Window& window, PointerEvent event, Spot place);

    /// As a host does it that destroys its own window first.
    void destroyParent(Window& window);

private:
    friend class OffscreenWindow;
    std::vector<Window*> windows_;
};

namespace detail {

// Of each system.
bool systemHasWindows() noexcept;
float systemScale() noexcept;
std::unique_ptr<SystemWindow> openSystemWindow(void* parent, const Area& area,
                                               const std::string& className, WindowOwner& owner,
                                               std::string& failure);

}  // namespace detail

}  // namespace tarn::platform
