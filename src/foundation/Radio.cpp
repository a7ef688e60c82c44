#include "foundation/Radio.h"

#include "foundation/Logger.h"
#include "foundation/ParameterDirectory.h"

#include <algorithm>
#include <cinttypes>
#include <functional>

namespace tarn {

namespace {

bool contains(const std::vector<Radio*>& ties, const Radio* radio) {
    return std::binary_search(ties.begin(), ties.end(), radio, std::less<const Radio*>());
}

void insert(std::vector<Radio*>& ties, Radio* radio) {
    const auto place = std::lower_bound(ties.begin(), ties.end(), radio, std::less<>());
    if (place == ties.end() || *place != radio)
        ties.insert(place, radio);
}

void erase(std::vector<Radio*>& ties, Radio* radio) {
    const auto place = std::lower_bound(ties.begin(), ties.end(), radio, std::less<>());
    if (place != ties.end() && *place == radio)
        ties.erase(place);
}

// Counts a delivery while it is under way.
class Delivery {
public:
    explicit Delivery(int& count) noexcept : count_(count) { ++count_; }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;
    ~Delivery() { --count_; }

private:
    int& count_;
};

void logForced(const char* format, const Radio* radio, const Radio* other) {
    logLine(LogWarning, format, reinterpret_cast<std::uintptr_t>(radio),
            reinterpret_cast<std::uintptr_t>(other));
}

}  // namespace

Radio::Radio(Radio* parent) : parent_(parent) {}

Radio::Radio(const Radio& other)
    : Allocator(),
      settings_(other.settings_.load(std::memory_order_relaxed)),
      parent_(other.parent_.load(std::memory_order_relaxed)) {}

Radio::~Radio() {
    disconnect(Reporting::Logged);
}

void Radio::destroy(Radio* radio) noexcept {
    radio->disconnect(Reporting::Logged);
    void* const memory = dynamic_cast<void*>(radio);  // of the whole object
    radio->~Radio();
    Allocator::operator delete(memory);
}

void Radio::shutdown() {
    if (Radio* editor = getEditor())
        tuneOut(editor);
    takeListeners([this](Radio& listener) {
        forgetListener(listener);
        erase(listener.stations_, this);
    });
}

Radio* Radio::getPlugin() const {
    const Radio* parent = getParent();
    return parent != nullptr ? parent->getPlugin() : nullptr;
}

Radio* Radio::getEditor() const {
    const Radio* plugin = getPlugin();
    return plugin != nullptr ? plugin->getEditor() : nullptr;
}

void Radio::setParent(Radio* newParent) {
    if (newParent == parent_.load(std::memory_order_relaxed))
        return;
    for (Radio* parameter : tunedModuleParameters())
        tuneOut(parameter);
    parent_.store(newParent, std::memory_order_relaxed);
    if (newParent == nullptr)
        return;
    for (Radio* parameter : tunedModuleParameters())
        tuneIn(parameter);
}

void Radio::setSettings(ParameterDirectory* settings) {
    settings_.store(settings, std::memory_order_relaxed);
}

ParameterDirectory* Radio::getSettings() const {
    if (ParameterDirectory* own = settings_.load(std::memory_order_relaxed))
        return own;
    const Radio* parent = getParent();
    return parent != nullptr ? parent->settings_.load(std::memory_order_relaxed) : nullptr;
}

void Radio::tuneInByName(const std::string& name) {
    if (name.empty())
        return;
    {
        const RadioLock::Hold hold(*lock_);
        tunedNames_.insert(name);
    }
    ParameterDirectory* settings = getSettings();
    for (std::int32_t i = 0; settings != nullptr; ++i) {
        Radio* parameter = settings->findParameter(name, i);
        if (parameter == nullptr)
            return;
        tuneIn(parameter);
    }
}

void Radio::tuneOutByName(const std::string& name) {
    if (name.empty())
        return;
    {
        const RadioLock::Hold hold(*lock_);
        tunedNames_.erase(name);
    }
    ParameterDirectory* settings = getSettings();
    for (std::int32_t i = 0; settings != nullptr; ++i) {
        Radio* parameter = settings->findParameter(name, i);
        if (parameter == nullptr)
            return;
        tuneOut(parameter);
    }
}

// The first clones of what this radio is tuned to by name, as far as they are the module's.
std::vector<Radio*> Radio::tunedModuleParameters() const {
    std::vector<Radio*> found;
    ParameterDirectory* settings = getSettings();
    if (settings == nullptr)
        return found;
    const RadioLock::Hold hold(*lock_);
    for (const std::string& name : tunedNames_) {
        Radio* parameter = settings->findParameter(name, 0);
        if (parameter != nullptr && settings->hasModuleScope(*parameter))
            found.push_back(parameter);
    }
    return found;
}

void Radio::tuneIn(Radio* station) {
    const RadioLock::Hold holdStation(*station->lock_);
    {
        const RadioLock::Hold holdOwn(*lock_);
        station->removeListener(*this);
        insert(station->listeners_, this);
        ++station->changes_;
        stationRemoved(station);
        insert(stations_, station);
    }
    station->listenerAdded(this);
}

void Radio::tuneOut(Radio* station) {
    // A tie keeps the station alive while the lock is read, but not while this waits for it.
    Lock stationLock = lockOfStation(station);
    const bool wasTied = stationLock != nullptr;
    if (!wasTied)
        stationLock = station->lock_;
    const RadioLock::Hold holdStation(*stationLock);
    const RadioLock::Hold holdOwn(*lock_);
    if (!wasTied || isTiedTo(station, stationLock))
        station->removeListener(*this);
}

bool Radio::receive(Message& message) {
    if (message.type == MessageType::Parameter && message.code == ParameterMessage::ValueChanged)
        return true;
    if (message.type == MessageType::Plugin && message.code == PluginMessage::SenderGoes) {
        if (message.sender != nullptr)
            tuneOut(message.sender);
        return true;
    }
    if (message.type == MessageType::System && message.code == SystemMessage::Shutdown) {
        shutdown();
        return true;
    }
    return false;
}

Error Radio::transmit(Message& message) {
    const RadioLock::Hold hold(*lock_);
    deliver(message);
    return NoError();
}

void Radio::deliver(Message& message) {
    const Delivery delivery(deliveries_);
    std::uint32_t seenChanges = changes_;
    for (std::size_t next = 0; next < listeners_.size();) {
        Radio* const listener = listeners_[next];
        renew(message);
        listener->receive(message);
        if (changes_ == seenChanges) {
            ++next;
            continue;
        }
        const auto behind =
            std::upper_bound(listeners_.begin(), listeners_.end(), listener, std::less<>());
        next = static_cast<std::size_t>(behind - listeners_.begin());
        seenChanges = changes_;
    }
}

void Radio::disconnect() {
    disconnect(Reporting::Silent);
}

void Radio::disconnect(Reporting reporting) {
    do {
        leaveStations(reporting);
    } while (awaitStationsLeft());  // meanwhile it may have tuned in anew, inside `receive`
    takeListeners([this, reporting](Radio& listener) {
        if (reporting == Reporting::Logged)
            logForced("Radio::0x%" PRIxPTR " : forced tuning out of listener 0x%" PRIxPTR, this,
                      &listener);
        listener.tuneOut(this);
        if (contains(listeners_, &listener))  // its class has a `tuneOut` of its own
            removeListener(listener);
    });
}

void Radio::leaveStations(Reporting reporting) {
    for (;;) {
        Radio* station = nullptr;
        Lock stationLock;
        {
            const RadioLock::Hold hold(*lock_);
            if (stations_.empty())
                return;
            station = stations_.front();
            stationLock = station->lock_;  // it lives: it can't cut this tie without our lock
        }
        const RadioLock::Hold holdStation(*stationLock);
        const RadioLock::Hold holdOwn(*lock_);
        if (!isTiedTo(station, stationLock))
            continue;
        if (reporting == Reporting::Logged)
            logForced("Radio::0x%" PRIxPTR " : forced tuning out of station 0x%" PRIxPTR, this,
                      station);
        station->removeListener(*this);
    }
}

// False if there was nothing to wait for.
bool Radio::awaitStationsLeft() {
    std::vector<Lock> left;
    {
        const RadioLock::Hold hold(*lock_);
        left.swap(leftDelivering_);
    }
    for (const Lock& lock : left)
        const RadioLock::Hold hold(*lock);
    return !left.empty();
}

// Calls `take` for each listener, which must cut its tie, under both locks.
template <typename Take>
void Radio::takeListeners(Take take) {
    const RadioLock::Hold hold(*lock_);
    while (!listeners_.empty()) {
        Radio* const listener = listeners_.front();
        const Lock listenerLock = listener->lock_;  // it lives: it can't leave without our lock
        const RadioLock::Hold holdListener(*listenerLock);
        // Somebody may have gone in while this thread waited, in its place.
        if (contains(listeners_, listener) && listener->lock_ == listenerLock)
            take(*listener);
    }
}

// Under both locks, the station's first. In a destructor the notifications are this class's, which
// do nothing; `delete` has cut the ties before.
// NOLINTBEGIN(clang-analyzer-optin.cplusplus.VirtualCall)
void Radio::removeListener(Radio& listener) {
    listenerRemoved(&listener);
    forgetListener(listener);
    listener.stationRemoved(this);
    erase(listener.stations_, this);
}

// NOLINTEND(clang-analyzer-optin.cplusplus.VirtualCall)

void Radio::forgetListener(Radio& listener) {
    erase(listeners_, &listener);
    ++changes_;
    if (deliveries_ > 0) {
        // What only we hold belonged to a station that is gone.
        std::erase_if(listener.leftDelivering_,
                      [this](const Lock& lock) { return lock.use_count() == 1 || lock == lock_; });
        listener.leftDelivering_.push_back(lock_);
    }
}

// Null without a tie.
Radio::Lock Radio::lockOfStation(Radio* station) const {
    const RadioLock::Hold hold(*lock_);
    return contains(stations_, station) ? station->lock_ : nullptr;
}

// Whether the tie is still there, to the same station, and not to another one in its place in
// memory.
bool Radio::isTiedTo(Radio* station, const Lock& stationLock) const {
    return lockOfStation(station) == stationLock;
}

}  // namespace tarn
