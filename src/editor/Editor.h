// The root of an instance's interface: reads "Controls.xml", keeps the tree of controls, draws what
// is dirty, and brings the window's input to the right control.
// Everything rests on one rule: controls live on the interface thread alone. What other threads
// have to say is queued, and delivered at the next tick.
#pragma once

#include "audio/CPUMeter.h"
#include "drawing/Canvas.h"
#include "editor/DragDrop.h"
#include "editor/KeyboardFocus.h"
#include "editor/PopupMenu.h"
#include "editor/UndoList.h"
#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/MessageQueue.h"
#include "foundation/Mutex.h"
#include "foundation/Point.h"
#include "foundation/Rect.h"
#include "foundation/Word.h"
#include "plugin/CallsUnderWay.h"

#include <bitset>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tarn {

class Bitmap;
class Control;
class ControlBlur;
class ControlHelp;
class ControlInfo;
class ControlManager;
class ControlValue;
class Module;
class Plugin;
class Resources;
class Window;

/// An entry of a menu that its control paints; the payload of MenuMeasure and MenuDraw points to
/// one.
struct OwnerDrawnEntry {
    std::int32_t id = 0;       // the system's
    Point size;                // for MenuMeasure to fill
    bool isSelected = false;   // of MenuDraw, as is
    Canvas* canvas = nullptr;  // of the entry's size
};

/// One a plug-in instance; it lives as long as that, whether its window is open or not. Interface
/// thread, but for what is marked otherwise. Coordinates are the skin's pixels, from the window's
/// top left.
class Editor : public DragDropTarget {
public:
    /// A call into the instance. While it lives, boxes and dialogs that its thread shows stand over
    /// this editor's window.
    class Speaking {
    public:
        explicit Speaking(Editor& editor) noexcept;
        Speaking(const Speaking&) = delete;
        Speaking& operator=(const Speaking&) = delete;
        ~Speaking();

    private:
        friend class Editor;

        CallsUnderWay::Call call_;
        Editor& editor_;
        std::weak_ptr<const int> life_;
        const Speaking* before_;
    };

    /// Numbers of the editor's menu that others offer too, or tell themselves.
    enum MenuId : std::int32_t {
        NothingChosen = -1,  // what the owner of a menu hears where the user chose nothing
        ShowCpuMetersId = 1006,
        SubmitDiagnosticsId = 1007,
    };

    enum KnobMode : std::int32_t { Linear = 0, Circular = 1, CircularRelative = 2 };

    /// The plug-in, its first module and the store of images, which may be null, outlive the
    /// editor. It has no controls yet.
    Editor(Plugin& plugin, Module* module, Resources* resources);
    ~Editor() override;

    /// Reads the user's preferences and makes the controls that the current skin's "Controls.xml"
    /// describes; the preference "ControlsXmlFile" names another file. Where that fails, the user
    /// is told, and the editor stays without controls, as where "ShowEditor" is false.
    void start() override;

    /// Updates a second of what moves in all interfaces, 25 at first; from the preference
    /// "EditorRedrawRate". Any thread.
    static std::int32_t getRedrawRate() noexcept;

    /// Makes the controls that the file describes, in place of those so far. An `ErrorImportFailed`
    /// if it can't be read, and no controls then. Throws what a control's creation throws.
    Error loadControls(const File& file);

    // Its size on the screen.

    /// How many of the screen's pixels the interface takes for one of the skin's: of the window
    /// while it is open, or else of the next one.
    float getScale() const;

    /// In the screen's pixels, at that scale.
    Point getScreenSize() const;

    /// The scale of windows opened from now on, of all instances, in percent, 50 to 400; what is
    /// beyond means the screen's own scale, from 100 to 300. Remembered as the preference
    /// "EditorScale".
    void setSize(std::int32_t percent);

    // The window.

    /// Takes what the user has chosen in another instance meanwhile: a skin, the CPU meters. The
    /// controls may be others then, and of another size. Does nothing while the window is open.
    void takeChoices();

    /// Opens the interface under the host's window, in a rectangle of the interface's own size, or
    /// in `rect` where that isn't empty, in the skin's pixels, each of them `scale` of the
    /// screen's. False, and it stays closed, without a window.
    virtual bool open(void* parent, const Rect& rect, float scale = 1.0f);
    virtual void close();

    /// Any thread.
    bool isOpen() const noexcept { return isOpen_; }
    Window* getWindow() const { return window_.get(); }
    Canvas* getCanvas() const { return canvas_.get(); }

    /// As the background gives it; empty without controls.
    Rect getClientRect() const { return clientRect_; }

    /// Along its upper edge, 12 high; empty without controls.
    Rect getStatusRect() const { return statusRect_; }

    /// In seconds, all times together that the interface was open.
    double getOpenSeconds() const;

    // Drawing.

    /// Has the rectangle drawn at the next tick; nothing while the interface is closed. Any thread.
    virtual void redraw(const Rect& rect);
    virtual void redrawAll() { redraw(clientRect_); }

    /// The same; one that lies in another that waits adds nothing, and takes the place of those in
    /// it.
    virtual void addDirtyRect(const Rect& rect);

    /// Whether something waits to be painted.
    bool isDirty();

    /// Draws a rectangle at once, or what is dirty if it is empty, and shows it. `target` is where
    /// the picture is shown; null leaves that as it was. What an exception kept from being drawn
    /// stays dirty.
    void paint(CanvasTarget* target, const Rect& rect);
    virtual void paintRect(CanvasTarget* target, const Rect& rect);
    virtual void paintRects(CanvasTarget* target, const std::vector<Rect>& rects);

    /// For a part of the window that its system wants again: what is dirty is drawn, then the part
    /// is shown as the canvas keeps it. Nothing is drawn anew that hasn't changed.
    void showAgain(const Rect& part);

    /// A tick: the engines', then what other threads have queued, then what is dirty. Exceptions
    /// end here, and the first of a row is written to the log.
    virtual void idle();

    // Input.

    /// A key that is pressed or repeated: to the control that has the keyboard, then to the editor
    /// itself, then to what the pointer is over. False if none used it; it is the host's then, as
    /// is its release.
    virtual bool keyDown(Message& message);
    virtual bool keyUp(Message& message);

    /// Asks the nearest control from here up that accepts it to take the focus; null takes it away.
    virtual void setFocus(Control* control);
    Control* getFocusControl() const { return focusControl_; }

    // The keyboard, which Tab, Escape and presses move; `setFocus` doesn't.

    /// Null while no control has it.
    Control* getKeyboardControl() const { return keyboard_.get(); }
    bool showsKeyboardOn(const Control& control) const { return keyboard_.isShownOn(control); }

    /// Takes it from a control that can't be seen or used any more.
    void followKeyboard() { keyboard_.follow(); }

    /// Of the frame over the control that has it: the background's "focuscolor", or else the
    /// highlight colour.
    const Color& getFocusColor() const { return focusColor_; }

    Control* getHoverControl() const { return hoverControl_; }
    Control* getCaptureControl() const { return captureControl_; }
    Point getLastMouse() const { return lastMouse_; }

    /// Brings the control to the front of its siblings, as far as their `zorder` allows, and has
    /// everything beneath it blurred, and closed to the pointer, for as long as the control can be
    /// seen; of several such controls for the last one.
    void enterModal(Control& dialog);

    /// The one of these that is in front; null while none can be seen.
    Control* getDialog() const;

    /// Tell all listeners that the user takes hold of a control, and lets go of it.
    virtual void beginEdit(Control& control, Point position);
    virtual void endEdit(Control& control, Point position);

    /// An edit that is over when `act` returns, whose answer is returned; none if `act` changes
    /// nothing, and a part of that under way if the control is held. The control may go meanwhile.
    template <typename Act>
    bool editOnce(Control& control, UndoList::Kind kind, Act act);

    /// For a control that has made another preset current than this one, so that the user may go
    /// back. What it does with an edit of its parameter needs no such call.
    void noteProgramChange(std::int32_t before) { undo_.noteProgramChange(before); }

    /// The same for a control that has renamed the current preset, which was called "Bank/Name"
    /// before.
    void noteRename(const std::string& before) { undo_.noteRename(before); }

    const UndoList& getUndoList() const { return undo_; }

    /// Shows the menu once the message under way is over, in place of one that waits.
    void setPendingMenu(std::unique_ptr<PopupMenu> menu, Point place);

    /// Then opens a box over the interface with the control's parameter as a text. What the user
    /// accepts is set as from `FromUser`.
    void setPendingEdit(Control& control, const Rect& rect);

    /// The same in the place of a shown text: so far from the rectangle's left, in letters of that
    /// size and weight.
    void setPendingEdit(Control& control, const Rect& rect, std::int32_t indent, const Font& font);

    /// The same with a text that isn't a parameter's, and who takes the one that the user accepts;
    /// not called once the control is gone.
    using TakeText = std::function<void(const std::string& text)>;
    void setPendingEdit(Control& control, const Rect& rect, const std::string& text, TakeText take);

    /// The entry of the menu that is shown; null if there is none.
    const PopupMenuEntry* findMenuEntry(std::int32_t id) const;

    /// Shows the menu or the box that waits, and waits for the user; hands the choice to its
    /// target.
    void showPending();
    virtual void addContextMenuEntries(PopupMenu& menu, Point position);

    Point measureMenuEntry(std::int32_t id);

    /// The entry's picture, valid until the next call; null where nobody paints it.
    const PixelsData* drawMenuEntry(std::int32_t id, bool isSelected, float scale);

    // Controls.

    virtual void addControl(Control* control);
    virtual void removeControl(Control* control);
    const std::vector<Control*>& getControls() const { return topLevelControls_; }
    Control* getRootControl() const { return rootControl_; }

    /// Starts the tree.
    virtual void initialize();

    /// A control that goes: nothing refers to it afterwards.
    void forget(Control& control);

    /// Binds all controls to another module.
    virtual void setModule(std::int32_t index);
    Module* getModule() const { return module_; }
    Plugin& instance() const { return plugin_; }

    /// Null for an id that isn't listed.
    virtual std::shared_ptr<Bitmap> getBitmap(const std::string& id) const;

    virtual void setKnobMode(std::int32_t mode);
    std::int32_t getKnobMode() const { return knobMode_; }
    void setShowTooltips(bool show);
    bool getShowTooltips() const { return showTooltips_; }

    /// The control "special::help"; null if there is none.
    ControlHelp* getHelpControl() const { return helpControl_; }
    ControlInfo& getInfo() const { return *info_; }

    /// Of what the user's eye is to be led to.
    const Color& getHighlightColor() const { return highlightColor_; }

    /// What the status line says while a controller is learnt.
    void setLearnHint(const std::string& text);
    const std::string& getLearnHint() const { return learnHint_; }

    // Messages.

    /// Queues a copy of a message for a control, until the next tick. Nothing while the interface
    /// is closed: what is opened reads everything anew. Any thread.
    void enqueue(const Message& message, Radio* target);
    void deliverQueued();

    /// Whether the caller is on the thread that made or last opened the interface. Any thread.
    bool isInterfaceThread() const noexcept;

    Radio* getEditor() const override { return const_cast<Editor*>(this); }

    /// Window messages, choices of the editor's own menu, changes of the current module and skin.
    /// Whether it was used. Exceptions end here. Any thread; others' messages are queued.
    bool receive(Message& message) override;

    /// The host has destroyed the window.
    void windowGone();

protected:
    /// The controls' factory; a product's own takes its place before controls are loaded.
    std::unique_ptr<ControlManager> manager_;

private:
    bool dispatch(Message& message);
    bool perform(const std::function<bool()>& act);
    // What one "Controls.xml" brought to life.
    struct Tree {
        std::vector<Control*> all;                    // in the order of the file
        std::vector<std::unique_ptr<Control>> roots;  // those without a parent
        Control* root = nullptr;
        Control* background = nullptr;
        ControlHelp* help = nullptr;
        ControlBlur* blur = nullptr;
        std::unique_ptr<Control> restingBlur;
        Rect client;
        Rect status;
        Color focus;
    };
    void swapTree(Tree& other);
    void readControls(const File& file, Dictionary::Fault* fault);
    File controlsFile() const;
    void followFiles();
    void reloadControls(const File& file);
    void buildControls(const Dictionary& dictionary, Control* parent);
    void takeBackground(Control& control, const Dictionary& element);
    void addDebugControls(Control& background);
    void followPrograms(bool isFollowing);
    void tellProgram(ParameterMessage& change) const;
    static void* dialogOwner() noexcept;
    static void invert(const char* preference);
    void addSizeEntries(PopupMenu& menu);
    void tellOfReopening() const;
    void takeDefaults(ControlValue& control, const Dictionary& element);
    void takeSpecial(Control& control);
    void makeBlur();
    void followModals();
    void followShowTooltips();
    void loadSkinControls();
    bool canLoadSkin();
    void takePendingChoices();
    void deleteControls();
    bool receiveWindow(WindowMessage& message);
    bool receiveMenuChoice(std::int32_t identifier);
    void press(WindowMessage& message, std::int32_t button);
    void contextMenu(const WindowMessage& message);
    void release(const WindowMessage& message, std::int32_t button);
    bool letGo();
    void endCapture();
    void expectEdit(Control& control, UndoList::Kind kind);
    void move(WindowMessage& message);
    void drag(WindowMessage& message);
    void hover(const WindowMessage& message);
    void leaveHover(const WindowMessage& message);
    bool turn(const WindowMessage& message);
    bool takeKey(WindowMessage& key);
    bool tellKey(Control& control, WindowMessage& key);
    bool undoAt(const WindowMessage& key);
    bool receiveDrop(WindowMessage& message);
    void showPendingMenu(platform::SystemWindow& system);
    void showPendingEdit(platform::SystemWindow& system);
    void takeParameterText(Control& control, const std::string& text);
    void broadcast(std::int32_t code, Point position, std::uint64_t value);
    static bool deliverLocal(Control& control, const WindowMessage& message);
    static bool deliverLocal(Control& control, const WindowMessage& message, std::int32_t code);

    Plugin& plugin_;
    Module* module_;
    Resources* resources_;
    Word<std::thread::id> interfaceThread_;

    Mutex dirtyLock_;  // guards dirtyRects_
    std::vector<Rect> dirtyRects_;
    Mutex
        canvasLock_;  // held while the picture is drawn, and while it goes; taken before dirtyLock_
    std::unique_ptr<Canvas> canvas_;
    std::unique_ptr<Window> window_;
    CanvasTarget* paintTarget_ = nullptr;
    Word<bool> isOpen_{false};
    Rect clientRect_;
    Rect statusRect_;
    double openedAt_ = 0.0;     // seconds, of the clock
    double openSeconds_ = 0.0;  // until the last close
    Color highlightColor_ = Color::fromBytes(255, 190, 0, 255);
    Color focusColor_ = highlightColor_;

    KeyboardFocus keyboard_{*this};
    bool takesSystemFocus_ = false;  // once the message under way is over
    std::bitset<256> usedKeys_;      // those whose press was used, by their codes
    UndoList undo_;

    std::unique_ptr<PopupMenu> pendingMenu_;
    Point pendingMenuPlace_;
    PopupMenu* shownMenu_ = nullptr;    // while it is
    Control* editedControl_ = nullptr;  // whose text is, or will be, in a box
    Rect editRect_;
    std::int32_t editIndent_ = 0;  // of the text, from the rectangle's left
    Font editFont_;
    std::string editText_;
    TakeText takeText_;  // empty while the text is the parameter's
    bool isEditing_ = false;
    std::unique_ptr<Canvas> entryCanvas_;

    std::vector<Control*> topLevelControls_;       // all, in the order of the file
    std::vector<std::unique_ptr<Control>> roots_;  // those without a parent; the background is one
    Control* rootControl_ = nullptr;
    Control* backgroundControl_ = nullptr;
    ControlHelp* helpControl_ = nullptr;
    std::unique_ptr<ControlInfo> info_;
    ControlBlur* blurControl_ = nullptr;
    std::unique_ptr<Control> restingBlur_;  // the same, while it stands in no tree
    std::vector<Control*> modals_;          // the one in front last
    Control* blurredFor_ = nullptr;         // the one that it stands beneath
    Control* hoverControl_ = nullptr;
    Control* hoverCandidate_ = nullptr;  // while the pointer enters it
    Control* captureControl_ = nullptr;
    Control* focusRequest_ = nullptr;
    Control* focusControl_ = nullptr;
    Point lastMouse_;
    Point previousMouse_;
    Point lastDragMouse_;
    std::int32_t buttonMask_ = 0;
    bool isMouseHeld_ = false;

    CPUMeter paintMeter_{nullptr};  // these two run while they are shown
    CPUMeter tickMeter_{nullptr};
    bool showsCpuMeters_ = false;  // as the controls were loaded
    bool isReloadDue_ = false;     // the user's choice is another now

    MessageQueue queue_;
    std::int32_t knobMode_ = Linear;
    bool showTooltips_ = true;
    std::string learnHint_;
    std::vector<std::string> skins_;  // the uids of those that the menu offers
    std::string shownSkin_;           // whose controls these are
    std::string pendingSkin_;         // taken at the window's end
    int dispatching_ = 0;             // messages under way, nested
    std::int32_t builtLine_ = 0;      // of the element under way
    bool isFirstTree_ = true;
    bool isFailing_ = false;  // the last tick ended with an exception
    bool reloadsSkin_ = false;
    int ticksToReload_ = 0;
    std::string brokenImage_;         // that the status line tells of
    std::int64_t controlsStamp_ = 0;  // of the file, as it was read last
    std::int32_t currentModule_ = 0;
};

template <typename Act>
bool Editor::editOnce(Control& control, UndoList::Kind kind, Act act) {
    if (captureControl_ == &control)
        return act();
    const auto alive = life();
    expectEdit(control, kind);
    const auto end = [&, this] {
        if (alive.expired() || !undo_.isEditing(&control))
            return;
        endEdit(control, lastMouse_);
    };
    bool isUsed = false;
    try {
        isUsed = act();
    } catch (...) {
        end();
        throw;
    }
    end();
    return isUsed;
}

}  // namespace tarn
