// What tests and fuzzers of parameters share: a product, an instance's two modules, all classes of
// parameters, settings from a text, and the states that settings make.
#pragma once

#include "foundation/File.h"
#include "foundation/ProductIdentity.h"
#include "foundation/TextOf.h"
#include "parameters/ModuleDirectory.h"
#include "parameters/ParameterManager.h"
#include "parameters/Settings.h"
#include "support/ScratchFolder.h"

#include <string>

namespace tarn {

class Product : public ProductIdentity {
public:
    Product() { set(this); }
    ~Product() override { set(nullptr); }
    std::string getVendorName() const override { return "Maker"; }
    std::string getProductName() const override { return "Product"; }
    std::string getVersionText() const override { return "1.2.0"; }
    std::string getFileFormatText() const override { return "0.7"; }
    std::string getLogFolder() const override { return ""; }
    std::string getBanner() const override { return ""; }
};

/// "A" and "B".
class Modules : public Radio, public ModuleDirectory {
public:
    Modules() : Radio(nullptr), modules_{Radio(this), Radio(this)} {}
    Radio* getPlugin() const override { return const_cast<Modules*>(this); }
    int getModuleCount() const override { return count; }
    Radio* getModule(int index) const override { return index < 2 ? &modules_[index] : nullptr; }
    std::string getModuleName(const Radio& module) const override {
        return &module == &modules_[0] ? "A" : &module == &modules_[1] ? "B" : "";
    }

    int count = 2;

private:
    mutable Radio modules_[2];
};

inline const ParameterManager Manager;

/// The text if it is a document, or else the document that it is the middle of.
inline std::string documentOf(const std::string& text,
                              const std::string& head = "<dict file-format='0.7'><parameters>",
                              const std::string& tail = "</parameters></dict>") {
    return text.starts_with("<dict") || text.starts_with("<?xml") ? text : head + text + tail;
}

/// Has the settings load a file with these parameters.
inline Error loadText(Settings& settings, const std::string& definition) {
    static const test::ScratchFolder folder;
    folder.write("Settings.xml", documentOf(definition));
    return settings.load(File(folder.path("Settings.xml")));
}

/// The state that settings make.
inline std::string stateOf(const Settings& settings, std::uint32_t scopes = Parameter::AllScopes,
                           bool all = false) {
    Dictionary state;
    state.setString("file-format", "0.7");
    settings.write(state, scopes, all);
    return test::textOf(state);
}

template <typename Visit>
void forEachParameter(const Settings& level, Visit visit) {
    for (const auto& parameter : level.getParameters())
        visit(*parameter);
    for (const auto& section : level.getSections())
        forEachParameter(*section.child, visit);
}

/// All classes, and sections with clones.
inline const std::string AllClasses =
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
    "</values></Tune></section>";

}  // namespace tarn
