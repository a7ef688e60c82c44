#include "samples/SampleManager.h"

#include "samples/Note.h"

#include <algorithm>

namespace tarn {

namespace {

Range<std::int16_t> keysOf(const SampleMapping& mapping) {
    return {mapping.keyLow, mapping.keyHigh};
}

Range<std::int16_t> velocitiesOf(const SampleMapping& mapping) {
    return {mapping.velocityLow, mapping.velocityHigh};
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

const std::string& SampleManager::findSample(const Note& note) const {
    static const std::string none;
    const auto found = std::find_if(mappings_.begin(), mappings_.end(), [&note](const auto& entry) {
        return keysOf(entry.second).contains(note.getKey()) &&
               velocitiesOf(entry.second).contains(note.getVelocity());
    });
    return found != mappings_.end() ? found->first : none;
}

}  // namespace tarn
