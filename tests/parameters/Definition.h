// Settings from the text of a definition, and a listener that notes what it hears.
#pragma once

#include "foundation/File.h"
#include "parameters/ParameterManager.h"
#include "parameters/ParameterValue.h"
#include "parameters/Settings.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace tarn {

inline std::string definition(const std::string& parameters) {
    return "<dict><file-format value='0.7'/><parameters>" + parameters + "</parameters></dict>";
}

/// Settings as a file with these elements makes them.
class Defined : public Settings {
public:
    explicit Defined(const std::string& parameters, Radio* module = nullptr)
        : Settings(module, manager()) {
        EXPECT_TRUE(loadText(definition(parameters)).isOk());
    }

    Error loadText(const std::string& text) {
        scratch_.write("Settings.xml", text);
        return load(File(scratch_.path("Settings.xml")));
    }

    /// The parameter of a class; a test fails where there is none.
    template <typename Class = Parameter>
    Class& get(std::string_view id, std::int32_t clone = 0) const {
        auto* const found = dynamic_cast<Class*>(find(id, clone));
        if (found == nullptr)
            throw std::invalid_argument("no such parameter: " + std::string(id));
        return *found;
    }

    static const ParameterManager& manager() {
        static const ParameterManager Manager;
        return Manager;
    }

private:
    test::ScratchFolder scratch_;
};

/// The state that a settings' values make.
inline std::string stateOf(const Settings& settings, std::uint32_t scopes = Parameter::AllScopes,
                           bool all = false) {
    Dictionary state;
    state.setString("file-format", "0.7");
    settings.write(state, scopes, all);
    std::string text;
    state.toString(text);
    return text;
}

/// A saved state of these elements.
inline Dictionary savedState(const std::string& values) {
    return Dictionary("<dict><file-format value='0.7'/>" + values + "</dict>");
}

class Ears : public Radio {
public:
    struct Heard {
        std::string name;
        float value;
        std::int32_t payload;  // as far as it is a word
        std::int32_t clone;
        std::int32_t mode;
        bool operator==(const Heard&) const = default;
    };

    explicit Ears(Radio& station) : Radio(nullptr) { tuneIn(&station); }

    bool receive(Message& message) override {
        const auto* const change = dynamic_cast<ParameterMessage*>(&message);
        if (change != nullptr)
            heard.push_back({change->parameterName.str(), change->value,
                             fromPayload<std::int32_t>(change->payload), change->cloneNumber,
                             change->mode});
        return false;
    }

    /// Forgets what came so far.
    std::vector<Heard> take() { return std::exchange(heard, {}); }

    std::vector<Heard> heard;
};

}  // namespace tarn
