#include "editor/Control.h"

#include "audio/Module.h"
#include "drawing/Canvas.h"
#include "drawing/FontLibrary.h"
#include "editor/Editor.h"
#include "editor/PopupMenu.h"
#include "foundation/Dictionary.h"
#include "foundation/Message.h"
#include "foundation/TimerAnimation.h"
#include "parameters/MidiMapper.h"
#include "parameters/Parameter.h"
#include "parameters/ParameterValue.h"
#include "parameters/Settings.h"
#include "platform/Desktop.h"
#include "plugin/Plugin.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

namespace tarn {

namespace {

constexpr std::int32_t FarthestPlace = 65'536;  // of a skin's numbers, so that sums stay in range
constexpr float OpaqueFrom = 0.99f;
constexpr float DisabledOpacity = 0.4f;
constexpr std::uint32_t FadeTimer = 0x43666F63;
constexpr std::int32_t FadeSteps = 10;
constexpr double FadeInMs = 250.0, FadeOutMs = 1000.0;
constexpr std::int32_t FrameCorner = 8;
constexpr Point EditBoxSize{160, 22};

// The menu's own numbers.
enum MenuId : std::int32_t {
    StartLearning = 0,
    Forget = 1,
    NothingToForget = 2,
    RangeMenu = 3,
    FirstRange = 4,  // and the two behind it
    LastRange = 6,
    Invert = 7,
    FirstController = 8,
};

constexpr std::uint32_t RedrawnFlags =
    Control::Visible | Control::Enabled | Control::ThumbnailMode | Control::DropHighlight;

constexpr std::array<std::pair<const char*, Control::Flag>, 12> FlagKeys = {{
    {"autoreset", Control::AutoReset},
    {"draggable", Control::Draggable},
    {"editable", Control::Editable},
    {"focusable", Control::Focusable},
    {"enabled", Control::Enabled},
    {"clickthrough", Control::ClickThrough},
    {"export", Control::Export},
    {"live", Control::Live},
    {"textentry", Control::TextEntry},
    {"learn", Control::Learn},
    {"modal", Control::Modal},
    {"opaque", Control::Opaque},
}};

std::int32_t readPlace(const Dictionary& dictionary, const char* key, std::int32_t otherwise) {
    std::int32_t place = otherwise;
    dictionary.getInteger(key, place);
    return std::clamp(place, -FarthestPlace, FarthestPlace);
}

void readColor(const Dictionary& dictionary, const char* key, Color& color) {
    std::string text;
    if (dictionary.getString(key, text))
        color.parse(text);
}

Rect atOrigin(const Rect& rect) {
    return {0, 0, rect.width(), rect.height()};
}

// Where a point or a length of the thumbnail lies in the full control, and back.
std::int32_t scaled(std::int32_t value, std::int32_t to, std::int32_t from) {
    return from == 0
               ? 0
               : static_cast<std::int32_t>(std::lround(static_cast<double>(value) * to / from));
}

bool areModifiersHeld(const WindowMessage& message) {
    return message.modifiers ==
           (WindowMessage::Shift | WindowMessage::Control | WindowMessage::Alt);
}

template <typename T>
bool crossesZeroAs(const Parameter& parameter) {
    const auto* const value = dynamic_cast<const ParameterValue<T>*>(&parameter);
    return value != nullptr && value->getMinimum() < T{} && value->getMaximum() > T{};
}

bool crossesZero(const Parameter& parameter) {
    return crossesZeroAs<float>(parameter) || crossesZeroAs<std::int32_t>(parameter);
}

// A line of 1 just inside the rectangle; `corner` is the diameter of its corners.
void strokeRounded(Canvas& canvas, const Rect& rect, std::int32_t corner, const Color& color) {
    const std::int32_t right = rect.right - 1 - corner, bottom = rect.bottom - 1 - corner;
    const auto at = [corner](std::int32_t x, std::int32_t y) {
        return Rect{x, y, x + corner, y + corner};
    };
    canvas.setPenColor(color);
    canvas.beginPath();
    canvas.moveTo({rect.left, rect.top + corner / 2});
    canvas.arc(at(rect.left, rect.top), 180.0f, 270.0f);
    canvas.arc(at(right, rect.top), 270.0f, 360.0f);
    canvas.arc(at(right, bottom), 0.0f, 90.0f);
    canvas.arc(at(rect.left, bottom), 90.0f, 180.0f);
    canvas.lineTo({rect.left, rect.top + corner / 2});
    canvas.endPath();
    canvas.strokeOrFillPath(Canvas::Stroke);
}

// Of the letters A to Z, whose first is `from`.
std::string changedCase(std::string text, char from, char to) {
    for (char& letter : text)
        if (letter >= from && letter < from + 26)
            letter = static_cast<char>(letter - from + to);
    return text;
}

// An alphabet of one case shows the other one's letters in that.
std::string inCaseOf(const Bitmap& alphabet, const std::string& text) {
    const std::string& glyphs = alphabet.getGlyphs();
    if (glyphs.find('A') == std::string::npos)
        return changedCase(text, 'A', 'a');
    if (glyphs.find('a') == std::string::npos)
        return changedCase(text, 'a', 'A');
    return text;
}

}  // namespace

Control::Control(Editor& editor) : Radio(editor.getModule()), editor_(editor) {}

Control::~Control() {
    disconnect();
    editor_.forget(*this);
    fadeAnimation_.reset();
    while (!children_.empty()) {
        children_.back()->shutdown();
        delete children_.back();  // leaves the list itself
    }
    if (parentControl_ != nullptr)
        std::erase(parentControl_->children_, this);
}

void Control::initialize() {
    isAbsoluteStale_ = true;
    std::stable_sort(children_.begin(), children_.end(),
                     [](const Control* a, const Control* b) { return a->zorder_ < b->zorder_; });
    for (Control* const child : children_)
        child->initialize();
    if (rect_.isEmpty())
        for (const Control* const child : children_)
            rect_ = rect_.unitedWith(child->getRect());
}

void Control::shutdown() {
    for (Control* const child : children_)
        child->shutdown();
    Radio::shutdown();
}

Radio* Control::getEditor() const {
    return &editor_;
}

void Control::setRadioHost(Radio* module) {
    bindAnew([this, module] { setParent(module); });
    for (Control* const child : children_)
        child->setRadioHost(module);
}

void Control::setRadioContext(ParameterDirectory* settings) {
    bindAnew([this, settings] { setSettings(settings); });
    for (Control* const child : children_)
        child->setRadioContext(settings);
}

// Around a change of what the names stand for.
template <typename Change>
void Control::bindAnew(const Change& change) {
    const std::string name = std::exchange(parameterName_, {});
    tuneOutByName(name);
    for (const std::string& other : listenTo_)
        tuneOutByName(other);
    for (const std::string& other : {visibilityParameter_, altReverseParameter_})
        tuneOutByName(other);
    change();
    for (const std::string& other : {visibilityParameter_, altReverseParameter_})
        tuneInByName(other);
    setParameterName(name);
}

// Messages

bool Control::receive(Message& message) {
    if (editor_.isInterfaceThread())
        return handle(message);
    editor_.enqueue(message, this);
    return false;
}

bool Control::handle(Message& message) {
    switch (message.type) {
        case MessageType::Parameter:
            return handleParameter(message);
        case MessageType::Control:
            if (message.code == ControlMessage::FocusGained)
                return handleFocus(true);
            if (message.code == ControlMessage::FocusLost)
                return handleFocus(false);
            return message.code == ControlMessage::MenuChoice &&
                   handleMenuChoice(fromPayload<std::int32_t>(message.payload));
        case MessageType::Timer:
            if (const auto& tick = static_cast<const TimerMessage&>(message);
                tick.timerId == FadeTimer && fadeEnabled_ && fadeAnimation_) {
                // The last step of an animation may be the one before its end.
                const float level = fadeAnimation_->value();
                fadeLevel_ = std::abs(fadeTarget_ - level) < 1.5f / FadeSteps ? fadeTarget_ : level;
                setDirty(true);
                return true;
            }
            return false;
        case MessageType::Window:
            return handleWindow(static_cast<WindowMessage&>(message));
        default:
            return false;
    }
}

bool Control::handleParameter(const Message& any) {
    const auto& message = static_cast<const ParameterMessage&>(any);
    if (message.code != ParameterMessage::ValueChanged &&
        message.code != ParameterMessage::ResetToDefault)
        return false;
    const std::string_view name = message.parameterName;
    if (name.empty())
        return false;
    if (name == visibilityParameter_) {
        if (isOwnClone(message))
            followVisibility(message.value);
        return true;
    }
    if (name == altReverseParameter_) {
        if (isOwnClone(message))
            altReverse_ = (message.payload & 0xFF) != 0;
        return true;
    }
    if (name != parameterName_ && listenTo_.count(std::string(name)) == 0)
        return false;
    setDirty(true);
    return true;
}

bool Control::isOwnClone(const ParameterMessage& change) const {
    const Parameter* const parameter = parameterOf(change.parameterName.view());
    return parameter == nullptr || parameter->getClone() == change.cloneNumber;
}

void Control::followVisibility(float normalised) {
    const Parameter* const parameter = parameterOf(visibilityParameter_);
    constexpr double LeastStep = 1e-6;
    const bool matches =
        parameter != nullptr && std::abs(normalised - visibilityValue_) <
                                    std::max(normalisedStep(*parameter), LeastStep) * 0.5;
    if (visibilityAction_ == Hide)
        setVisible(matches);
    else
        setFlags(Enabled, matches);
    setDirty(true);
}

void Control::refresh() {
    fadeLevel_ = fadeTarget_ = isHovered_ ? 1.0f : 0.0f;
    if (const Parameter* const parameter = parameterOf(visibilityParameter_))
        followVisibility(parameter->getNormalised());
    if (const Parameter* const parameter = parameterOf(altReverseParameter_))
        altReverse_ = parameter->getNormalised() >= 0.5f;
}

bool Control::handleFocus(bool isGained) {
    setDirty(true);
    if (thumbnailRect_.isEmpty())
        setVisible(isGained);
    else
        setFlags(ThumbnailMode, !isGained);
    positionChanged();
    setDirty(true);
    return true;
}

bool Control::handleMenuChoice(std::int32_t identifier) {
    Parameter* const parameter = getParameter();
    if (parameter == nullptr)
        return false;
    MidiMapper<Parameter*>& mapper = editor_.instance().getMidiMapper();
    const std::int32_t controller = mapper.getController(parameter);
    if (identifier == StartLearning) {
        mapper.startLearning(parameter);
        editor_.setLearnHint("MIDI learn : " + (label_.empty() ? parameter->getId() : label_));
    } else if (identifier == Forget) {
        mapper.forget(parameter);
    } else if (identifier >= FirstRange && identifier <= LastRange) {
        mapper.setRange(controller, identifier - FirstRange);
    } else if (identifier == Invert) {
        mapper.setInverted(controller, !mapper.isInverted(controller));
    } else if (identifier >= FirstController &&
               identifier < FirstController + midi::ControllerCount) {
        mapper.bind(identifier - FirstController, parameter);
    } else {
        return false;
    }
    return true;
}

bool Control::handleWindow(WindowMessage& message) {
    switch (message.code) {
        case WindowMessage::LeftDown:
        case WindowMessage::RightDown:
            return (buttonMask_ & message.button) != 0 && handlePress(message);
        case WindowMessage::LeftDouble:
            return openTextBox();
        case WindowMessage::MouseDrag:
            return handleDrag(message);
        case WindowMessage::ControlEnter:
            isHovered_ = true;
            fadeTo(1.0f, (1.0 - fadeLevel_) * FadeInMs);
            return testFlags(Visible) && canTakePointer() && hitTest(message.position);
        case WindowMessage::ControlHover:
            return testFlags(Visible) && canTakePointer() &&
                   findControlAt(message.position) == this;
        case WindowMessage::ControlExit:
            isHovered_ = false;
            fadeTo(0.0f, fadeLevel_ * FadeOutMs);
            if (editor_.getCaptureControl() == nullptr)
                platform::setCursor(platform::CursorShape::Arrow);
            return true;
        case WindowMessage::Repaint:
            setDirty(true);
            return true;
        case WindowMessage::DropOver:
            return handleDropOver(message);
        case WindowMessage::DropEnd:
            setFlags(DropHighlight, false);
            return true;
        default:
            return false;
    }
}

bool Control::hasTextEntry() const {
    return testFlags(Editable | TextEntry) && getParameter() != nullptr;
}

bool Control::activate() {
    if (!isButton())
        return openTextBox();
    pressAndRelease();
    return true;
}

bool Control::openTextBox() {
    if (!hasTextEntry())
        return false;
    const Rect rect = getAbsoluteRect();
    const Point corner{rect.left + (rect.width() - EditBoxSize.x) / 2,
                       rect.top + (rect.height() - EditBoxSize.y) / 2};
    editor_.setPendingEdit(*this, Rect{0, 0, EditBoxSize.x, EditBoxSize.y}.movedBy(corner));
    return true;
}

bool Control::handlePress(const WindowMessage& message) {
    moveAnchor_.reset();
    for (Control* control = this; control != nullptr; control = control->parentControl_) {
        if (control->thumbnailRect_.isEmpty())
            continue;
        // A press anywhere in a small form opens it; only one on the control itself closes it.
        const bool isSmall = control->testFlags(ThumbnailMode);
        if (!isSmall && control != this)
            break;
        ControlMessage focus(this,
                             isSmall ? ControlMessage::FocusGained : ControlMessage::FocusLost);
        control->handle(focus);
        return true;
    }
    if (!testFlags(Draggable) && !areModifiersHeld(message))
        return false;
    moveAnchor_ = message.position;
    return true;
}

bool Control::handleDrag(const WindowMessage& message) {
    if (!moveAnchor_ || (!testFlags(Draggable) && !areModifiersHeld(message)))
        return false;
    Rect moved = rect_.movedBy(message.position - *moveAnchor_);
    if (parentControl_ != nullptr) {
        const Rect room = parentControl_->getLocalRect();
        const Point back{std::max(room.left - moved.left, std::min(0, room.right - moved.right)),
                         std::max(room.top - moved.top, std::min(0, room.bottom - moved.bottom))};
        moved = moved.movedBy(back);
    }
    setPosition(moved);
    return true;
}

bool Control::handleDropOver(WindowMessage& message) {
    WindowMessage end(this, WindowMessage::DropEnd, message.target);
    for (Control* const child : children_)
        child->handle(end);
    bool isTaken = false;
    const bool isInside = getLocalRect().contains(message.position);
    if (isInside) {
        const Point position = message.position;
        for (Control* const child : children_) {
            message.position = position - child->getRect().topLeft();
            isTaken = child->handle(message);
            if (isTaken)
                break;
        }
        message.position = position;
    }
    const bool isOwn =
        isInside && !isTaken && testFlags(DropTarget) && (dropMask_ & message.payload) != 0;
    setFlags(DropHighlight, isOwn);
    return isTaken || isOwn;
}

void Control::enableFade() {
    static const TimerMessage Tick(nullptr, TimerMessage::Tick, FadeTimer, 0);
    if (!fadeAnimation_) {
        fadeAnimation_ =
            std::make_unique<TimerAnimation>(this, &Tick, 0.0f, 1.0f, FadeSteps, FadeInMs);
        tuneIn(fadeAnimation_.get());
    }
    fadeEnabled_ = true;
}

void Control::fadeTo(float level, double ms) {
    if (!fadeAnimation_)
        return;
    fadeTarget_ = level;
    fadeAnimation_->Timer::stop(false);  // `setRange` waits for a running tick
    fadeAnimation_->setRange(fadeLevel_, level);
    fadeAnimation_->setDuration(ms);
    fadeAnimation_->start();
}

// What the skin says

void Control::importDictionary(const Dictionary& dictionary) {
    std::string text;
    Rect place;
    place.left = readPlace(dictionary, "x", 0);
    place.top = readPlace(dictionary, "y", 0);
    place.right = readPlace(dictionary, "width", 0);
    place.bottom = readPlace(dictionary, "height", 0);
    dictionary.getString("id", id_);
    dictionary.getString("label", label_);
    dictionary.getString("tooltip", tooltip_);
    if (dictionary.getString("tooltip", text, 0, "placement")) {
        if (text == "horizontal")
            tooltipPlacement_ = LeftOf | RightOf;
        else if (text == "vertical")
            tooltipPlacement_ = Above | Below;
        else if (text == "mouse")
            tooltipPlacement_ = AtMouse;
    }
    if (dictionary.getString("altreverse", altReverseParameter_))
        tuneInByName(altReverseParameter_);
    readColor(dictionary, "textcolor", textColor_);
    readFont(dictionary);
    readColor(dictionary, "foreground", foregroundColor_);
    if (dictionary.getString("background", text) && !backgroundColor_.parse(text))
        backgroundBitmap_ = editor_.getBitmap(text);
    if (dictionary.getString("glow", text) && (glowBitmap_ = editor_.getBitmap(text)))
        enableFade();
    if (dictionary.getString("overlay", text))
        overlayBitmap_ = editor_.getBitmap(text);
    if (backgroundBitmap_) {
        if (place.right == 0)
            place.right = backgroundBitmap_->getFrameSize().x;
        if (place.bottom == 0)
            place.bottom = backgroundBitmap_->getFrameSize().y;
    }
    place.right = place.left + std::max(0, place.right);
    place.bottom = place.top + std::max(0, place.bottom);
    setPosition(place);
    if (const auto thumbnail = dictionary.getChild("thumbnail")) {
        const Point corner{readPlace(*thumbnail, "x", rect_.left),
                           readPlace(*thumbnail, "y", rect_.top)};
        thumbnailRect_ = Rect{0, 0, std::max(0, readPlace(*thumbnail, "width", rect_.width() / 4)),
                              std::max(0, readPlace(*thumbnail, "height", rect_.height() / 4))}
                             .movedBy(corner);
        setFlags(ThumbnailMode | Visible);
        positionChanged();
    }
    zorder_ = readPlace(dictionary, "zorder", zorder_);
    if (float opacity = 1.0f; dictionary.getFloat("transparency", opacity))
        setOpacity(opacity);
    readFlags(dictionary);
    if (dictionary.getString("alphabet", text))
        alphabet_ = editor_.getBitmap(text);
    if (const auto names = dictionary.getArray("listento"))
        for (std::int32_t i = 0; i < names->count({}); ++i)
            if (const auto entry = names->getEntry(i); entry && entry->isElement())
                if (std::string name = entry->getAttribute("value"); !name.empty())
                    listenTo_.insert(std::move(name));
    if (!dictionary.getInteger("parameter", parameterIndex_, 0, "clone"))
        dictionary.getInteger("class", parameterIndex_, 0, "clone");
    text.clear();
    dictionary.getString("parameter", text);
    readVisibility(dictionary);
    setParameterName(text);
}

void Control::readFont(const Dictionary& dictionary) {
    constexpr float PlainSize = 12.0f, LargestFactor = 64.0f;
    float factor = 1.0f;
    if (dictionary.getFloat("textsize", factor) && factor > 0.0f)
        font_.size = PlainSize * std::min(factor, LargestFactor);
    dictionary.getString("font", font_.name);
    dictionary.getInteger("weight", font_.weight);
    if (std::string align; dictionary.getString("align", align)) {
        constexpr std::int32_t Horizontal = Font::Left | Font::Right | Font::CenterHorizontal;
        font_.alignment &= ~Horizontal;
        if (align == "right")
            font_.alignment |= Font::Right;
        else
            font_.alignment |= align == "center" ? Font::CenterHorizontal : Font::Left;
    }
    font_.lineHeight = font_.size + 2.0f;
}

void Control::readFlags(const Dictionary& dictionary) {
    bool value = false;
    for (const auto& [key, flag] : FlagKeys)
        if (dictionary.getBool(key, value))
            setFlags(flag, value);
    if (dictionary.getBool("visible", value))
        setVisible(value);
    if (dictionary.getBool("noclip", value) && value)
        clipMode_ = Unclipped;
    if (dictionary.getBool("showvalue", value))
        setFlags(ShowValue, value);
    if (std::string text; dictionary.getString("showvalue", text)) {
        if (text.find("mouseover") != std::string::npos)
            setFlags(ShowValue | ShowValueOnHover);
        else if (text != "false" && text != "0")
            setFlags(ShowValue, text.find("never") == std::string::npos);
    }
}

void Control::readVisibility(const Dictionary& dictionary) {
    if (dictionary.getString("show", visibilityParameter_, 0, "parameter"))
        dictionary.getFloat("show", visibilityValue_);
    if (const auto visibility = dictionary.getChild("visibility")) {
        visibility->getString("parameter", visibilityParameter_);
        visibility->getFloat("normalized", visibilityValue_);
        if (std::string action; visibility->getString("action", action) && action == "disable")
            visibilityAction_ = Disable;
    }
    if (!visibilityParameter_.empty())
        tuneInByName(visibilityParameter_);
}

void Control::exportDictionary(Dictionary& dictionary) const {
    dictionary.setString("id", id_);
}

// Parameter

void Control::setParameterName(const std::string& name) {
    if (!parameterName_.empty() && parameterName_ != visibilityParameter_)
        tuneOutByName(parameterName_);
    parameterName_ = name;
    if (const Parameter* const parameter = getParameter()) {
        tuneInByName(parameterName_);
        label_ = parameter->getName();
    }
    for (const std::string& other : listenTo_)
        tuneInByName(other);
    editor_.followKeyboard();
    setDirty(true);
}

Parameter* Control::getParameter() const {
    return parameterOf(parameterName_);
}

Parameter* Control::parameterOf(std::string_view name) const {
    const Settings* const settings = name.empty() ? nullptr : settingsOf(*this);
    return settings != nullptr ? settings->find(name, parameterIndex_) : nullptr;
}

namespace {

template <typename T>
double rangeOf(const Parameter& parameter) {
    const auto* const value = dynamic_cast<const ParameterValue<T>*>(&parameter);
    return value == nullptr ? 0.0
                            : std::abs(static_cast<double>(value->getMaximum()) -
                                       static_cast<double>(value->getMinimum()));
}

}  // namespace

double Control::normalisedStep(const Parameter& parameter) {
    constexpr double LeastStep = 1.1920928955078125e-07;
    double step = parameter.getStep();
    if (const double range = rangeOf<float>(parameter); range > 0.0)
        step /= range;
    else if (const double integers = rangeOf<std::int32_t>(parameter);
             integers > 0 && (step >= 1.0 || step <= 0.0))
        step = std::max(step, 1.0) / integers;  // of its own it is a part of the range already
    return step > LeastStep ? std::min(step, 1.0) : 0.0;
}

std::string Control::shownValue(const Parameter& parameter) {
    if (dynamic_cast<const ParameterValue<bool>*>(&parameter) != nullptr)
        return parameter.getNormalised() >= 0.5f ? "on" : "off";
    const std::string unit = parameter.getUnit();
    return parameter.getText() + (unit.empty() ? "" : " " + unit);
}

std::string Control::getTooltip() const {
    const Parameter* const parameter = testFlags(ShowValue) ? getParameter() : nullptr;
    if (parameter == nullptr)
        return tooltip_;
    const std::string value = shownValue(*parameter);
    return tooltip_.empty() ? value : tooltip_ + " = " + value;
}

// Place and state

void Control::addChild(std::unique_ptr<Control> child) {
    child->parentControl_ = this;
    child->zorder_ = std::min(child->zorder_, zorder_ - 1);
    children_.push_back(child.release());
    children_.back()->positionChanged();
}

void Control::addChildBeneath(std::unique_ptr<Control> child, const Control& above) {
    addChild(std::move(child));
    const auto place = std::find(children_.begin(), children_.end(), &above);
    std::rotate(place, std::prev(children_.end()), children_.end());
}

void Control::raiseChild(const Control& child) {
    const auto from = std::find(children_.begin(), children_.end(), &child);
    const auto to = std::find_if(from, children_.end(), [&child](const Control* other) {
        return other->zorder_ > child.zorder_;
    });
    if (from != to)
        std::rotate(from, std::next(from), to);
}

std::unique_ptr<Control> Control::takeChild(const Control& child) {
    const auto place = std::find(children_.begin(), children_.end(), &child);
    if (place == children_.end())
        return nullptr;
    std::unique_ptr<Control> taken(*place);
    children_.erase(place);
    taken->parentControl_ = nullptr;
    taken->positionChanged();
    if (growsWithChildren())
        positionChanged();
    return taken;
}

Rect Control::getRect() const {
    return isShownSmall() ? thumbnailRect_ : rect_;
}

bool Control::isShownSmall() const {
    return testFlags(ThumbnailMode) && !thumbnailRect_.isEmpty();
}

bool Control::isInSmallForm() const {
    return isShownSmall() || (parentControl_ != nullptr && parentControl_->isInSmallForm());
}

Rect Control::getLocalRect() const {
    return atOrigin(getRect());
}

void Control::positionChanged() {
    isAbsoluteStale_ = true;
    for (Control* const child : children_)
        if (!child->isAbsoluteStale_)
            child->positionChanged();
    if (parentControl_ != nullptr && parentControl_->growsWithChildren() &&
        !parentControl_->isAbsoluteStale_)
        parentControl_->positionChanged();
}

Point Control::getVisibleExtent(Point /*point*/) const {
    return {getRect().width(), getRect().height()};
}

Rect Control::getAbsoluteRect() const {
    if (!isAbsoluteStale_)
        return absoluteRect_;
    absoluteRect_ = getRect();
    if (parentControl_ != nullptr) {
        const Rect above = parentControl_->getAbsoluteRect();
        absoluteRect_ = absoluteRect_.movedBy(parentControl_->getAbsoluteOrigin());
        if (parentControl_->isInSmallForm())
            absoluteRect_ = above;
        else if (absoluteRect_.hasArea())
            absoluteRect_ = absoluteRect_.intersectedWith(above);
    }
    isAbsoluteStale_ = false;
    return absoluteRect_;
}

Point Control::getAbsoluteOrigin() const {
    Point origin;
    for (const Control* control = this; control != nullptr; control = control->parentControl_)
        origin = origin + control->getRect().topLeft();
    return origin;
}

void Control::setPosition(const Rect& rect) {
    if (isVisible())
        editor_.redraw(getAbsoluteRect());
    rect_ = rect;
    positionChanged();
    if (isVisible())
        editor_.redraw(getAbsoluteRect());
}

void Control::setSize(const Rect& rect) {
    if (rect.width() == rect_.width() && rect.height() == rect_.height())
        return;
    setPosition(atOrigin(rect).movedBy(rect_.topLeft()));
    for (Control* const strip : {attachedHorizontal_, attachedVertical_})
        if (strip != nullptr)
            strip->setSize(strip == attachedHorizontal_
                               ? Rect{0, 0, rect.width(), strip->rect_.height()}
                               : Rect{0, 0, strip->rect_.width(), rect.height()});
    setDirty(true);
}

void Control::setFlags(std::uint32_t flags, bool on) {
    const std::uint32_t changed = on ? flags_ | flags : flags_ & ~flags;
    const bool isRedrawn = (flags & RedrawnFlags) != 0 && changed != flags_;
    if (isRedrawn)
        setDirty(true);  // where it is now
    flags_ = changed;
    if (isRedrawn) {
        positionChanged();
        flags_ &= ~Dirty;  // a mark that a hidden control kept would hide the next one
        setDirty(true);
        editor_.followKeyboard();
    }
}

bool Control::testFlags(std::uint32_t flags, Inheritance inheritance) const {
    const bool own = (flags_ & flags) == flags;
    if (inheritance == Inheritance::Own || parentControl_ == nullptr)
        return own;
    if (inheritance == Inheritance::AllAncestors)
        return own && parentControl_->testFlags(flags, inheritance);
    return own || parentControl_->testFlags(flags, inheritance);
}

bool Control::isTranslucent() const {
    return testFlags(Translucent, Inheritance::AnyAncestor) ||
           !testFlags(Enabled, Inheritance::AllAncestors);
}

void Control::setDirty(bool isDirty) {
    if (isDirty == testFlags(Dirty) || !editor_.isOpen() || !isVisible())
        return;
    if (isDirty)
        editor_.redraw(getAbsoluteRect());
    flags_ = isDirty ? flags_ | Dirty : flags_ & ~Dirty;
}

void Control::setVisible(bool isVisible) {
    if (!thumbnailRect_.isEmpty()) {
        setFlags(ThumbnailMode, !isVisible);
        return;
    }
    if (isVisible == testFlags(Visible))
        return;
    if (fadeAnimation_)
        fadeAnimation_->Timer::stop(false);
    setFlags(Visible, isVisible);
}

void Control::setOpacity(float opacity) {
    opacity_ = opacity > 0.0f ? std::min(opacity, 1.0f) : 0.0f;
    if (fadeAnimation_)
        fadeAnimation_->Timer::stop(false);
    setFlags(Translucent, opacity_ < OpaqueFrom);
    setDirty(true);
}

float Control::getOpacity() const {
    return testFlags(Enabled) ? opacity_ : DisabledOpacity;
}

void Control::setFrameColor(const Color& color) {
    frameColor_ = color;
    setDirty(true);
}

void Control::setFont(const Font& font) {
    font_ = font;
    setDirty(true);
}

// Pointer

bool Control::canTakePointer() const {
    return testFlags(Draggable) || testFlags(Focusable) || !thumbnailRect_.isEmpty();
}

bool Control::hitTest(Point point) const {
    if (!getLocalRect().contains(point))
        return false;
    return !backgroundBitmap_ || testFlags(Opaque) || backgroundBitmap_->isOpaqueAt(toFull(point));
}

Point Control::toFull(Point point) const {
    if (!isShownSmall())
        return point;
    const Rect shown = getRect();
    return {scaled(point.x, rect_.width(), shown.width()),
            scaled(point.y, rect_.height(), shown.height())};
}

Control* Control::findBelow(Point point, Control* (Control::*find)(Point)) const {
    const Point inside = toFull(point);
    for (auto child = children_.rbegin(); child != children_.rend(); ++child)
        if (Control* const found = ((*child)->*find)(inside - (*child)->getRect().topLeft()))
            return found;
    return nullptr;
}

Control* Control::findControlAt(Point point) {
    if (!hitTest(point) || !isVisible() || !testFlags(Enabled) || testFlags(ClickThrough))
        return nullptr;
    if (isShownSmall())
        return this;  // a press anywhere in it opens it
    if (Control* const found = findBelow(point, &Control::findControlAt))
        return found;
    if (!canTakePointer())
        return nullptr;
    for (Control* const strip : {attachedHorizontal_, attachedVertical_})
        if (strip != nullptr)
            if (Control* const found =
                    strip->findControlAt(point + getRect().topLeft() - strip->getRect().topLeft()))
                return found;
    return this;
}

Control* Control::findDropTargetAt(Point point) {
    if (!hitTest(point) || !isVisible())
        return nullptr;
    Control* const found = findBelow(point, &Control::findDropTargetAt);
    return found != nullptr ? found : this;
}

void Control::buildContextMenu(PopupMenu& menu, Point position) {
    Parameter* const parameter = getParameter();
    if (parameter != nullptr && parameter->hasFlag(Parameter::Automatable) && testFlags(Learn))
        addMidiEntries(menu, *parameter);
    if (parentControl_ != nullptr)
        parentControl_->buildContextMenu(menu, position + getRect().topLeft());
}

void Control::addMidiEntries(PopupMenu& menu, Parameter& parameter) {
    const MidiMapper<Parameter*>& mapper = editor_.instance().getMidiMapper();
    const std::int32_t controller = mapper.getController(&parameter);
    const auto entry = [this](std::int32_t id, const std::string& text, bool isChecked = false) {
        return PopupMenuEntry::of(this, id, text, isChecked);
    };
    menu.addEntry(entry(StartLearning, "Learn..."));
    if (controller >= 0) {
        menu.addEntry(entry(Forget, "Forget (" + midi::getControllerText(controller) + ")"));
    } else {
        PopupMenuEntry nothing = entry(NothingToForget, "Forget");
        nothing.flags = PopupMenuEntry::Disabled;
        menu.addEntry(std::move(nothing));
    }
    PopupMenu& controllers = menu.addSubMenu(entry(NothingToForget, "MIDI Controllers"));
    for (std::int32_t i = 0; i < midi::ControllerCount; ++i)
        if (const char* const name = midi::getControllerName(i))
            controllers.addEntry(entry(FirstController + i, name, i == controller));
    PopupMenu& ranges = menu.addSubMenu(entry(RangeMenu, "MIDI Range"));
    if (crossesZero(parameter)) {
        static constexpr const char* Names[] = {"Positive", "Full", "Negative"};
        const std::int32_t present = mapper.getRange(controller);
        for (std::int32_t range = 0; range < 3; ++range)
            ranges.addEntry(entry(FirstRange + range, Names[range], range == present));
        ranges.addSeparator();
    }
    ranges.addEntry(entry(Invert, "Invert", mapper.isInverted(controller)));
}

// Drawing

void Control::draw(Canvas& canvas, const Rect& rect) {
    if (!isVisible())
        return;
    const Rect shown = getLocalRect();
    const Rect clip = rect.intersectedWith(shown);
    canvas.pushChild();
    if (!clip.isEmpty()) {
        canvas.setClip(clip);
        const bool isSmall = isShownSmall();
        if (isSmall || getOpacity() < OpaqueFrom) {
            const Rect part = isSmall ? atOrigin(rect_) : clip;
            Canvas child(canvas, part);
            drawContent(child, part);
            canvas.setGlobalAlpha(isSmall ? 1.0f : getOpacity());
            canvas.copyFrom(child, part, isSmall ? shown : clip);
            canvas.restoreAlpha();
        } else {
            drawContent(canvas, clip);
        }
    }
    if (testFlags(DropHighlight))
        drawFrame(canvas, Color::fromBytes(255, 190, 50, 255));
    else if (!frameColor_.isNone())
        drawFrame(canvas, frameColor_);
    if (editor_.showsKeyboardOn(*this))
        drawKeyboardFrame(canvas);
    canvas.popChild();
    setDirty(false);
    if (testFlags(AlwaysDirty))
        setDirty(true);
}

bool Control::hidesGround() const {
    const bool isFilled =
        !backgroundBitmap_ && !backgroundColor_.isNone() && backgroundColor_.getAlpha() >= 1.0f;
    return isVisible() && !isShownSmall() && getOpacity() >= OpaqueFrom &&
           (isFilled || coversBackground());
}

void Control::drawContent(Canvas& canvas, const Rect& clip) {
    // Images are drawn whole and cut by the clip: a part's edges could lie between two pixels.
    const Rect whole = isShownSmall() ? atOrigin(rect_) : getLocalRect();
    if (backgroundBitmap_) {
        canvas.drawBitmap(*backgroundBitmap_, whole, whole);
    } else if (!backgroundColor_.isNone() && !coversBackground()) {
        canvas.setFillColor(backgroundColor_);
        canvas.fillRect(whole);
    }
    if (glowBitmap_ && fadeLevel_ > 0.0f) {
        canvas.setGlobalAlpha(fadeLevel_);
        canvas.drawBitmap(*glowBitmap_, whole, whole);
        canvas.restoreAlpha();
    }
    drawBackground(canvas, clip);
    forEachShownChild(canvas, clip,
                      [&canvas](Control& child, const Rect& part) { child.draw(canvas, part); });
    drawForeground(canvas, clip);
    forEachShownChild(canvas, clip, [&canvas](Control& child, const Rect& part) {
        if (child.isVisible())
            child.drawTop(canvas, part);
    });
    constexpr float OverlayColorOpacity = 0.5f;
    if (overlayBitmap_ || !overlayColor_.isNone()) {
        canvas.setGlobalAlpha(overlayBitmap_ ? overlayOpacity_ : OverlayColorOpacity);
        canvas.setFillColor(overlayColor_);
        if (overlayBitmap_)
            canvas.drawBitmap(*overlayBitmap_, whole, whole);
        else
            canvas.fillRect(whole);
        canvas.restoreAlpha();
    }
}

template <typename Visit>
void Control::forEachShownChild(Canvas& canvas, const Rect& clip, Visit visit) const {
    for (Control* const child : children_) {
        const Rect rect = child->getRect();
        const bool isFree = child->clipMode_ == Unclipped;
        const Rect shown = isFree ? rect : rect.intersectedWith(clip);
        if (!shown.hasArea())
            continue;
        canvas.pushChild();
        canvas.offsetOrigin(rect.topLeft());
        const Rect part = shown.movedBy(-rect.topLeft());
        canvas.setClip(part);
        visit(*child, part);
        canvas.popChild();
    }
}

void Control::drawFrame(Canvas& canvas, const Color& color) const {
    strokeRounded(canvas, getLocalRect(), FrameCorner, color);
}

// Two pixels wide. Inside, so that whatever draws the control anew draws the frame too, and what
// stands above the control stands above the frame.
void Control::drawKeyboardFrame(Canvas& canvas) const {
    const Rect rect = getLocalRect();
    if (!rect.hasArea())
        return;
    const std::int32_t corner = std::min({FrameCorner, rect.width() - 1, rect.height() - 1});
    const Rect inside{rect.left + 1, rect.top + 1, rect.right - 1, rect.bottom - 1};
    strokeRounded(canvas, rect, corner, editor_.getFocusColor());
    if (inside.hasArea())
        strokeRounded(canvas, inside, std::max(corner - 2, 0), editor_.getFocusColor());
}

void Control::drawText(Canvas& canvas, const Rect& rect, const std::string& text,
                       std::int32_t alignment) const {
    if (!alphabet_) {
        canvas.selectFont(font_);
        canvas.setTextColor(textColor_);
        canvas.drawText(text, rect, alignment);
        return;
    }
    canvas.drawBitmapText(*alphabet_, rect, inCaseOf(*alphabet_, text));
}

std::string Control::fitted(const std::string& text, std::int32_t width) const {
    if (measureText(text).x <= width)
        return text;
    constexpr std::size_t MostLetters = 1024;
    std::vector<std::size_t> ends;  // where a letter begins, which is where it can be cut
    for (std::size_t i = 0; i < text.size() && ends.size() < MostLetters; ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80)
            ends.push_back(i);
    const auto cut = [&text](std::size_t end) { return text.substr(0, end) + "\u2026"; };
    const auto tooLong = std::partition_point(ends.begin(), ends.end(), [&](std::size_t end) {
        return measureText(cut(end)).x <= width;
    });
    return tooLong == ends.begin() ? std::string() : cut(*std::prev(tooLong));
}

Point Control::measureText(const std::string& text) const {
    if (!alphabet_) {
        const Canvas* const shown = editor_.getCanvas();
        const Rect size =
            Canvas::measureText(font_, text, shown != nullptr ? shown->getDeviceScale() : 1.0);
        return {size.right, size.bottom};
    }
    const std::u32string glyphs = lettersOf(alphabet_->getGlyphs());
    const std::u32string letters = lettersOf(inCaseOf(*alphabet_, text));
    const std::int64_t shown = std::count_if(
        letters.begin(), letters.end(),
        [&glyphs](char32_t letter) { return glyphs.find(letter) != std::u32string::npos; });
    const Point frame = alphabet_->getFrameSize();
    constexpr std::int64_t Widest = std::numeric_limits<std::int32_t>::max() / 2;
    return {static_cast<std::int32_t>(std::min<std::int64_t>(Widest, shown * frame.x)), frame.y};
}

}  // namespace tarn
