#include "foundation/Preferences.h"

#include "foundation/Logger.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string_view>
#include <utility>

namespace tarn {

namespace {

using platform::PreferencesKey;
using platform::PreferenceType;
using platform::PreferenceValue;

std::atomic<Preferences*> machineStore{nullptr};
std::atomic<Preferences*> userStore{nullptr};

// The context of a setter's errors: its signature, as they are known by.
std::string setterSignature(const std::string& setter, const std::string& valueType) {
    return "class tarn::Error __thiscall tarn::Preferences::" + setter +
           "(const class std::basic_string<char,struct std::char_traits<char>,"
           "class std::allocator<char> > &," +
           valueType + ")";
}

PreferencesKey opened(PreferencesKey key, const std::string& name, const std::string& error) {
    if (!key)
        logLine(LogError, "failed to open preferences " + name + ": " + error);
    return key;
}

PreferencesKey openRoot(platform::PreferencesRoot root, const std::string& path,
                        std::uint32_t flags) {
    if ((flags & (Preferences::Read | Preferences::Write)) == 0)
        return {};
    std::string error;
    PreferencesKey key = PreferencesKey::open(root, path, (flags & Preferences::Write) != 0, error);
    return opened(std::move(key), path, error);
}

bool isText(const PreferenceValue& value) {
    return value.type == PreferenceType::Text || value.type == PreferenceType::ExpandableText;
}

template <typename Number>
bool getNumber(const PreferencesKey& key, const std::string& name, Number& out) {
    static_assert(sizeof(Number) == 4);
    const auto value = key ? key.read(name) : std::nullopt;
    if (!value || value->type != PreferenceType::Number || value->bytes.size() != sizeof(out))
        return false;
    std::memcpy(&out, value->bytes.data(), sizeof(out));
    return true;
}

}  // namespace

Preferences::Preferences(platform::PreferencesRoot root, const std::string& path,
                         std::uint32_t flags)
    : flags_(flags), key_(openRoot(root, path, flags)) {}

Preferences::Preferences(PreferencesKey key, std::uint32_t flags) noexcept
    : flags_(flags), key_(std::move(key)) {}

std::unique_ptr<Preferences> Preferences::openSection(const std::string& name,
                                                      std::uint32_t flags) const {
    if (!isOpen() || (flags & (Read | Write)) == 0)
        return nullptr;
    std::string error;
    PreferencesKey key = opened(key_.open(name, (flags & Write) != 0, error), name, error);
    if (!key)
        return nullptr;
    return std::unique_ptr<Preferences>(new Preferences(std::move(key), flags));
}

bool Preferences::hasSection(const std::string& name) const {
    return isOpen() && key_.hasKey(name);
}

bool Preferences::hasValue(const std::string& name) const {
    return hasSection(name) || (isOpen() && key_.hasValue(name));
}

std::vector<std::string> Preferences::getSectionNames() const {
    return isOpen() ? key_.keyNames() : std::vector<std::string>();
}

std::vector<std::string> Preferences::getValueNames() const {
    return isOpen() ? key_.valueNames() : std::vector<std::string>();
}

bool Preferences::getBool(const std::string& name, bool& out) const {
    std::uint32_t number = 0;
    if (!getNumber(key_, name, number))
        return false;
    out = number != 0;
    return true;
}

bool Preferences::getInteger(const std::string& name, std::int32_t& out) const {
    return getNumber(key_, name, out);
}

bool Preferences::getFloat(const std::string& name, float& out) const {
    return getNumber(key_, name, out);
}

bool Preferences::getString(const std::string& name, std::string& out) const {
    const auto value = isOpen() ? key_.read(name) : std::nullopt;
    if (!value || value->bytes.empty())
        return hasSection(name);
    if (!isText(*value))
        return false;
    out = value->bytes.substr(0, value->bytes.find('\0'));
    return true;
}

bool Preferences::getData(const std::string& name, void* buffer, std::size_t size) const {
    const auto value = isOpen() ? key_.read(name) : std::nullopt;
    if (!value || value->bytes.size() != size)
        return false;
    std::copy(value->bytes.begin(), value->bytes.end(), static_cast<char*>(buffer));
    return true;
}

Error Preferences::setBool(const std::string& name, bool value) {
    const std::uint32_t number = value ? 1 : 0;
    return storeNumber("setBool", "bool", name, &number, sizeof(number));
}

Error Preferences::setInteger(const std::string& name, std::int32_t value) {
    return storeNumber("setInteger", "int", name, &value, sizeof(value));
}

Error Preferences::setFloat(const std::string& name, float value) {
    return storeNumber("setFloat", "float", name, &value, sizeof(value));
}

Error Preferences::setData(const std::string& name, const void* bytes, std::size_t size) {
    return storeNumber("setData", "const void *,unsigned int", name, bytes, size);
}

Error Preferences::setString(const std::string& name, const std::string& value) {
    if (store(name, PreferenceType::Text, value))
        return NoError();
    return ErrorPrefsKeyNotSaved(
        setterSignature("setString",
                        "const class std::basic_string<char,struct std::char_traits<char>,"
                        "class std::allocator<char> > &"),
        name);
}

Error Preferences::storeNumber(const char* setter, const char* valueType, const std::string& name,
                               const void* bytes, std::size_t size) {
    if (store(name, PreferenceType::Number, {static_cast<const char*>(bytes), size}))
        return NoError();
    return ErrorPrefsKeyNotSaved(setterSignature(setter, valueType), name);
}

bool Preferences::store(const std::string& name, PreferenceType type, std::string_view bytes) {
    return isOpen() && (flags_ & Write) != 0 && key_.write(name, type, bytes);
}

Preferences* Preferences::machine() noexcept {
    return machineStore;
}

Preferences* Preferences::user() noexcept {
    return userStore;
}

void Preferences::setStores(Preferences* machine, Preferences* user) noexcept {
    machineStore = machine;
    userStore = user;
}

}  // namespace tarn
