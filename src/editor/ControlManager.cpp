#include "editor/ControlManager.h"

#include "audio/Module.h"
#include "editor/Control.h"
#include "editor/ControlAboutScreen.h"
#include "editor/ControlBackground.h"
#include "editor/ControlBitmap.h"
#include "editor/ControlContainer.h"
#include "editor/ControlEnumButton.h"
#include "editor/ControlEnumPopupMenu.h"
#include "editor/ControlFavoriteButton.h"
#include "editor/ControlHelp.h"
#include "editor/ControlLevelMeter.h"
#include "editor/ControlMenuButton.h"
#include "editor/ControlPresetStep.h"
#include "editor/ControlPresetsPopup.h"
#include "editor/ControlQuorl.h"
#include "editor/ControlRadioButtons.h"
#include "editor/ControlText.h"
#include "editor/ControlTriggerButton.h"
#include "editor/ControlURL.h"
#include "editor/ControlVUMeterLEDs.h"
#include "editor/ControlValueButton.h"
#include "editor/ControlValueButtonChoice.h"
#include "editor/ControlValueDisplay.h"
#include "editor/ControlValueKnob.h"
#include "editor/ControlValueLED.h"
#include "editor/ControlValueRange.h"
#include "editor/ControlValueSlider.h"
#include "editor/ControlValueText.h"
#include "editor/ControlVersionInfo.h"
#include "editor/Editor.h"
#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/Logger.h"
#include "parameters/ParameterEnum.h"
#include "parameters/ParameterText.h"
#include "parameters/ParameterValue.h"
#include "parameters/Settings.h"

#include <cinttypes>
#include <string_view>

namespace tarn {

namespace {

template <typename T>
std::unique_ptr<Control> make(Editor& editor, const Parameter* /*parameter*/) {
    return std::make_unique<T>(editor);
}

template <typename T>
bool is(const Parameter* parameter) {
    return dynamic_cast<const T*>(parameter) != nullptr;
}

std::unique_ptr<Control> makeDisplay(Editor& editor, const Parameter* parameter) {
    if (is<ParameterValue<std::int32_t>>(parameter) || is<ParameterEnum<std::int32_t>>(parameter))
        return std::make_unique<ControlValueDisplay>(editor);
    return nullptr;
}

bool isEnum(const Parameter* parameter) {
    return is<ParameterChoice>(parameter) || is<TextParameter>(parameter);
}

bool isNumber(const Parameter* parameter) {
    return is<ParameterValue<bool>>(parameter) || is<ParameterValue<std::int32_t>>(parameter) ||
           is<ParameterValue<float>>(parameter);
}

std::unique_ptr<Control> makePopupMenu(Editor& editor, const Parameter* parameter) {
    if (isEnum(parameter) || isNumber(parameter))
        return std::make_unique<ControlEnumPopupMenu>(editor);
    return nullptr;
}

std::unique_ptr<Control> makeButton(Editor& editor, const Parameter* parameter) {
    if (isNumber(parameter))
        return std::make_unique<ControlValueButton>(editor);
    if (isEnum(parameter))
        return std::make_unique<ControlEnumButton>(editor);
    return nullptr;
}

std::unique_ptr<Control> makeButtonChoice(Editor& editor, const Parameter* parameter) {
    const std::int32_t type = parameter != nullptr ? parameter->getType() : Parameter::String;
    if (type == Parameter::Integer || type == Parameter::Float)
        return std::make_unique<ControlValueButtonChoice>(editor);
    return nullptr;
}

struct Row {
    std::string_view className;
    std::unique_ptr<Control> (*create)(Editor& editor, const Parameter* parameter);
};

constexpr Row Rows[] = {
    {"About", make<ControlAboutScreen>},
    {"Background", make<ControlBackground>},
    {"Bitmap", make<ControlBitmap>},
    {"Button", makeButton},
    {"ButtonChoice", makeButtonChoice},
    {"Container", make<ControlContainer>},
    {"Display", makeDisplay},
    {"FavoriteButton", make<ControlFavoriteButton>},
    {"Help", make<ControlHelp>},
    {"Knob", make<ControlValueKnob>},
    {"LED", make<ControlValueLED>},
    {"LevelMeter", make<ControlLevelMeter>},
    {"MenuButton", make<ControlMenuButton>},
    {"PopupMenu", makePopupMenu},
    {"PresetsMenu", make<ControlPresetsPopup>},
    {"PresetStep", make<ControlPresetStep>},
    {"Quorl", make<ControlQuorl>},
    {"RadioButtons", make<ControlRadioButtons>},
    {"Range", make<ControlValueRange>},
    {"Slider", make<ControlValueSlider>},
    {"Text", make<ControlText>},
    {"TextValue", make<ControlValueText>},
    {"Trigger", make<ControlTriggerButton>},
    {"URL", make<ControlURL>},
    {"VersionInfo", make<ControlVersionInfo>},
    {"VUMeter", make<ControlVUMeter>},
    {"VUMeterLED", make<ControlVUMeterLEDs>},
};

}  // namespace

std::unique_ptr<Control> ControlManager::createFromDictionary(const Dictionary& dictionary) const {
    std::string className, parameterName;
    dictionary.getString("class", className);
    if (className.empty() || className == "None")
        return nullptr;
    dictionary.getString("parameter", parameterName);
    const Module* const module = editor_.getModule();
    const Parameter* const parameter = module != nullptr && !parameterName.empty()
                                           ? module->settings().find(parameterName, 0)
                                           : nullptr;
    std::unique_ptr<Control> control = createControl(dictionary, className, parameter, editor_);
    if (!control)
        throw ErrorNoSuchControlType("ControlManager::createFromDictionary", className,
                                     parameterName);
    const std::string name = parameter != nullptr ? "<" + parameter->getId() + ">" : "";
    logLine(LogDetail, "  [0x%" PRIxPTR "] %s", reinterpret_cast<std::uintptr_t>(control.get()),
            (className + name + "::" + parameterName).c_str());
    return control;
}

std::unique_ptr<Control> ControlManager::createControl(const Dictionary& /*dictionary*/,
                                                       const std::string& className,
                                                       const Parameter* parameter,
                                                       Editor& editor) const {
    for (const Row& row : Rows)
        if (row.className == className)
            return row.create(editor, parameter);
    return nullptr;
}

}  // namespace tarn
