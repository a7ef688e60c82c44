#include "parameters/MidiMapper.h"

#include "foundation/Dictionary.h"
#include "foundation/NumberText.h"
#include "parameters/ModuleDirectory.h"
#include "parameters/ParameterValue.h"
#include "parameters/Settings.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace tarn {

namespace {

constexpr std::uint32_t LearningTimer = fourCharacterCode("MMto");
constexpr const char* EntryKey = "controller";

std::array<const char*, midi::ControllerCount> makeControllerNames() {
    std::array<const char*, midi::ControllerCount> names{};
    const auto put = [&names](std::size_t first, std::initializer_list<const char*> texts) {
        std::copy(texts.begin(), texts.end(), names.begin() + static_cast<std::ptrdiff_t>(first));
    };
    put(0, {"Bank Select", "Modulation Wheel", "Breath Contoller"});
    put(4, {"Foot Controller", "Portamento Time", "Data Entry MSB", "Main Volume", "Balance"});
    put(10, {"Pan"});
    put(12, {"Effect Control 1", "Effect Control 2"});
    put(16, {"General Purpose Controller 1", "General Purpose Controller 2",
             "General Purpose Controller 3", "General Purpose Controller 4"});
    put(64, {"Damper Pedal (Sustain)", "Portamento", "Sostenuto", "Soft Pedal", "Legato Footswitch",
             "Hold 2"});
    put(70, {"Sound Controller 1", "Sound Controller 2", "Sound Controller 3", "Sound Controller 4",
             "Sound Controller 5", "Sound Controller 6", "Sound Controller 7", "Sound Controller 8",
             "Sound Controller 9", "Sound Controller 10"});
    put(80, {"General Purpose Controller 5", "General Purpose Controller 6",
             "General Purpose Controller 7", "General Purpose Controller 8", "Portamento Control"});
    put(91, {"Effects 1 Depth", "Effects 2 Depth", "Effects 3 Depth", "Effects 4 Depth",
             "Effects 5 Depth", "Data Increment", "Data Decrement",
             "Non-Registered Parameter Number LSB", "Non-Registered Parameter Number MSB",
             "Registered Parameter Number LSB", "Registered Parameter Number MSB"});
    put(midi::PitchWheel, {"Pitch Wheel", "Aftertouch"});
    return names;
}

// Timers keep a copy.
const Message* learningTick() {
    static const TimerMessage Tick(nullptr, TimerMessage::Tick, LearningTimer, 0);
    return &Tick;
}

bool isController(std::int32_t controller) {
    return controller >= 0 && controller < midi::ControllerCount;
}

struct Limits {
    float low;
    float high;
};

// Of a number; none for switches and all other classes.
std::optional<Limits> limitsOf(const Parameter& parameter) {
    if (const auto* const real = dynamic_cast<const ParameterValue<float>*>(&parameter))
        return Limits{real->getMinimum(), real->getMaximum()};
    if (const auto* const whole = dynamic_cast<const ParameterValue<std::int32_t>*>(&parameter))
        return Limits{static_cast<float>(whole->getMinimum()),
                      static_cast<float>(whole->getMaximum())};
    return std::nullopt;
}

}  // namespace

const char* midi::getControllerName(std::int32_t controller) {
    static const std::array<const char*, ControllerCount> Names = makeControllerNames();
    return isController(controller) ? Names[static_cast<std::size_t>(controller)] : nullptr;
}

std::string midi::getControllerText(std::int32_t controller) {
    const char* const name = getControllerName(controller);
    return name != nullptr ? name : "Controller #" + toText(controller);
}

template <typename T>
MidiMapper<T>::MidiMapper(Radio* parent, double learningMs)
    : Radio(parent), timer_(this, learningTick(), learningMs, true) {
    tuneIn(&timer_);
}

template <typename T>
MidiMapper<T>::~MidiMapper() {
    timer_.stop(true);
    disconnect();
}

template <typename T>
const typename MidiMapper<T>::Entry* MidiMapper<T>::entryOf(std::int32_t controller) const {
    return isController(controller) ? &entries_[static_cast<std::size_t>(controller)] : nullptr;
}

template <typename T>
typename MidiMapper<T>::Entry* MidiMapper<T>::entryOf(std::int32_t controller) {
    return isController(controller) ? &entries_[static_cast<std::size_t>(controller)] : nullptr;
}

template <typename T>
T MidiMapper<T>::getTarget(std::int32_t controller) const {
    const Entry* const entry = entryOf(controller);
    return entry != nullptr ? entry->target.get() : nullptr;
}

template <typename T>
void MidiMapper<T>::startLearning(T target) {
    timer_.stop(true);  // so that no tick of an earlier learning ends this one
    learning_ = target;
    if (target != nullptr)
        timer_.start();
}

template <typename T>
void MidiMapper<T>::bind(std::int32_t controller, T target) {
    if (Entry* const entry = entryOf(controller))
        entry->target = target;
}

template <typename T>
void MidiMapper<T>::forget(T target) {
    if (learning_ == target)
        startLearning(nullptr);
    const RadioLock::Hold hold(deliveryLock());  // a tie that is being made is there afterwards
    for (Entry& entry : entries_)
        if (entry.target == target)
            entry.target = nullptr;
}

template <typename T>
std::int32_t MidiMapper<T>::getController(T target) const {
    const auto found = std::ranges::find_if(
        entries_, [target](const Entry& entry) { return entry.target == target; });
    const bool isBound = target != nullptr && found != entries_.end();
    return isBound ? static_cast<std::int32_t>(found - entries_.begin()) : -1;
}

template <typename T>
bool MidiMapper<T>::isInverted(std::int32_t controller) const {
    const Entry* const entry = entryOf(controller);
    return entry != nullptr && entry->isInverted;
}

template <typename T>
void MidiMapper<T>::setInverted(std::int32_t controller, bool isInverted) {
    if (Entry* const entry = entryOf(controller))
        entry->isInverted = isInverted;
}

template <typename T>
std::int32_t MidiMapper<T>::getRange(std::int32_t controller) const {
    const Entry* const entry = entryOf(controller);
    return entry != nullptr ? entry->range.get() : midi::Full;
}

template <typename T>
void MidiMapper<T>::setRange(std::int32_t controller, std::int32_t range) {
    if (Entry* const entry = entryOf(controller))
        entry->range = range >= midi::Positive && range <= midi::Negative ? range : midi::Full;
}

template <typename T>
bool MidiMapper<T>::receive(Message& message) {
    if (message.type == MessageType::Midi && message.code == MidiMessage::Event) {
        const std::int32_t controller = static_cast<MidiMessage&>(message).event.controller;
        if (learning_ == nullptr || !isController(controller))
            return false;
        const RadioLock::Hold hold(deliveryLock());
        if (T const target = learning_.exchange(nullptr)) {
            bind(controller, target);
            tellEnd();  // the timer, which a system call would stop, runs out by itself
        }
        return true;
    }
    if (message.type == MessageType::Timer && message.code == TimerMessage::Tick &&
        static_cast<TimerMessage&>(message).timerId == LearningTimer) {
        timer_.stop(false);
        if (learning_.exchange(nullptr) != nullptr)
            tellEnd();
        return true;
    }
    return Radio::receive(message);
}

template <typename T>
void MidiMapper<T>::tellEnd() {
    SystemMessage message(this, SystemMessage::Notification, 0);
    transmit(message);
}

template <typename T>
void MidiMapper<T>::write(Dictionary& dictionary, const std::function<Name(T)>& nameOf) const {
    for (std::int32_t i = 0; i < midi::ControllerCount; ++i) {
        const T target = getTarget(i);
        if (target == nullptr && !isInverted(i) && getRange(i) == midi::Full)
            continue;
        const auto entry = dictionary.addDict(EntryKey);
        if (!entry)
            return;
        entry->setInteger("number", i);
        if (target != nullptr) {
            const Name name = nameOf(target);
            entry->setString("target", name.id);
            entry->setInteger("clone", name.clone);
        }
        entry->setBool("inverted", isInverted(i));
        entry->setInteger("range", getRange(i));
    }
}

template <typename T>
void MidiMapper<T>::read(const Dictionary& dictionary,
                         const std::function<T(const std::string& id, std::int32_t clone)>& find) {
    for (Entry& entry : entries_)
        entry = Entry();
    for (std::int32_t i = 0; i < dictionary.count(EntryKey); ++i) {
        const auto element = dictionary.getEntry(i, EntryKey);
        std::int32_t number = -1;
        element->getInteger("number", number);
        bool isInverted = false;
        element->getBool("inverted", isInverted);
        setInverted(number, isInverted);
        std::int32_t range = midi::Full;
        element->getInteger("range", range);
        setRange(number, range);
        std::string id;
        std::int32_t clone = 0;
        element->getInteger("clone", clone);
        if (element->getString("target", id))
            bind(number, find(id, clone));
    }
}

template class MidiMapper<Parameter*>;

float toNormalised(const MidiMapper<Parameter*>& mapper, std::int32_t controller,
                   const Parameter& parameter, float value) {
    const bool isInverted = mapper.isInverted(controller);
    const float plain = isInverted ? 1.0f - value : value;
    const auto limits = limitsOf(parameter);
    if (!limits || limits->low >= 0.0f || limits->high <= 0.0f)
        return plain;
    const auto [low, high] = *limits;
    const float span = high - low;
    switch (mapper.getRange(controller)) {
        case midi::Positive:
            return isInverted ? 1.0f - (value * high) / span : (value * high - low) / span;
        case midi::Negative:
            return isInverted ? -(value * low) / span : (value * low - low) / span;
        default:
            return plain;
    }
}

bool applyController(const MidiMapper<Parameter*>& mapper, const ModuleDirectory& modules,
                     std::int32_t controller, float value, std::int32_t position,
                     std::int32_t frames) {
    const Parameter* const target = mapper.getTarget(controller);
    if (target == nullptr)
        return false;
    const float normalised = toNormalised(mapper, controller, *target, value);
    const std::int32_t place = std::clamp(position, 0, std::max(frames - 1, 0));
    for (int i = 0; i < modules.getModuleCount(); ++i) {
        const Radio* const module = modules.getModule(i);
        Settings* const settings = module != nullptr ? settingsOf(*module) : nullptr;
        if (settings == nullptr)
            continue;
        settings->scheduleValue(target->getId(), place, normalised);
        if (Parameter* const parameter = settings->find(target->getId(), target->getClone()))
            parameter->setNormalised(normalised, FromMidi);
    }
    return true;
}

}  // namespace tarn
