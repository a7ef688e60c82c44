#include "platform/PreferencesStore.h"

#include "platform/SystemError.h"
#include "platform/windows/Text.h"

#include <windows.h>

#include <utility>

namespace tarn::platform {

struct PreferencesKey::State {
    explicit State(HKEY opened) noexcept : key(opened) {}
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() { ::RegCloseKey(key); }

    const HKEY key;
};

namespace {

constexpr DWORD LongestKeyName = 512;       // UTF-16 units
constexpr DWORD LongestValueName = 16'384;  // UTF-16 units, the registry's own limit and a zero

HKEY rootKey(PreferencesRoot root) {
    return root == PreferencesRoot::CurrentUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
}

HKEY openKey(HKEY parent, const std::string& path, bool writable, std::string& error) {
    HKEY key = nullptr;
    const LSTATUS status = writable
                               ? ::RegCreateKeyExW(parent, wide(path).c_str(), 0, nullptr, 0,
                                                   KEY_READ | KEY_WRITE, nullptr, &key, nullptr)
                               : ::RegOpenKeyExW(parent, wide(path).c_str(), 0, KEY_READ, &key);
    if (status == ERROR_SUCCESS)
        return key;
    error = systemErrorText(static_cast<std::uint32_t>(status));
    return nullptr;
}

bool isText(DWORD type) {
    return type == REG_SZ || type == REG_EXPAND_SZ;
}

// Writers differ on whether a text ends with a zero, and nothing keeps its bytes to whole units.
std::string utf8Text(const std::string& bytes) {
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    bytes.copy(reinterpret_cast<char*>(text.data()), text.size() * sizeof(wchar_t));
    return utf8(text);
}

using EnumerateNames = LSTATUS (*)(HKEY key, DWORD index, wchar_t* name, DWORD* units);

std::vector<std::string> names(HKEY key, DWORD longest, EnumerateNames enumerate) {
    std::vector<std::string> found;
    std::vector<wchar_t> name(longest);
    for (DWORD index = 0;; ++index) {
        DWORD units = longest;
        const LSTATUS status = enumerate(key, index, name.data(), &units);
        if (status == ERROR_SUCCESS)
            found.push_back(utf8(std::wstring_view(name.data(), units)));
        else if (status != ERROR_MORE_DATA)
            return found;
    }
}

}  // namespace

PreferencesKey::PreferencesKey() noexcept = default;
PreferencesKey::PreferencesKey(PreferencesKey&& other) noexcept = default;
PreferencesKey& PreferencesKey::operator=(PreferencesKey&& other) noexcept = default;
PreferencesKey::~PreferencesKey() = default;
PreferencesKey::PreferencesKey(std::unique_ptr<State> state) noexcept : state_(std::move(state)) {}

PreferencesKey PreferencesKey::open(PreferencesRoot root, const std::string& path, bool writable,
                                    std::string& error) {
    HKEY key = openKey(rootKey(root), path, writable, error);
    return PreferencesKey(key != nullptr ? std::make_unique<State>(key) : nullptr);
}

PreferencesKey PreferencesKey::open(const std::string& path, bool writable,
                                    std::string& error) const {
    HKEY key = openKey(state_->key, path, writable, error);
    return PreferencesKey(key != nullptr ? std::make_unique<State>(key) : nullptr);
}

bool PreferencesKey::hasKey(const std::string& path) const {
    std::string error;
    return static_cast<bool>(open(path, false, error));
}

bool PreferencesKey::hasValue(const std::string& name) const {
    return ::RegQueryValueExW(state_->key, wide(name).c_str(), nullptr, nullptr, nullptr,
                              nullptr) == ERROR_SUCCESS;
}

std::optional<PreferenceValue> PreferencesKey::read(const std::string& name) const {
    const std::wstring wideName = wide(name);
    std::string bytes;
    DWORD type = REG_NONE;
    DWORD size = 0;
    LSTATUS status =
        ::RegQueryValueExW(state_->key, wideName.c_str(), nullptr, &type, nullptr, &size);
    while (status == ERROR_SUCCESS || status == ERROR_MORE_DATA) {
        if (size > LargestPreference)
            return std::nullopt;
        bytes.resize(size);
        status = ::RegQueryValueExW(state_->key, wideName.c_str(), nullptr, &type,
                                    reinterpret_cast<BYTE*>(bytes.data()), &size);
        if (status != ERROR_SUCCESS)
            continue;  // another program made it longer meanwhile
        bytes.resize(size);
        return PreferenceValue{static_cast<PreferenceType>(type),
                               isText(type) ? utf8Text(bytes) : bytes};
    }
    return std::nullopt;
}

bool PreferencesKey::write(const std::string& name, PreferenceType type, std::string_view bytes) {
    if (bytes.size() > LargestPreference)
        return false;
    const auto registryType = static_cast<DWORD>(type);
    const std::wstring text = isText(registryType) ? wide(bytes) : std::wstring();
    const void* data = isText(registryType) ? static_cast<const void*>(text.data()) : bytes.data();
    const std::size_t size = isText(registryType) ? text.size() * sizeof(wchar_t) : bytes.size();
    return ::RegSetValueExW(state_->key, wide(name).c_str(), 0, registryType,
                            static_cast<const BYTE*>(data),
                            static_cast<DWORD>(size)) == ERROR_SUCCESS;
}

std::vector<std::string> PreferencesKey::keyNames() const {
    return names(
        state_->key, LongestKeyName, [](HKEY key, DWORD index, wchar_t* name, DWORD* units) {
            return ::RegEnumKeyExW(key, index, name, units, nullptr, nullptr, nullptr, nullptr);
        });
}

std::vector<std::string> PreferencesKey::valueNames() const {
    return names(
        state_->key, LongestValueName, [](HKEY key, DWORD index, wchar_t* name, DWORD* units) {
            return ::RegEnumValueW(key, index, name, units, nullptr, nullptr, nullptr, nullptr);
        });
}

}  // namespace tarn::platform
