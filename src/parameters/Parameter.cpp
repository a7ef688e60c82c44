#include "parameters/Parameter.h"

#include "foundation/Dictionary.h"
#include "foundation/Logger.h"
#include "foundation/Preferences.h"
#include "foundation/XmlText.h"
#include "parameters/ModuleDirectory.h"
#include "parameters/Settings.h"

#include <algorithm>
#include <array>
#include <exception>
#include <functional>
#include <iterator>
#include <mutex>
#include <span>
#include <utility>
#include <vector>

namespace tarn {

namespace {

constexpr const char* PreferencesSection = "Preferences";
constexpr int ShortField = 16;  // below that, a host's field has no room for brackets

struct NamedNumber {
    std::string_view name;
    std::int32_t value;
};

constexpr std::array Scopes{
    NamedNumber{"plugin", Parameter::PluginScope}, NamedNumber{"program", Parameter::ProgramScope},
    NamedNumber{"module", Parameter::ModuleScope}, NamedNumber{"zone", Parameter::ZoneScope}};
constexpr std::array Broadcasts{NamedNumber{"never", Parameter::NeverBroadcast},
                                NamedNumber{"editor", Parameter::BroadcastInEditor},
                                NamedNumber{"internal", Parameter::BroadcastInternally},
                                NamedNumber{"change", Parameter::BroadcastChange},
                                NamedNumber{"always", Parameter::AlwaysBroadcast}};

const NamedNumber* findNumber(std::span<const NamedNumber> table, std::string_view name) {
    const auto found = std::ranges::find(table, name, &NamedNumber::name);
    return found != table.end() ? &*found : nullptr;
}

// All of a value; pointers to texts are cut, which the host can't set.
std::uint32_t lowerHalf(std::uint64_t payload) {
    return static_cast<std::uint32_t>(payload);
}

// A number that isn't a source's counts as FromInternal.
constexpr std::uint32_t bit(std::int32_t source) {
    const bool isKnown = source >= FromHost && source <= FromMidi;
    return std::uint32_t{1} << (isKnown ? source : FromInternal);
}

// What a message is told as, the first one that it stands for.
constexpr std::array Ranks{FromUser, FromMidi, FromHost, FromInternal, FromLoad};

// Where module and section leave less room than nothing, there is none.
std::size_t roomFor(int maxLength, const std::string& prefix, const std::string& suffix) {
    const auto taken = prefix.size() + suffix.size();
    const auto length = static_cast<std::size_t>(std::max(maxLength, 0));
    return length > taken ? length - taken : 0;
}

}  // namespace

Parameter::Parameter(Radio* parent, std::string id, std::string name)
    : Radio(parent), id_(std::move(id)), name_(std::move(name)) {}

Parameter::Parameter(const Parameter& other)
    : Allocator(),
      Radio(other),
      id_(other.id_),
      ownSettings_(other.ownSettings_),
      name_(other.getName()),
      aliases_(other.getAliases()),
      unit_(other.getUnit()),
      flags_(other.flags_),
      realm_(other.realm_),
      scope_(other.scope_),
      broadcast_(other.broadcast_),
      version_(other.version_) {}

void Parameter::setId(const std::string& id) {
    id_ = id;
    idChanges_.fetch_add(1, std::memory_order_release);
}

std::string Parameter::getName() const {
    const std::lock_guard hold(namesLock_);
    return name_;
}

void Parameter::setName(const std::string& name) {
    const std::lock_guard hold(namesLock_);
    name_ = name;
}

std::string Parameter::getUnit() const {
    const std::lock_guard hold(namesLock_);
    return unit_;
}

void Parameter::setUnit(const std::string& unit) {
    const std::lock_guard hold(namesLock_);
    unit_ = unit;
}

std::set<std::string> Parameter::getAliases() const {
    const std::lock_guard hold(namesLock_);
    return aliases_;
}

void Parameter::read(const Dictionary& dictionary) {
    if (float version = 0.0f; dictionary.getFloat("version", version))
        version_ = version;
    if (const auto info = dictionary.find("info")) {
        std::vector<std::string> aliases = info->getStrings("alias");
        const std::lock_guard hold(namesLock_);
        aliases_.insert(std::make_move_iterator(aliases.begin()),
                        std::make_move_iterator(aliases.end()));
    }
    bool isOn = false;
    if (dictionary.getBool("automatable", isOn) && isOn)
        flags_ = flags_ | Automatable;
    if (dictionary.getBool("meta", isOn) && isOn)
        flags_ = flags_ | Meta;
    std::string text;
    if (dictionary.getString("scope", text) && text != "none") {
        const NamedNumber* const scope = findNumber(Scopes, text);
        if (scope == nullptr)
            throw GeneralError(
                "void __thiscall tarn::Parameter::read(const class tarn::Dictionary &)",
                "unknown scope!");
        scope_ = static_cast<std::uint32_t>(scope->value);
    }
    if (dictionary.getString("broadcast", text))
        if (const NamedNumber* const broadcast = findNumber(Broadcasts, text))
            broadcast_ = broadcast->value;
    if (dictionary.getBool("export", isOn))
        flags_ = isOn ? flags_ | Export : flags_ & ~std::uint32_t{Export};
    if (dictionary.getString("realm", text) && text.starts_with("host"))
        realm_ = HostRealm;
    if (dictionary.getBool("persistent", isOn) && isOn)
        flags_ = flags_ | Persistent;
}

void Parameter::listenerAdded(Radio* listener) {
    Announcement now{makeMessage(FromInternal), bit(FromInternal), {}};
    fill(now);
    listener->receive(now.message);
}

void Parameter::setSettings(ParameterDirectory* settings) {
    Radio::setSettings(settings);
    ownSettings_ = settings != nullptr ? settings->asSettings() : nullptr;
}

Settings* Parameter::settings() const noexcept {
    Settings* const own = ownSettings_;
    return own != nullptr ? own : settingsOf(*this);
}

ParameterMessage Parameter::makeMessage(std::int32_t source) {
    return {this, ParameterMessage::ValueChanged, getId(), getClone(), 0, 0.0f, source};
}

void Parameter::announce(std::int32_t source, std::uint64_t payload) {
    if (source == FromHost)
        hostsPayload_ = lowerHalf(payload);
    pending_.fetch_or(bit(source), std::memory_order_release);
    const RadioLock::Hold hold(deliveryLock(), RadioLock::AskOwner());
    if (hold.isOwner())
        tellPending();
}

void Parameter::catchUp() noexcept {
    try {
        tellPending();
    } catch (const std::exception& failure) {
        logLine(LogError, "caught exception: %s", failure.what());
    }
}

void Parameter::tellPending() {
    while (const std::uint32_t sources = pending_.exchange(0, std::memory_order_acquire))
        tell(sources);
}

// A listener may set the value in its `receive`; so may another thread, in the place of this one,
// while this one waits inside a delivery. That one's message comes first, then the rest of the
// listeners get this one, which must not take them back to the older value.
void Parameter::tell(std::uint32_t sources) {
    Announcement now{makeMessage(FromInternal), sources, {}};
    fill(now);
    now.message.mode = modeOf(now);
    struct Delivering {
        Parameter& parameter;
        const Announcement& inner;
        Announcement* outer;
        ~Delivering() {
            parameter.delivering_ = outer;
            if (outer != nullptr)
                parameter.renew(*outer, inner.sources);
        }
    };
    const Delivering delivering{*this, now, std::exchange(delivering_, &now)};
    deliver(now.message);
}

// What other threads have changed stays pending, for the listeners that had this message before.
void Parameter::renew(Message& message) {
    const std::uint32_t sources = pending_.load(std::memory_order_acquire);
    if (sources != 0 && delivering_ != nullptr && &delivering_->message == &message)
        renew(*delivering_, sources);
}

void Parameter::renew(Announcement& announcement, std::uint32_t sources) {
    announcement.sources |= sources;
    refill(announcement);
    announcement.message.mode = modeOf(announcement);
}

// Where the host and the user meet, the value tells whose change was the later one.
std::int32_t Parameter::modeOf(const Announcement& announcement) const noexcept {
    constexpr std::uint32_t Both = bit(FromHost) | bit(FromUser);
    if ((announcement.sources & Both) == Both &&
        lowerHalf(announcement.message.payload) == hostsPayload_)
        return FromHost;
    const auto* const first = std::ranges::find_if(
        Ranks, [&](ChangeSource source) { return (announcement.sources & bit(source)) != 0; });
    return *first;  // there is one
}

bool Parameter::takes(bool differs) const noexcept {
    const std::int32_t broadcast = broadcast_;
    return broadcast == AlwaysBroadcast || (differs && broadcast != NeverBroadcast);
}

std::unique_ptr<Preferences> Parameter::openPreferences(std::uint32_t access) const {
    Preferences* const user = hasFlag(Persistent) ? Preferences::user() : nullptr;
    return user != nullptr ? user->openSection(PreferencesSection, access) : nullptr;
}

std::int32_t Parameter::getClone() const {
    const Settings* const section = settings();
    return section != nullptr ? section->getClone() : 0;
}

std::string_view Parameter::getTypeName() const {
    constexpr std::array<std::string_view, 5> Names{"bool", "enum", "tarn_long", "float", "string"};
    const std::int32_t type = getType();
    return type >= 0 && type < std::ssize(Names) ? Names[static_cast<std::size_t>(type)]
                                                 : std::string_view("unknown");
}

std::string Parameter::getShortestName() const {
    const std::lock_guard hold(namesLock_);
    return aliases_.empty() ? getName() : *aliases_.begin();
}

std::string Parameter::getHostName(int maxLength) const {
    const std::set<std::string> aliases = getAliases();
    std::vector<std::string> names(aliases.begin(), aliases.end());
    if (names.empty())
        names.push_back(getName());
    std::ranges::stable_sort(names, std::greater<>(), &std::string::size);

    const bool isShort = maxLength < ShortField;
    std::string prefix;
    const ModuleDirectory* const modules = modulesOf(*this);
    if (modules != nullptr && modules->getModuleCount() > 1 && getParent() != nullptr) {
        std::string module = modules->getModuleName(*getParent());
        if (module.empty())
            module = "UNKNOW MODULE ID";
        prefix = isShort ? module + " " : "[" + module + "] ";
    }
    std::string suffix;
    const Settings* const settings = settingsOf(*this);
    if (const std::string path = settings != nullptr ? settings->getPath() : ""; !path.empty())
        suffix = isShort ? " " + path : " (" + path + ")";

    const std::size_t room = roomFor(maxLength, prefix, suffix);
    const auto fitting = std::ranges::find_if(
        names, [room](const std::string& name) { return name.size() <= room; });
    const std::string_view name = fitting != names.end() ? *fitting : names.back();
    return prefix + std::string(beginningOf(name, room)) + suffix;
}

ModuleDirectory* modulesOf(const Radio& radio) {
    return dynamic_cast<ModuleDirectory*>(radio.getPlugin());
}

std::string stateKey(std::string_view name) {
    std::string key;
    std::ranges::copy_if(name, std::back_inserter(key), [](unsigned char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '.' || c == '-';
    });
    key.erase(0, std::min(key.find_first_not_of(".-"), key.size()));
    if (!isXmlName(key))
        key.insert(key.begin(), '_');
    return key;
}

}  // namespace tarn
