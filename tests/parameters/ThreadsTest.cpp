// Listeners are left with a parameter's present value, whoever changes it meanwhile: a listener, or
// the host's automation, the interface and MIDI at once.
#include "parameters/Definition.h"
#include "parameters/MidiMapper.h"
#include "support/Hearer.h"

#include <list>
#include <thread>

namespace tarn {
namespace {

constexpr const char* Classes =
    "<F class='ParameterValue' type='float'/><T class='ParameterText'/>"
    "<E class='ParameterEnum' type='integer'><values><v/><v/><v/></values></E>";

// Keeps what it heard last.
struct Last {
    explicit Last(Parameter& station)
        : hearer(station, [this](Message& message) {
              heard = message.clone();
              modes.push_back(static_cast<ParameterMessage&>(message).mode);
          }) {}

    // Whether that was the parameter's value.
    bool isTrue() const {
        const auto& change = static_cast<const ParameterMessage&>(*heard);
        const auto& station = static_cast<const Parameter&>(*change.sender);
        const std::string text = station.getType() == Parameter::String ? station.getText() : "";
        return change.value == station.getNormalised() && change.text.str() == text &&
               change.hasText == !text.empty();
    }

    std::unique_ptr<Message> heard;
    std::vector<std::int32_t> modes;
    Hearer hearer;
};

// Faults: a deadlock where a listener waits for something that another thread has until its setter
// returns; a change that is lost then, a value of the host's that goes back to it as the user's, or
// one of the user's that doesn't go there.
TEST(Parameter, NoSetterWaitsForADelivery) {
    const Defined settings(Classes);
    struct {
        std::vector<std::pair<ChangeSource, float>> changes;  // the first is told during the others
        std::vector<std::int32_t> modes;                      // told to who hears of it later
    } const rows[] = {
        {{{FromUser, 0.6f}, {FromHost, 1.0f}}, {FromHost, FromHost}},
        {{{FromHost, 0.6f}, {FromUser, 1.0f}}, {FromUser, FromUser}},
        {{{FromUser, 0.6f}, {FromHost, 0.0f}, {FromUser, 1.0f}}, {FromUser, FromUser}},
        {{{FromUser, 0.6f}, {FromUser, 0.0f}, {FromHost, 1.0f}}, {FromHost, FromHost}},
        {{{FromUser, 0.6f}, {FromInternal, 1.0f}}, {FromUser, FromInternal}},
        {{{FromLoad, 0.6f}, {FromMidi, 1.0f}, {FromInternal, 0.0f}}, {FromMidi, FromMidi}},
    };
    for (const char* const id : {"F", "E", "T"})
        for (const auto& row : rows) {
            Parameter& parameter = settings.get(id);
            const bool isText = parameter.getType() == Parameter::String;
            std::size_t next = 0;
            const auto change = [&] {
                const auto [source, value] = row.changes[next++];
                parameter.setNormalised(value, source);
                if (isText)
                    parameter.setText(std::string(40 + next, 'a'), source);
            };
            const auto changeMore = [&] {
                while (next < row.changes.size())
                    change();
            };
            const Last before(parameter);
            const Hearer meanwhile(parameter, [&](Message&) {
                if (next == 1)
                    std::thread(changeMore).join();
            });
            Last behind(parameter);
            behind.modes.clear();
            change();
            EXPECT_TRUE(before.isTrue() && behind.isTrue()) << id;
            EXPECT_TRUE(isText || behind.modes == row.modes) << id;
        }
    auto& number = settings.get("F");
    number.setNormalised(1.0f, FromLoad);
    const Last before(number);
    const Hearer tuning(number, [&](Message&) {
        std::thread([&] { number.setNormalised(0.5f, FromHost); }).join();
    });
    EXPECT_TRUE(before.isTrue());
}

// Faults: a race; a listener whose last message carries another value than the parameter's.
TEST(Parameter, ThreeThreadsChangeIt) {
    Modules modules;
    Defined settings(Classes, modules.getModule(0));
    modules.getModule(0)->setSettings(&settings);
    MidiMapper<Parameter*> mapper(nullptr, 1e7);
    auto& number = settings.get<ParameterValue<float>>("F");
    Parameter* const all[] = {&number, &settings.get("E"), &settings.get("T")};
    for (int round = 0; round < 20; ++round) {
        std::list<Last> listeners;
        for (int i = 0; i < 9; ++i)
            listeners.emplace_back(*all[i % 3]);
        const Hearer crossing[] = {Hearer(number, [&](Message&) { const Last passing(*all[1]); }),
                                   Hearer(*all[1], [&](Message&) { const Last passing(number); })};
        const std::function<void(float, int)> changes[] = {
            [&](float value, int) {
                number.setNormalised(value, FromHost);
                all[1]->setNormalised(value, FromHost);
            },
            [&](float value, int i) {
                number.setDisplayValue(value, FromUser);
                all[2]->setText(std::string(30 + i, 'u'), FromUser);
            },
            [&](float value, int i) {
                mapper.bind(i % 2, all[i % 2]);
                applyController(mapper, modules, i % 2, value, i, 512);
            },
            [&](float, int i) {
                const Last passing(*all[i % 3]);
                all[2]->setText(std::string(30 + i, 'x'), FromInternal);
            }};
        {
            std::list<std::jthread> threads;
            for (const auto& change : changes)
                threads.emplace_back([&change, round] {
                    for (int i = 0; i < 100; ++i)
                        change(static_cast<float>((i * 37 + round) % 101) / 101.0f, i);
                });
        }
        for (const Last& listener : listeners)
            ASSERT_TRUE(listener.isTrue());
    }
}

}  // namespace
}  // namespace tarn
