// The share of a thread's time that a section of code takes, ten times a second.
// Everything rests on one rule: whoever runs the section only adds up its time, and a timer turns
// that into loads. So neither waits for the other.
#pragma once

#include "audio/SeriesStats.h"
#include "foundation/Mutex.h"
#include "foundation/Radio.h"
#include "foundation/Word.h"

#include <memory>

namespace tarn {

class Timer;

/// Loads are from 0.0 to 1.0, which is all of the time, or above where what ends was begun before.
/// Made, started, stopped and destroyed on one thread.
class CPUMeter : public Radio {
public:
    static constexpr int UpdatesPerSecond = 10;

    /// Keeps so many loads, by default those of 16 seconds. None comes before `start`.
    explicit CPUMeter(Radio* parent, int length = 16 * UpdatesPerSecond);
    ~CPUMeter() override;

    /// Loads come from now on. The pause before is in none of them. Does nothing to a meter that
    /// runs.
    void start() override;
    void stop() override;

    // Around each run of the section, which runs on one thread at a time. Audio thread: each reads
    // the clock once.
    void begin() noexcept;
    void end() noexcept;

    // The same for a section that may run several times in what counts as one period.
    void beginSection() noexcept;
    void endSection() noexcept;

    /// Seconds from one `begin` to the next, smoothed over a hundred. Any thread.
    double getPeriod() const noexcept { return period_; }

    // Of the loads kept. Any thread but the audio thread.
    double getMean() const;
    double getPeak() const;
    int getLength() const;

    /// One of them, 0 being the oldest.
    double getLoad(int index) const;

    /// A tick: takes the load since the last one, and then tells the listeners, on its timer's
    /// thread.
    bool receive(Message& message) override;

private:
    std::unique_ptr<Timer> timer_;
    double startTime_ = 0.0;      // of the section's last run, seconds; its thread's
    Word<double> busyTime_{0.0};  // all runs together, seconds; written by the section's thread
    Word<double> period_{1.0};    // seconds

    mutable Mutex lock_;  // guards what follows
    SeriesStats loads_;
    double lastUpdate_ = 0.0;  // seconds; 0 before the first one
    double busyBefore_ = 0.0;  // of `busyTime_`, until the last update
};

}  // namespace tarn
