#include "foundation/Signal.h"
#include "foundation/Timer.h"
#include "foundation/TimerAnimation.h"
#include "foundation/WindowTimer.h"
#include "platform/Clock.h"

#include <gtest/gtest.h>

#include <functional>

namespace tarn {
namespace {

constexpr double Hour = 3600.0 * 1000.0;  // ms: no tick of the system's comes during a test

const TimerMessage message(nullptr, TimerMessage::Tick, fourCharacterCode("CVUt"), 0);

double clockTime = 0.0;

class TimerTest : public ::testing::Test {
protected:
    void setClock(double seconds) {
        clockTime = seconds;
        platform::setHighResolutionClock([]() noexcept { return clockTime; });
    }
    void TearDown() override { platform::setHighResolutionClock(nullptr); }
};

class Hearer : public Radio {
public:
    Hearer(Radio& station, std::function<void(Message&)> answer)
        : Radio(nullptr), answer_(std::move(answer)) {
        tuneIn(&station);
    }
    ~Hearer() override { disconnect(); }
    bool receive(Message& heard) override {
        answer_(heard);
        return true;
    }

private:
    std::function<void(Message&)> answer_;
};

// Faults: times in the wrong unit or from the wrong moment, ticks of a timer that stands.
TEST_F(TimerTest, TicksCarryTheirTimes) {
    Timer timer(nullptr, &message, Hour, false);
    std::vector<double> times;
    Hearer hearer(timer, [&](Message& m) {
        const auto& tick = dynamic_cast<TimerMessage&>(m);
        EXPECT_EQ(tick.timerId, 0x43565574U);
        times.insert(times.end(), {tick.intervalMs, tick.elapsed, tick.sinceLastTick});
    });
    timer.tick();
    setClock(10.0);
    timer.start();
    setClock(10.5);
    timer.tick();
    timer.setPeriod(2 * Hour);
    setClock(12.0);
    timer.start();  // runs already
    timer.tick();
    timer.stop(false);
    timer.tick();
    EXPECT_EQ(times, (std::vector<double>{Hour, 0.5, 0.5, 2 * Hour, 2.0, 1.5}));
}

// Faults: a one-shot that goes on, can't be started again, or a wait that doesn't make one.
TEST_F(TimerTest, StopsByItself) {
    int heard = 0;
    Timer once(nullptr, &message, Hour, true);
    Timer stopped(nullptr, &message, Hour, false);
    Timer mute(nullptr, nullptr, Hour, false);
    stopped.start();
    stopped.stop(true);
    for (Timer* timer : {&once, &stopped, &mute}) {
        Hearer hearer(*timer, [&](Message&) { ++heard; });
        for (int run = 0; run < 2; ++run) {
            timer->restart();
            EXPECT_TRUE(timer->isRunning());
            timer->tick();
            EXPECT_FALSE(timer->isRunning());
            timer->tick();
        }
    }
    EXPECT_EQ(heard, 4);
}

// Faults: a deadlock, or a tick after the stop, when the timer is stopped and started on its own
// thread.
TEST_F(TimerTest, ListenersStopAndStartIt) {
    Timer timer(nullptr, &message, 1.0, false);
    std::atomic<int> heard{0};
    Signal thirdTick;
    Hearer hearer(timer, [&](Message&) {
        switch (++heard) {
            case 1:
                return timer.restart();
            case 2:
                return timer.setPeriod(2.0);
            default:
                timer.stop(true);
                thirdTick.raise();
        }
    });
    timer.start();
    thirdTick.wait();
    timer.stop(true);
    EXPECT_EQ(heard, 3);
}

// Faults: a stop that waits for the tick it should leave alone; a deletion that doesn't wait, or
// that waits for a listener which stops the timer itself.
TEST_F(TimerTest, DeletionWaitsForTheTickThatRuns) {
    auto timer = std::make_unique<Timer>(nullptr, &message, 1.0, false);
    Signal inside;
    Signal deleting;
    std::atomic<bool> ended{false};
    Hearer hearer(*timer, [&, timer = timer.get()](Message&) {
        if (ended)
            return;
        inside.raise();
        deleting.wait();
        for (int i = 0; i < 1000; ++i)
            std::this_thread::yield();
        timer->stop(true);
        ended = true;
    });
    timer->start();
    inside.wait();
    timer->stop(false);  // returns though the tick runs
    deleting.raise();
    timer.reset();
    EXPECT_TRUE(ended);
}

// Faults: a callback into a timer that is gone, two ticks at once, a start that is lost.
TEST_F(TimerTest, WithstandsEightThreads) {
    onEightThreads([] {
        for (int round = 0; round < 20; ++round) {
            auto timer = std::make_unique<TimerAnimation>(nullptr, &message, 0.0F, 1.0F, 50, 50.0);
            int ticks = 0;  // guarded by the timer's delivery
            Hearer hearer(*timer, [&](Message&) {
                if (++ticks % 4 == 0)
                    timer->restart();
            });
            std::thread other([&] {
                for (int i = 0; i < 20; ++i)
                    i % 2 == 0 ? timer->restart() : timer->stop(i % 3 == 0);
            });
            const std::function<void()> acts[] = {[&] { timer->start(); }, [&] { timer->jump(); },
                                                  [&] { timer->setDuration(50.0 + round); },
                                                  [&] { timer->stop(true); }};
            for (int i = 0; i < 20; ++i)
                acts[dice(4)]();
            other.join();
        }
    });
}

// Faults: a value that counts ticks and not time, an end that is missed or passed.
TEST_F(TimerTest, AnimationKeepsToTheClock) {
    const ControlMessage moved(nullptr, 0);
    TimerAnimation animation(nullptr, &moved, 1.0F, 3.0F, 10, 10 * Hour);
    std::vector<float> values;
    Hearer hearer(animation, [&](Message& m) { values.push_back(fromPayload<float>(m.payload)); });
    constexpr double Step = Hour / 1000.0;  // seconds
    setClock(0.0);
    animation.start();
    for (double steps : {0.4, 1.0, 4.6, 8.0}) {
        setClock(steps * Step);
        animation.tick();
    }
    EXPECT_TRUE(animation.isRunning());
    setClock(100.0 * Step);
    animation.tick();
    EXPECT_FALSE(animation.isRunning());
    EXPECT_EQ(values, (std::vector<float>{1.0F, 1.2F, 2.0F, 2.6F, 3.0F}));

    animation.setRange(0.0F, 1.0F);
    animation.setDuration(0.0);
    animation.start();
    animation.jump();
    EXPECT_FALSE(animation.isRunning());
    EXPECT_EQ(animation.value(), 1.0F);
}

TEST_F(TimerTest, WindowTimerIsKnownToTheSystem) {
    const WindowTimer timer(nullptr, 50);
    EXPECT_NE(timer.timerHandle(), 0);
}

}  // namespace
}  // namespace tarn
