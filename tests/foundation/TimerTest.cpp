#include "foundation/Signal.h"
#include "foundation/TimerAnimation.h"
#include "support/Hearer.h"
#include "support/TestClock.h"

#include <gmock/gmock.h>

#include <functional>

using namespace tarn;
using testing::ElementsAre;

namespace {

constexpr double Hour = 3600.0 * 1000.0;  // ms: no tick of the system's comes during a test

const TimerMessage message(nullptr, TimerMessage::Tick, fourCharacterCode("CVUt"), 0);

}  // namespace

// Faults: a one-shot that goes on, can't be started again, or a wait that doesn't make one.
TEST(Timer, StopsByItself) {
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
TEST(Timer, DeletionAndStopsWaitForTheTickThatRuns) {
    std::unique_ptr<Timer> timer;
    std::atomic<bool> ended{false};
    const auto stop = [&] {
        timer->stop(true);
        EXPECT_TRUE(ended);
    };
    for (const bool deletes : {true, false}) {
        timer = std::make_unique<Timer>(nullptr, &message, 1.0, false);
        ended = false;
        Signal inside, ending;
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
TEST(Timer, StopInsideADeliveryThatTheTickWantsDoesntDeadlock) {
    for (const bool tickComesLate : {false, true}) {
        Radio sender(nullptr);
        const auto say = [&sender](std::int32_t code) {
            SystemMessage said(&sender, code, 0);
            sender.transmit(said);
        };
        Timer timer(nullptr, &message, 1.0, false);
        Signal inside, stopping;
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

// Faults: a callback into a timer that is gone, two ticks at once, a deadlock, also when a listener
// starts the timer anew.
TEST(Timer, WithstandsEightThreads) {
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
TEST(Timer, AnimationKeepsToTheClock) {
    const ControlMessage moved(nullptr, 0);
    TimerAnimation animation(nullptr, &moved, 1.0F, 3.0F, 10, 10 * Hour);
    std::vector<float> heard;
    const Hearer ears(animation,
                      [&](Message& m) { heard.push_back(fromPayload<float>(m.payload)); });
    const test::TestClock clock(0.0);
    animation.start();
    for (double steps : {0.4, 1.0, 4.6, 8.0, 100.0}) {
        EXPECT_TRUE(animation.isRunning());
        clock.now = steps * Hour / 1000.0;
        animation.tick();
    }
    EXPECT_FALSE(animation.isRunning());
    EXPECT_THAT(heard, ElementsAre(1.0F, 1.2F, 2.0F, 2.6F, 3.0F));
}
