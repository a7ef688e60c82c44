#include "foundation/Signal.h"
#include "foundation/Timer.h"
#include "foundation/TimerAnimation.h"
#include "foundation/WindowTimer.h"
#include "platform/Clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <random>
#include <thread>
#include <vector>

namespace tarn {
namespace {

constexpr double Hour = 3600.0 * 1000.0;  // ms: no tick of the system's comes during a test

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
    explicit Hearer(Radio& station, std::function<void(Message&)> answer)
        : Radio(nullptr), answer_(std::move(answer)) {
        tuneIn(&station);
    }
    ~Hearer() override { disconnect(); }
    bool receive(Message& message) override {
        answer_(message);
        return true;
    }

private:
    std::function<void(Message&)> answer_;
};

TimerMessage tickOf(const char (&id)[5]) {
    return {nullptr, TimerMessage::Tick, fourCharacterCode(id), 0};
}

// Faults: times in the wrong unit or from the wrong moment, ticks of a timer that stands.
TEST_F(TimerTest, TicksCarryTheirTimes) {
    const TimerMessage message = tickOf("CVUt");
    Timer timer(nullptr, &message, Hour, false);
    std::vector<TimerMessage> heard;
    Hearer hearer(timer, [&](Message& m) { heard.push_back(static_cast<TimerMessage&>(m)); });

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

    ASSERT_EQ(heard.size(), 2U);
    EXPECT_EQ(heard[0].timerId, 0x43565574U);
    EXPECT_EQ(heard[0].code, 4000);
    EXPECT_EQ(heard[0].intervalMs, Hour);
    EXPECT_EQ(heard[0].elapsed, 0.5);
    EXPECT_EQ(heard[1].intervalMs, 2 * Hour);
    EXPECT_EQ(heard[1].elapsed, 2.0);
    EXPECT_EQ(heard[1].sinceLastTick, 1.5);
    EXPECT_FALSE(timer.isRunning());
}

// Faults: a one-shot that goes on, can't be started again, or a wait that doesn't make one.
TEST_F(TimerTest, StopsByItself) {
    const TimerMessage message = tickOf("MFCI");
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
    const TimerMessage message = tickOf("CTst");
    Timer timer(nullptr, &message, 1.0, false);
    std::atomic<int> heard{0};
    Signal thirdTick;
    Hearer hearer(timer, [&](Message&) {
        switch (++heard) {
            case 1:
                timer.restart();
                break;
            case 2:
                timer.setPeriod(2.0);
                break;
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
    const TimerMessage message = tickOf("Eitt");
    auto timer = std::make_unique<Timer>(nullptr, &message, 1.0, false);
    Signal inside;
    Signal mayEnd;
    std::atomic<bool> ended{false};
    auto hearer = std::make_unique<Hearer>(*timer, [&, timer = timer.get()](Message&) {
        if (ended)
            return;
        inside.raise();
        mayEnd.wait();
        timer->stop(true);
        ended = true;
    });
    timer->start();
    inside.wait();
    timer->stop(false);  // returns though the tick runs
    Signal deleting;
    std::thread owner([&] {
        deleting.raise();
        timer.reset();
        EXPECT_TRUE(ended);
    });
    deleting.wait();
    mayEnd.raise();
    owner.join();
}

// Faults: a callback into a timer that is gone, two ticks at once, a start that is lost.
TEST_F(TimerTest, WithstandsEightThreads) {
    std::vector<std::thread> threads;
    for (unsigned seed = 1; seed <= 8; ++seed)
        threads.emplace_back([seed] {
            std::minstd_rand random(seed);
            const TimerMessage message = tickOf("CPUx");
            for (int round = 0; round < 20; ++round) {
                auto timer =
                    std::make_unique<TimerAnimation>(nullptr, &message, 0.0F, 1.0F, 50, 50.0);
                int ticks = 0;  // guarded by the timer's delivery
                Hearer hearer(*timer, [&](Message&) {
                    if (++ticks % 4 == 0)
                        timer->restart();
                });
                std::thread other([&] {
                    for (int i = 0; i < 20; ++i)
                        i % 2 == 0 ? timer->restart() : timer->stop(i % 3 == 0);
                });
                for (int i = 0; i < 20; ++i) {
                    switch (random() % 4) {
                        case 0:
                            timer->start();
                            break;
                        case 1:
                            timer->jump();
                            break;
                        case 2:
                            timer->setDuration(50.0 + i);
                            break;
                        default:
                            timer->stop(true);
                    }
                }
                other.join();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

// Faults: a value that counts ticks and not time, an end that is missed or passed.
TEST_F(TimerTest, AnimationKeepsToTheClock) {
    const ControlMessage message(nullptr, 0);
    TimerAnimation animation(nullptr, &message, 1.0F, 3.0F, 10, 10 * Hour);
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
