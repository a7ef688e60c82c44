#include "editor/Editor.h"

#include "audio/Engine.h"
#include "audio/Module.h"
#include "diagnostics/System.h"
#include "drawing/FontLibrary.h"
#include "editor/Control.h"
#include "editor/ControlBlur.h"
#include "editor/ControlCPUMeter.h"
#include "editor/ControlDebugInfo.h"
#include "editor/ControlHelp.h"
#include "editor/ControlInfo.h"
#include "editor/ControlManager.h"
#include "editor/ControlText.h"
#include "editor/ControlValue.h"
#include "editor/Window.h"
#include "foundation/Dictionary.h"
#include "foundation/File.h"
#include "foundation/Logger.h"
#include "foundation/Message.h"
#include "foundation/Preferences.h"
#include "foundation/ProductIdentity.h"
#include "parameters/MidiMapper.h"
#include "parameters/Parameter.h"
#include "parameters/Preset.h"
#include "parameters/Program.h"
#include "parameters/Settings.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/Dialogs.h"
#include "plugin/Mission.h"
#include "plugin/Plugin.h"
#include "plugin/PluginInfo.h"
#include "resources/Resources.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cmath>
#include <exception>
#include <mutex>
#include <utility>

namespace tarn {

namespace {

constexpr std::size_t QueuedMessages = 1024;
constexpr std::size_t MostControls = 10'000;
constexpr std::int32_t StatusHeight = 12;
constexpr std::int32_t MostSideLength = 8'192;  // of the interface, in the skin's pixels

// The numbers of the menu's own entries.
constexpr std::int32_t ShowTooltipsId = 1004;
constexpr std::int32_t SkinsId = 1009;
constexpr std::int32_t SizesId = 1010;
constexpr std::int32_t FirstSizeId = 1020;
constexpr std::int32_t FirstSkinId = 1100;

// What a preset holds is its module's.
constexpr std::uint32_t KeptByPrograms = Parameter::ModuleScope | Parameter::ProgramScope;

constexpr std::int32_t HighestRedrawRate = 1'000;
Word<std::int32_t> redrawRate{25};

// In percent; the first one is the screen's own.
constexpr std::array<std::int32_t, 5> OfferedSizes = {0, 100, 150, 200, 300};
constexpr std::int32_t SmallestSize = 50;
constexpr std::int32_t LargestSize = 400;
constexpr float LargestScreenScale = 3.0f;

// What this thread is saying, innermost.
thread_local const Editor::Speaking* speaking = nullptr;

const char* const BoxFamily = "Inter";
const char* const ScaleKey = "EditorScale";
const char* const ShowCpuMetersKey = "ShowCPUMeters";
const char* const SubmitDiagnosticsKey = "SubmitDiagnostics";
const char* const BackgroundId = "special::background";
const char* const HelpId = "special::help";
const char* const TextDisplayId = "special::textdisplay";
const char* const ControlsKey = "controls";
const char* const CurrentModuleId = "CurrentModule";

// By how bright the eye finds the three colours.
bool isDark(const Color& color) {
    return 0.299f * color.getRed() + 0.587f * color.getGreen() + 0.114f * color.getBlue() < 0.5f;
}

// In percent, as the user wants it; 0 for the screen's own.
std::int32_t chosenSize() {
    std::int32_t percent = 0;
    if (const Preferences* const user = Preferences::user())
        user->getInteger(ScaleKey, percent);
    return percent >= SmallestSize && percent <= LargestSize ? percent : 0;
}

// Of a part of the interface's work, with the meter's own pair of operations.
class Metering {
public:
    using Step = void (CPUMeter::*)() noexcept;
    Metering(CPUMeter* meter, Step begin, Step end) : meter_(meter), end_(end) {
        if (meter_ != nullptr)
            (meter_->*begin)();
    }
    Metering(const Metering&) = delete;
    Metering& operator=(const Metering&) = delete;
    ~Metering() {
        if (meter_ != nullptr)
            (meter_->*end_)();
    }

private:
    CPUMeter* meter_;
    Step end_;
};

bool isPreferred(const char* preference) {
    bool isOn = false;
    if (const Preferences* const user = Preferences::user())
        user->getBool(preference, isOn);
    return isOn;
}

}  // namespace

Editor::Editor(Plugin& plugin, Module* module, Resources* resources)
    : DragDropTarget(&plugin),
      manager_(PluginInfo::get().createControlManager(*this)),
      plugin_(plugin),
      module_(module),
      resources_(resources),
      interfaceThread_(std::this_thread::get_id()),
      undo_(plugin, *this),
      info_(std::make_unique<ControlInfo>(*this)),
      queue_(QueuedMessages) {
    tuneIn(&plugin_);
    if (resources_ != nullptr)
        tuneIn(resources_);
    tuneInByName(CurrentModuleId);
    followPrograms(true);
    platform::setDialogOwner(&Editor::dialogOwner);
}

Editor::~Editor() {
    letGo();
    disconnect();
    life_.reset();
    pendingSkin_.clear();
    isReloadDue_ = false;
    close();
    deleteControls();
    info_.reset();
    queue_.purge(this);
}

Editor::Speaking::Speaking(Editor& editor) noexcept
    : call_(editor.plugin_.calls()),
      editor_(editor),
      life_(editor.life_),
      before_(std::exchange(speaking, this)) {}

Editor::Speaking::~Speaking() {
    speaking = before_;
}

void* Editor::dialogOwner() noexcept {
    const bool isThere = speaking != nullptr && !speaking->life_.expired();
    return isThere && speaking->editor_.window_ ? speaking->editor_.window_->getHandle() : nullptr;
}

bool Editor::isInterfaceThread() const noexcept {
    return interfaceThread_.get() == std::this_thread::get_id();
}

std::int32_t Editor::getRedrawRate() noexcept {
    return redrawRate;
}

void Editor::start() {
    if (const Preferences* const user = Preferences::user()) {
        bool isShown = true;
        if (user->getBool("ShowEditor", isShown) && !isShown)
            return;
        if (std::int32_t rate = 0; user->getInteger("EditorRedrawRate", rate) && rate > 0)
            redrawRate = std::min(rate, HighestRedrawRate);
        if (std::int32_t mode = 0;
            user->getInteger("KnobMode", mode) && mode >= Linear && mode <= CircularRelative)
            knobMode_ = mode;
        user->getBool("ShowTooltips", showTooltips_);
        user->getBool("ReloadSkin", reloadsSkin_);
    }
    loadSkinControls();
    logLine(LogProgress, "editor constructed");
}

// Controls

File Editor::controlsFile() const {
    std::string name = "Controls.xml";
    if (Preferences::user() != nullptr)
        Preferences::user()->getString("ControlsXmlFile", name);
    return resources_->findSkinFile(name);
}

bool Editor::canLoadSkin() {
    try {
        if (resources_ == nullptr || !loadControls(controlsFile()).isOk())
            return false;
        shownSkin_ = resources_->getCurrentSkin();
        if (rootControl_ != nullptr)
            return true;
        logLine(LogError, "there is no control %s", BackgroundId);
    } catch (const Error& error) {
        logError(LogError, error);
    } catch (const std::exception& error) {
        logLine(LogError, std::string_view(error.what()));
    }
    return false;
}

// Without the default skin no interface would be left in which to choose another one.
void Editor::loadSkinControls() {
    if (canLoadSkin())
        return;
    if (resources_ != nullptr) {
        const std::string broken = resources_->getCurrentSkin();
        resources_->useDefaultSkin();
        if (resources_->getCurrentSkin() != broken && canLoadSkin()) {
            System::alert("The skin \"" + resources_->getSkin(broken).getName() +
                              "\" can't be shown. The default one is shown instead.",
                          true);
            return;
        }
    }
    Mission::get().alertOnce(PluginInfo::get().getTexts().controlsFailed);
}

// Not those of an editor that has no controls of a skin's.
void Editor::takeChoices() {
    if (isOpen_)
        return;
    isReloadDue_ = resources_ != nullptr && rootControl_ != nullptr &&
                   (isPreferred(ShowCpuMetersKey) != showsCpuMeters_ ||
                    resources_->getCurrentSkin() != shownSkin_);
    takePendingChoices();
}

void Editor::takePendingChoices() {
    if ((pendingSkin_.empty() && !isReloadDue_) || dispatching_ > 0 || isOpen_)
        return;
    isReloadDue_ = false;
    const std::string skin = std::exchange(pendingSkin_, {});
    deleteControls();
    if (!skin.empty())
        resources_->setCurrentSkin(skin);
    loadSkinControls();
}

Error Editor::loadControls(const File& file) {
    logLine(LogProgress, "loading editor specification from " + file.getPath());
    deleteControls();
    showsCpuMeters_ = isPreferred(ShowCpuMetersKey);
    controlsStamp_ = file.getChangeStamp();
    try {
        readControls(file, nullptr);
    } catch (const ErrorImportFailed& error) {
        logError(LogError, error);
        return error;
    } catch (...) {
        deleteControls();
        throw;
    }
    return NoError();
}

void Editor::readControls(const File& file, Dictionary::Fault* fault) {
    Dictionary dictionary;
    std::string text;
    if (!file.exists() || !file.contents(text, Dictionary::MaxTextBytes) ||
        !dictionary.parseWhole(text, fault) || !dictionary.getArray(ControlsKey))
        throw ErrorImportFailed("Editor::loadControls", file.getPath());
    buildControls(dictionary, nullptr);
    for (Control* const whole : {rootControl_, backgroundControl_})
        if (whole != nullptr)
            whole->setFlags(Control::Opaque);
    isFirstTree_ = false;
    makeBlur();
    initialize();
    followShowTooltips();
}

void Editor::swapTree(Tree& other) {
    std::swap(topLevelControls_, other.all);
    std::swap(roots_, other.roots);
    std::swap(rootControl_, other.root);
    std::swap(backgroundControl_, other.background);
    std::swap(helpControl_, other.help);
    std::swap(blurControl_, other.blur);
    std::swap(restingBlur_, other.restingBlur);
    std::swap(clientRect_, other.client);
    std::swap(statusRect_, other.status);
    std::swap(focusColor_, other.focus);
}

void Editor::followFiles() {
    constexpr int TicksBetween = 4;
    // Not under a control that is shown something, held, or has a menu or a box.
    if (!reloadsSkin_ || shownMenu_ != nullptr || isEditing_ || resources_ == nullptr ||
        dispatching_ > 1 || isMouseHeld_ || ++ticksToReload_ < TicksBetween)
        return;
    ticksToReload_ = 0;
    const std::string broken = resources_->reloadImages();
    if (broken != std::exchange(brokenImage_, broken)) {
        info_->removeLines(this);
        if (!broken.empty())
            info_->setLine(ControlInfo::PriorityCount - 1, this, broken + " can't be shown");
    }
    const File file = controlsFile();
    const std::int64_t stamp = file.getChangeStamp();
    if (stamp != std::exchange(controlsStamp_, stamp))
        reloadControls(file);
}

// The new tree is built aside: where that fails, the former one stays.
void Editor::reloadControls(const File& file) {
    endCapture();
    setFocus(nullptr);
    keyboard_.give(nullptr, KeyboardFocus::Look::Hidden);
    leaveHover(WindowMessage(this, WindowMessage::MouseMove, nullptr, lastMouse_, 0));
    modals_.clear();
    followModals();
    info_->setDisplay(nullptr);
    info_->removeLines(resources_);
    Tree former;
    swapTree(former);
    Dictionary::Fault fault;
    builtLine_ = 0;
    try {
        readControls(file, &fault);
        if (rootControl_ == nullptr)
            fault.what = std::string("there is no control ") + BackgroundId;
    } catch (const Error& error) {
        if (fault.what.empty())
            fault = {error.what(), builtLine_};
    } catch (const std::exception& error) {
        fault = {error.what(), builtLine_};
    }
    if (!fault.what.empty()) {
        deleteControls();
        swapTree(former);
        const std::string line = fault.line > 0 ? ", line " + std::to_string(fault.line) : "";
        info_->setLine(ControlInfo::PriorityCount - 1, resources_,
                       file.getName() + line + ": " + fault.what);
    }
    swapTree(former);
    deleteControls();
    swapTree(former);
    followShowTooltips();
    for (Control* const control : topLevelControls_) {
        takeSpecial(*control);
        control->refresh();
    }
    // All of the window, which is as large as the former tree was.
    addDirtyRect({0, 0, MostSideLength, MostSideLength});
}

void Editor::buildControls(const Dictionary& dictionary, Control* parent) {
    const auto list = dictionary.getArray(ControlsKey);
    const std::int32_t count = list ? list->count({}) : 0;
    for (std::int32_t i = 0; i < count; ++i) {
        const auto element = list->getEntry(i);
        if (!element || !element->isElement())
            continue;
        builtLine_ = element->getLine();
        std::unique_ptr<Control> made = manager_->createFromDictionary(*element);
        if (!made)
            continue;
        if (topLevelControls_.size() >= MostControls)
            throw GeneralError("Editor::buildControls", "too many controls");
        Control& control = *made;
        if (parent != nullptr)
            parent->addChild(std::move(made));
        else
            roots_.push_back(std::move(made));
        control.importDictionary(*element);
        if (control.getControlId() == BackgroundId)
            takeBackground(control, *element);
        takeSpecial(control);
        if (auto* const value = dynamic_cast<ControlValue*>(&control); value && isFirstTree_)
            takeDefaults(*value, *element);
        addControl(&control);
        buildControls(*element, &control);
    }
}

void Editor::takeBackground(Control& control, const Dictionary& element) {
    backgroundControl_ = rootControl_ = &control;
    if (showsCpuMeters_)
        addDebugControls(control);
    const Rect rect = rootControl_->getRect();
    clientRect_ = {0, 0, std::min(rect.width(), MostSideLength),
                   std::min(rect.height(), MostSideLength)};
    statusRect_ = {0, 0, clientRect_.right, StatusHeight};
    info_->setPosition(statusRect_);
    focusColor_ = highlightColor_;
    if (std::string text; element.getString("focuscolor", text))
        focusColor_.parse(text);
    logLine(LogProgress, "plugin size is %dx%d", static_cast<int>(clientRect_.width()),
            static_cast<int>(clientRect_.height()));
}

// In the background's place, around it.
void Editor::addDebugControls(Control& background) {
    logLine(LogProgress, "adding debug controls...");
    auto debug = std::make_unique<ControlDebugInfo>(
        *this, std::array{&plugin_.getCpuMeter(Plugin::AudioSection), &paintMeter_,
                          &plugin_.getCpuMeter(Plugin::MidiSection), &tickMeter_});
    logLine(LogProgress, "attaching performance meters...");
    rootControl_ = debug.get();
    addControl(debug.get());
    for (ControlCPUMeter* const row : debug->rows())
        addControl(row);
    if (Control* const parent = background.getParentControl()) {
        debug->wrap(parent->takeChild(background));
        parent->addChild(std::move(debug));
    } else {
        std::unique_ptr<Control>& root =
            *std::find_if(roots_.begin(), roots_.end(),
                          [&background](const auto& each) { return each.get() == &background; });
        debug->wrap(std::move(root));
        root = std::move(debug);
    }
}

// What a skin begins with. A later skin leaves what the user has set meanwhile.
void Editor::takeDefaults(ControlValue& control, const Dictionary& element) {
    std::int32_t controller = 0;
    if (!element.getInteger("midi", controller))
        return;
    Parameter* const parameter = control.getParameter();
    if (parameter != nullptr && parameter->hasFlag(Parameter::Automatable) && controller >= 0 &&
        controller < midi::ControllerCount)
        plugin_.getMidiMapper().bind(controller, parameter);
    if (float position = 0.0f; element.getFloat("defval", position))
        control.setPosition(position);
}

void Editor::takeSpecial(Control& control) {
    if (control.getControlId() == HelpId)
        helpControl_ = dynamic_cast<ControlHelp*>(&control);
    else if (control.getControlId() == TextDisplayId)
        info_->setDisplay(dynamic_cast<ControlText*>(&control));
}

void Editor::deleteControls() {
    endCapture();
    info_->setDisplay(nullptr);
    if (helpControl_ != nullptr)
        helpControl_->stop();
    helpControl_ = nullptr;
    modals_.clear();
    followModals();
    restingBlur_.reset();
    rootControl_ = backgroundControl_ = nullptr;
    for (auto root = roots_.rbegin(); root != roots_.rend(); ++root) {
        (*root)->shutdown();
        root->reset();
    }
    roots_.clear();
    topLevelControls_.clear();
    clientRect_ = statusRect_ = {};
}

void Editor::addControl(Control* control) {
    topLevelControls_.push_back(control);
}

void Editor::removeControl(Control* control) {
    std::erase(topLevelControls_, control);
}

void Editor::initialize() {
    if (rootControl_ != nullptr)
        rootControl_->initialize();
    info_->initialize();
}

void Editor::makeBlur() {
    if (backgroundControl_ == nullptr)
        return;
    auto blur = std::make_unique<ControlBlur>(*this);
    blur->setPosition(clientRect_);
    blur->setOpacity(1.0f);
    blur->setFlags(Control::Focusable);
    blurControl_ = blur.get();
    restingBlur_ = std::move(blur);
}

void Editor::enterModal(Control& dialog) {
    std::erase(modals_, &dialog);
    modals_.push_back(&dialog);
    followKeyboard();
    followModals();
}

Control* Editor::getDialog() const {
    const auto front = std::find_if(modals_.rbegin(), modals_.rend(), [](const Control* dialog) {
        return dialog->isVisible() && dialog->getParentControl() != nullptr;
    });
    return front != modals_.rend() ? *front : nullptr;
}

// However a dialog was hidden, the blur goes with it.
void Editor::followModals() {
    std::erase_if(modals_, [](const Control* dialog) {
        return !dialog->isVisible() || dialog->getParentControl() == nullptr;
    });
    Control* const front = modals_.empty() ? nullptr : modals_.back();
    if (front == blurredFor_ || blurControl_ == nullptr)
        return;
    blurredFor_ = front;
    // The pointer may be on the blur, which goes without a move.
    if (front == nullptr && captureControl_ == blurControl_)
        endCapture();
    if (front == nullptr && hoverControl_ == blurControl_) {
        const WindowMessage exit(this, WindowMessage::MouseExit, nullptr, lastMouse_, 0);
        leaveHover(exit);
    }
    if (Control* const parent = blurControl_->getParentControl())
        restingBlur_ = parent->takeChild(*blurControl_);
    if (front != nullptr) {
        Control& parent = *front->getParentControl();
        blurControl_->setPosition(clientRect_.movedBy(-parent.getAbsoluteOrigin()));
        blurControl_->grabAnew();
        parent.raiseChild(*front);
        parent.addChildBeneath(std::move(restingBlur_), *front);
    }
    redrawAll();
}

void Editor::forget(Control& control) {
    queue_.purge(&control);
    removeControl(&control);
    std::erase(modals_, &control);
    keyboard_.forget(control);
    if (undo_.isEditing(&control))
        endEdit(control, lastMouse_);
    undo_.forget(control);
    if (info_)
        info_->forget(control);
    if (helpControl_ == &control)
        helpControl_ = nullptr;
    else if (helpControl_ != nullptr)
        helpControl_->forget(control);
    if (blurControl_ == &control)
        blurControl_ = nullptr;
    for (Control** const known :
         {&rootControl_, &backgroundControl_, &hoverControl_, &hoverCandidate_, &captureControl_,
          &focusRequest_, &focusControl_, &editedControl_, &blurredFor_})
        if (*known == &control)
            *known = nullptr;
    for (PopupMenu* const menu : {pendingMenu_.get(), shownMenu_})
        if (menu != nullptr)
            menu->forget(&control);
}

void Editor::setModule(std::int32_t index) {
    if (Module* const module = plugin_.moduleAt(index)) {
        followPrograms(false);
        module_ = module;
        currentModule_ = index;
        followPrograms(true);
        if (rootControl_ != nullptr)
            rootControl_->setRadioHost(module);
        info_->setRadioHost(module);
    }
}

// What belongs to programs, of the module that is shown.
void Editor::followPrograms(bool isFollowing) {
    if (module_ == nullptr)
        return;
    for (const auto& parameter : module_->settings().getParameters()) {
        if (!parameter->inScope(KeptByPrograms))
            continue;
        if (isFollowing)
            tuneIn(parameter.get());
        else
            tuneOut(parameter.get());
    }
}

void Editor::tellProgram(ParameterMessage& change) const {
    const bool isEdit = change.mode == FromUser || change.mode == FromLoad;
    if (!isEdit || module_ == nullptr)
        return;
    // By its name: of what was queued, the sender isn't known any more.
    const Parameter* const parameter =
        module_->settings().find(change.parameterName, change.cloneNumber);
    if (parameter == nullptr || !parameter->inScope(KeptByPrograms))
        return;
    const auto held = plugin_.hold();
    const Preset* const preset = plugin_.getCurrent();
    if (Program* const program = preset != nullptr ? preset->getProgram(currentModule_) : nullptr)
        program->receive(change);
}

std::shared_ptr<Bitmap> Editor::getBitmap(const std::string& id) const {
    return resources_ != nullptr ? resources_->getBitmap(id) : nullptr;
}

// The window

float Editor::getScale() const {
    if (canvas_)
        return canvas_->getDeviceScale();
    if (const std::int32_t percent = chosenSize(); percent != 0)
        return static_cast<float>(percent) / 100.0f;
    return std::clamp(platform::screenScale(), 1.0f, LargestScreenScale);
}

Point Editor::getScreenSize() const {
    const float scale = getScale();
    return {toScreenPixels(clientRect_.width(), scale),
            toScreenPixels(clientRect_.height(), scale)};
}

void Editor::setSize(std::int32_t percent) {
    if (Preferences* const user = Preferences::user())
        if (const Error error = user->setInteger(ScaleKey, percent); !error.isOk())
            logError(LogError, error);
}

bool Editor::open(void* parent, const Rect& rect, float scale) {
    close();
    takeChoices();
    interfaceThread_ = std::this_thread::get_id();
    const Rect place = rect.hasArea() ? rect : clientRect_;
    const Rect area{0, 0, place.width(), place.height()};
    canvas_ = std::make_unique<Canvas>(area, scale);
    window_ = std::make_unique<Window>(*this, place, parent, canvas_->getDeviceScale());
    logLine(LogWarning,
            "opening editor\n  [0x%" PRIxPTR "] Canvas\n  [0x%" PRIxPTR "] Window\n  [0x%" PRIxPTR
            "] Parent",
            reinterpret_cast<std::uintptr_t>(canvas_.get()),
            reinterpret_cast<std::uintptr_t>(window_.get()),
            reinterpret_cast<std::uintptr_t>(parent));
    if (!canvas_->attach(window_.get())) {
        window_.reset();
        canvas_.reset();
        return false;
    }
    paintTarget_ = window_.get();
    lastMouse_ = {};
    isOpen_ = true;
    openedAt_ = platform::highResolutionSeconds();
    for (Control* const control : topLevelControls_)
        control->refresh();
    if (blurControl_ != nullptr)
        blurControl_->refresh();
    info_->start();
    redrawAll();
    return true;
}

double Editor::getOpenSeconds() const {
    return openSeconds_ + (isOpen_ ? platform::highResolutionSeconds() - openedAt_ : 0.0);
}

void Editor::close() {
    if (!window_)
        return;
    if (!letGo() || !window_)
        return;  // the host was quicker
    if (Control* const hovered = std::exchange(hoverControl_, nullptr)) {
        WindowMessage exit(this, WindowMessage::ControlExit, nullptr);
        hovered->handle(exit);
    }
    openSeconds_ = getOpenSeconds();
    {
        const std::lock_guard<Mutex> drawing(canvasLock_);
        isOpen_ = false;
        followKeyboard();
        takesSystemFocus_ = false;
        usedKeys_.reset();
        info_->stop();
        for (Control* const control : topLevelControls_)
            control->suspend();
        pendingMenu_.reset();
        editedControl_ = nullptr;
        canvas_.reset();
        window_.reset();
        const std::lock_guard<Mutex> inside(dirtyLock_);
        dirtyRects_.clear();
    }
    takePendingChoices();
}

void Editor::windowGone() {
    close();
}

// Drawing

void Editor::redraw(const Rect& rect) {
    if (isOpen_ && rect.hasArea())
        addDirtyRect(rect);
}

void Editor::addDirtyRect(const Rect& rect) {
    if (!isOpen_ || !rect.hasArea())
        return;
    const std::lock_guard<Mutex> inside(dirtyLock_);
    for (const Rect& listed : dirtyRects_)
        if (listed.contains(rect))
            return;
    std::erase_if(dirtyRects_, [&rect](const Rect& listed) { return rect.contains(listed); });
    dirtyRects_.push_back(rect);
}

bool Editor::isDirty() {
    const std::lock_guard<Mutex> inside(dirtyLock_);
    return !dirtyRects_.empty();
}

void Editor::paint(CanvasTarget* target, const Rect& rect) {
    {
        const Metering metering(showsCpuMeters_ ? &paintMeter_ : nullptr, &CPUMeter::begin,
                                &CPUMeter::end);
        const std::lock_guard<Mutex> drawing(canvasLock_);
        if (!canvas_)
            return;
        if (target != nullptr && target != paintTarget_) {
            paintTarget_ = target;
            canvas_->attach(target);
        }
        std::vector<Rect> rects;
        if (!rect.isEmpty()) {
            rects.push_back(rect);
        } else {
            const std::lock_guard<Mutex> inside(dirtyLock_);
            rects.swap(dirtyRects_);
        }
        Rect all;
        for (const Rect& dirty : rects)
            all = all.unitedWith(dirty);
        const auto touched = static_cast<std::size_t>(std::count_if(
            topLevelControls_.begin(), topLevelControls_.end(), [&all](const Control* control) {
                return control->getAbsoluteRect().intersectedWith(all).hasArea();
            }));
        try {
            if (touched < 2 * rects.size())
                paintRect(paintTarget_, all);
            else
                paintRects(paintTarget_, rects);
        } catch (...) {
            canvas_->abandon();
            for (const Rect& dirty : rects)
                addDirtyRect(dirty);
            throw;
        }
    }
    deliverQueued();
}

void Editor::paintRect(CanvasTarget* target, const Rect& rect) {
    if (!rect.hasArea())
        return;
    if (target == nullptr || rootControl_ == nullptr || !window_) {
        addDirtyRect(rect);
        return;
    }
    canvas_->beginFrame(rect);
    // What isn't opaque would add to what it drew before.
    if (!rootControl_->hidesGround() || !rootControl_->getRect().contains(rect))
        canvas_->clear();
    canvas_->offsetOrigin(rootControl_->getRect().topLeft());
    rootControl_->draw(*canvas_, rect.movedBy(-rootControl_->getRect().topLeft()));
    canvas_->present();
}

void Editor::paintRects(CanvasTarget* target, const std::vector<Rect>& rects) {
    for (const Rect& rect : rects)
        paintRect(target, rect);
}

void Editor::showAgain(const Rect& part) {
    perform([&] {
        paint(nullptr, {});
        const std::lock_guard<Mutex> drawing(canvasLock_);
        if (!canvas_ || rootControl_ == nullptr || !part.hasArea())
            return false;
        canvas_->beginFrame(part);
        canvas_->present();
        return true;
    });
}

void Editor::idle() {
    const Metering metering(showsCpuMeters_ ? &tickMeter_ : nullptr, &CPUMeter::beginSection,
                            &CPUMeter::endSection);
    try {
        for (int i = 0; i < plugin_.getModuleCount(); ++i)
            if (Engine* const engine = plugin_.moduleAt(i)->getEngine())
                engine->idle();
        if (!window_)
            return;
        followFiles();
        deliverQueued();
        followModals();
        if (!learnHint_.empty() && plugin_.getMidiMapper().getLearning() == nullptr)
            setLearnHint({});
        if (isDirty())
            paint(nullptr, {});
        isFailing_ = false;
    } catch (const std::exception& error) {
        if (std::exchange(isFailing_, true))
            return;  // one line for what may go on for hours
        logLine(LogError, "Editor::idle called with no engine");
        logLine(LogError, std::string_view(error.what()));
    }
}

// Messages

void Editor::enqueue(const Message& message, Radio* target) {
    if (isOpen_)
        queue_.push(message, target);
}

void Editor::deliverQueued() {
    queue_.deliver(this);
    if (queue_.takeLoss())
        for (Control* const control : topLevelControls_)
            control->refresh();
}

bool Editor::receive(Message& message) {
    if (!isInterfaceThread()) {
        enqueue(message, this);
        return false;
    }
    return perform([&] { return dispatch(message); });
}

// Exceptions end here. A window that is closed meanwhile leaves its controls to those who are in
// them.
bool Editor::perform(const std::function<bool()>& act) {
    const auto alive = life();
    const Speaking here(*this);
    ++dispatching_;
    bool isUsed = false;
    const auto guard = [](const auto& part) {
        try {
            part();
        } catch (const std::exception& error) {
            logLine(LogError, std::string_view(error.what()));
        }
    };
    guard([&] { isUsed = act(); });
    if (!alive.expired() && --dispatching_ == 0)
        guard([this] { takePendingChoices(); });
    return isUsed;
}

bool Editor::dispatch(Message& message) {
    if (message.type == MessageType::Parameter) {
        auto& change = static_cast<ParameterMessage&>(message);
        if (change.code == ParameterMessage::ValueChanged && change.mode == FromUser &&
            change.parameterName == CurrentModuleId)
            setModule(fromPayload<std::int32_t>(change.payload));
        tellProgram(change);
        return false;
    }
    if (message.type == MessageType::Resource) {
        if (message.code == ResourceMessage::SetLoaded) {
            for (Control* const control : topLevelControls_)
                control->handle(message);
            if (blurControl_ != nullptr)
                blurControl_->grabAnew();
            redrawAll();
        }
        return false;
    }
    if (message.type == MessageType::Window && message.code == WindowMessage::Tick) {
        idle();
        return true;
    }
    if (rootControl_ == nullptr)
        return false;
    if (message.type == MessageType::Window)
        return receiveWindow(static_cast<WindowMessage&>(message));
    if (message.type != MessageType::Control)
        return false;
    if (message.code == ControlMessage::FocusLost)
        setFocus(nullptr);
    else if (message.code == ControlMessage::HelpHide && helpControl_ != nullptr)
        helpControl_->hide();
    else if ((message.code == ControlMessage::HelpRefresh ||
              message.code == ControlMessage::HelpRefreshCurve) &&
             helpControl_ != nullptr && showTooltips_)
        return helpControl_->handle(message);
    else if (message.code == ControlMessage::MenuChoice)
        return receiveMenuChoice(fromPayload<std::int32_t>(message.payload));
    return false;
}

bool Editor::receiveMenuChoice(std::int32_t identifier) {
    const std::int32_t skin = identifier - FirstSkinId;
    const std::int32_t size = identifier - FirstSizeId;
    if (identifier == ShowTooltipsId) {
        setShowTooltips(!showTooltips_);
    } else if (identifier == ShowCpuMetersId) {
        invert(ShowCpuMetersKey);
        tellOfReopening();
    } else if (identifier == SubmitDiagnosticsId) {
        invert(SubmitDiagnosticsKey);
    } else if (size >= 0 && static_cast<std::size_t>(size) < OfferedSizes.size()) {
        setSize(OfferedSizes[static_cast<std::size_t>(size)]);
        tellOfReopening();
    } else if (skin >= 0 && static_cast<std::size_t>(skin) < skins_.size()) {
        pendingSkin_ = skins_[static_cast<std::size_t>(skin)];
        tellOfReopening();
    } else {
        return false;
    }
    return true;
}

void Editor::invert(const char* preference) {
    Preferences* const user = Preferences::user();
    if (user == nullptr)
        return;
    if (const Error error = user->setBool(preference, !isPreferred(preference)); !error.isOk())
        logError(LogError, error);
}

void Editor::tellOfReopening() const {
    if (isOpen_)
        System::inform("Please close and re-open the plugin window for this change to take effect.",
                       true);
}

void Editor::setFocus(Control* control) {
    if (control == focusRequest_)
        return;
    focusRequest_ = control;
    if (focusControl_ != nullptr) {
        ControlMessage lost(this, ControlMessage::FocusLost);
        focusControl_->handle(lost);
    }
    Control* accepting = control;
    while (accepting != nullptr && !accepting->testFlags(Control::Focusable))
        accepting = accepting->getParentControl();
    focusControl_ = accepting != nullptr ? accepting : control;
    if (accepting == nullptr)
        return;
    ControlMessage gained(this, ControlMessage::FocusGained);
    accepting->handle(gained);
}

void Editor::expectEdit(Control& control, UndoList::Kind kind) {
    undo_.begin(control, kind);
    ControlMessage message(&control, ControlMessage::EditExpected, lastMouse_, toPayload(&control));
    transmit(message);
}

void Editor::beginEdit(Control& control, Point position) {
    undo_.begin(control, UndoList::Kind::Whole);
    ControlMessage message(&control, ControlMessage::EditBegin, position, toPayload(&control));
    transmit(message);
}

void Editor::endEdit(Control& control, Point position) {
    ControlMessage message(&control, ControlMessage::EditEnd, position, toPayload(&control));
    transmit(message);
    undo_.end(&control);
}

// Input

bool Editor::keyDown(Message& message) {
    if (message.type != MessageType::Window)
        return false;
    auto& key = static_cast<WindowMessage&>(message);
    const auto alive = life();
    const bool isUsed = takeKey(key);
    if (!alive.expired() && key.keyCode >= 0 && key.keyCode < 256)
        usedKeys_.set(static_cast<std::size_t>(key.keyCode), isUsed);
    return isUsed;
}

bool Editor::keyUp(Message& message) {
    if (message.type != MessageType::Window)
        return false;
    const std::int32_t code = static_cast<const WindowMessage&>(message).keyCode;
    const bool isUsed = code >= 0 && code < 256 && usedKeys_.test(static_cast<std::size_t>(code));
    if (isUsed)
        usedKeys_.reset(static_cast<std::size_t>(code));
    return isUsed;
}

bool Editor::takeKey(WindowMessage& key) {
    const auto alive = life();
    followKeyboard();
    Control* const focused = getKeyboardControl();
    if ((focused != nullptr && tellKey(*focused, key)) || alive.expired())
        return true;
    if (keyboard_.keyDown(key) || undoAt(key))
        return true;
    Control* const hovered = hoverControl_;
    return hovered != nullptr && hovered != focused && tellKey(*hovered, key);
}

bool Editor::tellKey(Control& control, WindowMessage& key) {
    const bool isEdit = key.keyCode >= WindowMessage::PageUpKey &&
                        key.keyCode <= WindowMessage::DownKey && control.getParameter() != nullptr;
    return isEdit ? editOnce(control, UndoList::Kind::Step, [&] { return control.handle(key); })
                  : control.handle(key);
}

bool Editor::undoAt(const WindowMessage& key) {
    const std::uint32_t besidesShift = key.modifiers & ~std::uint32_t{WindowMessage::Shift};
    const bool isShiftHeld = (key.modifiers & WindowMessage::Shift) != 0;
    const bool isRedo = key.keyCode == (isShiftHeld ? 'Z' : 'Y');
    if (!isOpen_ || besidesShift != WindowMessage::Control ||
        (!isRedo && (isShiftHeld || key.keyCode != 'Z')))
        return false;
    if (captureControl_ != nullptr)
        return true;  // first the edit that is under way is to end
    info_->forgetValue();
    return isRedo ? undo_.redo() : undo_.undo();
}

bool Editor::deliverLocal(Control& control, const WindowMessage& message, std::int32_t code) {
    const std::unique_ptr<Message> copy = message.clone();
    auto& local = static_cast<WindowMessage&>(*copy);
    const Point origin = control.getAbsoluteOrigin();
    local.code = code;
    local.position = message.position - origin;
    local.previousPosition = message.previousPosition - origin;
    return control.handle(local);
}

bool Editor::deliverLocal(Control& control, const WindowMessage& message) {
    return deliverLocal(control, message, message.code);
}

bool Editor::receiveWindow(WindowMessage& message) {
    switch (message.code) {
        case WindowMessage::LeftDown:
        case WindowMessage::LeftDouble:
            press(message, WindowMessage::LeftButton);
            return true;
        case WindowMessage::RightDown:
        case WindowMessage::RightDouble:
            press(message, WindowMessage::RightButton);
            return true;
        case WindowMessage::LeftUp:
            release(message, WindowMessage::LeftButton);
            return true;
        case WindowMessage::RightUp:
            release(message, WindowMessage::RightButton);
            return true;
        case WindowMessage::MouseMove:
            move(message);
            return true;
        case WindowMessage::WindowFocus:
            return true;
        case WindowMessage::MouseExit:
            leaveHover(message);
            return true;
        case WindowMessage::Wheel:
        case WindowMessage::WheelOther:
            return turn(message);
        case WindowMessage::Repaint:
            if (message.rectangle.isEmpty())
                redrawAll();
            else
                addDirtyRect(message.rectangle);
            return true;
        case WindowMessage::MenuMeasure:
        case WindowMessage::MenuDraw: {
            auto* const drawn = fromPayload<OwnerDrawnEntry*>(message.payload);
            const PopupMenuEntry* const entry = findMenuEntry(drawn->id);
            return entry != nullptr && entry->target != nullptr && entry->target != this &&
                   entry->target->receive(message);
        }
        case WindowMessage::DropQuery:
            return true;
        case WindowMessage::DropOver:
            return deliverLocal(*rootControl_, message) || plugin_.receive(message);
        case WindowMessage::DropEnd:
            for (Control* const control : std::vector<Control*>(topLevelControls_))
                control->handle(message);
            return true;
        case WindowMessage::DropFile:
        case WindowMessage::DropSample:
            return receiveDrop(message);
        case WindowMessage::KeyPress:
            return keyDown(message);
        case WindowMessage::KeyRelease:
            return keyUp(message);
        case WindowMessage::SetPaintTarget:
            return false;  // a window is the only target here
        default:
            return hoverControl_ != nullptr && deliverLocal(*hoverControl_, message);
    }
}

void Editor::press(WindowMessage& message, std::int32_t button) {
    buttonMask_ |= button;
    WindowMessage here(this, WindowMessage::MouseMove, message.target,
                       {message.position, 0, message.modifiers}, 0);
    move(here);
    if (helpControl_ != nullptr)
        helpControl_->hide();
    const bool isRight = button == WindowMessage::RightButton;
    if (!isRight && keyboard_.press(hoverControl_))
        takesSystemFocus_ = true;
    Control* const pressed = hoverControl_;
    const bool isHeldAlready = captureControl_ != nullptr && captureControl_ == pressed;
    if (!isHeldAlready && captureControl_ != nullptr &&
        (!letGo() || !isOpen_ || hoverControl_ != pressed))
        return;                 // the host was quicker
    const auto alive = life();  // a change that the host hears of may end the interface
    bool isUsed = false;
    if (pressed != nullptr) {
        captureControl_ = pressed;
        isMouseHeld_ = true;
        previousMouse_ = lastDragMouse_ = message.position;
        info_->watch(pressed);
        if (!isHeldAlready)
            expectEdit(*pressed, UndoList::Kind::Whole);
        isUsed = deliverLocal(*pressed, message);
        if (alive.expired())
            return;
        isUsed = isUsed && captureControl_ == pressed;
    }
    if (isUsed) {
        if (!isHeldAlready)
            beginEdit(*pressed, message.position);
        return;
    }
    // Meanwhile the user may have pressed something else.
    if (captureControl_ == pressed) {
        if (!isHeldAlready)
            endCapture();
        else if (!letGo())
            return;
    }
    if (isRight && isOpen_)
        contextMenu(message);
}

void Editor::contextMenu(const WindowMessage& message) {
    Control* const control = hoverControl_ != nullptr ? hoverControl_ : backgroundControl_;
    if (control == nullptr)
        return;
    auto menu = std::make_unique<PopupMenu>();
    control->buildContextMenu(*menu, message.position - control->getAbsoluteOrigin());
    addContextMenuEntries(*menu, message.position);
    WindowMessage up(this, WindowMessage::RightUp, message.target,
                     {message.position, 0, message.modifiers}, 0);
    release(up, WindowMessage::RightButton);
    setPendingMenu(std::move(menu), message.position);
}

void Editor::release(const WindowMessage& message, std::int32_t button) {
    buttonMask_ &= ~button;
    isMouseHeld_ = false;
    if (helpControl_ != nullptr)
        helpControl_->hide();
    Control* const captured = captureControl_;
    if (captured == nullptr) {
        info_->watch(nullptr);
        return;
    }
    const auto alive = life();
    deliverLocal(*captured, message);
    if (!alive.expired() && captureControl_ == captured)
        endCapture();
}

// Of a press that ends without a release: far from the control, so that nothing counts as a click.
// False if the host has ended the interface over it.
bool Editor::letGo() {
    constexpr Point FarAway{-1'000'000, -1'000'000};
    const auto alive = life();
    if (Control* const held = captureControl_;
        held != nullptr && std::exchange(isMouseHeld_, false)) {
        const WindowMessage up(this, WindowMessage::LeftUp, nullptr, FarAway, 0);
        deliverLocal(*held, up, WindowMessage::ControlExit);
        if (!alive.expired() && captureControl_ == held)
            deliverLocal(*held, up);
        if (alive.expired())
            return false;
    }
    endCapture();
    return true;
}

void Editor::endCapture() {
    isMouseHeld_ = false;
    info_->watch(nullptr);
    if (Control* const captured = std::exchange(captureControl_, nullptr)) {
        endEdit(*captured, lastMouse_);
        undo_.end(captured);
    }
}

void Editor::move(WindowMessage& message) {
    lastMouse_ = message.position;
    if (captureControl_ != nullptr)
        drag(message);
    else
        hover(message);
}

void Editor::drag(WindowMessage& message) {
    Control* const captured = captureControl_;
    message.previousPosition = lastDragMouse_;
    message.button = buttonMask_;
    const auto alive = life();
    const bool isUsed = deliverLocal(*captured, message, WindowMessage::MouseDrag);
    if (alive.expired())
        return;
    if (!isUsed || captureControl_ != captured) {
        WindowMessage up(this, WindowMessage::LeftUp, message.target,
                         {message.position, 0, message.modifiers}, 0);
        release(up, WindowMessage::LeftButton);
        return;
    }
    lastDragMouse_ = message.position;
    const Rect rect = captured->getAbsoluteRect();
    const bool wasInside = rect.contains(previousMouse_),
               isInside = rect.contains(message.position);
    previousMouse_ = message.position;
    if (wasInside != isInside)
        deliverLocal(*captured, message,
                     isInside ? WindowMessage::ControlEnter : WindowMessage::ControlExit);
}

void Editor::hover(const WindowMessage& message) {
    Control* const found =
        rootControl_->findControlAt(message.position - rootControl_->getRect().topLeft());
    if (found != hoverControl_) {
        hoverCandidate_ = found;
        const bool isEntered =
            found != nullptr && deliverLocal(*found, message, WindowMessage::ControlEnter);
        leaveHover(message);
        // The control may have gone in between.
        Control* const candidate = std::exchange(hoverCandidate_, nullptr);
        if (candidate != nullptr && !isEntered)
            deliverLocal(*candidate, message, WindowMessage::ControlExit);
        hoverControl_ = isEntered ? candidate : nullptr;
        if (hoverControl_ != nullptr)
            broadcast(ControlMessage::HoverBegin, message.position, toPayload(hoverControl_));
        else
            platform::setCursor(platform::CursorShape::Arrow);
    }
    if (hoverControl_ != nullptr)
        deliverLocal(*hoverControl_, message);
}

void Editor::leaveHover(const WindowMessage& message) {
    Control* const left = std::exchange(hoverControl_, nullptr);
    if (left == nullptr)
        return;
    deliverLocal(*left, message, WindowMessage::ControlExit);
    broadcast(ControlMessage::HoverEnd, message.position, 0);
}

void Editor::broadcast(std::int32_t code, Point position, std::uint64_t value) {
    ControlMessage message(this, code, position, value);
    transmit(message);
}

bool Editor::turn(const WindowMessage& message) {
    Control* const turned = hoverControl_;
    if (turned == nullptr)
        return false;
    return editOnce(*turned, UndoList::Kind::Step, [&] { return deliverLocal(*turned, message); });
}

bool Editor::receiveDrop(WindowMessage& message) {
    if (focusControl_ != nullptr)
        return deliverLocal(*focusControl_, message);
    Control* const found =
        rootControl_->findControlAt(message.position - rootControl_->getRect().topLeft());
    return (found != nullptr && deliverLocal(*found, message)) || plugin_.receive(message);
}

// Menus and boxes

void Editor::setPendingMenu(std::unique_ptr<PopupMenu> menu, Point place) {
    pendingMenu_ = std::move(menu);
    pendingMenuPlace_ = place;
}

void Editor::addSizeEntries(PopupMenu& menu) {
    const std::int32_t chosen = chosenSize();
    PopupMenu& sizes = menu.addSubMenu(PopupMenuEntry::of(this, SizesId, "Size"));
    std::int32_t id = FirstSizeId;
    for (const std::int32_t size : OfferedSizes) {
        const std::string text = size == 0 ? "As the screen" : std::to_string(size) + " %";
        sizes.addEntry(PopupMenuEntry::of(this, id++, text, size == chosen));
    }
}

void Editor::addContextMenuEntries(PopupMenu& menu, Point /*position*/) {
    menu.addSeparator();
    menu.addEntry(PopupMenuEntry::of(this, ShowTooltipsId, "Show tooltips", showTooltips_));
    addSizeEntries(menu);
    skins_.clear();
    if (resources_ == nullptr || resources_->getSkins().size() < 2)
        return;
    menu.addSeparator();
    const std::string chosen = pendingSkin_.empty() ? resources_->getCurrentSkin() : pendingSkin_;
    PopupMenu& skins = menu.addSubMenu(PopupMenuEntry::of(this, SkinsId, "Skins"));
    for (const Skin& skin : resources_->getSkins()) {
        const auto id = FirstSkinId + static_cast<std::int32_t>(skins_.size());
        skins.addEntry(PopupMenuEntry::of(this, id, skin.getName(), skin.getUid() == chosen));
        if (skins_.empty())
            skins.addSeparator();
        skins_.push_back(skin.getUid());
    }
}

void Editor::setPendingEdit(Control& control, const Rect& rect) {
    constexpr float LetterSize = 12.0f;
    setPendingEdit(control, rect, 0, Font({}, LetterSize));
}

void Editor::setPendingEdit(Control& control, const Rect& rect, std::int32_t indent,
                            const Font& font) {
    if (isEditing_ || !isOpen_)
        return;
    editedControl_ = &control;
    editRect_ = rect;
    editIndent_ = indent;
    editFont_ = font;
    editFont_.name = BoxFamily;
    takeText_ = nullptr;
}

void Editor::setPendingEdit(Control& control, const Rect& rect, const std::string& text,
                            TakeText take) {
    if (isEditing_ || !isOpen_)
        return;
    setPendingEdit(control, rect);
    editText_ = text;
    takeText_ = std::move(take);
}

const PopupMenuEntry* Editor::findMenuEntry(std::int32_t id) const {
    return shownMenu_ != nullptr ? shownMenu_->find(id) : nullptr;
}

void Editor::showPending() {
    const auto alive = life();
    const auto system = [this]() -> platform::SystemWindow* {
        const bool isFree = window_ && shownMenu_ == nullptr && !isEditing_;
        return isFree ? window_->getSystemWindow() : nullptr;
    };
    if (system() != nullptr && std::exchange(takesSystemFocus_, false)) {
        system()->takeFocus();
        if (alive.expired())
            return;
    }
    if (pendingMenu_ && system() != nullptr)
        showPendingMenu(*system());
    // What was chosen may ask for a text.
    if (!alive.expired() && editedControl_ != nullptr && system() != nullptr)
        showPendingEdit(*system());
}

void Editor::showPendingMenu(platform::SystemWindow& system) {
    const std::unique_ptr<PopupMenu> menu = std::move(pendingMenu_);
    const Speaking here(*this);
    const auto alive = life();
    shownMenu_ = menu.get();
    // What is highlighted may be heard: one edit has all of it, also where a key opened the menu.
    auto* const owner = dynamic_cast<Control*>(menu->getOwner());
    if (owner != nullptr && captureControl_ == nullptr) {
        captureControl_ = owner;
        expectEdit(*owner, UndoList::Kind::Whole);
    }
    const PopupMenuEntry* chosen = nullptr;
    try {
        chosen = menu->show(system, window_->toScreen(pendingMenuPlace_));
    } catch (...) {  // no memory for its entries
        if (!alive.expired())
            shownMenu_ = nullptr;
        throw;
    }
    if (alive.expired())
        return;
    const bool isOwned = menu->getOwner() != nullptr;
    if (!isOwned && !letGo())
        return;
    shownMenu_ = nullptr;
    Radio* const target = chosen != nullptr ? chosen->target : menu->getOwner();
    const std::int32_t id = chosen != nullptr ? chosen->id : NothingChosen;
    perform([&] {
        ControlMessage choice(this, ControlMessage::MenuChoice, pendingMenuPlace_, toPayload(id));
        const bool isUsed = target != nullptr && target->receive(choice);
        if (isOwned && !alive.expired())
            endCapture();
        return isUsed;
    });
}

Point Editor::measureMenuEntry(std::int32_t id) {
    OwnerDrawnEntry entry;
    entry.id = id;
    WindowMessage message(this, WindowMessage::MenuMeasure, window_.get(), Point{},
                          toPayload(&entry));
    receive(message);
    return entry.size;
}

const PixelsData* Editor::drawMenuEntry(std::int32_t id, bool isSelected, float scale) {
    OwnerDrawnEntry entry;
    entry.id = id;
    entry.isSelected = isSelected;
    const Point size = measureMenuEntry(id);
    entryCanvas_ = std::make_unique<Canvas>(Rect{0, 0, size.x, size.y}, scale);
    entryCanvas_->beginFrame({0, 0, size.x, size.y});
    entry.canvas = entryCanvas_.get();
    WindowMessage message(this, WindowMessage::MenuDraw, window_.get(), Point{}, toPayload(&entry));
    const auto alive = life();
    receive(message);
    // What is highlighted may be heard at once, and the host may end the interface over that.
    return alive.expired() ? nullptr : entryCanvas_->getPixels();
}

void Editor::showPendingEdit(platform::SystemWindow& system) {
    const Speaking here(*this);
    const Parameter* const parameter = editedControl_->getParameter();
    Control* const control = editedControl_;
    const TakeText take = std::exchange(takeText_, nullptr);
    if (!take && parameter == nullptr) {
        editedControl_ = nullptr;
        return;
    }
    const auto alive = life();
    endCapture();  // the host hears of it, and may close the window
    if (alive.expired() || editedControl_ != control)
        return;
    if (!window_ || window_->getSystemWindow() != &system) {
        editedControl_ = nullptr;
        return;
    }
    system.releaseCapture();
    const float scale = canvas_->getDeviceScale();
    const auto pixels = [scale](std::int32_t value) { return toScreenPixels(value, scale); };
    platform::TextRequest request;
    const Point corner = window_->toScreen(editRect_.topLeft());
    request.area = {corner.x, corner.y, corner.x + pixels(editRect_.width()),
                    corner.y + pixels(editRect_.height())};
    request.text = take ? editText_ : parameter->getText();
    request.postfix = take ? std::string() : parameter->getUnit();
    request.className = "Quorl PopupEditBox";
    request.family = editFont_.name;
    request.prefixWidth = pixels(editIndent_);
    request.postfixWidth = pixels(Canvas::measureText(editFont_, request.postfix, scale).width());
    request.fontFiles = FontLibrary::get().getFiles();
    request.isLight = isDark(control->getTextColor());
    request.weight = editFont_.getWeightClass();
    request.pixels = pixels(static_cast<std::int32_t>(std::lround(editFont_.size)));
    isEditing_ = true;
    std::optional<std::string> text;
    try {
        text = system.editText(request);
    } catch (...) {
        if (!alive.expired())
            isEditing_ = false;
        throw;
    }
    if (alive.expired())
        return;
    isEditing_ = false;
    if (std::exchange(editedControl_, nullptr) != control || !text)
        return;  // the control or the window went meanwhile, or the user gave up
    perform([&] {
        if (take)
            take(*text);
        else
            takeParameterText(*control, *text);
        return true;
    });
}

void Editor::takeParameterText(Control& control, const std::string& text) {
    Parameter* const present = control.getParameter();
    if (present == nullptr)
        return;
    editOnce(control, UndoList::Kind::Whole, [&] { return present->setText(text, FromUser); });
}

void Editor::setKnobMode(std::int32_t mode) {
    knobMode_ = mode >= Linear && mode <= CircularRelative ? mode : Linear;
    if (Preferences* const user = Preferences::user())
        if (const Error error = user->setInteger("KnobMode", knobMode_); !error.isOk())
            logError(LogError, error);
}

void Editor::setShowTooltips(bool show) {
    showTooltips_ = show;
    if (Preferences* const user = Preferences::user())
        if (const Error error = user->setBool("ShowTooltips", show); !error.isOk())
            logError(LogError, error);
    followShowTooltips();
}

void Editor::followShowTooltips() {
    if (helpControl_ == nullptr)
        return;
    if (showTooltips_)
        helpControl_->start();
    else
        helpControl_->stop();
}

void Editor::setLearnHint(const std::string& text) {
    learnHint_ = text;
    info_->setHint(text);
}

}  // namespace tarn
