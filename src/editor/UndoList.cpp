#include "editor/UndoList.h"

#include "audio/Module.h"
#include "editor/Control.h"
#include "foundation/Message.h"
#include "parameters/Parameter.h"
#include "parameters/Preset.h"
#include "parameters/Settings.h"
#include "platform/Clock.h"
#include "plugin/Plugin.h"

#include <algorithm>
#include <utility>

namespace tarn {

namespace {

constexpr double JoinSeconds = 1.0;

bool isText(const Parameter& parameter) {
    return parameter.getType() == Parameter::String || parameter.getType() == Parameter::KeyRanges;
}

}  // namespace

UndoList::UndoList(Plugin& plugin, Radio& station)
    : plugin_(plugin),
      station_(station),
      loads_(plugin.getLoadCount()),
      program_(plugin.getCurrentIndex()) {}

// `program` is the preset that the entries lead to. An edit that was begun before a state or
// another preset came has nothing to go back to.
void UndoList::followLoads(std::int32_t program) {
    const auto held = plugin_.hold();
    const std::uint32_t loads = plugin_.getLoadCount();
    const bool isLoaded = std::exchange(loads_, loads) != loads;
    const bool isOther = std::exchange(program_, plugin_.getCurrentIndex()) != program;
    if (!isLoaded && !isOther)
        return;
    entries_.clear();
    doneCount_ = 0;
    lastIsStep_ = false;
    for (OpenEdit& edit : open_)
        edit.place.reset();
}

std::optional<UndoList::Place> UndoList::placeOf(const Parameter& parameter) const {
    Place place{0, parameter.getId(), parameter.getClone()};
    for (; place.module < plugin_.getModuleCount(); ++place.module)
        if (find(place) == &parameter)
            return place;
    return std::nullopt;
}

Parameter* UndoList::find(const Place& place) const {
    const Module* const module = plugin_.moduleAt(place.module);
    return module != nullptr ? module->settings().find(place.id, place.clone) : nullptr;
}

UndoList::Value UndoList::valueOf(const Parameter& parameter) {
    return isText(parameter) ? Value{parameter.getText(), 0.0f}
                             : Value{{}, parameter.getNormalised()};
}

std::vector<UndoList::OpenEdit>::iterator UndoList::findOpen(const Control* control) {
    return std::find_if(open_.begin(), open_.end(),
                        [control](const OpenEdit& edit) { return edit.control == control; });
}

bool UndoList::isEditing(const Control* control) const {
    return std::any_of(open_.begin(), open_.end(),
                       [control](const OpenEdit& edit) { return edit.control == control; });
}

void UndoList::begin(const Control& control, Kind kind) {
    followLoads(plugin_.getCurrentIndex());
    if (const auto found = findOpen(&control); found != open_.end()) {
        ++found->depth;
        return;
    }
    OpenEdit edit{&control, 1, kind, std::nullopt, {}, platform::highResolutionSeconds()};
    // What is never saved is no setting: an open page, a lamp that was put out.
    if (const Parameter* const parameter = control.getParameter();
        parameter != nullptr && parameter->hasFlag(Parameter::Export)) {
        edit.place = placeOf(*parameter);
        edit.before = valueOf(*parameter);
    }
    open_.push_back(std::move(edit));
}

void UndoList::end(const Control* control) {
    followLoads(plugin_.getCurrentIndex());
    const auto found = findOpen(control);
    if (found == open_.end() || --found->depth > 0)
        return;
    const OpenEdit edit = std::move(*found);
    open_.erase(found);
    const Parameter* const parameter = edit.place ? find(*edit.place) : nullptr;
    if (parameter != nullptr)
        add(edit, valueOf(*parameter));
}

void UndoList::add(const OpenEdit& edit, const Value& after) {
    const bool isStep = edit.kind == Kind::Step;
    const bool isJoined = isStep && lastIsStep_ && entries_.back().place == *edit.place &&
                          edit.begun - lastStep_ <= JoinSeconds;
    if (isJoined && entries_.back().before == after) {
        entries_.pop_back();
        doneCount_ = entries_.size();
        lastIsStep_ = false;
    } else if (isJoined) {
        entries_.back().after = after;
    } else if (edit.before != after) {
        add(Entry{*edit.place, edit.before, after});
        lastIsStep_ = isStep;
    } else {
        return;
    }
    lastStep_ = platform::highResolutionSeconds();
}

void UndoList::add(Entry entry) {
    entries_.resize(doneCount_);
    if (entries_.size() == MostEntries)
        entries_.erase(entries_.begin());
    entries_.push_back(std::move(entry));
    doneCount_ = entries_.size();
}

void UndoList::forget(const Control& control) {
    std::erase_if(open_, [&control](const OpenEdit& edit) { return edit.control == &control; });
}

void UndoList::noteProgramChange(std::int32_t before) {
    followLoads(before);
    const std::int32_t after = plugin_.getCurrentIndex();
    if (before != after)
        add(Entry{{}, {}, {}, before, after});
}

void UndoList::noteRename(const std::string& before) {
    const auto held = plugin_.hold();
    followLoads(plugin_.getCurrentIndex());
    const Preset* const current = plugin_.getCurrent();
    const std::string after =
        current != nullptr ? current->getName(Preset::BankName | Preset::OwnName) : before;
    const std::int32_t index = plugin_.getCurrentIndex();
    if (before != after)
        add(Entry{{}, {before}, {after}, index, index});
}

bool UndoList::goTo(bool isForwards) {
    followLoads(plugin_.getCurrentIndex());
    lastIsStep_ = false;
    while (isForwards ? doneCount_ < entries_.size() : doneCount_ > 0) {
        const std::size_t index = isForwards ? doneCount_ : doneCount_ - 1;
        const Entry entry = entries_[index];
        doneCount_ = isForwards ? index + 1 : index;
        if (set(entry, isForwards))
            return true;
        doneCount_ = index;
        entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(index));
    }
    return false;
}

// Whether there is still what the entry is about.
bool UndoList::set(const Entry& entry, bool isForwards) {
    const Value& value = isForwards ? entry.after : entry.before;
    if (entry.place.id.empty()) {
        const auto held = plugin_.hold();
        const std::int32_t program = isForwards ? entry.programAfter : entry.programBefore;
        if (plugin_.getPreset(program) == nullptr)
            return false;
        if (program != plugin_.getCurrentIndex())
            plugin_.setProgram(program);
        program_ = plugin_.getCurrentIndex();
        return entry.before == entry.after || plugin_.renameCurrent(value.text);
    }
    Parameter* const parameter = find(entry.place);
    if (parameter == nullptr)
        return false;
    hand_.parameter = parameter;
    ControlMessage begin(&hand_, ControlMessage::EditBegin);
    station_.transmit(begin);
    if (isText(*parameter))
        parameter->setText(value.text, FromUser);
    else
        parameter->setNormalised(value.normalised, FromUser);
    ControlMessage end(&hand_, ControlMessage::EditEnd);
    station_.transmit(end);
    return true;
}

}  // namespace tarn
