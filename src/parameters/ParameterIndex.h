// Which parameter an id and a clone number stand for.
// Everything rests on one rule: at most half of the places are taken, so that a look-up ends after
// one or two of them. It allocates nothing and takes no lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tarn {

class Parameter;

/// Any thread looks up while no other changes it. Neither the ids' characters nor the parameters
/// are owned.
class ParameterIndex {
public:
    void clear() { *this = ParameterIndex(); }

    /// Nothing where the id and the number stand for a parameter already.
    void add(std::string_view id, std::int32_t clone, Parameter* parameter);

    /// Null if there is none.
    Parameter* find(std::string_view id, std::int32_t clone) const {
        return places_[placeOf(id, clone)].parameter;
    }

private:
    struct Place {
        std::string_view id;
        std::int32_t clone = 0;
        Parameter* parameter = nullptr;  // null where the place is free
    };

    std::size_t placeOf(std::string_view id, std::int32_t clone) const;
    void grow();

    std::vector<Place> places_{2};  // a power of two long
    std::size_t taken_ = 0;
};

}  // namespace tarn
