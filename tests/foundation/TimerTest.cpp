#include "foundation/Signal.h"
#include "foundation/TimerAnimation.h"
#include "platform/Clock.h"
#include "support/Hearer.h"

#include <gmock/gmock.h>

#include <functional>

using namespace tarn;
using testing::ElementsAre;

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
    ~TimerTest() override { platform::setHighResolutionClock(nullptr); }
};

}  // namespace

// Faults: times in the wrong unit or from the wrong moment, ticks of a timer that stands.
TEST_F(TimerTest, TicksCarryTheirTimes) {
    Timer timer(nullptr, &message, Hour, false);
    std::vector<double> times;
    const Hearer hearer(timer, [&](Message& m) {
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
    EXPECT_THAT(times, ElementsAre(Hour, 0.5, 0.5, 2 * Hour, 2.0, 1.5));
}

// Faults: a one-shot that goes on, can't be started again, or a wait that doesn't make one.
TEST_F(TimerTest, StopsByItself) {
    Timer once(nullptr, &message, Hour, true);
    Timer stopped(nullptr, &message, Hour, false);
    Timer mute(nullptr, nullptr, Hour, false);
    stopped.start();
    stopped.stop(true);
    int heard = 0;
    for (Timer* timer : {&once, &stopped, &mute, &once}) {
        const Hearer hearer(*timer, [&](Message&) { ++heard; });
        timer->restart();
        EXPECT_TRUE(timer->isRunning());
        timer->tick();
        EXPECT_FALSE(timer->isRunning());
        timer->tick();
    }
    EXPECT_EQ(heard, 3);
}

// Faults: a stop that waits for the tick it should leave alone; a deletion, or one of two stops at
// once, that doesn't wait; one that waits for a listener which stops the timer itself.
TEST_F(TimerTest, DeletionAndStopsWaitForTheTickThatRuns) {
    std::unique_ptr<Timer> timer;
    std::atomic<bool> ended{false};
    const auto stop = [&] {
        timer->stop(true);
        EXPECT_TRUE(ended);
    };
    for (const bool deletes : {true, false}) {
        timer = std::make_unique<Timer>(nullptr, &message, 1.0, false);
        ended = false;
        Signal inside;
        Signal ending;
        const Hearer hearer(*timer, [&, timer = timer.get()](Message&) {
            inside.raise();
            ending.wait();
            yieldOften();
            timer->stop(true);
            ended = true;
        });
        timer->start();
        inside.wait();
        timer->stop(false);  // returns though the tick runs
        ending.raise();
        if (deletes) {
            timer.reset();
        } else {
            const std::jthread other(stop);
            stop();
        }
        EXPECT_TRUE(ended);
    }
}

// Fault: a stop inside `receive` that waits for a tick, whose listener waits for that delivery.
TEST_F(TimerTest, StopInsideADeliveryThatTheTickWantsDoesntDeadlock) {
    for (const bool tickComesLate : {false, true}) {
        Radio sender(nullptr);
        const auto say = [&sender](std::int32_t code) {
            SystemMessage said(&sender, code, 0);
            sender.transmit(said);
        };
        Timer timer(nullptr, &message, 1.0, false);
        Signal inside;
        Signal stopping;
        const Hearer ofTicks(timer, [&](Message&) {
            inside.raise();
            stopping.wait();
            if (tickComesLate)
                yieldOften();
            say(2);
        });
        const Hearer ofSender(sender, [&](Message& heard) {
            if (heard.code == 2)
                return;
            timer.start();
            inside.wait();
            stopping.raise();
            timer.stop(true);
        });
        say(1);
        EXPECT_FALSE(timer.isRunning());
    }
}

// Faults: a period that waits for the next start; a timer that ends inside another's tick, and
// waits for a call of its own behind that one.
TEST_F(TimerTest, TakesUpItsPeriodAtOnceAndMayGoInAnothersTick) {
    Timer timer(nullptr, &message, Hour, false);
    auto other = std::make_unique<Timer>(nullptr, &message, 1.0, false);
    Signal ticked;
    const Hearer hearer(timer, [&, ticks = 0](Message&) mutable {
        other->start();
        yieldOften();
        other.reset();
        other = std::make_unique<Timer>(nullptr, &message, 1.0, false);
        if (++ticks == 3)
            ticked.raise();
    });
    timer.start();
    timer.setPeriod(1.0);
    ticked.wait();
    timer.stop(true);
}

// Faults: a callback into a timer that is gone, two ticks at once, a deadlock, also when a listener
// starts the timer anew.
TEST_F(TimerTest, WithstandsEightThreads) {
    onEightThreads([] {
        for (int round = 0; round < 20; ++round) {
            TimerAnimation timer(nullptr, &message, 0.0F, 1.0F, 50, 50.0);
            int ticks = 0;  // guarded by the timer's delivery
            const Hearer hearer(timer, [&](Message&) {
                if (++ticks % 4 == 0)
                    timer.restart();
            });
            const std::function<void()> acts[] = {[&] { timer.start(); }, [&] { timer.jump(); },
                                                  [&] { timer.setDuration(50.0 + round); },
                                                  [&] { timer.stop(true); }};
            const auto act = [&] {
                for (int i = 0; i < 20; ++i)
                    acts[dice(4)]();
            };
            const std::jthread other(act);
            act();
        }
    });
}

// Faults: a value that counts ticks and not time, an end that is missed or passed.
TEST_F(TimerTest, AnimationKeepsToTheClock) {
    const ControlMessage moved(nullptr, 0);
    TimerAnimation animation(nullptr, &moved, 1.0F, 3.0F, 10, 10 * Hour);
    std::vector<float> values;
    const Hearer hearer(animation,
                        [&](Message& m) { values.push_back(fromPayload<float>(m.payload)); });
    setClock(0.0);
    animation.start();
    for (double steps : {0.4, 1.0, 4.6, 8.0, 100.0}) {
        EXPECT_TRUE(animation.isRunning());
        setClock(steps * Hour / 1000.0);
        animation.tick();
    }
    EXPECT_FALSE(animation.isRunning());
    EXPECT_THAT(values, ElementsAre(1.0F, 1.2F, 2.0F, 2.6F, 3.0F));

    animation.setRange(0.0F, 1.0F);
    animation.setDuration(0.0);
    animation.start();
    animation.jump();
    EXPECT_FALSE(animation.isRunning());
    EXPECT_EQ(animation.value(), 1.0F);
}
