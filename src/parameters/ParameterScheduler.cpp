#include "parameters/ParameterScheduler.h"

#include <algorithm>

namespace tarn {

namespace {

constexpr std::size_t PlacesBehind = 4;  // from the last value's place on
constexpr std::int32_t MostFrames = 1 << 20;

}  // namespace

ParameterScheduler::ParameterScheduler(Radio* parent, int divisor)
    : Radio(parent), divisor_(std::max(divisor, 1)) {}

void ParameterScheduler::reserve(const std::vector<std::string>& ids, int frames) {
    timeline_.clear();
    const int places = std::clamp(frames, 0, MostFrames) / divisor_;
    for (const std::string& id : ids)
        timeline_[id].reserve(static_cast<std::size_t>(places) + PlacesBehind);
}

void ParameterScheduler::schedule(std::string_view id, std::int32_t position, float value) {
    if (position >= MostFrames)
        return;
    auto entry = timeline_.find(id);
    if (entry == timeline_.end())
        entry = timeline_.emplace(std::string(id), std::vector<float>()).first;
    const auto place = static_cast<std::size_t>(std::max(position, 0) / divisor_);
    entry->second.resize(place + PlacesBehind);
    entry->second[place] = value;
}

bool ParameterScheduler::getScheduled(std::string_view id, std::int32_t position,
                                      float* out) const {
    const auto entry = timeline_.find(id);
    const auto place = static_cast<std::size_t>(std::max(position, 0) / divisor_);
    if (entry == timeline_.end() || place >= entry->second.size())
        return false;
    *out = entry->second[place];
    return true;
}

void ParameterScheduler::clear() {
    for (auto& [id, places] : timeline_)
        places.clear();
}

}  // namespace tarn
