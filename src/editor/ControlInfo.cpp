#include "editor/ControlInfo.h"

#include "editor/ControlText.h"
#include "editor/ControlVersionInfo.h"
#include "editor/Editor.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"
#include "plugin/Plugin.h"

#include <algorithm>
#include <utility>

namespace tarn {

namespace {

constexpr std::uint32_t RotateTimer = fourCharacterCode("MFCI");
constexpr std::uint32_t ClearTimer = fourCharacterCode("MFCJ");
constexpr double RotatePeriodMs = 7500.0;
constexpr double ClearPeriodMs = 4000.0;

// Of its own lines.
enum Priority : int { Product, Hovered, Watched, Hint };

const Message* tick(std::uint32_t id) {
    static const TimerMessage Rotate(nullptr, TimerMessage::Tick, RotateTimer, 0);
    static const TimerMessage Clear(nullptr, TimerMessage::Tick, ClearTimer, 0);
    return id == RotateTimer ? &Rotate : &Clear;
}

}  // namespace

ControlInfo::ControlInfo(Editor& editor)
    : Control(editor),
      rotateTimer_(this, tick(RotateTimer), RotatePeriodMs, false),
      clearTimer_(this, tick(ClearTimer), ClearPeriodMs, true) {
    tuneIn(&rotateTimer_);
    tuneIn(&clearTimer_);
}

void ControlInfo::setDisplay(ControlText* display) {
    display_ = display;
    replaceOwn(Product, display_ != nullptr ? ControlVersionInfo::versionLine() : std::string());
}

// Lines

void ControlInfo::setLine(int priority, const Radio* source, const std::string& text) {
    if (priority < 0 || priority >= PriorityCount)
        return;
    lines_[static_cast<std::size_t>(priority)].push_back({source, text});
    show();
}

void ControlInfo::removeLines(const Radio* source) {
    for (std::vector<Line>& lines : lines_)
        std::erase_if(lines, [source](const Line& line) { return line.source == source; });
    show();
}

void ControlInfo::replaceOwn(int priority, const std::string& text) {
    std::erase_if(lines_[static_cast<std::size_t>(priority)],
                  [this](const Line& line) { return line.source == this; });
    if (text.empty())
        show();
    else
        setLine(priority, this, text);
}

void ControlInfo::show() {
    if (display_ == nullptr)
        return;
    std::string text;
    for (const std::vector<Line>& lines : lines_)
        if (!lines.empty())
            text = lines.back().text;
    std::replace(text.begin(), text.end(), '\n', ' ');
    if (text != display_->getText())
        display_->setText(text);
}

void ControlInfo::setHint(const std::string& text) {
    replaceOwn(Hint, text);
}

// What it follows

void ControlInfo::start() {
    tuneIn(&editor());
    tuneIn(&editor().instance());
    rotateTimer_.start();
}

void ControlInfo::stop() {
    tuneOut(&editor());
    tuneOut(&editor().instance());
    rotateTimer_.stop(false);
    clearTimer_.stop(false);
    hovered_ = watched_ = nullptr;
    follow();
    replaceOwn(Hovered, {});
    replaceOwn(Watched, {});
}

void ControlInfo::forget(const Control& control) {
    if (display_ == &control)
        display_ = nullptr;
    if (hovered_ == &control)
        hover(nullptr);
    if (watched_ == &control)
        watch(nullptr);
    removeLines(&control);
}

void ControlInfo::hover(Control* control) {
    hovered_ = control;
    follow();
    showHovered();
}

void ControlInfo::watch(Control* control) {
    if (control == watched_)
        return;
    watched_ = control;
    follow();
    if (control != nullptr)
        clearTimer_.stop(false);
    else if (!lines_[Watched].empty())
        clearTimer_.restart();
}

void ControlInfo::forgetValue() {
    clearTimer_.stop(false);
    replaceOwn(Watched, {});
}

void ControlInfo::follow() {
    const Control* const control = watched_ != nullptr ? watched_ : hovered_;
    const std::string name = control != nullptr ? control->getParameterName() : std::string();
    if (name == followed_)
        return;
    tuneOutByName(followed_);
    followed_ = name;
    tuneInByName(followed_);
}

void ControlInfo::setRadioHost(Radio* module) {
    Control::setRadioHost(module);
    showHovered();
}

void ControlInfo::showHovered() {
    replaceOwn(Hovered, hovered_ != nullptr ? hovered_->getTooltip() : std::string());
}

void ControlInfo::showWatched() {
    const Parameter* const parameter = watched_ != nullptr ? watched_->getParameter() : nullptr;
    if (parameter == nullptr)
        return;
    const std::string& label = watched_->getLabel();
    replaceOwn(Watched,
               (label.empty() ? parameter->getId() : label) + " = " + shownValue(*parameter));
}

bool ControlInfo::handle(Message& message) {
    if (message.type == MessageType::Control) {
        if (message.code == ControlMessage::HoverBegin)
            hover(static_cast<Control*>(fromPayload<void*>(message.payload)));
        else if (message.code == ControlMessage::HoverEnd)
            hover(nullptr);
        return false;
    }
    if (message.type == MessageType::Plugin) {
        if (message.code == PluginMessage::ProgramChanged)
            forgetValue();
        return false;
    }
    if (message.type == MessageType::Timer) {
        const std::uint32_t id = static_cast<const TimerMessage&>(message).timerId;
        std::vector<Line>& turns = lines_[Product];
        if (id == ClearTimer && watched_ == nullptr) {
            replaceOwn(Watched, {});
        } else if (id == RotateTimer && watched_ == nullptr && !clearTimer_.isRunning() &&
                   turns.size() > 1) {
            std::rotate(turns.begin(), turns.begin() + 1, turns.end());
            show();
        }
        return true;
    }
    if (message.type == MessageType::Parameter && message.code == ParameterMessage::ValueChanged) {
        const auto& change = static_cast<const ParameterMessage&>(message);
        if (!followed_.empty() && change.parameterName == followed_) {
            showHovered();
            // What a parameter tells a new listener is no change.
            if (change.mode != FromInternal)
                showWatched();
            return true;
        }
    }
    return Control::handle(message);
}

}  // namespace tarn
