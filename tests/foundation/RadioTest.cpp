#include "foundation/ParameterDirectory.h"
#include "foundation/Radio.h"
#include "foundation/Signal.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <mutex>
#include <optional>
#include <span>

using namespace tarn;
using testing::ElementsAre;

namespace {

// Counts what it hears, and then does what the test wants.
struct Receiver : Radio {
    Receiver() : Radio(nullptr) {}

    bool receive(Message& message) override {
        ++heard;
        if (answer)
            answer(message);
        return answer != nullptr || Radio::receive(message);
    }

    std::function<void(Message&)> answer;
    std::atomic<int> heard{0};
};

void say(Radio& sender, std::int32_t code = 1) {
    SystemMessage message(&sender, code, 0);
    EXPECT_TRUE(sender.transmit(message).isOk());
}

// How often the listener hears of each station.
std::vector<int> heardBy(Receiver& listener, std::span<Receiver> stations) {
    std::vector<int> heard;
    for (Receiver& station : stations) {
        listener.heard = 0;
        say(station, 2);
        heard.push_back(listener.heard);
    }
    return heard;
}

struct Parameters : ParameterDirectory {
    Radio* findParameter(std::string_view name, std::int32_t clone) override {
        return name == "Gain" && clone < std::ssize(clones) ? clones[clone] : nullptr;
    }
    bool hasModuleScope(const Radio&) const override { return true; }

    std::vector<Radio*> clones;
};

}  // namespace

// Faults: a walk over listeners that skips, repeats or reads what is gone, that stops where the
// message is handled, or that follows the order of tuning.
TEST(Radio, DeliversInTheOrderOfAddressesWhileListenersComeAndGo) {
    Receiver station;
    std::optional<Receiver> crowd[5];
    std::vector<int> told;
    for (int i = 0; i < 5; ++i)
        crowd[i].emplace().answer = [&, i](Message&) {
            told.push_back(i);
            if (i != 2 || !crowd[1])
                return;
            crowd[2]->tuneOut(&station);  // itself
            crowd[1].reset();             // has heard it
            crowd[3].reset();             // would hear it next
            crowd[4]->tuneIn(&station);   // behind the walk's place
            crowd[0]->tuneIn(&station);   // before it
        };
    for (int i : {3, 1, 2})
        crowd[i]->tuneIn(&station);
    say(station);
    say(station);
    EXPECT_THAT(told, ElementsAre(1, 2, 4, 0, 4));
}

// Fault: a listener that is destroyed while another thread delivers to it.
TEST(Radio, DeletionWaitsForADeliveryOnAnotherThread) {
    Receiver station;
    auto listener = std::make_unique<Receiver>();
    listener->tuneIn(&station);
    Signal inside, deleting;
    std::atomic<bool> destroyed{false};
    listener->answer = [&](Message&) {
        inside.raise();
        deleting.wait();
        yieldOften();
        EXPECT_FALSE(destroyed);
    };
    const std::jthread owner([&] {
        inside.wait();
        deleting.raise();
        listener.reset();
        destroyed = true;
    });
    say(station);
}

// Fault: two deliveries on two threads that wait for each other: their listeners tune to, out of,
// and transmit from the other one's station, and destroy another listener of it.
TEST(Radio, DeliveriesThatCrossDontDeadlock) {
    for (int round = 0; round < 200; ++round) {
        Receiver stations[2], listeners[2];
        std::unique_ptr<Receiver> victims[2];
        Signal inside[2];
        for (int i : {0, 1}) {
            victims[i] = std::make_unique<Receiver>();
            victims[i]->tuneIn(&stations[i]);
            listeners[i].tuneIn(&stations[i]);
            listeners[i].answer = [&, i](Message& message) {
                if (message.code != 1)
                    return;
                inside[i].raise();
                inside[1 - i].wait();
                listeners[i].tuneIn(&stations[1 - i]);
                say(stations[1 - i], 2);
                listeners[1 - i].tuneOut(&stations[i]);  // whether it is tuned in yet or not
                listeners[i].tuneOut(&stations[1 - i]);
                victims[1 - i].reset();
            };
        }
        std::jthread other([&] { say(stations[1]); });
        say(stations[0]);
        other.join();
        for (int i : {0, 1})  // a listener's own tie is left, which none cut
            EXPECT_THAT(heardBy(listeners[i], stations), ElementsAre(1 - i, i));
    }
}

// Eight threads that transmit, tune, tune by name and destroy, with listeners that tune and
// transmit inside `receive`. BRIMTIDE_STRESS holds the number of rounds a thread, for longer runs
// under ThreadSanitizer.
TEST(Radio, WithstandsEightThreads) {
    const char* wanted = std::getenv("BRIMTIDE_STRESS");  // NOLINT(concurrency-mt-unsafe)
    const int rounds = wanted != nullptr ? std::atoi(wanted) : 500;
    Receiver stations[6];
    Parameters parameters;
    for (Receiver& station : stations)
        parameters.clones.push_back(&station);
    Receiver module;
    module.setSettings(&parameters);
    std::mutex gate;  // a radio is handed to `tuneIn` only while it lives
    std::vector<Receiver*> transient;

    onEightThreads([&] {
        for (int round = 0; round < rounds; ++round) {
            auto radio = std::make_unique<Receiver>();
            Receiver* const self = radio.get();
            self->answer = [&, self](Message& message) {
                Receiver& station = stations[dice(6)];
                const std::size_t act = message.code == 1 ? dice(4) : 3;
                if (act == 0)
                    self->tuneIn(&station);
                else if (act == 1)
                    self->tuneOut(&station);
                else if (act == 2)
                    say(station, 2);
            };
            {
                const std::lock_guard hold(gate);
                if (!transient.empty())
                    self->tuneIn(transient[dice(transient.size())]);
                transient.push_back(self);
            }
            const std::function<void()> acts[] = {
                [&] { self->tuneInByName("Gain"); }, [&] { self->tuneOutByName("Gain"); },
                [&] { self->setParent(self->getParent() == nullptr ? &module : nullptr); },
                [&] { say(*self); }, [&] { say(stations[dice(6)]); }};
            for (int i = 0; i < 4; ++i)
                acts[dice(5)]();
            const std::lock_guard hold(gate);
            std::erase(transient, self);
        }
    });

    for (Receiver& station : stations) {
        station.answer = [&](Message&) { ADD_FAILURE() << "a tie is left"; };
        say(station);
    }
}
