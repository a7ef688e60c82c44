// Base of every value that a host automates, a knob shows, a preset stores and an engine reads.
//
// Everything rests on one rule: a change, wherever it comes from, goes through a setter, and each
// listener hears of it, as a rule before the setter returns, on the calling thread. But no setter
// waits: while another thread delivers from the parameter, or tunes to it, a setter stores the
// value and returns at once. Listeners then hear of the change from that other thread, shortly
// after.
//
// Where several threads change a parameter at once, changes may merge, but the last message that a
// listener gets carries the value that the parameter then has. A message that stands for changes
// from several sources is `FromUser` if a user's is among them, and otherwise the first of
// FromMidi, FromHost, FromInternal and FromLoad. One exception: the host's own value is `FromHost`,
// even if it replaced a user's, so that it never goes back to the host.
#pragma once

#include "foundation/Mutex.h"
#include "foundation/Radio.h"
#include "foundation/Word.h"

#include <atomic>
#include <cstdint>
#include <forward_list>
#include <memory>
#include <set>
#include <string>
#include <string_view>

namespace tarn {

class Dictionary;
class Preferences;
class Settings;

/// Where a change came from. Every setter takes one of these, and the message carries it as `mode`.
enum ChangeSource : std::int32_t {
    FromHost = 0,      // automation
    FromLoad = 1,      // reading a definition or a saved state
    FromUser = 2,      // a control; the host is told of it
    FromInternal = 3,  // the program itself, or a repeat of the present value
    FromMidi = 4,      // a MIDI controller
};

/// The operations that change or read a value may be called from any thread, the audio thread
/// included, where a subclass doesn't say otherwise; they allocate nothing. Definitions are read,
/// and names are set, on the control thread.
class Parameter : public Radio {
public:
    enum Flag : std::uint32_t {
        Automatable = 1,  // in the host's list
        Persistent = 2,   // stored from one run to the next in the user's Preferences
        Export = 4,       // part of saved state
        Meta = 32,        // kept and read by nothing here
    };
    enum Realm : std::uint32_t { PluginRealm = 1, HostRealm = 2, AllRealms = 3 };

    /// What a value belongs to, and is saved with. A mask selects several.
    enum Scope : std::uint32_t {
        ZoneScope = 1,
        ModuleScope = 2,
        ProgramScope = 4,
        PluginScope = 8,
        AllScopes = 0xFFFF,
    };

    /// Whether a new value takes effect: never, always, or, in all other cases, if it differs.
    enum Broadcast : std::int32_t {
        NeverBroadcast = 0,
        BroadcastInEditor = 1,
        BroadcastInternally = 2,
        BroadcastChange = 3,
        AlwaysBroadcast = 4,
    };
    enum Type : std::int32_t {
        Bool = 0,
        Enum = 1,
        Integer = 2,
        Float = 3,
        String = 4,
        KeyRanges = 5
    };

    /// `id` is the identifier: what settings, messages and saved states know the parameter by.
    /// `name` is for people. The parent may be null.
    Parameter(Radio* parent, std::string id, std::string name);

    /// Takes over everything but the listeners.
    Parameter(const Parameter& other);

    /// Takes the default where the class has one.
    virtual void resetToDefault(std::int32_t /*source*/) {}

    virtual const std::string& getId() const { return id_; }

    /// While no other thread looks the parameter up. Look-ups by id are slower from then on, in all
    /// settings that were loaded before.
    virtual void setId(const std::string& id);
    virtual std::string getName() const;
    virtual void setName(const std::string& name);

    /// The value as 0.0 to 1.0; 0.0 where the class has no such value. Setters ignore a NaN.
    virtual float getNormalised() const = 0;
    virtual void setNormalised(float normalised, std::int32_t source) = 0;

    /// The plain value, in the parameter's unit.
    virtual float getFloat() const = 0;
    virtual void setFloat(float value, std::int32_t source) = 0;

    /// What a display shows, without the unit. Takes what a user typed: true if it was understood.
    /// These allocate.
    virtual std::string getText() const = 0;
    virtual bool setText(const std::string& text, std::int32_t source) = 0;

    /// The distance of two positions in the parameter's unit, 0.0 for none, and how many there are.
    virtual double getStep() const { return 0.0; }
    virtual std::int32_t getStepCount() const = 0;
    virtual std::int32_t getType() const = 0;

    /// Takes a definition or a saved value. Throws `GeneralError` at an unknown scope. Subclasses
    /// call this first. Not for the audio thread, like `write`.
    virtual void read(const Dictionary& dictionary);

    /// Adds the value, under the `stateKey` of the id. Most classes replace the one that is there.
    virtual void write(Dictionary& /*dictionary*/) const {}

    /// Transmits the present value, as from `FromInternal`.
    virtual void sendValue() { announce(FromInternal); }

    /// Sends the present value to the new listener alone.
    void listenerAdded(Radio* listener) override;

    void setSettings(ParameterDirectory* settings) override;

    bool hasFlag(std::uint32_t mask) const noexcept { return (flags_ & mask) != 0; }
    bool inRealm(std::uint32_t mask) const noexcept { return (realm_ & mask) != 0; }
    bool inScope(std::uint32_t mask) const noexcept { return (scope_ & mask) != 0; }
    std::uint32_t getScope() const noexcept { return scope_; }
    std::int32_t getBroadcast() const noexcept { return broadcast_; }
    float getVersion() const noexcept { return version_; }

    /// The number of the settings' section among those of its name; 0 without settings.
    std::int32_t getClone() const;

    std::string getUnit() const;
    void setUnit(const std::string& unit);
    std::set<std::string> getAliases() const;

    /// "bool", "enum", "tarn_long", "float" or "string"; "unknown" for a type beyond these.
    std::string_view getTypeName() const;

    /// The first alias in the order of characters, or the name.
    std::string getShortestName() const;

    /// A name of at most `maxLength` bytes for a field of the host's: an alias or the name, with
    /// the module before it if there are several, and the section behind it. Longer only where
    /// module and section alone don't fit.
    std::string getHostName(int maxLength) const;

    /// Of all parameters: how often ids were changed after their creation.
    static std::uint32_t idChanges() noexcept { return idChanges_.load(std::memory_order_acquire); }

protected:
    /// A message on its way to the listeners, and the texts that it refers to.
    struct Announcement {
        ParameterMessage message;
        std::uint32_t sources;  // of the changes that it stands for, a bit each
        std::forward_list<std::string> texts;
    };

    /// Puts the present value into the message: payload, normalised value, text.
    virtual void fill(Announcement& announcement) const = 0;

    /// The same for a message of which some listeners have not heard yet, when the value changed
    /// meanwhile and a message of its own told of that.
    virtual void refill(Announcement& announcement) const { fill(announcement); }

    /// Transmits the present value, or has the thread do so that holds the delivery lock.
    /// `payload` is what `fill` makes of the value that the caller has just stored; without it, a
    /// change isn't recognised as the host's if a user's meets it.
    void announce(std::int32_t source, std::uint64_t payload = 0);

    void renew(Message& message) override;
    void catchUp() noexcept override;

    /// What `settingsOf` gives; at once where the parameter has settings of its own.
    Settings* settings() const noexcept;

    /// Whether a value that differs from the present one, or doesn't, takes effect.
    bool takes(bool differs) const noexcept;

    /// Where a persistent parameter's value is kept, under its id: in the user's Preferences. Null
    /// if the parameter isn't persistent, or they can't be opened. `access` as in Preferences.
    std::unique_ptr<Preferences> openPreferences(std::uint32_t access) const;

private:
    ParameterMessage makeMessage(std::int32_t source);
    void tell(std::uint32_t sources);
    void tellPending();
    void renew(Announcement& announcement, std::uint32_t sources);
    std::int32_t modeOf(const Announcement& announcement) const noexcept;

    inline static std::atomic<std::uint32_t> idChanges_{0};

    std::string id_;
    Word<Settings*> ownSettings_{nullptr};
    mutable Mutex namesLock_;  // guards the next three
    std::string name_;
    std::set<std::string> aliases_;
    std::string unit_;
    Word<std::uint32_t> flags_{Export};
    Word<std::uint32_t> realm_{PluginRealm};
    Word<std::uint32_t> scope_{PluginScope};
    Word<std::int32_t> broadcast_{BroadcastChange};
    Word<float> version_{0.0f};
    std::atomic<std::uint32_t> pending_{0};  // sources of changes that aren't told yet, a bit each
    Word<std::uint32_t> hostsPayload_{0};    // of the value that the host has set last
    Announcement* delivering_ = nullptr;     // the innermost; under the delivery lock
};

/// The key of a parameter or a section in a saved state: letters, digits, "_", "." and "-", the
/// first of them no "." or "-". A "_" goes before what would be no XML name even so.
std::string stateKey(std::string_view name);

}  // namespace tarn
