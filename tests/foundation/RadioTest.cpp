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
#include <string>
#include <thread>

namespace tarn {
namespace {

using ::testing::ElementsAre;
using ::testing::MatchesRegex;

// Notes what it is told, and then does what the test wants.
class Receiver : public Radio {
public:
    explicit Receiver(char name = '?', std::string* notes = nullptr)
        : Radio(nullptr), name_(name), notes_(notes) {}
    Receiver(const Receiver& other) : Radio(other), name_('?'), notes_(nullptr) {}

    bool receive(Message& message) override {
        ++heard;
        if (answer)
            answer(message);
        return answer != nullptr || Radio::receive(message);
    }
    void listenerAdded(Radio* listener) override { note('+', listener); }
    void listenerRemoved(Radio* listener) override { note('-', listener); }
    void stationRemoved(Radio* station) override { note('x', station); }
    Radio* getEditor() const override { return editor; }

    std::function<void(Message&)> answer;
    std::atomic<int> heard{0};
    Radio* editor = nullptr;

private:
    void note(char what, Radio* whom) {
        if (notes_ != nullptr)
            *notes_ += {name_, what, dynamic_cast<Receiver&>(*whom).name_, ' '};
    }

    char name_;
    std::string* notes_;
};

void say(Radio& sender, std::int32_t code) {
    SystemMessage message(&sender, code, 0);
    EXPECT_TRUE(sender.transmit(message).isOk());
}

// How often the listener hears of each station.
template <std::size_t Count>
std::vector<int> heardBy(Receiver& listener, Receiver (&stations)[Count]) {
    std::vector<int> heard;
    for (Receiver& station : stations) {
        const int before = listener.heard;
        say(station, 2);
        heard.push_back(listener.heard - before);
    }
    return heard;
}

// Faults: a missing or doubled notification, a second tie, one end of a tie that stays.
TEST(Radio, TellsBothEndsOfEveryTie) {
    std::string notes;
    Receiver station('S', &notes);
    Receiver listener('L', &notes);
    for (int call : {1, 2}) {
        listener.tuneIn(&station);
        EXPECT_EQ(std::exchange(notes, {}), "S-L LxS LxS S+L ") << call;
    }
    say(station, 7);
    for (int call : {1, 2}) {
        listener.tuneOut(&station);
        EXPECT_EQ(std::exchange(notes, {}), "S-L LxS ") << call;
    }
    say(station, 8);
    EXPECT_EQ(listener.heard, 1);
}

// Faults: a walk over listeners that skips, repeats or reads what is gone, that stops where the
// message is handled, or that follows the order of tuning.
TEST(Radio, DeliversInTheOrderOfAddressesWhileListenersComeAndGo) {
    Receiver station;
    Receiver elsewhere;
    std::vector<std::unique_ptr<Receiver>> crowd(5);
    for (auto& receiver : crowd)
        receiver = std::make_unique<Receiver>();
    std::sort(crowd.begin(), crowd.end());
    std::vector<int> told;
    for (int i = 0; i < 5; ++i)
        crowd[i]->answer = [&, i](Message&) {
            told.push_back(i);
            if (i != 2 || crowd[1] == nullptr)
                return;
            crowd[2]->tuneOut(&station);  // itself
            crowd[1].reset();             // has heard it
            crowd[3].reset();             // would hear it next
            crowd[4]->tuneIn(&station);   // behind the walk's place
            crowd[0]->tuneIn(&station);   // before it
            crowd[2]->tuneIn(&elsewhere);
        };
    for (int i : {3, 1, 2})
        crowd[i]->tuneIn(&station);
    say(station, 7);
    say(station, 7);
    say(elsewhere, 7);
    EXPECT_THAT(told, ElementsAre(1, 2, 4, 0, 4, 2));
}

// Faults: a sender that goes, or a shutdown, which leaves a tie behind.
TEST(Radio, AnswersOfTheDefaultReceive) {
    Receiver stations[2];
    Receiver listener;
    Receiver hearer;
    listener.editor = &stations[1];
    for (Receiver& station : stations)
        listener.tuneIn(&station);
    hearer.tuneIn(&listener);

    ParameterMessage changed(nullptr, ParameterMessage::ValueChanged, "Gain", 0, 0, 0.5F, 2);
    EXPECT_TRUE(listener.receive(changed));
    changed.code = ParameterMessage::ResetToDefault;
    EXPECT_FALSE(listener.receive(changed));
    PluginMessage goes(&stations[0], PluginMessage::SenderGoes, 0);
    stations[0].transmit(goes);  // the listener leaves inside its own delivery
    EXPECT_THAT(heardBy(listener, stations), ElementsAre(0, 1));
    SystemMessage shutdown(nullptr, SystemMessage::Shutdown, 0);
    EXPECT_TRUE(listener.receive(shutdown));
    EXPECT_THAT(heardBy(listener, stations), ElementsAre(0, 0));
    say(listener, 1);
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
        const auto station = std::make_unique<Receiver>();
        survivor.tuneIn(station.get());
        Receiver proper;
        proper.tuneIn(&survivor);
        survivor.tuneIn(&proper);
        proper.disconnect();
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
    static int gone = 0;
    struct Module : Unrelated, Radio, SharedObject {
        Module() : Radio(nullptr) {}
        ~Module() override { ++gone; }
    };
    const std::function<void(Module*)> ways[] = {
        [](Module* module) { delete static_cast<Unrelated*>(module); },
        [](Module* module) { delete static_cast<Radio*>(module); },
        [](Module* module) { module->release(); }};
    Receiver station;
    for (const auto& destroy : ways) {
        auto* module = new Module;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(module) % 16, 0U);
        module->tuneIn(&station);
        destroy(module);
        say(station, 1);
    }
    EXPECT_EQ(gone, 3);
    struct Fails : Radio {
        Fails() : Radio(nullptr) { throw GeneralError("Fails", "on purpose"); }
    };
    EXPECT_THROW(new Fails, GeneralError);
}

class Parameters : public ParameterDirectory {
public:
    Radio* findParameter(std::string_view name, std::int32_t clone) override {
        const auto& found = clones[std::string(name)];
        return clone < std::ssize(found) ? found[clone] : nullptr;
    }
    bool hasModuleScope(const Radio& parameter) const override { return &parameter != wide; }

    std::map<std::string, std::vector<Radio*>> clones;
    Radio* wide = nullptr;  // of the whole plug-in
};

// Faults: clones that are missed, names that are forgotten with the settings, plug-in-wide ties
// that move along.
TEST(Radio, FollowsParametersByNameFromModuleToModule) {
    Receiver stations[5];
    Parameters a;
    Parameters b;
    a.clones = {{"Gain", {&stations[0], &stations[1]}}, {"Wide", {&stations[2]}}};
    a.wide = &stations[2];
    b.clones = {{"Gain", {&stations[3]}}, {"Wide", {&stations[4]}}};
    b.wide = &stations[4];
    Receiver modules[2];
    modules[0].setSettings(&a);
    modules[1].setSettings(&b);
    Receiver control;
    control.tuneInByName("");
    control.tuneInByName("Gain");  // no settings yet
    control.tuneInByName("Unknown");
    control.setParent(&modules[0]);
    EXPECT_THAT(heardBy(control, stations), ElementsAre(1, 0, 0, 0, 0));  // the first clone alone
    control.tuneInByName("Gain");
    control.tuneInByName("Wide");
    EXPECT_THAT(heardBy(control, stations), ElementsAre(1, 1, 1, 0, 0));
    control.setParent(&modules[1]);
    EXPECT_THAT(heardBy(control, stations), ElementsAre(0, 1, 1, 1, 0));

    Receiver copy(control);
    EXPECT_TRUE(copy.getParent() == &modules[1] && copy.getSettings() == &b);
    EXPECT_THAT(heardBy(copy, stations), ElementsAre(0, 0, 0, 0, 0));

    control.tuneOutByName("Gain");
    control.setParent(nullptr);
    control.setParent(&modules[0]);
    EXPECT_THAT(heardBy(control, stations), ElementsAre(0, 1, 1, 0, 0));
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
        std::unique_ptr<Receiver> victims[] = {std::make_unique<Receiver>(),
                                               std::make_unique<Receiver>()};
        Meeting inside;
        for (int i : {0, 1}) {
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
        for (int i : {0, 1})  // a listener's own tie is left, which none cut
            EXPECT_THAT(heardBy(listeners[i], stations), ElementsAre(1 - i, i));
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
    const char* wanted = std::getenv("BRIMTIDE_STRESS");  // NOLINT(concurrency-mt-unsafe)
    const int rounds = wanted != nullptr ? std::atoi(wanted) : 500;
    Receiver stations[6];
    Parameters parameters;
    for (Receiver& station : stations)
        parameters.clones["Gain"].push_back(&station);
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
                [&] { say(*self, 1); }, [&] { say(stations[dice(6)], 1); }};
            for (int i = 0; i < 4; ++i)
                acts[dice(5)]();
            const std::lock_guard hold(gate);
            std::erase(transient, self);
        }
    });

    for (Receiver& station : stations) {
        station.answer = [&](Message&) { ADD_FAILURE() << "a tie is left"; };
        say(station, 1);
    }
}

}  // namespace
}  // namespace tarn
