#include "parameters/ParameterArray.h"

#include "foundation/Dictionary.h"
#include "foundation/NumberText.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <mutex>
#include <utility>

namespace tarn {

namespace {

using KeyRange = Range<std::int16_t>;

constexpr char Separator = '|';
constexpr std::size_t MostEntries = 16384;

void parse(std::string_view piece, std::string& entry) {
    entry = piece;
}

// Takes the number that the text begins with, behind white space, off it.
std::int16_t takeNumber(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\r"), text.size()));
    int number = 0;
    const char* const end = text.data() + text.size();
    const char* const behind = std::from_chars(text.data(), end, number).ptr;
    text.remove_prefix(static_cast<std::size_t>(behind - text.data()));
    using Limits = std::numeric_limits<std::int16_t>;
    return static_cast<std::int16_t>(std::clamp<int>(number, Limits::lowest(), Limits::max()));
}

void parse(std::string_view piece, KeyRange& entry) {
    entry.low = takeNumber(piece);
    piece.remove_prefix(std::min(piece.find_first_not_of(" \t\n\r"), piece.size()));
    piece.remove_prefix(std::min<std::size_t>(piece.size(), 1));  // whatever separates the two
    entry.high = takeNumber(piece);
}

const std::string& print(const std::string& entry) {
    return entry;
}

std::string print(const KeyRange& entry) {
    return toText(std::int32_t{entry.low}) + ":" + toText(std::int32_t{entry.high});
}

bool overlap(const KeyRange& a, const KeyRange& b) {
    return a.low <= b.high && b.low <= a.high;
}

}  // namespace

template <typename T>
ParameterArray<T>::ParameterArray(Radio* parent, std::string id, std::string name)
    : Parameter(parent, std::move(id), std::move(name)) {}

template <typename T>
ParameterArray<T>::ParameterArray(const ParameterArray& other) : Allocator(), Parameter(other) {
    const std::lock_guard hold(other.entriesLock_);
    entries_ = other.entries_;
}

template <typename T>
std::string ParameterArray<T>::getText() const {
    const std::lock_guard hold(entriesLock_);
    std::string text;
    for (const T& entry : entries_) {
        if (&entry != entries_.data())
            text += Separator;
        text += print(entry);
    }
    return text;
}

template <typename T>
bool ParameterArray<T>::setText(const std::string& text, std::int32_t source) {
    replaceAll(text, source);
    return true;
}

template <typename T>
std::int32_t ParameterArray<T>::getStepCount() const {
    const std::lock_guard hold(entriesLock_);
    return static_cast<std::int32_t>(entries_.size());
}

template <typename T>
void ParameterArray<T>::read(const Dictionary& dictionary) {
    Parameter::read(dictionary);
    std::string text;
    dictionary.getString("value", text);
    replaceAll(text, FromLoad);
}

template <typename T>
void ParameterArray<T>::replaceAll(std::string_view text, std::int32_t source) {
    {
        const std::lock_guard hold(entriesLock_);
        entries_.clear();
    }
    for (std::size_t read = 0; !text.empty() && read < MostEntries; ++read) {
        const std::size_t end = std::min(text.find(Separator), text.size());
        T entry{};
        parse(text.substr(0, end), entry);
        addEntry(entry, source);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

template <typename T>
void ParameterArray<T>::write(Dictionary& dictionary) const {
    dictionary.setString(stateKey(getId()), getText(), getClone());
}

template <typename T>
T ParameterArray<T>::getEntry(std::int32_t index) const {
    const std::lock_guard hold(entriesLock_);
    const auto place = static_cast<std::size_t>(index);
    return place < entries_.size() ? entries_[place] : T();
}

template <typename T>
void ParameterArray<T>::addEntry(const T& entry, std::int32_t source) {
    {
        const std::lock_guard hold(entriesLock_);
        entries_.insert(entries_.begin() + static_cast<std::ptrdiff_t>(placeOf(entry)), entry);
    }
    announceEntry(getStepCount() - 1, source);
}

template <typename T>
void ParameterArray<T>::setEntry(std::int32_t index, const T& entry, std::int32_t source) {
    {
        const std::lock_guard hold(entriesLock_);
        const auto place = static_cast<std::size_t>(index);
        if (place < entries_.size()) {
            entries_[place] = entry;
            arrange(place);
        }
    }
    announceEntry(index, source);
}

template <typename T>
void ParameterArray<T>::removeEntry(std::int32_t index) {
    const std::lock_guard hold(entriesLock_);
    const auto place = static_cast<std::size_t>(index);
    if (place < entries_.size())
        entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(place));
}

template <typename T>
void ParameterArray<T>::announceEntry(std::int32_t index, std::int32_t source) {
    const RadioLock::Hold hold(this->deliveryLock());
    told_ = index;
    this->announce(source);
}

template <typename T>
void ParameterArray<T>::fill(Announcement& announcement) const {
    announcement.message.payload = toPayload(told_.get());
}

template class ParameterArray<std::string>;
template class ParameterArray<KeyRange>;

ParameterKeyranges::ParameterKeyranges(Radio* parent, std::string id, std::string name,
                                       bool keepSorted, bool allowOverlap)
    : ParameterArray(parent, std::move(id), std::move(name)),
      keepSorted_(keepSorted),
      allowOverlap_(allowOverlap) {}

std::size_t ParameterKeyranges::placeOf(const KeyRange& entry) const {
    if (!keepSorted_)
        return entries_.size();
    const auto later = std::ranges::find_if(entries_, [&entry](const KeyRange& other) {
        return other.low > entry.low && other.high > entry.high;
    });
    return static_cast<std::size_t>(later - entries_.begin());
}

void ParameterKeyranges::arrange(std::size_t changed) {
    KeyRange& edited = entries_[changed];
    for (std::size_t i = 0; i < entries_.size() && !allowOverlap_; ++i) {
        const KeyRange& other = entries_[i];
        if (i == changed || !overlap(edited, other))
            continue;
        // In int, where a key below the lowest one has a number.
        if (edited.high >= other.high)
            edited.low = static_cast<std::int16_t>(std::min<int>(other.high + 1, edited.high));
        else if (edited.contains(other.low))
            edited.high = static_cast<std::int16_t>(std::max<int>(other.low - 1, edited.low));
    }
    std::ranges::stable_sort(entries_, {}, &KeyRange::low);
}

}  // namespace tarn
