// A number or a switch with a range, and the way it is shown.
// Everything rests on one rule: between the host's 0.0 to 1.0 and the value everything is linear;
// scales that aren't belong to the display alone.
#pragma once

#include "parameters/Parameter.h"

#include <concepts>

namespace tarn {

class DisplayMapper;

template <typename T>
concept ParameterNumber =
    std::same_as<T, bool> || std::same_as<T, std::int32_t> || std::same_as<T, float>;

/// For bool, std::int32_t and float. The minimum may be above the maximum: then 0.0 is the higher
/// end. Operations on texts allocate; all others are for any thread.
template <ParameterNumber T>
class ParameterValue : public Parameter {
public:
    enum DisplayType : std::int32_t { Scalar = 0, Pan = 1, Mix = 2, Ratio = 3 };
    enum DisplayScaling : std::int32_t {
        Linear = 0,
        Logarithmic = 1,
        Exponential = 2,
        Feedback = 3,  // by the DisplayMapper; without one everything is 0.0
        Decibels = 4,
    };

    /// Has the default as its value and the range as its display's. Both ends must be finite.
    ParameterValue(Radio* parent, std::string id, std::string name, T minimum, T maximum,
                   T defaultValue);
    ParameterValue(const ParameterValue& other);

    // Keep and fetch the value of a persistent parameter.
    void start() override;
    void stop() override;

    void resetToDefault(std::int32_t source) override { setValue(getDefault(), source); }

    /// (value - minimum) / (maximum - minimum); 0.0 for a range of one value.
    float getNormalised() const override;

    /// To integers the fraction is cut off, to switches 0.5 and more is on. What isn't finite is
    /// ignored, here and where the plain value or an end of the range is set.
    void setNormalised(float normalised, std::int32_t source) override;
    float getFloat() const override { return static_cast<float>(getValue()); }
    void setFloat(float value, std::int32_t source) override;

    /// The display value, by the display's type:
    ///     scalar  a number of at most `precision` decimals, fewer from `nrdigits` digits on, or
    ///             "oo" for infinity
    ///     pan     "L 50%", "R 50%" or "center", of a display from -1.0 to 1.0
    ///     mix     "25/75"
    ///     ratio   "4.0:1", "oo:1" at the end
    std::string getText() const override;

    /// A number for a scalar: a text that begins with none gives false and changes nothing. "4:1"
    /// or "1:4" for a ratio, where no number counts as 1. Pan and mix answer true and change
    /// nothing.
    bool setText(const std::string& text, std::int32_t source) override;

    /// Around 2e-16 where values aren't stepped: see `setStep`.
    double getStep() const override;

    /// The lowest integer where values aren't stepped.
    std::int32_t getStepCount() const override;
    std::int32_t getType() const override;
    void read(const Dictionary& dictionary) override;
    void write(Dictionary& dictionary) const override;

    /// ValueChanged sets the normalised value, ResetToDefault the default, StoreSecondary the
    /// secondary value. Always false.
    bool receive(Message& message) override;

    T getValue() const { return value_; }
    virtual T getMinimum() const { return minimum_; }
    virtual T getMaximum() const { return maximum_; }
    virtual T getDefault() const { return default_; }
    virtual bool hasRange() const { return true; }

    // What is shown for the present value, and for the ends of the range.
    virtual float getDisplayValue() const { return toDisplayValue(getNormalised()); }
    virtual float getDisplayMinimum() const { return displayMinimum_; }
    virtual float getDisplayMaximum() const { return displayMaximum_; }

    /// A second value beside the first, for a product's own use. Nobody is told.
    virtual void setSecondary(T value) { secondary_ = value; }
    T getSecondary() const { return secondary_; }

    virtual void setDisplayMinimum(float minimum) { displayMinimum_ = minimum; }
    virtual void setDisplayMaximum(float maximum) { displayMaximum_ = maximum; }
    virtual void setDisplayRange(float minimum, float maximum);

    /// Not owned; null for none.
    virtual void setFeedback(DisplayMapper* mapper) { feedback_ = mapper; }

    /// The value on a curve, where the product chose one: 1 is exponential, 2 logarithmic.
    virtual float getCurved() const;
    void setCurve(std::int32_t curve, float base);

    /// The one way to a new value: clamped to the range, put on a step, and 0 in place of a
    /// denormal. Then the broadcast rule decides whether it takes effect.
    virtual void setValue(T value, std::int32_t source);

    /// The value stays until it is set again.
    virtual void setMinimum(T minimum);
    virtual void setMaximum(T maximum);

    /// Both ends, and the value clamped between them.
    virtual void setRange(T minimum, T maximum, std::int32_t source);
    virtual void setDefault(T value) { default_ = value; }

    /// Values from the minimum in steps of that size, 0.0 for none; kept where the settings ask for
    /// steps, which they do unless told otherwise, or the definition says "always". Switches have
    /// none. Integers without a step of their own have one for each value.
    virtual void setStep(float step) { step_ = step; }

    /// The opposite of `getDisplayValue`, but for exponential scales, which don't take the
    /// display's minimum off here, and for decibels, which are linear here.
    virtual void setDisplayValue(float displayValue, std::int32_t source);

    /// What is shown at a normalised value.
    float toDisplayValue(float normalised) const;

protected:
    void fill(Announcement& announcement) const override;

private:
    bool isStepped() const;
    float span() const;
    T toPlain(double value) const;
    T onStep(T value) const;
    double scaled(double normalised) const;
    int placesFor(double shown) const;
    void readDisplay(const Dictionary& display);

    Word<T> value_;
    Word<T> minimum_;
    Word<T> maximum_;
    Word<T> default_;
    Word<float> step_{0.0f};
    Word<bool> stepsAlways_{std::same_as<T, std::int32_t>};
    Word<std::int32_t> curve_{0};
    Word<float> curveBase_{2.0f};
    Word<std::int32_t> displayType_{Scalar};
    Word<std::int32_t> displayScaling_{Linear};
    Word<T> secondary_{T()};
    Word<float> displayMinimum_;
    Word<float> displayMaximum_;
    Word<float> displayBase_{2.0f};
    Word<std::int32_t> precision_{2};
    Word<std::int32_t> digits_{2};
    Word<DisplayMapper*> feedback_{nullptr};
};

extern template class ParameterValue<bool>;
extern template class ParameterValue<std::int32_t>;
extern template class ParameterValue<float>;

}  // namespace tarn
