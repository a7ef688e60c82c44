#include "foundation/Error.h"

namespace tarn {

namespace {

std::string join(std::initializer_list<std::string_view> parts) {
    std::string whole;
    for (std::string_view part : parts)
        whole += part;
    return whole;
}

}  // namespace

Error::Error(std::string_view where, std::string_view text) : Error(where, text, {}) {}

Error::Error(std::string_view where, std::string_view text, std::string_view shortCode)
    : context(where), code(shortCode), text_(text) {}

GeneralError::GeneralError(std::string_view where, std::string_view text)
    : Error(where, text, "EGEN") {}

ErrorImportFailed::ErrorImportFailed(std::string_view where, std::string_view path)
    : Error(where, join({"Failed to import file ", path}), Code) {}

ErrorImportFailed::ErrorImportFailed(std::string_view where)
    : Error(where, "Failed to import file", Code) {}

ErrorNoSuchControlType::ErrorNoSuchControlType(std::string_view where, std::string_view className,
                                               std::string_view parameterName)
    : Error(where, join({"Unknown control type ", className, "<", parameterName, ">"}), "ENSCT") {}

ErrorNoSuchParameterType::ErrorNoSuchParameterType(std::string_view where,
                                                   std::string_view className,
                                                   std::string_view typeName)
    : Error(where, join({"Unknown parameter type ", className, "<", typeName, ">"}), "ENSPT") {}

ErrorPrefsKeyNotFound::ErrorPrefsKeyNotFound(std::string_view where, std::string_view key)
    : Error(where, join({"Preferences key '", key, "' not found"}), "EPKNF") {}

ErrorPrefsKeyNotSaved::ErrorPrefsKeyNotSaved(std::string_view where, std::string_view key)
    : Error(where, join({"Preferences key '", key, "' could not be saved"}), "EPNS") {}

}  // namespace tarn
