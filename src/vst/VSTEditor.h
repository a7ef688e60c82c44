// The host's editor calls, brought to the instance's interface.
#pragma once

#include "foundation/WindowTimer.h"
#include "vst/AEffEditor.h"

#include <memory>

namespace tarn {

class Editor;
class Plugin;

/// One an instance; the interface that it makes is kept while its window is closed. The host's
/// interface thread. A host may call any operation, the destructor too, from inside one that waits
/// for the user.
class VSTEditor : public AEffEditor {
public:
    /// Makes the interface, of the first module. The effect and the plug-in outlive it. Throws what
    /// an interface's construction throws.
    VSTEditor(AudioEffect& owner, Plugin& plugin);
    ~VSTEditor() override;

    Editor& getInterface() const noexcept { return *editor_; }

    /// In the screen's pixels: of the open window, or else of the next one, for which the
    /// interface's thread takes what the user has chosen meanwhile: the controls may be others
    /// afterwards, and a skin that can't be shown is told. A side ends at 32,767. False, and an
    /// empty one, where no skin can be shown.
    bool getRect(ERect** rect) override;

    /// Closes one that is open first. False, and it stays closed, where the system gives no window
    /// or no skin can be shown.
    bool open(void* window) override;
    void close() override;
    bool isOpen() const override;

    /// Empty: the window's own timer drives what moves, since not every host calls this.
    void idle() override {}

    bool onKeyDown(const VstKeyCode& key) override;
    bool onKeyUp(const VstKeyCode& key) override;

    // Have all of the interface drawn, or a part of it in the skin's pixels, at the next tick.
    virtual void redrawAll();
    virtual void redrawRect(const ERect& rect);

private:
    std::unique_ptr<Editor> editor_;
    ERect rect_{};
    std::unique_ptr<WindowTimer> timer_;  // while the window is open
};

}  // namespace tarn
