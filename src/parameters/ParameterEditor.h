// What a user edits a parameter with.
#pragma once

namespace tarn {

class Parameter;

/// Part of a radio that sends ControlMessages. Interface thread.
class ParameterEditor {
public:
    virtual ~ParameterEditor() = default;

    /// Null while it edits none. Not owned.
    virtual Parameter* getParameter() const = 0;
};

}  // namespace tarn
