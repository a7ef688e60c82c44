// A choice from a list.
// Everything rests on one rule: the value is the entry's index. Entries are added and replaced
// while the parameter is loaded, and don't change after that, but for their display texts.
#pragma once

#include "parameters/Parameter.h"

#include <vector>

namespace tarn {

/// What all enums have in common, whatever the type of their values.
class ParameterChoice : public Parameter {
public:
    using Parameter::Parameter;

    virtual std::int32_t getIndex() const = 0;

    /// An index that isn't there, or is the present one, does nothing.
    virtual void setIndex(std::int32_t index, std::int32_t source) = 0;

    /// What is shown for an entry; empty for an index that isn't there. Allocates.
    virtual std::string getDisplay(std::int32_t index) const = 0;
};

/// For std::int32_t, float and std::string.
template <typename T>
class ParameterEnum : public ParameterChoice {
public:
    ParameterEnum(Radio* parent, std::string id, std::string name);
    ParameterEnum(const ParameterEnum& other);

    // Keep and fetch the index of a persistent parameter.
    void start() override;
    void stop() override;

    void resetToDefault(std::int32_t source) override { setIndex(getDefault(), source); }

    /// The index by the last one; 0.0 where there are fewer than two entries.
    float getNormalised() const override;

    /// The entry at that part of the list, rounded down: each has the same share.
    void setNormalised(float normalised, std::int32_t source) override;

    /// The entry's value, or of a text the number that it begins with; 0.0 without an entry.
    float getFloat() const override;

    /// By the index, rounded.
    void setFloat(float index, std::int32_t source) override;

    /// The entry's display text.
    std::string getText() const override { return getDisplay(getIndex()); }

    /// Replaces the present entry's display text, and selects nothing. True.
    bool setText(const std::string& text, std::int32_t source) override;

    /// In normalised values; 0.0 with fewer than two entries.
    double getStep() const override;
    std::int32_t getStepCount() const override;

    /// The type of the entries' values, as numbered for this class: 1 text, 2 integer, 3 float.
    std::int32_t getType() const override;

    /// A definition that has "values" replaces all entries.
    void read(const Dictionary& dictionary) override;
    void write(Dictionary& dictionary) const override;

    /// ValueChanged selects the entry that the payload numbers, but never the first. Always false.
    bool receive(Message& message) override;

    /// Appends; listeners are sent the present index.
    virtual void addEntry(const T& value, const std::string& display);

    /// The present entry's value; 0 or empty without one.
    virtual T getValue() const;
    virtual std::int32_t getDefault() const { return defaultIndex_; }

    void setIndex(std::int32_t index, std::int32_t source) override;
    virtual void setDefaultIndex(std::int32_t index) { defaultIndex_ = index; }
    std::int32_t getIndex() const override { return index_; }
    std::string getDisplay(std::int32_t index) const override;

protected:
    void fill(Announcement& announcement) const override;

private:
    struct Entry {
        T value;
        std::string display;
    };

    mutable Mutex entriesLock_;  // guards the next one, for all that need more than the count
    std::vector<Entry> entries_;
    Word<std::int32_t> count_{0};
    Word<std::int32_t> index_{0};
    Word<std::int32_t> defaultIndex_{0};
};

extern template class ParameterEnum<std::int32_t>;
extern template class ParameterEnum<float>;
extern template class ParameterEnum<std::string>;

}  // namespace tarn
