// Which sample sounds for which note.
#pragma once

#include "foundation/Radio.h"
#include "foundation/Range.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tarn {

class Dictionary;
class Note;

/// The keys and velocities to which a sample is mapped; all of them at first.
struct SampleMapping {
    std::int32_t value = 0xFFFF;  // of the product's own meaning
    std::int16_t keyLow = 0;
    std::int16_t keyHigh = 128;
    std::int16_t velocityLow = 0;
    std::int16_t velocityHigh = 127;
};

/// Mappings by the sample's name. Interface thread; `findSample` also on the audio thread, while no
/// mapping is changed.
class SampleManager : public Radio {
public:
    explicit SampleManager(Radio* parent) : Radio(parent) {}

    /// Makes or replaces a name's mapping.
    virtual void setMapping(const std::string& name, std::int32_t value, Range<std::int16_t> keys,
                            Range<std::int16_t> velocities);

    /// In the order of bytes, as long as the mappings stay. The first is empty if there is none.
    std::vector<std::string> getNames() const;
    const std::string& getFirstName() const;

    /// Adds an entry for each mapping to a list, and replaces all mappings by those of a list, up
    /// to 65,536 of them. Numbers that don't fit a range's ends are cut to them.
    void write(Dictionary& list) const;
    void read(const Dictionary& list);

    /// Null for a name that isn't mapped.
    const SampleMapping* getMapping(const std::string& name) const;

    /// From 0 to 0 for a name that isn't mapped. The setters leave such a name alone, and answer
    /// false.
    virtual Range<std::int16_t> getKeyRange(const std::string& name) const;
    virtual bool setVelocityRange(const std::string& name, Range<std::int16_t> velocities);
    virtual Range<std::int16_t> getVelocityRange(const std::string& name) const;
    virtual bool setKeyRange(const std::string& name, Range<std::int16_t> keys);

    /// The first name, in the order of bytes, whose ranges hold the note's key and velocity; empty
    /// if there is none. Allocates nothing; the text lives as long as the mapping.
    virtual const std::string& findSample(const Note& note) const;

private:
    std::map<std::string, SampleMapping> mappings_;
};

}  // namespace tarn
