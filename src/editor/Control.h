// Base of everything that an interface shows: a rectangle in a tree of others, with colours, images
// and rules for pointer, drawing and parameter, made from one element of "Controls.xml".
// Everything rests on one rule: a control keeps no value of its parameter. It draws what it reads
// from the parameter at that moment, and a change only marks its rectangle to be drawn again.
#pragma once

#include "drawing/Bitmap.h"
#include "drawing/Color.h"
#include "drawing/Font.h"
#include "foundation/Point.h"
#include "foundation/Radio.h"
#include "foundation/Rect.h"
#include "parameters/ParameterEditor.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

class Canvas;
class Dictionary;
class Editor;
class Parameter;
class PopupMenu;
class TimerAnimation;

/// Its place in the tree of controls is one thing, its parent as a radio another: that is the
/// module whose parameters it shows. Interface thread, but for `receive`. Rectangles are in the
/// skin's pixels; "own coordinates" are from the control's top left.
class Control : public Radio, public ParameterEditor {
public:
    enum Flag : std::uint32_t {
        Dirty = 0x1,
        Editable = 0x2,
        Draggable = 0x4,    // the user may move it
        Translucent = 0x8,  // opacity is below 0.99
        Visible = 0x10,
        ShowValue = 0x20,
        ShowValueOnHover = 0x40,
        Enabled = 0x80,
        Export = 0x100,  // written by exportDictionary
        Live = 0x200,
        AutoReset = 0x400,  // back to the default on release
        TextEntry = 0x800,  // a double click opens a box for the value
        AlwaysDirty = 0x1000,
        ClickThrough = 0x2000,
        Learn = 0x4000,  // the menu offers MIDI learn
        Focusable = 0x8000,
        ThumbnailMode = 0x10000,
        Modal = 0x20000,
        DropTarget = 0x40000,
        DropHighlight = 0x80000,
        HorizontalLayout = 0x400000,
        Opaque = 0x800000,  // what is transparent in the background is hit too
    };
    enum class Inheritance { Own, AllAncestors, AnyAncestor };
    enum ClipMode : std::int32_t { Clipped = 1, Unclipped = 4 };
    enum VisibilityAction : std::int32_t { Hide = 0, Disable = 1 };

    /// Where a tooltip stands; 0 leaves it to the tooltip.
    enum TooltipPlacement : std::int32_t {
        Above = 1,
        Below = 2,
        LeftOf = 4,
        RightOf = 8,
        AtMouse = 16
    };

    /// In no tree, with an empty rectangle. The editor outlives it.
    explicit Control(Editor& editor);

    /// Deletes the children, the last first, and leaves its parent.
    ~Control() override;

    /// Puts the children in the order of their `zorder`, and starts them. A control that has no
    /// rectangle takes the union of its children's.
    virtual void initialize();
    void shutdown() override;

    Radio* getEditor() const override;
    Editor& editor() const { return editor_; }

    /// Shows the parameters of another module, as do the children.
    virtual void setRadioHost(Radio* module);
    virtual void setRadioContext(ParameterDirectory* settings);

    /// Queues a message of another thread than the interface's for that one, and answers false; all
    /// others go to `handle`. Any thread.
    bool receive(Message& message) final;

    /// Reads again what the control keeps of parameters: whether it is shown and can be used.
    virtual void refresh();

    /// Stops what moves by itself, the interface being closed; `refresh` starts it again.
    virtual void suspend() {}

    /// What `receive` answers: whether the message was used. Interface thread.
    virtual bool handle(Message& message);

    /// A copy of its own, with the children; null for classes that have none.
    virtual std::unique_ptr<Control> clone() const { return nullptr; }

    /// Reads the keys of docs/skins.md that all controls have.
    virtual void importDictionary(const Dictionary& dictionary);

    /// Writes "id".
    virtual void exportDictionary(Dictionary& dictionary) const;

    /// Empty if there is nothing to tell.
    virtual std::string getTooltip() const;

    /// A parameter's value in words, with its unit.
    static std::string shownValue(const Parameter& parameter);

    /// In its parent's coordinates; the thumbnail's rectangle while that is shown.
    virtual Rect getRect() const;

    /// To be called after the control or one of those above has moved.
    virtual void positionChanged();

    /// From, to: what the attached strips scroll over, in own coordinates.
    virtual Point getVisibleExtent(Point point) const;

    /// Binds the control to a parameter, whose display name becomes the label; an empty name to
    /// none.
    virtual void setParameterName(const std::string& name);

    /// Null if there is none of that name.
    Parameter* getParameter() const override;
    virtual std::string getParameterName() const { return parameterName_; }

    virtual void setFrameColor(const Color& color);

    /// With true, marks the control's rectangle to be drawn again, if the interface is open and the
    /// control can be seen; else nothing happens.
    virtual void setDirty(bool isDirty);

    virtual float getOpacity() const;

    /// A rounded rectangle just inside the control, with corners of 8.
    virtual void drawFrame(Canvas& canvas, const Color& color) const;

    /// Whether the point, in own coordinates, belongs to the control.
    virtual bool hitTest(Point point) const;

    /// The topmost control at a point, in own coordinates, for the pointer, or for what is dropped;
    /// null if there is none.
    virtual Control* findControlAt(Point point);
    virtual Control* findDropTargetAt(Point point);

    // The keyboard. A control that has it, or that the pointer is over, hears `KeyPress`; the
    // editor begins and ends an edit around what the arrows and their neighbours change.

    /// Whether Tab and presses bring the keyboard here, while the control can be seen and used.
    virtual bool takesKeyboard() const { return false; }

    /// Whether Space activates the control too, within an edit of its parameter.
    virtual bool isButton() const { return false; }

    /// What a click does to a button. The control may be gone afterwards.
    virtual void pressAndRelease() {}

    /// What Return does to a control that has the keyboard: presses a button, or opens a box for
    /// the value. Whether it did something.
    virtual bool activate();

    /// Adds the entries of this control and of those above; `position` is in own coordinates.
    virtual void buildContextMenu(PopupMenu& menu, Point position);

    /// Whether `drawBackground` leaves nothing to be seen of the background's colour, which isn't
    /// filled in then.
    virtual bool coversBackground() const { return false; }

    /// Whether it hides whatever was drawn beneath it, all over its rectangle.
    bool hidesGround() const;

    // Between the background and the children, over the background; over the children; and above
    // the foregrounds of all siblings. `rect` is the part to draw, in own coordinates.
    virtual void drawBackground(Canvas& /*canvas*/, const Rect& /*rect*/) {}
    virtual void drawForeground(Canvas& /*canvas*/, const Rect& /*rect*/) {}
    virtual void drawTop(Canvas& /*canvas*/, const Rect& /*rect*/) {}

    /// Takes the child over, as the last one. Its `zorder` becomes the parent's less 1 where it is
    /// above that.
    virtual void addChild(std::unique_ptr<Control> child);

    /// The same, just beneath one of the children.
    void addChildBeneath(std::unique_ptr<Control> child, const Control& above);

    /// Puts a child above the siblings that have no higher `zorder`.
    void raiseChild(const Control& child);

    /// Gives back a child, which leaves the tree; null if it is none.
    std::unique_ptr<Control> takeChild(const Control& child);

    /// Draws the control and its children into the canvas, whose origin is the control's top left.
    void draw(Canvas& canvas, const Rect& rect);

    Control* getParentControl() const { return parentControl_; }
    const std::vector<Control*>& getChildren() const { return children_; }
    const std::string& getControlId() const { return id_; }
    const std::string& getLabel() const { return label_; }
    std::int32_t getTooltipPlacement() const { return tooltipPlacement_; }
    const Color& getTextColor() const { return textColor_; }
    std::uint64_t getDropMask() const { return dropMask_; }

    /// In the window's coordinates, cut by those above; empty where nothing is left.
    Rect getAbsoluteRect() const;
    Rect getLocalRect() const;

    /// Where the own coordinates begin in the window's, also where that is cut off.
    Point getAbsoluteOrigin() const;

    void setOpacity(float opacity);
    void setVisible(bool isVisible);

    /// The size alone, or all; what was and what is there is drawn again.
    void setSize(const Rect& rect);
    void setPosition(const Rect& rect);

    void setFlags(std::uint32_t flags, bool on = true);
    void clearFlags(std::uint32_t flags) { setFlags(flags, false); }
    bool testFlags(std::uint32_t flags, Inheritance inheritance = Inheritance::Own) const;
    bool isVisible() const { return testFlags(Visible, Inheritance::AllAncestors); }

    /// Whether it, or one of those above, shows the small form that "thumbnail" gives it.
    bool isInThumbnail() const { return testFlags(ThumbnailMode, Inheritance::AnyAncestor); }
    bool isTranslucent() const;

    void setFont(const Font& font);

    /// In the control's font or alphabet. `alignment` replaces the font's unless it is 0.
    void drawText(Canvas& canvas, const Rect& rect, const std::string& text,
                  std::int32_t alignment = 0) const;

    /// The text, or as much of its beginning as there is room for, with "…" at its end.
    std::string fitted(const std::string& text, std::int32_t width) const;

    /// Width and height of what `drawText` draws.
    Point measureText(const std::string& text) const;

protected:
    bool isHovered() const { return isHovered_; }

    /// From now on `fadeLevel_` follows the pointer.
    void enableFade();

    /// Whether the message isn't of another clone than the one that the control looks at: what is
    /// listened to by name are all parameters of that name.
    bool isOwnClone(const ParameterMessage& change) const;

    /// The distance of two of the parameter's positions, of its normalised range; 0.0 where values
    /// aren't stepped.
    static double normalisedStep(const Parameter& parameter);

    /// The topmost of the children, and of those below, that `find` finds at a point.
    Control* findBelow(Point point, Control* (Control::*find)(Point)) const;
    /// Whether it may be under the pointer: what can be used or moved, or has a small form.
    bool canTakePointer() const;

    /// Whether `getRect` depends on the children.
    virtual bool growsWithChildren() const { return false; }

    /// Whether there is a value that the user may edit as a text.
    bool hasTextEntry() const;

    /// Opens the box for it once the message under way is over; false without such a value.
    bool openTextBox();

    std::string parameterName_;
    std::int32_t parameterIndex_ = 0;  // which of the parameters of that name
    std::string id_;
    std::string label_;
    Font font_;
    Color textColor_{1.0f, 1.0f, 1.0f, 1.0f};
    std::int32_t tooltipPlacement_ = 0;
    std::string tooltip_;
    Rect rect_;
    Rect thumbnailRect_;  // empty without one
    std::int32_t zorder_ = 127;
    Color backgroundColor_ = Color::none();
    Color foregroundColor_{1.0f, 1.0f, 1.0f, 1.0f};
    Color frameColor_ = Color::none();
    std::shared_ptr<Bitmap> backgroundBitmap_;
    std::shared_ptr<Bitmap> glowBitmap_;  // over the background, as far as the fade is up
    std::shared_ptr<Bitmap> overlayBitmap_;
    float overlayOpacity_ = 1.0f;
    Color overlayColor_ = Color::none();
    float opacity_ = 1.0f;
    Control* attachedHorizontal_ = nullptr;  // strips along the edges, of the control's length; not
    Control* attachedVertical_ = nullptr;    // owned
    ClipMode clipMode_ = Clipped;
    std::shared_ptr<Bitmap> alphabet_;
    std::uint64_t dropMask_ = 0;
    std::int32_t buttonMask_ = 1;  // the buttons it answers: 1 left, 4 right
    std::set<std::string> listenTo_;
    bool altReverse_ = false;
    std::unique_ptr<TimerAnimation> fadeAnimation_;
    float fadeLevel_ = 0.0f;  // 0.0 to 1.0, how far the pointer's glow is up
    bool fadeEnabled_ = false;
    float fadeTarget_ = 0.0f;  // where the level goes

private:
    bool handleParameter(const Message& any);
    bool handleFocus(bool isGained);
    bool handleMenuChoice(std::int32_t identifier);
    bool handleWindow(WindowMessage& message);
    bool handlePress(const WindowMessage& message);
    bool handleDrag(const WindowMessage& message);
    bool handleDropOver(WindowMessage& message);
    Parameter* parameterOf(std::string_view name) const;
    void followVisibility(float normalised);
    void fadeTo(float level, double ms);
    void readFont(const Dictionary& dictionary);
    void readFlags(const Dictionary& dictionary);
    void readVisibility(const Dictionary& dictionary);
    bool isShownSmall() const;
    bool isInSmallForm() const;
    template <typename Change>
    void bindAnew(const Change& change);
    Point toFull(Point point) const;
    void addMidiEntries(PopupMenu& menu, Parameter& parameter);
    void drawContent(Canvas& canvas, const Rect& clip);
    void drawKeyboardFrame(Canvas& canvas) const;
    template <typename Visit>
    void forEachShownChild(Canvas& canvas, const Rect& clip, Visit visit) const;

    Editor& editor_;
    Control* parentControl_ = nullptr;
    std::vector<Control*> children_;  // owned
    std::string visibilityParameter_;
    float visibilityValue_ = 0.0f;
    VisibilityAction visibilityAction_ = Hide;
    std::string altReverseParameter_;
    mutable Rect absoluteRect_;
    mutable bool isAbsoluteStale_ = true;
    std::uint32_t flags_ = 0xCAB2;
    std::optional<Point> moveAnchor_;  // while it is moved
    bool isHovered_ = false;
};

}  // namespace tarn
