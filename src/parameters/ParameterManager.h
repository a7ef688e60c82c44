// Makes parameters: from their definitions, and from one another.
#pragma once

namespace tarn {

class Dictionary;
class Parameter;

/// A product may replace it by a class of its own. Control thread.
class ParameterManager {
public:
    virtual ~ParameterManager() = default;

    /// A new parameter, the caller's, of the class and type that the element names; null if it
    /// names no class of parameters. It has no parent, and of its keys only those that its
    /// creation needs are read. Throws `ErrorNoSuchParameterType` for a class without that type.
    virtual Parameter* createFromDictionary(const Dictionary& definition) const;

    /// A copy of the same class, the caller's, whose parent and settings are the original's until
    /// others are set. Throws `ErrorNoSuchParameterType` for a class of which the manager knows
    /// nothing.
    virtual Parameter* createCopy(const Parameter* parameter) const;
};

}  // namespace tarn
