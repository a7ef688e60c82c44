// Base of the long-lived objects: parameters, controls, engines, timers and more. A radio knows its
// parent, which doesn't own it. And it sends messages to its listeners, the radios that have tuned
// in to it. The radios that it has tuned in to are its stations.
//
// Everything rests on one rule: `transmit` calls `receive` of every listener before it returns, on
// the calling thread, and holds this radio's lock meanwhile. So one message at a time comes from a
// radio. And `tuneOut` and the destructor, which take the same lock, wait for a delivery on another
// thread: after them the listener hears nothing more from that station.
//
// Any thread may call any operation, also inside `receive` and the notifications. Threads that wait
// for one another's radios don't deadlock: see RadioLock. Callers keep three rules:
// 1. While one thread tunes in to a radio or transmits from it, no other thread destroys it.
// 2. Inside `receive`, a listener doesn't destroy the radio that delivers to it.
// 3. Suppose that thread 1 is in a listener's `receive`, and waits there for a radio from which
//    thread 2 delivers. Then thread 2 doesn't destroy that listener inside its delivery.
#pragma once

#include "foundation/Allocator.h"
#include "foundation/Error.h"
#include "foundation/Message.h"
#include "foundation/RadioLock.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <vector>

namespace tarn {

class ParameterDirectory;

class Radio : public virtual Allocator {
public:
    /// `parent` may be null and must outlive this radio, or be replaced.
    explicit Radio(Radio* parent);

    /// Takes over settings and parent; is tuned to nothing and heard by nobody.
    Radio(const Radio& other);
    Radio& operator=(const Radio&) = delete;

    /// Calls `disconnect`, and logs each tie that was left, at level 1. `delete` does so before the
    /// first destructor runs, so that no half-destroyed object receives a message. An object that
    /// isn't deleted, such as a local variable, calls `disconnect` in the destructor of its own
    /// class, if other threads may deliver to it.
    virtual ~Radio();

    /// Tunes out of the editor. Forgets all listeners, without notifications.
    virtual void shutdown();

    virtual void start() {}
    virtual void stop() {}

    /// The plug-in instance and its editor that this radio belongs to, found through the parents;
    /// null if there is none.
    virtual Radio* getPlugin() const;
    virtual Radio* getEditor() const;

    virtual Radio* getParent() const { return parent_.load(std::memory_order_relaxed); }

    /// Moves to another parent, or to none. For each name in use: if the parameter belongs to a
    /// module, this radio tunes out of the old module's first clone and in to the new module's.
    virtual void setParent(Radio* newParent);

    /// The settings of this radio; null means those of its parent. Not owned.
    virtual void setSettings(ParameterDirectory* settings);

    /// This radio's own settings, or those set in its parent; null if there are none.
    ParameterDirectory* getSettings() const;

    /// Tunes in to all clones of a parameter. The name stays in use until `tuneOutByName`, also if
    /// there is no such parameter now. An empty name does nothing.
    virtual void tuneInByName(const std::string& name);
    void tuneOutByName(const std::string& name);

    /// Listens to a station from now on. First does what `tuneOut` does, so that there is never
    /// more than one tie to a station. At the end the station's `listenerAdded` is called, in which
    /// the station can send this radio its present state.
    virtual void tuneIn(Radio* station);

    /// Stops listening to a station. Both radios are notified, also when there was no tie.
    virtual void tuneOut(Radio* station);

    /// A message from a station, or one that somebody hands over directly. On the thread that
    /// transmits, which may be any. Returns whether it was handled; `transmit` ignores that.
    virtual bool receive(Message& message);

    // Notifications. `listenerAdded` is called under the station's lock, the other two under the
    // listener's as well.
    virtual void listenerAdded(Radio* /*listener*/) {}
    virtual void listenerRemoved(Radio* /*listener*/) {}
    virtual void stationRemoved(Radio* /*station*/) {}

    /// Hands the message to each listener, in the order of their addresses. Listeners may come and
    /// go meanwhile. Always returns the no-error. Audio thread: allocates nothing, and waits only
    /// while another thread delivers from this radio or tunes to it.
    Error transmit(Message& message);

    /// Tunes out of every station, and has every listener tune out. Returns when deliveries on
    /// other threads, from this radio and to it, are over.
    void disconnect();

    // Always inline: GCC takes a radio behind another base for memory that isn't the heap's.
    [[gnu::always_inline]] static void operator delete(Radio* radio, std::destroying_delete_t) {
        destroy(radio);
    }
    using Allocator::operator delete;

protected:
    /// The lock that is held while this radio delivers. A class that changes a message of its own
    /// before it transmits it holds this lock for both.
    RadioLock& deliveryLock() const noexcept { return *lock_; }

    /// What `transmit` does under that lock, which the caller holds.
    void deliver(Message& message);

    /// Called by `deliver` before each listener hears the message, which may be brought up to date.
    virtual void renew(Message& /*message*/) {}

    /// Called under that lock, on the thread that leaves it: does what other threads, which found
    /// it taken, have asked for (RadioLock::AskOwner).
    virtual void catchUp() noexcept {}

private:
    friend class RadioLock;

    // Shared, because threads may still wait for the lock when the radio is gone. Where two locks
    // are needed, the station's is taken before the listener's.
    using Lock = std::shared_ptr<RadioLock>;
    using Ties = std::vector<Radio*>;  // in the order of addresses

    enum class Reporting { Silent, Logged };

    static void destroy(Radio* radio) noexcept;
    void disconnect(Reporting reporting);
    void leaveStations(Reporting reporting);
    bool awaitStationsLeft();
    template <typename Take>
    void takeListeners(Take take);
    void removeListener(Radio& listener);
    void forgetListener(Radio& listener);
    Lock lockOfStation(Radio* station) const;
    bool isTiedTo(Radio* station, const Lock& stationLock) const;
    std::vector<Radio*> tunedModuleParameters() const;

    std::atomic<ParameterDirectory*> settings_{nullptr};
    std::atomic<Radio*> parent_;
    Lock lock_ = std::make_shared<RadioLock>(this);  // guards what follows
    Ties listeners_;
    Ties stations_;
    std::set<std::string, std::less<>> tunedNames_;
    std::uint32_t changes_ = 0;  // of listeners_, so that a walk notices
    int deliveries_ = 0;         // under way, nested

    // Locks of stations that this radio left during their deliveries. One of these may still be in
    // our `receive`, so our destructor waits for these locks.
    std::vector<Lock> leftDelivering_;
};

}  // namespace tarn
