#include "parameters/ParameterManager.h"

#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/Logger.h"
#include "parameters/ParameterArray.h"
#include "parameters/ParameterEnum.h"
#include "parameters/ParameterText.h"
#include "parameters/ParameterValue.h"
#include "parameters/TypedValue.h"

#include <cinttypes>
#include <limits>
#include <memory>
#include <string>

namespace tarn {

namespace {

constexpr const char* CreateFromDictionary =
    "class tarn::Parameter *__thiscall tarn::ParameterManager::createFromDictionary(const class "
    "tarn::Dictionary &) const";
constexpr const char* CreateCopy =
    "class tarn::Parameter *__thiscall tarn::ParameterManager::createCopy(const class "
    "tarn::Parameter *) const";

using Created = std::unique_ptr<Parameter>;

// With the range and the default that are given, where the definition has no others.
template <typename T>
Created createNumber(const Dictionary& definition, const std::string& id, const std::string& name,
                     T minimum, T defaultValue, T maximum) {
    getTyped(definition, "minval", minimum);
    getTyped(definition, "defval", defaultValue);
    getTyped(definition, "maxval", maximum);
    auto made =
        std::make_unique<ParameterValue<T>>(nullptr, id, name, minimum, maximum, defaultValue);
    if (T value{}; getTyped(definition, "value", value))
        made->setValue(value, FromLoad);
    return made;
}

Created createValue(const Dictionary& definition, const std::string& type, const std::string& id,
                    const std::string& name) {
    if (type == "bool") {
        bool value = false;
        definition.getBool("value", value);
        return std::make_unique<ParameterValue<bool>>(nullptr, id, name, false, true, value);
    }
    if (type == "float")
        return createNumber(definition, id, name, 0.0f, 0.5f, 1.0f);
    if (type == "integer")
        return createNumber<std::int32_t>(definition, id, name,
                                          std::numeric_limits<std::int32_t>::lowest(), 0,
                                          std::numeric_limits<std::int32_t>::max());
    throw ErrorNoSuchParameterType(CreateFromDictionary, "ParameterValue", type);
}

Created createEnum(const std::string& type, const std::string& id, const std::string& name) {
    if (type == "string")
        return std::make_unique<ParameterEnum<std::string>>(nullptr, id, name);
    if (type == "integer")
        return std::make_unique<ParameterEnum<std::int32_t>>(nullptr, id, name);
    if (type == "float")
        return std::make_unique<ParameterEnum<float>>(nullptr, id, name);
    throw ErrorNoSuchParameterType(CreateFromDictionary, "ParameterEnum", type);
}

Created create(const Dictionary& definition, const std::string& className, const std::string& type,
               const std::string& id) {
    std::string name;
    definition.getString("name", name);
    if (className == "ParameterArray") {
        if (type != "custom")
            throw ErrorNoSuchParameterType(CreateFromDictionary, className, type);
        return std::make_unique<ParameterKeyranges>(nullptr, id, name);
    }
    if (className == "ParameterCustom") {
        std::string text;
        definition.getString("value", text);
        return std::make_unique<ParameterCustom>(nullptr, id, name, text);
    }
    if (className == "ParameterEnum")
        return createEnum(type, id, name);
    if (className == "ParameterText")
        return std::make_unique<ParameterText>(nullptr, id, name);
    if (className == "ParameterValue")
        return createValue(definition, type, id, name);
    return nullptr;
}

// A copy if the parameter is of the first class of the list that it is of.
template <typename Class, typename... Others>
Parameter* copyAsFirstOf(const Parameter* parameter) {
    if (const auto* const original = dynamic_cast<const Class*>(parameter))
        return new Class(*original);
    if constexpr (sizeof...(Others) > 0)
        return copyAsFirstOf<Others...>(parameter);
    return nullptr;
}

}  // namespace

Parameter* ParameterManager::createFromDictionary(const Dictionary& definition) const {
    if (!definition.isElement())
        return nullptr;
    const std::string id = definition.getName();
    std::string className;
    std::string type;
    definition.getString("class", className);
    definition.getString("type", type);
    Created made = create(definition, className, type, id);
    logLine(LogWarning, "  [0x%" PRIxPTR "] %s<%s>::%s",
            reinterpret_cast<std::uintptr_t>(made.get()), className.c_str(), type.c_str(),
            id.c_str());
    return made.release();
}

Parameter* ParameterManager::createCopy(const Parameter* parameter) const {
    Parameter* const copy =
        copyAsFirstOf<ParameterArray<std::string>, ParameterText, ParameterCustom,
                      ParameterValue<bool>, ParameterValue<float>, ParameterValue<std::int32_t>,
                      ParameterKeyranges, ParameterEnum<float>, ParameterEnum<std::int32_t>,
                      ParameterEnum<std::string>>(parameter);
    if (copy == nullptr)
        throw ErrorNoSuchParameterType(CreateCopy, parameter->getTypeName(), "");
    return copy;
}

}  // namespace tarn
