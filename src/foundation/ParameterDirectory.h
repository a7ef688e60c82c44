// What a radio must know of a set of parameters in order to tune in by name.
#pragma once

#include <cstdint>
#include <string_view>

namespace tarn {

class Radio;
class Settings;

/// Implemented by the parameter tree of a module.
class ParameterDirectory {
public:
    virtual ~ParameterDirectory() = default;

    /// The parameter of that name and clone number, which counts up from 0 without a gap; null if
    /// there is none.
    virtual Radio* findParameter(std::string_view name, std::int32_t clone) = 0;

    /// Whether a parameter that was found here belongs to its module, and not to the whole plug-in.
    virtual bool hasModuleScope(const Radio& parameter) const = 0;

    /// The parameter tree that this is; null for any other implementation.
    virtual Settings* asSettings() noexcept { return nullptr; }
};

}  // namespace tarn
