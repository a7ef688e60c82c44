// Base of the long-lived objects: a place in a tree that owns nothing, and the bus over which they
// hear of each other. A radio listens to its stations and is heard by its listeners.
// Everything rests on one rule: a radio's lock is held while it delivers, on the thread that
// transmits, so each delivery is whole before the next one begins, and whoever has tuned out of a
// radio, or is destroyed, hears nothing of it any more.
//
// Threads. Every operation may be called from any thread, and from inside `receive` and the
// notifications. Deliveries that cross each other on several threads, and radios that tune to and
// out of one another at once, can't deadlock: see RadioLock. A station is locked before its
// listener, always; where another thread made or broke the same tie while this one waited, the
// later of the two changes nothing. One thing is left to the caller: an object that is used must
// live, so nobody may hand a radio to `tuneIn`, or transmit from it, while another thread destroys
// it, and no radio is destroyed by one of its own listeners inside `receive`.
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

    /// Breaks every tie that is left, with a line in the log at level 1 for each, and waits for
    /// deliveries to this radio on other threads. `delete` does the same before the first
    /// destructor runs, so that nothing is delivered to a half-destroyed object; an object that
    /// lives elsewhere than on the heap, and may be delivered to by other threads, must call
    /// `disconnect` first.
    virtual ~Radio();

    /// Tunes out of the editor and forgets all listeners, without a word to them.
    virtual void shutdown();

    virtual void start() {}
    virtual void stop() {}

    /// The plug-in instance and its editor that this radio belongs to, found through the parents;
    /// null if there is none.
    virtual Radio* getPlugin() const;
    virtual Radio* getEditor() const;

    virtual Radio* getParent() const { return parent_.load(std::memory_order_relaxed); }

    /// Moves to another parent, or to none. What this radio is tuned to by name, and is of module
    /// scope, is left in the old parent's settings and found again in the new one's.
    virtual void setParent(Radio* newParent);

    /// The settings of this radio; null means those of its parent. Not owned.
    virtual void setSettings(ParameterDirectory* settings);

    /// This radio's own settings, or those set in its parent; null if there are none.
    ParameterDirectory* getSettings() const;

    /// Tunes to all clones of a parameter. The name is kept, whether or not there is such a
    /// parameter now. An empty name does nothing.
    virtual void tuneInByName(const std::string& name);
    void tuneOutByName(const std::string& name);

    /// Listens to a station from now on: first as `tuneOut`, so that a second call replaces the
    /// first, then the station's `listenerAdded` tells this radio what it must know.
    virtual void tuneIn(Radio* station);

    /// Listens to a station no more, from the return on. Both are notified also when there was no
    /// tie.
    virtual void tuneOut(Radio* station);

    /// A message of a station, or one that is handed over directly. True if it was handled, which
    /// `transmit` ignores. On the thread that transmits: any.
    virtual bool receive(Message& message);

    // Notifications, under the station's and the listener's lock.
    virtual void listenerAdded(Radio* /*listener*/) {}
    virtual void listenerRemoved(Radio* /*listener*/) {}
    virtual void stationRemoved(Radio* /*station*/) {}

    /// Hands the message to each listener, in the order of their addresses; listeners may come and
    /// go meanwhile. Always the no-error. Audio thread: allocates nothing, and waits only while
    /// another thread delivers from, or tunes to, this same radio.
    Error transmit(Message& message);

    /// Tunes out of every station and has every listener tune out, with their notifications.
    /// Returns when deliveries on other threads, from and to this radio, are over.
    void disconnect();

    // Always inline: GCC takes a radio behind another base for memory that isn't the heap's.
    [[gnu::always_inline]] static void operator delete(Radio* radio, std::destroying_delete_t) {
        destroy(radio);
    }
    using Allocator::operator delete;

protected:
    /// Under which this radio delivers, for a class that readies what it transmits.
    RadioLock& deliveryLock() const noexcept { return *lock_; }

private:
    // A radio's lock outlives it for those who wait for it.
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
    Lock lock_ = std::make_shared<RadioLock>();  // guards what follows
    Ties listeners_;
    Ties stations_;
    std::set<std::string, std::less<>> tunedNames_;
    std::uint32_t changes_ = 0;  // of listeners_, so that a walk notices
    int deliveries_ = 0;         // under way, nested

    // Of stations that this radio left while they delivered, perhaps to it: whoever destroys it
    // must wait for them, though the tie is cut.
    std::vector<Lock> leftDelivering_;
};

}  // namespace tarn
