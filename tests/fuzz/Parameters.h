// What the fuzzers of parameters share: settings from a text, and the states that they write.
#pragma once

#include "Require.h"
#include "foundation/File.h"
#include "parameters/ParameterManager.h"
#include "parameters/ParameterValue.h"
#include "parameters/Settings.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <string_view>

namespace tarn::fuzz {

/// A file for operations that take one; it goes with the object.
class PassingFile {
public:
    ~PassingFile() { std::remove(path_.c_str()); }
    File file() const { return File(path_); }
    void write(std::string_view bytes) const { std::ofstream(path_, std::ios::binary) << bytes; }
    std::string read() const {
        std::ifstream stream(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    const std::string path_ = std::filesystem::temp_directory_path() /
                              ("brimtide-fuzz-" + std::to_string(std::random_device{}()));
};

/// The input if it is a document, or else the document that it is the middle of.
inline std::string documentOf(const std::uint8_t* data, std::size_t size,
                              std::string_view head = "<dict file-format='0.7'><parameters>",
                              std::string_view tail = "</parameters></dict>") {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    if (input.starts_with("<dict") || input.starts_with("<?xml"))
        return std::string(input);
    return std::string(head).append(input).append(tail);
}

/// Whether the settings took the text as their definition.
inline bool load(Settings& settings, std::string_view text) {
    static const PassingFile file;
    file.write(text);
    try {
        return settings.load(file.file()).isOk();
    } catch (const Error&) {
        return false;
    }
}

/// Whether the settings took the whole state.
inline bool read(Settings& settings, std::string_view text) {
    const auto values = Dictionary(text).find("parameters");
    try {
        if (values)
            settings.read(*values, Parameter::AllScopes, 3, false);
        return true;
    } catch (const GeneralError&) {
        return false;
    }
}

/// What they save.
inline std::string stateOf(const Settings& settings) {
    Dictionary state;
    state.setString("file-format", "0.7");
    settings.write(*state.addDict("parameters"), Parameter::AllScopes, false);
    std::string text;
    state.toString(text);
    return text;
}

template <typename Visit>
void forEachParameter(const Settings& level, Visit visit) {
    for (const auto& parameter : level.getParameters())
        visit(*parameter);
    for (const auto& section : level.getSections())
        forEachParameter(*section.child, visit);
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

/// All classes, and sections with clones.
inline constexpr std::string_view AllClasses =
    "<dict><file-format value='0.7'/><parameters>"
    "<Text class='ParameterText'/><Free class='ParameterCustom' value='f' scope='program'/>"
    "<Keys class='ParameterArray' type='custom' scope='zone' value='1:2|3:9'/>"
    "<On class='ParameterValue' type='bool' scope='module'/>"
    "<Gain class='ParameterValue' type='float' maxval='2' scope='module'>"
    "<display scaling='dB' precision='1'/></Gain>"
    "<section name='Band'><Cut class='ParameterValue' type='float' minval='20' maxval='20000'"
    " defval='1000' scope='module'><display scaling='logarithmic'/></Cut>"
    "<Note class='ParameterValue' type='integer' minval='-64' maxval='63' scope='zone'/>"
    "<section name='In'><Ratio class='ParameterValue' type='float' steps='9' scope='module'>"
    "<display type='ratio'/></Ratio></section></section>"
    "<section name='Band'><Wave class='ParameterEnum' type='string' scope='module'><values>"
    "<v value='sin' display='Sine'/><v value='saw' display='Saw'/></values></Wave>"
    "<Voices class='ParameterEnum' type='integer'><values><v value='1'/><v value='8'/></values>"
    "</Voices><Tune class='ParameterEnum' type='float'><values><v value='0.5'/><v value='2'/>"
    "</values></Tune></section></parameters></dict>";

}  // namespace tarn::fuzz
