// A typed view on one key of the system's store of settings: the registry, or on Linux the user's
// configuration folder.
// Everything rests on one rule: what was stored may have been changed by anyone, so a value of
// another type or size counts as absent.
#pragma once

#include "foundation/Error.h"
#include "platform/PreferencesStore.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

/// One thread at a time. Getters answer false, and leave `out`, when there is no such value;
/// setters answer `ErrorPrefsKeyNotSaved` when it can't be stored. An object whose key could not be
/// opened has no values and takes none.
class Preferences {
public:
    enum Flags : std::uint32_t { Read = 1, Write = 2 };

    /// Opens the key at `path`, whose levels stand between backslashes, as in
    /// "Software\\Maker\\Product". With `Write`, a missing key is made. A failure is logged; see
    /// `isOpen`.
    Preferences(platform::PreferencesRoot root, const std::string& path, std::uint32_t flags);
    virtual ~Preferences() = default;

    bool isOpen() const noexcept { return static_cast<bool>(key_); }

    /// The key `name` below this one, which may lead over several levels; the caller owns it. Null
    /// if it can't be opened; with `Write`, missing levels are made.
    std::unique_ptr<Preferences> openSection(const std::string& name, std::uint32_t flags) const;
    bool hasSection(const std::string& name) const;

    /// Whether there is a value or a section of that name.
    bool hasValue(const std::string& name) const;

    /// Of the next level, in no particular order.
    std::vector<std::string> getSectionNames() const;
    std::vector<std::string> getValueNames() const;

    bool getBool(const std::string& name, bool& out) const;
    Error setBool(const std::string& name, bool value);
    bool getInteger(const std::string& name, std::int32_t& out) const;
    Error setInteger(const std::string& name, std::int32_t value);
    bool getFloat(const std::string& name, float& out) const;
    Error setFloat(const std::string& name, float value);

    /// Up to the text's first zero byte. Where there is no value or an empty one, `out` stays and
    /// the answer is whether `name` is a section.
    bool getString(const std::string& name, std::string& out) const;
    Error setString(const std::string& name, const std::string& value);

    /// Of exactly `size` bytes, whatever the value's type; at most 1 MiB. They are stored as a
    /// number, whatever their count.
    bool getData(const std::string& name, void* buffer, std::size_t size) const;
    Error setData(const std::string& name, const void* bytes, std::size_t size);

    /// The stores of this process, for all users of the machine and for this one; null while there
    /// are none. Their owner sets them, and sets null before deleting them.
    static Preferences* machine() noexcept;
    static Preferences* user() noexcept;
    static void setStores(Preferences* machine, Preferences* user) noexcept;

private:
    Preferences(platform::PreferencesKey key, std::uint32_t flags) noexcept;
    Error storeNumber(const char* setter, const char* valueType, const std::string& name,
                      const void* bytes, std::size_t size);
    bool store(const std::string& name, platform::PreferenceType type, std::string_view bytes);

    std::uint32_t flags_;
    platform::PreferencesKey key_;
};

}  // namespace tarn
