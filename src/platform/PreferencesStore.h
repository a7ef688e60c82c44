// A hierarchy of keys, each with named values and with keys below it: the registry on Windows.
// Everything rests on one rule: whatever stands there was written by anyone, so a value is no
// longer than `LargestPreference` and of any type, or it counts as absent.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::platform {

/// The values are the registry's.
enum class PreferencesRoot : std::uint32_t {
    CurrentUser = 0x80000001,
    LocalMachine = 0x80000002,
};

/// Of a value; the numbers are the registry's, which has others too.
enum class PreferenceType : std::uint32_t {
    Text = 1,
    ExpandableText = 2,
    Number = 4,
};

struct PreferenceValue {
    PreferenceType type;
    std::string bytes;  // of a text: UTF-8
};

constexpr std::size_t LargestPreference = std::size_t{1} << 20;  // bytes

/// An open key, or none. Paths have backslashes between their levels. One thread at a time.
///
/// Linux keeps a key as a folder and a value as a small file, <name>.value, that begins with a line
/// "text" or "data"; a byte of a name that a file's can't hold, or that would be misread, is
/// written %XX. The user's root is $XDG_CONFIG_HOME, else ~/.config; the machine's is the first of
/// $XDG_CONFIG_DIRS, else /etc/xdg. A first level "Software", which is Windows' custom, is left
/// out. Names are told apart by their case there, and not on Windows.
class PreferencesKey {
public:
    PreferencesKey() noexcept;
    PreferencesKey(PreferencesKey&& other) noexcept;
    PreferencesKey& operator=(PreferencesKey&& other) noexcept;
    ~PreferencesKey();

    /// For writing, with all levels made that are missing; or for reading. On failure the result is
    /// no key, and `error` the system's text.
    static PreferencesKey open(PreferencesRoot root, const std::string& path, bool writable,
                               std::string& error);
    PreferencesKey open(const std::string& path, bool writable, std::string& error) const;

    explicit operator bool() const noexcept { return state_ != nullptr; }

    // The rest is for an open key.

    bool hasKey(const std::string& path) const;
    bool hasValue(const std::string& name) const;

    /// Nothing if there is no such value, or it is too long.
    std::optional<PreferenceValue> read(const std::string& name) const;

    /// Whether it was written.
    bool write(const std::string& name, PreferenceType type, std::string_view bytes);

    /// Of the next level, of at most 512 characters each, in no particular order.
    std::vector<std::string> keyNames() const;
    std::vector<std::string> valueNames() const;

private:
    struct State;
    explicit PreferencesKey(std::unique_ptr<State> state) noexcept;

    std::unique_ptr<State> state_;
};

}  // namespace tarn::platform
