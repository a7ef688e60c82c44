// A host's window, in which a plug-in's interface stands, and a user who is played there.
#pragma once

#include "platform/Dialogs.h"
#include "platform/SystemWindow.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tarn::platform {

/// Everything on the thread that opened it. What the user does goes the system's own way: through
/// its queue of input, to the window that is under the pointer or has the focus. Places are pixels
/// from the client area's top left.
class HostWindow {
public:
    /// A visible window in front of the others, with a client area of that size. Null where the
    /// system has no windows, or gives none.
    static std::unique_ptr<HostWindow> open(const std::string& title, Spot size);
    virtual ~HostWindow() = default;

    /// The parent for the plug-in's own window; null once it is destroyed.
    virtual void* handle() const = 0;

    /// Ends it with all windows that stand in it. `serve` and `tick` go on.
    virtual void destroy() = 0;
    virtual void resize(Spot size) = 0;

    /// False once the user has closed it.
    virtual bool isOpen() const = 0;

    /// Waits for the next event, and handles all that wait by then. Some 50 times a second, also
    /// while an event waits for the user, as a menu does, it calls `tick`, which must not end this
    /// object.
    virtual void serve() = 0;
    std::function<void()> tick;

    /// How many windows of others stand in it.
    virtual int childCount() const = 0;

    /// What the screen shows at the client area, with menus and boxes over it, and black beyond the
    /// screen: red, green and blue, the top row first, 3 bytes a pixel. `size` is filled. Empty
    /// where the system gives no memory for it.
    virtual std::vector<std::uint8_t> picture(Spot& size) = 0;

    // The user.
    virtual void movePointer(Spot place) = 0;
    virtual void button(bool isRight, bool isDown) = 0;

    /// 120 a notch, positive away from the user.
    virtual void wheel(std::int32_t delta) = 0;

    /// By its Windows virtual-key code.
    virtual void key(std::int32_t virtualKey, bool isDown) = 0;

    /// Drags it over the place and drops it there; whether it was taken.
    virtual bool drop(const DroppedData& data, Spot place) = 0;

    // What waits for the user in a window of its own. False while there is none; nothing is done
    // then.

    /// Takes an entry of the menu that is open: the last text's, in the sub-menus that the others
    /// open. The menu ends without a choice at an empty text, and at an entry that isn't there,
    /// which `missing` tells.
    virtual bool choose(const std::vector<std::string>& entries, std::string& missing) = 0;

    /// Puts the text into the box for one line, or into a file dialog as the file's name, and
    /// accepts it.
    virtual bool enter(const std::string& text) = 0;

    /// Presses a button of a message box, whose text is filled in.
    virtual bool answer(MessageAnswer button, std::string& text) = 0;
};

/// What this process holds, as far as the system tells: windows, menus, drawing objects, files,
/// threads and the like, and bytes of its heaps. Any thread.
struct ProcessHoldings {
    std::int64_t objects = 0;
    std::int64_t bytes = 0;
};
ProcessHoldings processHoldings() noexcept;

}  // namespace tarn::platform
