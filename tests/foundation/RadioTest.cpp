#include "foundation/LogFolder.h"
#include "foundation/ParameterDirectory.h"
#include "foundation/Radio.h"
#include "foundation/SharedObject.h"
#include "foundation/Signal.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>

namespace tarn {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

using Events = std::vector<std::string>;

// Notes what it is told, and then does what the test wants.
class Receiver : public Radio {
public:
    explicit Receiver(std::string name = "", Events* events = nullptr)
        : Radio(nullptr), name_(std::move(name)), events_(events) {}
    Receiver(const Receiver& other) : Radio(other), events_(nullptr) {}

    bool receive(Message& message) override {
        if (events_ != nullptr)
            events_->push_back(name_ + " hears " + std::to_string(message.code));
        ++heard;
        if (answer)
            answer(message);
        return answer != nullptr || Radio::receive(message);
    }
    void listenerAdded(Radio* listener) override { note(" +", listener); }
    void listenerRemoved(Radio* listener) override { note(" -", listener); }
    void stationRemoved(Radio* station) override { note(" without ", station); }
    Radio* getEditor() const override { return editor; }

    std::function<void(Message&)> answer;
    std::atomic<int> heard{0};
    Radio* editor = nullptr;

private:
    void note(const char* what, Radio* whom) {
        if (events_ != nullptr)
            events_->push_back(name_ + what + dynamic_cast<Receiver&>(*whom).name_);
    }

    std::string name_;
    Events* events_;
};

void say(Radio& sender, std::int32_t code) {
    SystemMessage message(&sender, code, 0);
    EXPECT_TRUE(sender.transmit(message).isOk());
}

Events taken(Events& events) {
    return std::exchange(events, {});
}

// Faults: a missing or doubled notification, a second tie, one end of a tie that stays.
TEST(Radio, TellsBothEndsOfEveryTie) {
    Events events;
    Receiver station("S", &events);
    Receiver listener("L", &events);

    listener.tuneIn(&station);
    EXPECT_THAT(taken(events), ElementsAre("S -L", "L without S", "L without S", "S +L"));
    listener.tuneIn(&station);
    EXPECT_THAT(taken(events), ElementsAre("S -L", "L without S", "L without S", "S +L"));
    say(station, 7);
    EXPECT_THAT(taken(events), ElementsAre("L hears 7"));
    listener.tuneOut(&station);
    EXPECT_THAT(taken(events), ElementsAre("S -L", "L without S"));
    listener.tuneOut(&station);
    EXPECT_THAT(taken(events), ElementsAre("S -L", "L without S"));
    say(station, 8);
    EXPECT_THAT(events, IsEmpty());
}

// Faults: a walk that stops at a listener that handles the message, or follows the order of tuning.
TEST(Radio, DeliversToAllInTheOrderOfTheirAddresses) {
    Receiver station;
    std::vector<Radio*> told;
    std::vector<std::unique_ptr<Receiver>> listeners(5);
    for (auto& listener : listeners) {
        listener = std::make_unique<Receiver>();
        listener->answer = [&told, self = listener.get()](Message&) { told.push_back(self); };
    }
    for (int i : {3, 0, 4, 1, 2})
        listeners[i]->tuneIn(&station);
    say(station, 7);
    EXPECT_EQ(told.size(), 5U);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end(), std::less<>()));
}

// Faults: a walk over listeners that skips, repeats or reads what is gone.
TEST(Radio, ListenersComeAndGoDuringADelivery) {
    Receiver station;
    Receiver elsewhere;
    std::vector<std::unique_ptr<Receiver>> crowd(5);
    for (auto& receiver : crowd)
        receiver = std::make_unique<Receiver>();
    std::sort(crowd.begin(), crowd.end());
    for (int i : {1, 2, 3})
        crowd[i]->tuneIn(&station);
    crowd[2]->answer = [&](Message&) {
        crowd[2]->tuneOut(&station);  // itself
        crowd[1].reset();             // has heard it
        crowd[3].reset();             // would hear it next
        crowd[4]->tuneIn(&station);   // behind the walk's place
        crowd[0]->tuneIn(&station);   // before it
        crowd[2]->tuneIn(&elsewhere);
    };
    say(station, 7);
    EXPECT_EQ(crowd[0]->heard, 0);
    EXPECT_EQ(crowd[2]->heard, 1);
    EXPECT_EQ(crowd[4]->heard, 1);
    crowd[2]->answer = nullptr;
    say(station, 7);
    say(elsewhere, 7);
    EXPECT_EQ(crowd[0]->heard, 1);
    EXPECT_EQ(crowd[2]->heard, 2);
}

TEST(Radio, AnswersOfTheDefaultReceive) {
    Receiver sender;
    Receiver listener;
    Receiver editor;
    listener.editor = &editor;
    listener.tuneIn(&sender);
    listener.tuneIn(&editor);
    Receiver hearer;
    hearer.tuneIn(&listener);

    ParameterMessage changed(&sender, ParameterMessage::ValueChanged, "Gain", 0, 0, 0.5F, 2);
    EXPECT_TRUE(listener.receive(changed));
    ParameterMessage reset(&sender, ParameterMessage::ResetToDefault, "Gain", 0, 0, 0.5F, 2);
    EXPECT_FALSE(listener.receive(reset));

    PluginMessage goes(&sender, PluginMessage::SenderGoes, 0);
    sender.transmit(goes);  // the listener leaves inside its own delivery
    say(sender, 1);
    EXPECT_EQ(listener.heard, 3);

    SystemMessage shutdown(nullptr, SystemMessage::Shutdown, 0);
    EXPECT_TRUE(listener.receive(shutdown));
    say(editor, 1);
    say(listener, 1);
    EXPECT_EQ(listener.heard, 4);
    EXPECT_EQ(hearer.heard, 0);
}

// Faults: a tie that outlives an end of it, a forced one that goes unreported, a proper one that
// doesn't.
TEST(Radio, ReportsTheTiesThatItsEndCuts) {
    LogFolder folder;
    folder.open(LogWarning);
    Receiver survivor;
    {
        Receiver listener;
        listener.tuneIn(&survivor);
        auto station = std::make_unique<Receiver>();
        survivor.tuneIn(station.get());
        station.reset();
        auto proper = std::make_unique<Receiver>();
        proper->tuneIn(&survivor);
        survivor.tuneIn(proper.get());
        proper->disconnect();
        proper.reset();
    }
    say(survivor, 1);
    EXPECT_EQ(survivor.heard, 0);
    EXPECT_THAT(folder.lines(),
                ElementsAre(MatchesRegex("Radio::0x\\w+ : forced tuning out of listener 0x\\w+"),
                            MatchesRegex("Radio::0x\\w+ : forced tuning out of station 0x\\w+")));
}

// Faults: memory that vector instructions can't use; a virtual base that breaks `delete`.
TEST(Radio, ComesFromAlignedMemoryAndGoesBackThroughAnyBase) {
    struct Unrelated {
        virtual ~Unrelated() = default;
        char odd = 0;
    };
    struct Module : Unrelated, Radio, SharedObject {
        explicit Module(bool* gone) : Radio(nullptr), gone_(gone) {}
        ~Module() override { *gone_ = true; }
        bool* gone_;
    };
    Receiver station;
    for (int base = 0; base < 3; ++base) {
        bool gone = false;
        auto* module = new Module(&gone);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(module) % 16, 0U);
        module->tuneIn(&station);
        if (base == 0)
            delete static_cast<Unrelated*>(module);
        else if (base == 1)
            delete static_cast<Radio*>(module);
        else
            module->release();
        EXPECT_TRUE(gone);
        say(station, 1);
    }
    struct Fails : Radio {
        Fails() : Radio(nullptr) { throw GeneralError("Fails", "on purpose"); }
    };
    EXPECT_THROW(new Fails, GeneralError);
}

class Parameters : public ParameterDirectory {
public:
    Radio* findParameter(std::string_view name, std::int32_t clone) override {
        const auto found = clones.find(name);
        const auto index = static_cast<std::size_t>(clone);
        return found != clones.end() && index < found->second.size() ? found->second[index]
                                                                     : nullptr;
    }
    bool hasModuleScope(const Radio& parameter) const override {
        return std::find(module.begin(), module.end(), &parameter) != module.end();
    }
    std::map<std::string, std::vector<Radio*>, std::less<>> clones;
    std::vector<const Radio*> module;
};

// Faults: clones that are missed, names that are forgotten with the settings, plug-in-wide ties
// that move along.
TEST(Radio, FollowsParametersByNameFromModuleToModule) {
    Receiver gainA;
    Receiver gainA1;
    Receiver gainB;
    Receiver wide;
    Receiver wideB;
    Parameters a;
    Parameters b;
    a.clones = {{"Gain", {&gainA, &gainA1}}, {"Wide", {&wide}}};
    b.clones = {{"Gain", {&gainB}}, {"Wide", {&wideB}}};
    a.module = {&gainA, &gainA1};
    b.module = {&gainB};
    Receiver moduleA;
    Receiver moduleB;
    moduleA.setSettings(&a);
    moduleB.setSettings(&b);
    Receiver control;
    const auto heardOf = [&control](Receiver& station) {
        const int before = control.heard;
        say(station, 1);
        return control.heard - before;
    };

    control.tuneInByName("");
    control.tuneInByName("Gain");  // no settings yet
    control.tuneInByName("Unknown");
    EXPECT_EQ(heardOf(gainA), 0);
    control.setParent(&moduleA);
    EXPECT_EQ(heardOf(gainA), 1);
    EXPECT_EQ(heardOf(gainA1), 0);  // a move takes the first clone alone
    control.tuneInByName("Gain");
    control.tuneInByName("Wide");
    EXPECT_EQ(heardOf(gainA1), 1);
    EXPECT_EQ(heardOf(wide), 1);

    control.setParent(&moduleB);
    EXPECT_EQ(heardOf(gainA), 0);
    EXPECT_EQ(heardOf(gainB), 1);
    EXPECT_EQ(heardOf(wide), 1);
    EXPECT_EQ(heardOf(wideB), 0);

    Receiver copy(control);
    EXPECT_EQ(copy.getParent(), &moduleB);
    EXPECT_EQ(copy.getSettings(), &b);
    say(gainB, 1);
    EXPECT_EQ(copy.heard, 0);

    control.tuneOutByName("Gain");
    EXPECT_EQ(heardOf(gainB), 0);
    control.setParent(nullptr);
    control.setParent(&moduleA);
    EXPECT_EQ(heardOf(gainA), 0);
}

// Fault: a listener that is destroyed while another thread delivers to it.
TEST(Radio, DeletionWaitsForADeliveryOnAnotherThread) {
    Receiver station;
    auto listener = std::make_unique<Receiver>();
    listener->tuneIn(&station);
    Signal delivering;
    std::atomic<bool> destroyed{false};
    std::thread owner;
    listener->answer = [&](Message&) {
        owner = std::thread([&] {
            delivering.raise();
            listener.reset();
            destroyed = true;
        });
        delivering.wait();
        for (int i = 0; i < 1000; ++i)
            std::this_thread::yield();
        EXPECT_FALSE(destroyed);
    };
    say(station, 1);
    owner.join();
    say(station, 1);
}

// Fault: two deliveries on two threads that wait for each other: their listeners tune to, out of,
// and transmit from the other one's station, and destroy another listener of it.
TEST(Radio, DeliveriesThatCrossDontDeadlock) {
    for (int round = 0; round < 200; ++round) {
        Receiver stations[2];
        Receiver listeners[2];
        std::unique_ptr<Receiver> victims[2];
        Meeting inside;
        for (int i : {0, 1}) {
            victims[i] = std::make_unique<Receiver>();
            victims[i]->tuneIn(&stations[i]);
            listeners[i].tuneIn(&stations[i]);
            listeners[i].answer = [&, i](Message& message) {
                if (message.code != 1)
                    return;
                inside.arrive(i);
                listeners[i].tuneIn(&stations[1 - i]);
                say(stations[1 - i], 2);
                listeners[1 - i].tuneOut(&stations[i]);  // whether it is tuned in yet or not
                listeners[i].tuneOut(&stations[1 - i]);
                victims[1 - i].reset();
            };
        }
        std::thread other([&] { say(stations[1], 1); });
        say(stations[0], 1);
        other.join();
        for (int i : {0, 1}) {
            const int heard[] = {listeners[0].heard, listeners[1].heard};
            say(stations[i], 2);
            EXPECT_EQ(listeners[i].heard, heard[i] + 1);  // its own, which none cut
            EXPECT_EQ(listeners[1 - i].heard, heard[1 - i]);
        }
    }
}

// Fault: the two ends of a tie, destroyed at once.
TEST(Radio, BothEndsMayGoAtOnce) {
    for (int round = 0; round < 500; ++round) {
        auto a = std::make_unique<Receiver>();
        auto b = std::make_unique<Receiver>();
        a->tuneIn(b.get());
        b->tuneIn(a.get());
        Meeting ready;
        std::thread other([&] {
            ready.arrive(1);
            a.reset();
        });
        ready.arrive(0);
        b.reset();
        other.join();
    }
}

// Eight threads that transmit, tune, tune by name and destroy, with listeners that tune and
// transmit inside `receive`. BRIMTIDE_STRESS holds the number of rounds a thread, for longer runs
// under ThreadSanitizer.
TEST(Radio, WithstandsEightThreads) {
    constexpr int Threads = 8;
    constexpr std::size_t StationCount = 6;
    const char* wanted = std::getenv("BRIMTIDE_STRESS");  // NOLINT(concurrency-mt-unsafe)
    const int rounds = wanted != nullptr ? std::atoi(wanted) : 500;
    Receiver stations[StationCount];
    Parameters parameters;
    for (Receiver& station : stations)
        parameters.clones["Gain"].push_back(&station);
    Receiver module;
    module.setSettings(&parameters);
    parameters.module = {&stations[0]};
    std::mutex gate;  // a radio is handed to `tuneIn` only while it lives
    std::vector<Receiver*> transient;

    const auto work = [&](unsigned seed) {
        std::minstd_rand random(seed);
        const auto any = [&random](std::size_t count) { return random() % count; };
        for (int round = 0; round < rounds; ++round) {
            auto radio = std::make_unique<Receiver>();
            radio->answer = [&, self = radio.get()](Message& message) {
                if (message.code != 1)
                    return;
                thread_local std::minstd_rand own(seed);
                Receiver& station = stations[own() % StationCount];
                switch (own() % 4) {
                    case 0:
                        self->tuneIn(&station);
                        break;
                    case 1:
                        self->tuneOut(&station);
                        break;
                    case 2:
                        say(station, 2);
                        break;
                    default:
                        break;
                }
            };
            {
                const std::lock_guard hold(gate);
                if (!transient.empty())
                    radio->tuneIn(transient[any(transient.size())]);
                transient.push_back(radio.get());
            }
            for (int i = 0; i < 4; ++i) {
                switch (any(5)) {
                    case 0:
                        radio->tuneInByName("Gain");
                        break;
                    case 1:
                        radio->setParent(radio->getParent() == nullptr ? &module : nullptr);
                        break;
                    case 2:
                        radio->tuneOutByName("Gain");
                        break;
                    case 3:
                        say(*radio, 1);
                        break;
                    default:
                        say(stations[any(StationCount)], 1);
                        break;
                }
            }
            {
                const std::lock_guard hold(gate);
                std::erase(transient, radio.get());
            }
            radio.reset();
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < Threads; ++i)
        threads.emplace_back(work, i + 1);
    for (std::thread& thread : threads)
        thread.join();

    Events events;
    for (Receiver& station : stations) {
        station.answer = [&events](Message&) { events.emplace_back("heard"); };
        say(station, 1);
    }
    EXPECT_THAT(events, IsEmpty());
}

}  // namespace
}  // namespace tarn
