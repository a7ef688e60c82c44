#include "foundation/NumberText.h"
#include "foundation/TextOf.h"
#include "plugin/Sampler.h"
#include "samples/WaveBytes.h"
#include "support/AllocationCount.h"
#include "support/Hearer.h"

#include <gmock/gmock.h>

#include <cmath>
#include <thread>

namespace tarn {
namespace {

using namespace test;
using namespace testing;

constexpr const char* Foreign =
    "<dict><info creator='X' version='1'/><file-format value='1.2'/><programs/></dict>";
constexpr const char* Newer =
    "<dict><info creator='Sampler' version='9'/><file-format value='9'/>"
    "<parameters><Title value='theirs'/></parameters></dict>";

std::string stateOf(Plugin& plugin) {
    Dictionary state;
    EXPECT_TRUE(plugin.writeState(state, 0));
    return textOf(state);
}

bool restore(Plugin& plugin, const std::string& text) {
    Dictionary state(text);
    return plugin.readState(state);
}

std::string bankOf(const std::vector<std::string>& names) {
    std::string text = "<dict>" + Header + "<programs>";
    for (const std::string& name : names)
        text += "<program><id value='" + name + "'/><name value='" + name +
                "'/><modules><module/></modules></program>";
    return text + "</programs></dict>";
}

// Faults: a definition that is taken by halves, an instance that crashes its host because it has
// none, a message an instance.
TEST(Plugin, WithoutItsDefinitionAnInstanceFailsAndTellsItOnce) {
    SamplerProduct sampler("");
    for (std::size_t size = 0; size < SettingsText.size(); size += 37) {
        sampler.files.write("Settings.xml", SettingsText.substr(0, size));
        SamplerPlugin plugin(nullptr, 0);
        ASSERT_THROW(plugin.start(), Error) << size;
        IOPinConfig in, out;
        plugin.setBlockSize(512);
        plugin.setSampleRate(48'000);
        plugin.resume();
        plugin.process(in, out, 4);
        plugin.midiEvent({{0x90, 60, 100}});
        plugin.midiEvent({{0xB0, 1, 100}});
        plugin.setProgram(3);
        plugin.stop();
        EXPECT_EQ(plugin.getLatency(), -1);
        EXPECT_FALSE(restore(plugin, "<dict/>"));
        stateOf(plugin);
    }
    sampler.files.write("Settings.xml", Foreign);
    EXPECT_THROW(SamplerPlugin(nullptr, 0).start(), Error);
    EXPECT_THAT(sampler.product->messages, Contains(HasSubstr("Error loading settings")).Times(1));
}

// Faults: any part of the state that is not written, not read, or read in an order that lets one
// part spoil another; a song that is lost because a state from elsewhere was half read.
TEST(Plugin, TheStateBringsBackAnInstance) {
    const SamplerProduct sampler(SettingsText, bankOf({"Soft", "Loud", "Third"}));
    sampler.files.write("hit.wav", byteWave("12345678"));
    const File hit(sampler.files.path("hit.wav"));
    const std::string names[] = {"", "Zo\u00eb <&\"' \u5c71\u7530 \U0001F3B8", std::string(31, 'a'),
                                 std::string(32, 'b'), std::string(100, 'c')};
    std::mt19937 random(1);
    const auto below = [&](unsigned end) { return static_cast<int>(random() % end); };
    for (int i = 0; i < 20; ++i) {
        StartedPlugin plugin, fresh;
        const std::string former = stateOf(fresh);
        for (int step = 0; step < 8; ++step) {
            plugin.setProgram(below(4));
            plugin.parameter("Title").setText(names[below(5)], FromUser);
            for (const char* id : {"Volume", "Bend"})
                plugin.parameter(id, below(2))
                    .setNormalised(static_cast<float>(below(10'001)) / 10'000.0f, FromUser);
            const std::function<void()> changes[] = {
                [&] { plugin.setCurrentName(names[below(5)]); },
                [&] { plugin.storeFavorite(below(5)); },
                [&] { plugin.getMidiMapper().bind(below(130), &plugin.parameter("Volume")); },
                [&] { plugin.importFile(hit); }};
            changes[below(4)]();
        }
        const std::string state = stateOf(plugin);
        ASSERT_TRUE(restore(fresh, state));
        ASSERT_EQ(stateOf(fresh), state);
        ASSERT_EQ(stateOf(plugin), state);
        EXPECT_EQ(fresh.parameter("CurrentProgram").getFloat(), plugin.getProgram());
        for (const char* other : {"<dict/>", Foreign, Newer})
            ASSERT_FALSE(restore(fresh, other));
        ASSERT_EQ(stateOf(fresh), state);
        EXPECT_TRUE(restore(plugin, former) && restore(fresh, former));
        EXPECT_FALSE(Mission::get().getResources()->getSample(hit.getPath()));
    }
    EXPECT_EQ(sampler.product->messages.size(), 20u * 3u);
    // Of an older version, without most parts, and with parts that say nothing.
    StartedPlugin plugin;
    EXPECT_TRUE(
        restore(plugin, "<dict>" + Header +
                            "<Title value='older'/><tunings><current value='-7'/></tunings>"
                            "<programs currentProgram='99'/><midi><controller/><controller>"
                            "<number value='7'/><target value='CurrentProgram'/></controller>"
                            "</midi></dict>"));
    EXPECT_EQ(plugin.getMidiMapper().getTarget(7), nullptr) << "programs aren't for that thread";
    EXPECT_EQ(plugin.parameter("Title").getText(), "older");
    EXPECT_EQ(plugin.getTuning().getDescription(), "Equal Temperament");
    EXPECT_EQ(plugin.engine(1).resets, 1);
    EXPECT_EQ(plugin.getModuleName(*plugin.getModule(1)), "B");
    EXPECT_EQ(plugin.moduleAt(1)->getCurrentProgram(), plugin.getCurrent()->getProgram(1));
    EXPECT_EQ(plugin.moduleAt(1)->getCurrentProgramName(), plugin.getCurrentName());
}

// Faults: presets of the user's choice that are overlooked, or come without their values, a factory
// bank that isn't ours.
TEST(Plugin, NewInstancesBeginWithTheChosenPresetsOrTheFactorys) {
    SamplerProduct sampler(SettingsText, Foreign);
    sampler.files.write("Sampler Resources/mine.xml", bankOf({"Mine"}));
    sampler.files.write("Sampler Resources/foreign.xml", Foreign);
    Preferences user = sampler.product->store.openUser();
    const std::tuple<const char*, const char*, int> choices[] = {{"", "init 1", 1},
                                                                 {"absent.xml", "Soft", 2},
                                                                 {"foreign.xml", "Soft", 2},
                                                                 {"mine.xml", "Mine", 2}};
    for (const auto& [chosen, first, count] : choices) {
        user.setString("DefaultPresets", chosen);
        StartedPlugin plugin;
        EXPECT_EQ(plugin.getProgramName(0), first) << chosen;
        EXPECT_EQ(plugin.getProgramCount(), count) << chosen;
        sampler.files.write("Sampler Resources/Factory Presets.xml", bankOf({"Soft", "Loud"}));
    }
    EXPECT_THAT(sampler.product->messages, ElementsAre(HasSubstr("created by X")));
    StartedPlugin saved;
    std::string message;
    saved.parameter("Volume").setFloat(0.75f, FromUser);
    ASSERT_TRUE(saved.saveAll(File(sampler.files.path("Sampler Resources/own.xml")), message));
    user.setString("DefaultPresets", "own.xml");
    EXPECT_EQ(StartedPlugin().parameter("Volume").getFloat(), 0.75f);
}

// Faults: a note that hangs, a controller that moves nothing or too much, an allocation.
TEST(Plugin, MidiReachesEnginesAndParameters) {
    const SamplerProduct sampler;
    StartedPlugin plugin;
    plugin.setBlockSize(64);
    plugin.midiEvent({{0x93, 60, 100}, 17, -5, 480});
    plugin.midiEvent({{0x93, 60, 0}});
    plugin.midiEvent({{0x83, 61, 0xFF}});
    for (int module = 0; module < 2; ++module) {
        const auto& notes = plugin.engine(module).notes;
        ASSERT_EQ(notes.size(), 3u);
        EXPECT_EQ(notes[0], (NoteEvent{Note::NoteOn, 3, 60, 100, -5, {17, 480}, -1}));
        EXPECT_TRUE(notes[1].type == Note::NoteOff && notes[2].velocity == 127);
    }

    Parameter& bend = plugin.parameter("Bend");
    const std::tuple<std::array<std::uint8_t, 3>, int, float> controllers[] = {
        {{0xB0, 7, 127}, 7, 1.0f},
        {{0xD0, 32, 0}, midi::Aftertouch, 32 * 0.007874016f},
        {{0xE0, 0, 0x40}, midi::PitchWheel, 0.5f},
        {{0xE0, 0x7F, 0x7F}, midi::PitchWheel, 0.99994f},
    };
    for (const auto& [bytes, controller, value] : controllers) {
        plugin.getMidiMapper().startLearning(&bend);
        plugin.midiEvent({bytes});
        EXPECT_EQ(plugin.getMidiMapper().getController(&bend), controller);
        EXPECT_NEAR(bend.getNormalised(), value, 1e-5f);
        plugin.getMidiMapper().forget(&bend);
    }
    plugin.getMidiMapper().bind(1, &plugin.parameter("Volume"));
    EXPECT_EQ(allocationsOf([&] { plugin.midiEvent({{0xB0, 1, 127}, 1'000'000}); }), 0);
    EXPECT_EQ(plugin.parameter("Volume", 1).getNormalised(), 127 * 0.007874016f);
}

// Faults: a program that the host, the interface or a controller chooses and that isn't taken, or
// of which nobody hears; requests that go astray.
TEST(Plugin, ProgramsAndRequestsComeAsMessages) {
    SamplerProduct sampler(SettingsText, bankOf(std::vector<std::string>(128, "factory")));
    StartedPlugin plugin;
    std::vector<std::int32_t> told;
    Hearer hearer(plugin, [&](Message& message) {
        if (message.type == MessageType::Plugin && message.code == PluginMessage::ProgramChanged)
            told.push_back(fromPayload<std::int32_t>(message.payload));
    });
    plugin.parameter("CurrentProgram").setFloat(2.0f, FromUser);
    for (const float value : {1.0f, 1.01f, NAN, 1.0f / 127.0f}) {
        const MidiEvent event{0xC0, value, 0};
        MidiMessage change(nullptr, MidiMessage::Event, &event, 0);
        EXPECT_TRUE(plugin.receive(change));
    }
    EXPECT_THAT(told, ElementsAre(2, 127, 1));
    EXPECT_EQ(plugin.parameter("CurrentProgram").getFloat(), 1.0f);

    sampler.files.write("one.xml", bankOf({"Dropped"}));
    sampler.files.write("bank.xml", bankOf({"x", "y"}));
    sampler.files.write("two.xml", bankOf({"Again"}));
    sampler.files.write("foreign.xml", Foreign);
    const std::tuple<const char*, bool, const char*, const char*> drops[] = {
        {"one.xml", true, "factory", "Dropped"},
        {"two.xml", true, "factory", "Again"},
        {"bank.xml", true, "y", "Again"},
        {"absent.xml", false, "y", "Again"},
        {"foreign.xml", false, "y", "Again"}};
    for (const auto& [file, isTaken, second, last] : drops) {
        const std::string path = sampler.files.path(file);
        WindowMessage drop(nullptr, WindowMessage::DropFile, {}, {path});
        told.clear();
        EXPECT_EQ(plugin.receive(drop), isTaken);
        EXPECT_NE(told.empty(), isTaken) << file;
        EXPECT_EQ(plugin.getProgramName(1), second) << "a factory preset isn't replaced by one";
        EXPECT_EQ(plugin.getProgramName(plugin.getPresetCount() - 1), last);
        EXPECT_EQ(plugin.getPresetCount(), 129);
    }
    EXPECT_THAT(sampler.product->messages,
                ElementsAre(HasSubstr("absent.xml"), HasSubstr("created by X")));

    IOPinConfig in, out;
    plugin.process(in, out, 5);
    EXPECT_EQ(plugin.getSampleClock(), 5);
    for (const std::int32_t code : {3001, 3007, +SystemMessage::Shutdown}) {
        SystemMessage request(nullptr, code, 0);
        EXPECT_EQ(plugin.receive(request), code != SystemMessage::Shutdown) << "without an editor";
    }
    plugin.process(in, out, 5);
    EXPECT_TRUE(plugin.isShutDown() && plugin.isDisabled() && plugin.engine(1).blocks == 1);
}

// Faults: a race, a preset that is used after its deletion, a state that is half old and half new,
// a deadlock with a listener that asks for presets.
TEST(Plugin, TheHostKeepsAStateWhileTheUserChangesPresets) {
    SamplerProduct sampler(SettingsText, bankOf({"first", "second"}));
    StartedPlugin plugin;
    const std::string saved = stateOf(plugin);
    const Hearer telling(plugin.parameter("CurrentProgram"),
                         [&](Message&) { plugin.setProgram(plugin.getPresetCount() - 1); });
    std::thread host([&] {
        for (int round = 0; round < 40; ++round) {
            Dictionary state(stateOf(plugin));
            const auto programs = state.getArray("programs");
            std::int32_t current = -1;
            EXPECT_TRUE(programs->getInteger("currentProgram", current));
            EXPECT_LT(current, programs->count("program"));
            EXPECT_TRUE(restore(plugin, saved));
            plugin.setCurrentName("host's " + plugin.getProgramName(round % 3));
        }
    });
    for (int round = 0; round < 80; ++round) {
        plugin.addPreset("mine/" + toText(round));
        plugin.renameCurrent("also/" + toText(round));
        plugin.storeFavorite(round % 4);
        plugin.parameter("CurrentProgram").setNormalised(0.0f, FromUser);
        plugin.duplicatePreset(plugin.getPresetCount() - 1);
        {
            const auto held = plugin.hold();
            for (const auto& preset : plugin.getPresets())
                EXPECT_TRUE(plugin.getPresetNames().contains(
                    preset->getName(Preset::BankName | Preset::OwnName)));
        }
        plugin.deleteCurrent();
        plugin.recallFavorite(round % 4);
        plugin.deleteCurrent();
    }
    host.join();
    EXPECT_TRUE(restore(plugin, stateOf(plugin)));
}

// Faults: a user without an editor who is asked, an answer that is lost.
TEST(Plugin, TheUserFindsAMissingSample) {
    const SamplerProduct sampler;
    sampler.files.write("Kits/hit.wav", "");
    sampler.files.write("Sampler Resources/Samples/drums.pack", "");
    const std::string place = sampler.files.path("Kits/hit.wav");
    using enum platform::MessageAnswer;
    StartedPlugin plugin;
    File missing("hit.wav");
    EXPECT_FALSE(plugin.reportMissingSample(missing));
    plugin.editor = &plugin;
    for (const auto& [answer, chosen] :
         {std::pair(Cancel, place), {Yes, std::string()}, {Yes, place}}) {
        const auto box = [&, next = answer](const platform::MessageRequest& request) {
            return request.kind == platform::MessageKind::Ask && request.parented ? next : Ok;
        };
        const auto choose = [file = platform::FileAnswer{chosen, 0}](const auto&) { return file; };
        platform::setDialogAnswers({box, choose});
        EXPECT_EQ(plugin.reportMissingSample(missing), answer == Yes && chosen == place);
    }
    EXPECT_EQ(missing.getPath(), place);
    File again("hit.wav"), pack;
    EXPECT_TRUE(Mission::get().getResources()->findFile(again));  // the folder is known now
    EXPECT_FALSE(plugin.findPackFile("none", pack));
    EXPECT_TRUE(plugin.findPackFile("drums", pack) && pack.exists());
}

}  // namespace
}  // namespace tarn
