// A radio that transmits a message at a period, on a thread of the system's.
// Everything rests on one rule: what its listeners do in `receive`, they do on that thread, never
// on the interface's; so they note what is to be done and leave.
#pragma once

#include "foundation/Mutex.h"
#include "foundation/Radio.h"
#include "platform/SystemTimer.h"

#include <memory>

namespace tarn {

/// All operations may be called from any thread, and from inside `receive`. A timer is not
/// destroyed by its own listeners. Who destroys it must not hold a lock that a listener waits for,
/// be it a mutex or another radio's delivery.
class Timer : public Radio {
public:
    /// Keeps a copy of `message`, whose times it fills at each tick if it is a TimerMessage;
    /// without a message it stops at its first tick. Periods are in milliseconds, in whole steps
    /// from 1 on.
    Timer(Radio* parent, const Message* message, double periodMs, bool oneShot);

    /// Waits for a running tick. A derived class with a `tick` of its own calls `end()` in its
    /// destructor.
    ~Timer() override;

    /// Takes effect at once, also on a running timer, whose next tick is then a period away.
    virtual void setPeriod(double ms);

    /// The first tick comes after one period. Does nothing to a timer that runs.
    void start() override;

    /// `stop(false)` and `start()`.
    virtual void restart();

    /// With `wait`, returns when a tick that is under way on another thread is over, unless that
    /// tick itself waits for a delivery of which the caller is a part: then at once, as inside the
    /// tick. The caller must hold no mutex that a listener waits for. The timer is a one-shot from
    /// then on.
    virtual void stop(bool wait);
    void stop() override { stop(false); }

    virtual bool isRunning() const;

    /// What the system calls at each period: fills in the times, transmits, and stops a one-shot.
    virtual void tick();

protected:
    /// The copy; null without one. Under the radio's lock.
    Message* message() const noexcept { return message_.get(); }

    /// Stops the timer, waits for a running tick and gives the system's timer back.
    void end();

    double period() const;
    double secondsSinceLastTick() const;

private:
    static void onSystemTimer(void* self);
    bool arm();

    std::unique_ptr<Message> message_;

    mutable Mutex lock_;      // guards what follows, and is free during ticks
    double period_;           // ms
    double startTime_ = 0.0;  // seconds
    double lastTick_ = 0.0;
    bool oneShot_;
    bool running_ = false;
    bool armed_ = false;  // the system will call
    std::unique_ptr<platform::SystemTimer> system_;
};

}  // namespace tarn
