#include "editor/ControlManager.h"

#include "editor/Control.h"
#include "editor/ControlAboutScreen.h"
#include "editor/ControlBackground.h"
#include "editor/ControlBitmap.h"
#include "editor/ControlContainer.h"
#include "editor/ControlHelp.h"
#include "editor/ControlText.h"
#include "editor/ControlVersionInfo.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/Logger.h"
#include "parameters/Parameter.h"
#include "parameters/Settings.h"

#include <string_view>

namespace tarn {

namespace {

template <typename T>
std::unique_ptr<Control> make(Editor& editor) {
    return std::make_unique<T>(editor);
}

struct Row {
    std::string_view className;
    std::unique_ptr<Control> (*create)(Editor& editor);
};

constexpr Row Rows[] = {
    {"About", make<ControlAboutScreen>},
    {"Background", make<ControlBackground>},
    {"Bitmap", make<ControlBitmap>},
    {"Container", make<ControlContainer>},
    {"Help", make<ControlHelp>},
    {"Text", make<ControlText>},
    {"VersionInfo", make<ControlVersionInfo>},
};

}  // namespace

std::unique_ptr<Control> ControlManager::createFromDictionary(const Dictionary& dictionary) const {
    std::string className, parameterName;
    dictionary.getString("class", className);
    if (className.empty() || className == "None")
        return nullptr;
    dictionary.getString("parameter", parameterName);
    const Settings* const settings = settingsOf(editor_);
    const Parameter* const parameter =
        settings != nullptr && !parameterName.empty() ? settings->find(parameterName, 0) : nullptr;
    std::unique_ptr<Control> control = createControl(dictionary, className, parameter, editor_);
    if (!control)
        throw ErrorNoSuchControlType("ControlManager::createFromDictionary", className,
                                     parameterName);
    const std::string name = parameter != nullptr ? "<" + parameter->getId() + ">" : "";
    logLine(LogDetail, "  [%p] %s", static_cast<void*>(control.get()),
            (className + name + "::" + parameterName).c_str());
    return control;
}

std::unique_ptr<Control> ControlManager::createControl(const Dictionary& /*dictionary*/,
                                                       const std::string& className,
                                                       const Parameter* /*parameter*/,
                                                       Editor& editor) const {
    for (const Row& row : Rows)
        if (row.className == className)
            return row.create(editor);
    return nullptr;
}

}  // namespace tarn
