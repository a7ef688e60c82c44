#include "parameters/ParameterIndex.h"

#include <functional>
#include <utility>

namespace tarn {

void ParameterIndex::add(std::string_view id, std::int32_t clone, Parameter* parameter) {
    if (find(id, clone) != nullptr)
        return;
    if (2 * ++taken_ > places_.size())
        grow();
    places_[placeOf(id, clone)] = {id, clone, parameter};
}

// Where it is, or else would be: the first free place from the one on that the hash chooses.
std::size_t ParameterIndex::placeOf(std::string_view id, std::int32_t clone) const {
    constexpr std::size_t Spread = 0x9E3779B1;
    const std::size_t last = places_.size() - 1;
    std::size_t place =
        std::hash<std::string_view>()(id) + static_cast<std::size_t>(clone) * Spread;
    for (;; ++place) {
        const Place& here = places_[place &= last];
        if (here.parameter == nullptr || (here.clone == clone && here.id == id))
            return place;
    }
}

void ParameterIndex::grow() {
    const std::vector<Place> before =
        std::exchange(places_, std::vector<Place>(2 * places_.size()));
    for (const Place& place : before)
        if (place.parameter != nullptr)
            places_[placeOf(place.id, place.clone)] = place;
}

}  // namespace tarn
