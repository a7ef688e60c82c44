// Settings from the text of a definition; what parameters do and tell, as texts.
#pragma once

#include "parameters/ParameterValue.h"
#include "parameters/Trees.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <charconv>
#include <sstream>
#include <string>
#include <utility>

namespace tarn {

/// Settings as a file with these elements, or this document, makes them.
class Defined : public Settings {
public:
    explicit Defined(const std::string& text, Radio* module = nullptr) : Settings(module, Manager) {
        EXPECT_TRUE(loadText(*this, text).isOk());
    }

    /// A parameter that is there, of that class.
    template <typename Class = Parameter>
    Class& get(std::string_view id = "P", std::int32_t clone = 0) const {
        return dynamic_cast<Class&>(*find(id, clone));
    }
};

/// A saved state of these elements.
inline Dictionary savedState(const std::string& values) {
    return Dictionary("<dict><file-format value='0.7'/>" + values + "</dict>");
}

/// Takes steps with a parameter, as in "n 0.3; = 0.25; : 0.25". They set the normalised (n), plain
/// (v), shown (d) or typed (t) value, or expect the plain (=), normalised (%) or shown (~) value or
/// the text (:), numbers within a millionth.
inline void take(Parameter& parameter, const std::string& steps) {
    std::istringstream stream(steps);
    for (std::string step; std::getline(stream >> std::ws, step, ';');) {
        const char what = step[0];
        const std::string text = step.substr(std::min<std::size_t>(step.size(), 2));
        float number = 0.0f;
        std::from_chars(text.data(), text.data() + text.size(), number);  // infinities and NaN too
        auto* const shown = dynamic_cast<ParameterValue<float>*>(&parameter);
        if (what == 'n')
            parameter.setNormalised(number, FromUser);
        else if (what == 'v')
            parameter.setFloat(number, FromUser);
        else if (what == 'd')
            shown->setDisplayValue(number, FromUser);
        else if (what == 't')
            parameter.setText(text, FromUser);
        else if (what == ':')
            EXPECT_EQ(parameter.getText(), text) << step;
        else
            EXPECT_NEAR(what == '='   ? parameter.getFloat()
                        : what == '%' ? parameter.getNormalised()
                                      : shown->getDisplayValue(),
                        number, 1e-6 * std::max(1.0f, std::abs(number)))
                << step;
    }
}

/// Hears parameters.
class Ears : public Radio {
public:
    Ears() : Radio(nullptr) {}
    explicit Ears(Parameter& station) : Ears() { tuneIn(&station); }

    bool receive(Message& message) override {
        const auto& change = dynamic_cast<ParameterMessage&>(message);
        const bool isFloat = dynamic_cast<Parameter&>(*change.sender).getType() == Parameter::Float;
        text_ << change.parameterName.view() << change.cloneNumber << ' ' << change.value << ' '
              << (isFloat ? fromPayload<float>(change.payload)
                          : static_cast<float>(fromPayload<std::int32_t>(change.payload)))
              << " from " << change.mode << "; ";
        return false;
    }

    /// What came since the last call: id, clone number, normalised value, payload and source.
    std::string heard() { return std::exchange(text_, {}).str(); }

private:
    std::ostringstream text_;
};

}  // namespace tarn
