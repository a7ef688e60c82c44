// How a value looks to the user where no formula of the framework fits: the "feedback" scaling.
#pragma once

namespace tarn {

class Parameter;

/// One parameter may have one, which it doesn't own. Any thread.
class DisplayMapper {
public:
    virtual ~DisplayMapper() = default;

    /// From what is shown to 0.0 to 1.0, and back.
    virtual float toNormalised(const Parameter* parameter, float displayValue) = 0;
    virtual float toDisplay(const Parameter* parameter, float normalised) = 0;
};

}  // namespace tarn
