#include "samples/Tuning.h"

#include "foundation/Dictionary.h"
#include "foundation/NumberText.h"

#include <cmath>

namespace tarn {

void Tuning::setEqualTemperament() {
    constexpr double Semitone = 0.08333333333333333;  // of an octave
    factors_.clear();
    for (int i = 1; i <= 12; ++i)
        factors_.push_back(std::pow(2.0, i * Semitone));
}

void Tuning::read(const Dictionary& dictionary) {
    factors_.clear();
    dictionary.getString("description", description_);
    dictionary.getInteger("anchor", anchor_);
    std::string text;
    if (dictionary.getString("frequency", text) && doubleFromText(text) > 0.0)
        frequency_ = doubleFromText(text);
    for (const std::string& factor : dictionary.getStrings("factor"))
        factors_.push_back(doubleFromText(factor));
}

void Tuning::write(Dictionary& dictionary) const {
    dictionary.setString("description", description_);
    dictionary.setInteger("anchor", anchor_);
    dictionary.setString("frequency", toText(frequency_));
    for (const double factor : factors_)
        dictionary.setString("factor", toText(factor), 0, false);
}

}  // namespace tarn
