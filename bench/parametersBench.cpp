// Parameters: a change, a look-up, a definition and a state, each beside what it can't do without.
#include "Ratios.h"
#include "foundation/Dictionary.h"
#include "foundation/File.h"
#include "parameters/ParameterManager.h"
#include "parameters/Settings.h"
#include "support/ScratchFolder.h"

#include <tinyxml.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {
namespace {

// An element as a product's definition has them, by turns a knob, a step switch, a switch and a
// choice.
std::string element(const std::string& id, int number) {
    constexpr std::array Types{"ParameterValue' type='float", "ParameterValue' type='integer",
                               "ParameterValue' type='bool", "ParameterEnum' type='string"};
    const std::string head = "  <" + id + " class='" + Types[static_cast<std::size_t>(number % 4)] +
                             "' name='" + id + "' scope='program' automatable='true'";
    switch (number % 4) {
        case 0:
            return head +
                   " minval='0.0' maxval='2.0' defval='1.0' unit='dB'>\n"
                   "    <info><alias value='Alias" +
                   std::to_string(number) +
                   "'/></info>\n"
                   "    <display type='scalar' scaling='dB' precision='1' nrdigits='3'/>\n"
                   "  </" +
                   id + ">\n";
        case 1:
            return head +
                   " minval='-24' maxval='24' defval='0' unit='semitones' steps='49'>\n"
                   "    <display type='scalar' scaling='linear' min='-24' max='24'/>\n"
                   "  </" +
                   id + ">\n";
        case 2:
            return head + " value='false'/>\n";
        default:
            return head + " defval='1'>\n    <values><v value='low' display='Low'/>" +
                   "<v value='mid' display='Medium'/><v value='high' display='High'/></values>\n" +
                   "  </" + id + ">\n";
    }
}

// Names as products choose them: of many lengths, with common beginnings.
std::string idOf(int number) {
    constexpr std::array Parts{"Osc", "Filter", "AmpEnv", "LFO", "Delay"};
    constexpr std::array Roles{"Level", "Pan",    "Cutoff", "Resonance", "KeyTracking",
                               "Rate",  "Attack", "Decay",  "Sustain",   "ReleaseTime"};
    return std::string(Parts[static_cast<std::size_t>(number / 10 % 5)]) +
           std::to_string(number / 50 + 1) + Roles[static_cast<std::size_t>(number % 10)];
}

std::string elements(int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += element(idOf(i), i);
    return text;
}

// 200 parameters: ten in each of the four sections of a name, and so for five names.
std::string sections() {
    std::string text;
    for (int section = 0; section < 20; ++section) {
        text += "<section name='Part" + std::to_string(section % 5) + "'>\n";
        for (int i = 0; i < 10; ++i)
            text += element(idOf(section % 5 * 10 + i), i);
        text += "</section>\n";
    }
    return text;
}

// The path of a definition's file, in the folder of this run.
std::string definitionFile(const std::string& parameters) {
    static const test::ScratchFolder folder("brimtide-parameters-bench");
    static int files = 0;
    const std::string name = "Settings" + std::to_string(files++) + ".xml";
    folder.write(name,
                 "<?xml version=\"1.0\"?>\n<dict>\n<file-format value='0.7'/>\n<parameters>\n" +
                     parameters + "</parameters>\n</dict>\n");
    return folder.path(name);
}

void require(bool isTrue, const char* what) {
    if (!isTrue)
        throw std::logic_error(what);
}

void loadFrom(const std::string& path, Settings& settings) {
    require(settings.load(File(path)).isOk(), "a definition isn't taken");
}

class Defined : public Settings {
public:
    explicit Defined(const std::string& parameters) : Settings(nullptr, manager()) {
        loadFrom(definitionFile(parameters), *this);
    }

    static const ParameterManager& manager() {
        static const ParameterManager Manager;
        return Manager;
    }
};

class Hearer : public Radio {
public:
    explicit Hearer(Radio& station) : Radio(nullptr) { tuneIn(&station); }
    ~Hearer() override { disconnect(); }
    bool receive(Message& message) override {
        heard_ += message.payload;
        return true;
    }

private:
    std::uint64_t heard_ = 0;
};

void setNormalised(benchmark::State& state, int number) {
    const Defined settings(elements(4));
    Parameter& parameter = *settings.find(idOf(number), 0);
    const Hearer hearer(parameter);
    float value = 0.0f;
    for ([[maybe_unused]] auto _ : state) {
        value = 1.0f - value;
        parameter.setNormalised(value, FromHost);
    }
}

void transmitAReadyMessage(benchmark::State& state) {
    Radio station(nullptr);
    const Hearer hearer(station);
    ParameterMessage message(&station, ParameterMessage::ValueChanged, "Osc1Level", 0, 1, 0.5f, 0);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(station.transmit(message));
}

// What a walk needs of each parameter, side by side, in the order in which `find` is to look.
struct Place {
    std::string_view id;
    std::int32_t clone;
    Parameter* parameter;
};

void addPlaces(const Settings& settings, std::vector<Place>& places) {
    for (const auto& parameter : settings.getParameters())
        places.push_back({parameter->getId(), settings.getClone(), parameter.get()});
    for (const Settings::Section& section : settings.getSections())
        addPlaces(*section.child, places);
}

Parameter* walk(const std::vector<Place>& places, std::string_view id, std::int32_t clone) {
    for (const Place& place : places)
        if (place.id == id && (clone == 0 || place.clone == clone))
            return place.parameter;
    return nullptr;
}

// A tree of 200 parameters and all that is asked for in it.
struct LookUps {
    explicit LookUps(const std::string& parameters) : settings(parameters) {
        addPlaces(settings, places);
        require(places.size() == 200, "the tree isn't of 200");
        for (const Place& place : places)
            for (std::int32_t clone = 0; clone < 6; ++clone)
                require(settings.find(place.id, clone) == walk(places, place.id, clone),
                        "find and walk differ");
        require(settings.find("Osc", 0) == nullptr, "find finds what isn't there");
    }

    Defined settings;
    std::vector<Place> places;
};

// The time of one look-up: the median over all ids, each looked up many times.
template <typename Find>
void lookUp(benchmark::State& state, const LookUps& tree, Find find) {
    using Seconds = std::chrono::duration<double>;
    constexpr int Times = 1000;
    for ([[maybe_unused]] auto _ : state) {
        std::vector<double> seconds;
        for (const Place& place : tree.places) {
            std::string_view id = place.id;
            const auto start = std::chrono::steady_clock::now();
            for (int i = 0; i < Times; ++i) {
                benchmark::DoNotOptimize(id);
                benchmark::DoNotOptimize(find(id, place.clone));
            }
            seconds.push_back(Seconds(std::chrono::steady_clock::now() - start).count() / Times);
        }
        const auto middle = seconds.begin() + std::ssize(seconds) / 2;
        std::nth_element(seconds.begin(), middle, seconds.end());
        state.SetIterationTime(*middle);
    }
}

const LookUps& flatTree() {
    static const LookUps tree(elements(200));
    return tree;
}

const LookUps& treeOfSections() {
    static const LookUps tree(sections());
    return tree;
}

void findById(benchmark::State& state, const LookUps& tree) {
    lookUp(state, tree, [&tree](std::string_view id, std::int32_t clone) {
        return tree.settings.find(id, clone);
    });
}

void walkToId(benchmark::State& state, const LookUps& tree) {
    lookUp(state, tree, [&tree](std::string_view id, std::int32_t clone) {
        return walk(tree.places, id, clone);
    });
}

const std::string& definitionOf1000() {
    static const std::string path = definitionFile(elements(1000));
    return path;
}

void loadDefinition(benchmark::State& state) {
    Settings settings(nullptr, Defined::manager());
    for ([[maybe_unused]] auto _ : state)
        loadFrom(definitionOf1000(), settings);
    require(settings.getParameterCount() == 1000, "parameters are missing");
}

// In the library's faster mode, which does for plain ASCII.
void parseDefinitionByTinyXml(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        std::ifstream file(definitionOf1000(), std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        TiXmlDocument tree;
        tree.Parse(text.str().c_str(), nullptr, TIXML_ENCODING_LEGACY);
        require(!tree.Error(), "TinyXML doesn't parse");
        benchmark::DoNotOptimize(tree);
    }
}

const Settings& settingsOfSize(int count) {
    static std::map<int, std::unique_ptr<Defined>> all;
    auto& settings = all[count];
    if (!settings)
        settings = std::make_unique<Defined>(elements(count));
    return *settings;
}

std::string stateOf(const Settings& settings) {
    Dictionary state;
    state.setString("file-format", "0.7");
    settings.write(state, Parameter::AllScopes, true);
    std::string text;
    state.toString(text);
    return text;
}

// 10,000 values, in states of so many.
constexpr int Values = 10'000;

template <int Each>
void writeStates(benchmark::State& state) {
    const Settings& settings = settingsOfSize(Each);
    for ([[maybe_unused]] auto _ : state)
        for (int written = 0; written < Values; written += Each)
            benchmark::DoNotOptimize(stateOf(settings));
}

// Two states by turns, so that every value changes.
template <int Each>
void readStates(benchmark::State& state) {
    Defined settings(elements(Each));
    std::array<std::string, 2> states;
    for (float value : {0.0f, 1.0f}) {
        for (const auto& parameter : settings.getParameters())
            parameter->setNormalised(value, FromUser);
        states[value == 0.0f ? 0 : 1] = stateOf(settings);
    }
    std::size_t next = 0;
    for ([[maybe_unused]] auto _ : state)
        for (int read = 0; read < Values; read += Each) {
            settings.read(Dictionary(states[next]), Parameter::AllScopes, Parameter::PluginRealm,
                          true);
            next = 1 - next;
        }
    require(stateOf(settings) == states[1 - next], "a state doesn't come back");
}

const bool registered = [] {
    using bench::compare;
    compare(
        "change a knob, not transmit", 2.5, [](auto& state) { setNormalised(state, 0); },
        transmitAReadyMessage);
    compare(
        "change an integer, not transmit", 2.5, [](auto& state) { setNormalised(state, 1); },
        transmitAReadyMessage);
    bench::compareOwnTimesAtLeast(
        "find among 200", 5.0, [](auto& state) { findById(state, flatTree()); },
        [](auto& state) { walkToId(state, flatTree()); });
    bench::compareOwnTimesAtLeast(
        "find among 200 in 20 sections", 5.0,
        [](auto& state) { findById(state, treeOfSections()); },
        [](auto& state) { walkToId(state, treeOfSections()); });
    compare("load 1,000 parameters", 3.0, loadDefinition, parseDefinitionByTinyXml);
    compare("write 10,000, not 100 x 100", 2.0, writeStates<10'000>, writeStates<100>);
    compare("write 10 x 1,000, not 100 x 100", 2.0, writeStates<1'000>, writeStates<100>);
    compare("read 10,000, not 100 x 100", 2.0, readStates<10'000>, readStates<100>);
    compare("read 10 x 1,000, not 100 x 100", 2.0, readStates<1'000>, readStates<100>);
    return true;
}();

}  // namespace
}  // namespace tarn
