#include "parameters/ParameterEnum.h"

#include "foundation/Dictionary.h"
#include "foundation/NumberText.h"
#include "foundation/Preferences.h"
#include "parameters/TypedValue.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <type_traits>
#include <utility>

namespace tarn {

template <typename T>
ParameterEnum<T>::ParameterEnum(Radio* parent, std::string id, std::string name)
    : ParameterChoice(parent, std::move(id), std::move(name)) {}

template <typename T>
ParameterEnum<T>::ParameterEnum(const ParameterEnum& other)
    : Allocator(),
      ParameterChoice(other),
      index_(other.index_),
      defaultIndex_(other.defaultIndex_) {
    const std::lock_guard hold(other.entriesLock_);
    entries_ = other.entries_;
    count_ = static_cast<std::int32_t>(entries_.size());
}

template <typename T>
void ParameterEnum<T>::start() {
    const auto preferences = openPreferences(Preferences::Read);
    if (std::int32_t index = 0; preferences && preferences->getInteger(getId(), index))
        setIndex(index, FromInternal);
}

template <typename T>
void ParameterEnum<T>::stop() {
    if (const auto preferences = openPreferences(Preferences::Write))
        preferences->setInteger(getId(), getIndex());
}

template <typename T>
float ParameterEnum<T>::getNormalised() const {
    const std::int32_t last = count_ - 1;
    return last > 0 ? static_cast<float>(index_) / static_cast<float>(last) : 0.0f;
}

template <typename T>
void ParameterEnum<T>::setNormalised(float normalised, std::int32_t source) {
    const std::int32_t count = count_;
    if (std::isnan(normalised) || count == 0)
        return;
    const double place = std::floor(static_cast<double>(count) * normalised);
    setIndex(static_cast<std::int32_t>(std::clamp(place, 0.0, count - 1.0)), source);
}

template <typename T>
float ParameterEnum<T>::getFloat() const {
    if constexpr (std::is_same_v<T, std::string>)
        return floatFromText(getValue());
    else
        return static_cast<float>(getValue());
}

template <typename T>
void ParameterEnum<T>::setFloat(float index, std::int32_t source) {
    const float rounded = std::round(index);
    if (rounded >= 0.0f && rounded < static_cast<float>(count_))
        setIndex(static_cast<std::int32_t>(rounded), source);
}

template <typename T>
std::string ParameterEnum<T>::getDisplay(std::int32_t index) const {
    const std::lock_guard hold(entriesLock_);
    const auto at = static_cast<std::size_t>(index);
    return at < entries_.size() ? entries_[at].display : std::string();
}

template <typename T>
bool ParameterEnum<T>::setText(const std::string& text, std::int32_t /*source*/) {
    const std::lock_guard hold(entriesLock_);
    const auto index = static_cast<std::size_t>(getIndex());
    if (index < entries_.size())
        entries_[index].display = text;
    return true;
}

template <typename T>
double ParameterEnum<T>::getStep() const {
    const std::int32_t last = count_ - 1;
    return last > 0 ? 1.0 / last : 0.0;
}

template <typename T>
std::int32_t ParameterEnum<T>::getStepCount() const {
    return count_;
}

template <typename T>
std::int32_t ParameterEnum<T>::getType() const {
    if constexpr (std::is_same_v<T, std::string>)
        return 1;
    else if constexpr (std::is_same_v<T, float>)
        return 3;
    else
        return 2;
}

template <typename T>
void ParameterEnum<T>::read(const Dictionary& dictionary) {
    Parameter::read(dictionary);
    if (const auto values = dictionary.getArray("values")) {
        {
            const std::lock_guard hold(entriesLock_);
            entries_.clear();
            count_ = 0;
        }
        index_ = 0;
        defaultIndex_ = 0;
        for (std::int32_t i = 0; i < values->count(""); ++i) {
            const auto entry = values->getEntry(i);
            T value{};
            getTyped(*entry, "value", value);
            if (entry->isElement())
                addEntry(value, entry->getAttribute("display"));
        }
    }
    if (std::int32_t index = 0; dictionary.getInteger("value", index))
        setIndex(index, FromLoad);
    if (std::int32_t index = 0; dictionary.getInteger("defval", index))
        setDefaultIndex(index);
    if (std::string unit; dictionary.getString("unit", unit))
        setUnit(unit);
    start();
}

template <typename T>
void ParameterEnum<T>::write(Dictionary& dictionary) const {
    dictionary.setInteger(stateKey(getId()), getIndex(), getClone());
}

template <typename T>
bool ParameterEnum<T>::receive(Message& message) {
    if (message.type == MessageType::Parameter && message.code == ParameterMessage::ValueChanged) {
        const auto index = static_cast<std::int32_t>(message.payload & 0xFFFFFFFFU);
        if (index != 0)
            setIndex(index, static_cast<ParameterMessage&>(message).mode);
    }
    return false;
}

template <typename T>
void ParameterEnum<T>::addEntry(const T& value, const std::string& display) {
    {
        const std::lock_guard hold(entriesLock_);
        entries_.push_back({value, display});
        count_ = static_cast<std::int32_t>(entries_.size());
    }
    announce(FromInternal);
}

template <typename T>
T ParameterEnum<T>::getValue() const {
    const std::lock_guard hold(entriesLock_);
    const auto index = static_cast<std::size_t>(getIndex());
    return index < entries_.size() ? entries_[index].value : T();
}

template <typename T>
void ParameterEnum<T>::setIndex(std::int32_t index, std::int32_t source) {
    if (index < 0 || index >= count_ || index_.exchange(index) == index)
        return;
    announce(source, toPayload(index));
}

template <typename T>
void ParameterEnum<T>::fill(Announcement& announcement) const {
    announcement.message.payload = toPayload(getIndex());
    announcement.message.value = getNormalised();
}

template class ParameterEnum<std::int32_t>;
template class ParameterEnum<float>;
template class ParameterEnum<std::string>;

}  // namespace tarn
