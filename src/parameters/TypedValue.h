// One name for the getters and setters of trees and preferences, for code that has a type for a
// template argument.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>

namespace tarn {

/// What the store's getter for that type gives; false, with `out` as it was, where there is none.
template <typename Store, typename T>
bool getTyped(const Store& store, const std::string& key, T& out) {
    if constexpr (std::same_as<T, bool>)
        return store.getBool(key, out);
    else if constexpr (std::same_as<T, float>)
        return store.getFloat(key, out);
    else if constexpr (std::same_as<T, std::int32_t>)
        return store.getInteger(key, out);
    else
        return store.getString(key, out);
}

/// With what the setter takes beside key and value, such as a clone number.
template <typename Store, typename T, typename... More>
void setTyped(Store& store, const std::string& key, const T& value, More... more) {
    if constexpr (std::same_as<T, bool>)
        store.setBool(key, value, more...);
    else if constexpr (std::same_as<T, float>)
        store.setFloat(key, value, more...);
    else
        store.setInteger(key, value, more...);
}

}  // namespace tarn
