#include "parameters/Parameter.h"

#include "foundation/Dictionary.h"
#include "foundation/Preferences.h"
#include "foundation/XmlText.h"
#include "parameters/ModuleDirectory.h"
#include "parameters/Settings.h"

#include <algorithm>
#include <array>
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
    Announcement now{makeMessage(FromInternal), {}};
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

// A listener may set the value in its `receive`; so may another thread, while this one waits inside
// a delivery. That one's message comes first, then the rest of the listeners get this one, which
// must not take them back to the older value.
void Parameter::announce(std::int32_t source) {
    const RadioLock::Hold hold(deliveryLock());
    Announcement now{makeMessage(source), {}};
    fill(now);
    struct Delivering {
        Parameter& parameter;
        Announcement* outer;
        ~Delivering() {
            parameter.delivering_ = outer;
            if (outer != nullptr)
                parameter.refill(*outer);
        }
    };
    const Delivering delivering{*this, std::exchange(delivering_, &now)};
    deliver(now.message);
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
