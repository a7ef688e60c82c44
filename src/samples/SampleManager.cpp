#include "samples/SampleManager.h"

#include "foundation/Dictionary.h"
#include "samples/Note.h"

#include <algorithm>
#include <limits>

namespace tarn {

namespace {

Range<std::int16_t> keysOf(const SampleMapping& mapping) {
    return {mapping.keyLow, mapping.keyHigh};
}

Range<std::int16_t> velocitiesOf(const SampleMapping& mapping) {
    return {mapping.velocityLow, mapping.velocityHigh};
}

const std::string none;

// Of a mapping in a state.
constexpr const char* EntryKey = "sample";
constexpr std::int32_t MostMappings = 65536;

std::int16_t readEnd(const Dictionary& entry, const char* key, std::int16_t otherwise) {
    std::int32_t value = otherwise;
    entry.getInteger(key, value);
    using Limits = std::numeric_limits<std::int16_t>;
    return static_cast<std::int16_t>(std::clamp<std::int32_t>(value, Limits::min(), Limits::max()));
}

}  // namespace

void SampleManager::setMapping(const std::string& name, std::int32_t value,
                               Range<std::int16_t> keys, Range<std::int16_t> velocities) {
    mappings_[name] = {value, keys.low, keys.high, velocities.low, velocities.high};
}

const SampleMapping* SampleManager::getMapping(const std::string& name) const {
    const auto found = mappings_.find(name);
    return found != mappings_.end() ? &found->second : nullptr;
}

Range<std::int16_t> SampleManager::getKeyRange(const std::string& name) const {
    const SampleMapping* const mapping = getMapping(name);
    return mapping != nullptr ? keysOf(*mapping) : Range<std::int16_t>{};
}

bool SampleManager::setVelocityRange(const std::string& name, Range<std::int16_t> velocities) {
    const auto found = mappings_.find(name);
    if (found == mappings_.end())
        return false;
    found->second.velocityLow = velocities.low;
    found->second.velocityHigh = velocities.high;
    return true;
}

Range<std::int16_t> SampleManager::getVelocityRange(const std::string& name) const {
    const SampleMapping* const mapping = getMapping(name);
    return mapping != nullptr ? velocitiesOf(*mapping) : Range<std::int16_t>{};
}

bool SampleManager::setKeyRange(const std::string& name, Range<std::int16_t> keys) {
    const auto found = mappings_.find(name);
    if (found == mappings_.end())
        return false;
    found->second.keyLow = keys.low;
    found->second.keyHigh = keys.high;
    return true;
}

std::vector<std::string> SampleManager::getNames() const {
    std::vector<std::string> names;
    for (const auto& [name, mapping] : mappings_)
        names.push_back(name);
    return names;
}

const std::string& SampleManager::getFirstName() const {
    return mappings_.empty() ? none : mappings_.begin()->first;
}

void SampleManager::write(Dictionary& list) const {
    for (const auto& [name, mapping] : mappings_) {
        const auto entry = list.addDict(EntryKey);
        if (!entry)
            return;
        entry->setString("name", name);
        entry->setInteger("value", mapping.value);
        entry->setInteger("keyLow", mapping.keyLow);
        entry->setInteger("keyHigh", mapping.keyHigh);
        entry->setInteger("velocityLow", mapping.velocityLow);
        entry->setInteger("velocityHigh", mapping.velocityHigh);
    }
}

void SampleManager::read(const Dictionary& list) {
    mappings_.clear();
    for (std::int32_t i = 0; i < std::min(list.count(EntryKey), MostMappings); ++i) {
        const auto entry = list.getEntry(i, EntryKey);
        std::string name;
        if (!entry->getString("name", name))
            continue;
        SampleMapping mapping;
        entry->getInteger("value", mapping.value);
        mapping.keyLow = readEnd(*entry, "keyLow", mapping.keyLow);
        mapping.keyHigh = readEnd(*entry, "keyHigh", mapping.keyHigh);
        mapping.velocityLow = readEnd(*entry, "velocityLow", mapping.velocityLow);
        mapping.velocityHigh = readEnd(*entry, "velocityHigh", mapping.velocityHigh);
        mappings_[name] = mapping;
    }
}

const std::string& SampleManager::findSample(const Note& note) const {
    const auto found = std::find_if(mappings_.begin(), mappings_.end(), [&note](const auto& entry) {
        return keysOf(entry.second).contains(note.getKey()) &&
               velocitiesOf(entry.second).contains(note.getVelocity());
    });
    return found != mappings_.end() ? found->first : none;
}

}  // namespace tarn
