// Lists of values: of texts, and of key ranges.
// Everything rests on one rule: a list is changed entry by entry, and a message tells which entry,
// not what it holds.
#pragma once

#include "foundation/Range.h"
#include "parameters/Parameter.h"

#include <vector>

namespace tarn {

/// What lists have in common: no number stands for one. Any thread but the audio thread.
template <typename T>
class ParameterArray : public Parameter {
public:
    ParameterArray(Radio* parent, std::string id, std::string name);
    ParameterArray(const ParameterArray& other);

    float getNormalised() const override { return 0.0f; }
    void setNormalised(float /*normalised*/, std::int32_t /*source*/) override {}
    float getFloat() const override { return 0.0f; }
    void setFloat(float /*value*/, std::int32_t /*source*/) override {}

    /// The list as it is saved, with "|" between the entries. So a text with a "|" comes back as
    /// two entries, and an empty one at the end not at all.
    std::string getText() const override;
    bool setText(const std::string& text, std::int32_t source) override;

    /// How many entries there are.
    std::int32_t getStepCount() const override;
    std::int32_t getType() const override { return String; }

    /// Replaces all entries, of which 16,384 are read at most; listeners are told of each.
    void read(const Dictionary& dictionary) override;
    void write(Dictionary& dictionary) const override;

    /// An entry that isn't there is empty.
    virtual T getEntry(std::int32_t index) const;

    /// Listeners get the last index as payload.
    virtual void addEntry(const T& entry, std::int32_t source);

    /// Listeners get the index as payload, in any case.
    virtual void setEntry(std::int32_t index, const T& entry, std::int32_t source);

    /// Tells nobody.
    virtual void removeEntry(std::int32_t index);

protected:
    void fill(Announcement& announcement) const override;
    void refill(Announcement& /*announcement*/) const override {}  // it tells of its own entry
    void announceEntry(std::int32_t index, std::int32_t source);

    // These two under the lock: where a new entry goes, and what a change of one does to the
    // others.
    virtual std::size_t placeOf(const T& /*entry*/) const { return entries_.size(); }
    virtual void arrange(std::size_t /*changed*/) {}

    mutable Mutex entriesLock_;  // guards the next one
    std::vector<T> entries_;

private:
    void replaceAll(std::string_view text, std::int32_t source);

    Word<std::int32_t> told_{-1};  // the entry of the last message; under the delivery lock
};

extern template class ParameterArray<std::string>;
extern template class ParameterArray<Range<std::int16_t>>;

/// Runs of MIDI keys, 0 to 127 where nothing else is asked for, saved as "36:60|61:96".
class ParameterKeyranges : public ParameterArray<Range<std::int16_t>> {
public:
    ParameterKeyranges(Radio* parent, std::string id, std::string name, bool keepSorted = true,
                       bool allowOverlap = false);
    ParameterKeyranges(const ParameterKeyranges& other) = default;

    std::int32_t getType() const override { return KeyRanges; }

protected:
    /// If the list is kept sorted: before the first range that begins and ends later.
    std::size_t placeOf(const Range<std::int16_t>& entry) const override;

    /// Where ranges must not overlap, the changed one is trimmed and the others stay; then all are
    /// sorted by their lowest key.
    void arrange(std::size_t changed) override;

private:
    bool keepSorted_;
    bool allowOverlap_;
};

}  // namespace tarn
