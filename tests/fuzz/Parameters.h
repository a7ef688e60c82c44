// What the fuzzers of parameters share: settings from a text, and the states that they write.
#pragma once

#include "Require.h"
#include "parameters/ParameterValue.h"
#include "parameters/Trees.h"

#include <algorithm>
#include <limits>
#include <set>
#include <string>

namespace tarn::fuzz {

inline std::string textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Whether the settings took the text as their definition.
inline bool loads(Settings& settings, const std::string& text) {
    try {
        return loadText(settings, text).isOk();
    } catch (const Error&) {
        return false;
    }
}

inline void read(Settings& settings, const std::string& text) {
    const Dictionary tree(text);
    const auto values = tree.find("parameters");
    settings.read(values ? *values : tree, Parameter::AllScopes, Parameter::AllRealms, false);
}

/// Whether each parameter and section has a key of its own in a state.
inline bool keysDiffer(const Settings& level) {
    std::set<std::string> keys;
    bool differ = true;
    for (const auto& parameter : level.getParameters())
        differ = keys.insert(stateKey(parameter->getId())).second && differ;
    for (const auto& section : level.getSections())
        differ = (section.clone != 0 || keys.insert(stateKey(section.name)).second) &&
                 keysDiffer(*section.child) && differ;
    return differ;
}

template <ParameterNumber T>
void setShown(Parameter& parameter) {
    auto* const value = dynamic_cast<ParameterValue<T>*>(&parameter);
    if (value == nullptr)
        return;
    for (const float shown : {value->getDisplayValue(), value->getDisplayMaximum(), -1.0f, 0.7f})
        value->setDisplayValue(shown, FromUser);
    const auto [low, high] = std::minmax({value->getMinimum(), value->getMaximum()});
    require(value->getBroadcast() == Parameter::NeverBroadcast ||
            (value->getValue() >= low && value->getValue() <= high));
}

/// By every setter; and looked at in every way.
inline void setEveryWay(Parameter& parameter) {
    for (const float value : {0.3f, -1e30f, 1.0f, std::numeric_limits<float>::quiet_NaN(), 7.1f}) {
        parameter.setNormalised(value, FromHost);
        parameter.setFloat(value, FromUser);
        parameter.setText(parameter.getText(), FromUser);
    }
    for (const char* const text : {"2:1", "-0.4", "1:5|64:60|x", ""})
        parameter.setText(text, FromUser);
    setShown<bool>(parameter);
    setShown<std::int32_t>(parameter);
    setShown<float>(parameter);
    (void)(parameter.getStep() + parameter.getStepCount() + parameter.getFloat());
    (void)(parameter.getHostName(8) + parameter.getUnit());
}

}  // namespace tarn::fuzz
