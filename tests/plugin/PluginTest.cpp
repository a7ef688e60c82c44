#include "foundation/Dictionary.h"
#include "foundation/File.h"
#include "parameters/Settings.h"
#include "plugin/Plugin.h"
#include "plugin/Sampler.h"
#include "samples/SampleManager.h"
#include "samples/WaveBytes.h"
#include "support/AllocationCount.h"
#include "support/Hearer.h"

#include <gmock/gmock.h>

#include <random>

namespace tarn {
namespace {

using test::SamplerPlugin;
using testing::ElementsAre;
using testing::HasSubstr;

std::string stateOf(Plugin& plugin) {
    Dictionary state;
    EXPECT_TRUE(plugin.writeState(state, 0));
    std::string text;
    EXPECT_TRUE(state.toString(text));
    return text;
}

bool restore(Plugin& plugin, const std::string& text) {
    Dictionary state;
    state.parse(text);
    return plugin.readState(state);
}

std::string bankOf(std::initializer_list<const char*> names) {
    std::string text = "<dict>" + test::Header + "<programs>";
    for (const std::string name : names)
        text += "<program><name value='" + name +
                "'/><modules><module><parameters><Volume value='0.25'/></parameters></module>"
                "</modules></program>";
    return text + "</programs></dict>";
}

// Faults: a definition that is taken by halves, an instance that crashes its host because it has
// none, a message an instance.
TEST(Plugin, WithoutItsDefinitionAnInstanceFailsAndTellsItOnce) {
    const std::string& good = test::SettingsText;
    test::SamplerProduct sampler("");
    for (std::size_t size = 0; size < good.size(); size += 37) {
        sampler.files.write("Settings.xml", good.substr(0, size));
        SamplerPlugin plugin(nullptr, 0);
        ASSERT_THROW(plugin.start(), Error) << size;
        float samples[4]{};
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
        EXPECT_EQ(samples[0], 0.0f);
    }
    const std::string another = "<dict><info creator='X' version='1'/><parameters/></dict>";
    sampler.files.write("Settings.xml", another);
    EXPECT_THROW(SamplerPlugin(nullptr, 0).start(), Error);
    EXPECT_THAT(sampler.product->messages,
                testing::Contains(HasSubstr("Error loading settings, unable")).Times(1));
    sampler.files.write("Settings.xml", good);
    SamplerPlugin plugin(nullptr, 0);
    plugin.start();
    EXPECT_EQ(plugin.getModuleName(*plugin.getModule(1)), "B");
}

// Faults: any part of the state that is not written, not read, or read in an order that lets one
// part spoil another.
TEST(Plugin, TheStateBringsBackAnInstance) {
    const test::SamplerProduct sampler(test::SettingsText, bankOf({"Soft", "Loud", "Third"}));
    sampler.files.write("hit.wav",
                        test::waveFile(test::formatChunk(1, 8) + test::chunk("data", "12345678")));
    const std::string names[] = {"", "Zo\u00eb <&\"' \u5c71\u7530 \U0001F3B8", std::string(31, 'a'),
                                 std::string(32, 'b'), std::string(100, 'c')};
    std::mt19937 random(1);
    const auto part = [&] { return static_cast<float>(random() % 10'001) / 10'000.0f; };
    for (int i = 0; i < 60; ++i) {
        SamplerPlugin plugin(nullptr, 0), fresh(nullptr, 0);
        plugin.start();
        fresh.start();
        EXPECT_EQ(plugin.getProgramCount(), 3);
        EXPECT_EQ(plugin.getProgramName(1), "Loud");
        for (int step = 0; step < 8; ++step) {
            plugin.setProgram(static_cast<int>(random() % 4));
            plugin.parameter("Title").setText(names[random() % 5], FromUser);
            for (const char* id : {"Volume", "Bend", "Voices"})
                plugin.parameter(id, static_cast<int>(random() % 2))
                    .setNormalised(part(), FromUser);
            if (random() % 3 == 0)
                plugin.setCurrentName(names[random() % 5]);
            if (random() % 4 == 0)
                plugin.storeFavorite(static_cast<int>(random() % 5));
            if (random() % 4 == 0)
                plugin.getMidiMapper().bind(static_cast<int>(random() % 130),
                                            &plugin.parameter("Volume"));
            if (random() % 4 == 0)
                plugin.getSampleManager().setMapping(names[2], 1, {1, 2}, {3, 4});
            if (random() % 8 == 0)
                plugin.importFile(File(sampler.files.path("hit.wav")));
        }
        const std::string state = stateOf(plugin);
        ASSERT_TRUE(restore(fresh, state));
        ASSERT_EQ(stateOf(fresh), state);
        ASSERT_EQ(stateOf(plugin), state);
        EXPECT_EQ(fresh.getProgram(), plugin.getProgram());
        EXPECT_EQ(fresh.parameter("CurrentProgram").getFloat(),
                  static_cast<float>(plugin.getProgram()));
        EXPECT_EQ(fresh.parameter("Volume").getNormalised(),
                  plugin.parameter("Volume").getNormalised());
    }
}

// Fault: a song that is lost because a state from elsewhere was half read.
TEST(Plugin, AStateThatIsNotOursChangesNothing) {
    test::SamplerProduct sampler;
    SamplerPlugin plugin(nullptr, 0);
    plugin.start();
    plugin.parameter("Title").setText("mine", FromUser);
    const std::string state = stateOf(plugin);
    for (const char* other :
         {"", "<dict/>", "<dict><info creator='X' version='1'/><file-format value='1.2'/></dict>",
          "<dict><info creator='Sampler' version='9'/><file-format value='9'/><parameters>"
          "<Title value='theirs'/></parameters></dict>"}) {
        const std::size_t told = sampler.product->messages.size();
        EXPECT_FALSE(restore(plugin, other));
        EXPECT_EQ(sampler.product->messages.size(), told + 1);
        EXPECT_EQ(stateOf(plugin), state);
    }
    // Of an older version, without most parts, and with parts that say nothing.
    EXPECT_TRUE(
        restore(plugin, "<dict>" + test::Header +
                            "<Title value='older'/><tunings><current value='-7'/></tunings>"
                            "<programs currentProgram='99'/><midi><controller/></midi></dict>"));
    EXPECT_EQ(plugin.parameter("Title").getText(), "older");
    EXPECT_EQ(plugin.getTuning().getDescription(), "Equal Temperament");
    EXPECT_TRUE(restore(plugin, state));
    EXPECT_EQ(stateOf(plugin), state);
    EXPECT_EQ(plugin.engine(1).resets, 2);
}

// Faults: presets of the user's choice that are overlooked, a factory bank that isn't ours.
TEST(Plugin, NewInstancesBeginWithTheChosenPresetsOrTheFactorys) {
    test::SamplerProduct sampler(test::SettingsText,
                                 "<dict><info creator='X' version='1'/><programs/></dict>");
    const auto nameOfFirst = [] {
        SamplerPlugin plugin(nullptr, 0);
        plugin.start();
        return std::pair(plugin.getProgramName(0), plugin.getProgramCount());
    };
    EXPECT_EQ(nameOfFirst(), std::pair(std::string("init 1"), 1));
    sampler.files.write("Sampler Resources/Factory Presets.xml", bankOf({"Soft", "Loud"}));
    EXPECT_EQ(nameOfFirst(), std::pair(std::string("Soft"), 2));
    sampler.files.write("Sampler Resources/mine.xml", bankOf({"Mine"}));
    sampler.product->store.openUser().setString("DefaultPresets", "mine.xml");
    EXPECT_EQ(nameOfFirst(), std::pair(std::string("Mine"), 2));
    sampler.files.write("Sampler Resources/foreign.xml",
                        "<dict><info creator='X' version='1'/></dict>");
    sampler.product->store.openUser().setString("DefaultPresets", "foreign.xml");
    EXPECT_EQ(nameOfFirst(), std::pair(std::string("Soft"), 2));
    sampler.product->store.openUser().setString("DefaultPresets", "absent.xml");
    EXPECT_EQ(nameOfFirst(), std::pair(std::string("Soft"), 2));
}

// Faults: a note that hangs, a controller that moves nothing or too much, an allocation.
TEST(Plugin, MidiReachesEnginesAndParameters) {
    const test::SamplerProduct sampler;
    SamplerPlugin plugin(nullptr, 0);
    plugin.start();
    plugin.setBlockSize(64);
    plugin.midiEvent({{0x93, 60, 100}, 17, -5, 480});
    plugin.midiEvent({{0x93, 60, 0}});
    plugin.midiEvent({{0x83, 61, 0xFF}});
    for (int module = 0; module < 2; ++module) {
        const auto& notes = plugin.engine(module).notes;
        ASSERT_EQ(notes.size(), 3u);
        EXPECT_EQ(notes[0], (NoteEvent{Note::NoteOn, 3, 60, 100, -5, {17, 480}, -1}));
        EXPECT_EQ(std::pair(notes[1].type, notes[2].velocity),
                  std::pair(+Note::NoteOff, std::int16_t{127}));
    }

    const std::tuple<std::array<std::uint8_t, 3>, int, float> controllers[] = {
        {{0xB0, 7, 127}, 7, 1.0f},
        {{0xB0, 7, 64}, 7, 64 * 0.007874016f},
        {{0xD0, 32, 0}, midi::Aftertouch, 32 * 0.007874016f},
        {{0xE0, 0, 0x40}, midi::PitchWheel, 0.5f},
        {{0xE0, 0x7F, 0x7F}, midi::PitchWheel, 0.99994f},
    };
    for (const auto& [bytes, controller, value] : controllers) {
        plugin.getMidiMapper().startLearning(&plugin.parameter("Bend"));
        plugin.midiEvent({bytes});
        EXPECT_EQ(plugin.getMidiMapper().getController(&plugin.parameter("Bend")), controller);
        EXPECT_NEAR(plugin.parameter("Bend").getNormalised(), value, 1e-5f);
        plugin.getMidiMapper().forget(&plugin.parameter("Bend"));
    }
    plugin.getMidiMapper().bind(1, &plugin.parameter("Volume"));
    const long allocations = test::allocationsOfThisThread();
    plugin.midiEvent({{0xB0, 1, 127}, 1'000'000});
    EXPECT_EQ(test::allocationsOfThisThread(), allocations);
    EXPECT_EQ(plugin.parameter("Volume", 1).getNormalised(), 127 * 0.007874016f);
}

// Faults: a program that the host, the interface or a controller chooses and that isn't taken, or
// of which nobody hears; requests that go astray.
TEST(Plugin, ProgramsAndRequestsComeAsMessages) {
    test::SamplerProduct sampler(test::SettingsText, bankOf({"a", "b", "c"}));
    SamplerPlugin plugin(nullptr, 0);
    plugin.start();
    std::vector<std::int32_t> told;
    Hearer hearer(plugin, [&](Message& message) {
        if (message.type == MessageType::Plugin && message.code == PluginMessage::ProgramChanged)
            told.push_back(fromPayload<std::int32_t>(message.payload));
    });
    plugin.parameter("CurrentProgram").setFloat(2.0f, FromUser);
    const MidiEvent event{0xC0, 1.0f / 127.0f, 0};
    MidiMessage change(nullptr, MidiMessage::Event, &event, 0);
    EXPECT_TRUE(plugin.receive(change));
    plugin.recallFavorite(0);
    EXPECT_THAT(told, ElementsAre(2, 1));
    EXPECT_EQ(plugin.parameter("CurrentProgram").getFloat(), 1.0f);

    sampler.files.write("one.xml", bankOf({"Dropped"}));
    sampler.files.write("bank.xml", bankOf({"x", "y"}));
    for (const auto& [file, expected] :
         {std::pair("one.xml", "x"), {"bank.xml", "y"}, {"absent.xml", "y"}}) {
        const std::string path = sampler.files.path(file);
        WindowMessage drop(nullptr, WindowMessage::DropFile, {}, {path});
        EXPECT_TRUE(plugin.receive(drop));
        EXPECT_EQ(plugin.getProgramName(1), file == std::string("one.xml") ? "Dropped" : expected);
    }
    EXPECT_THAT(sampler.product->messages, ElementsAre(HasSubstr("absent.xml")));

    IOPinConfig in, out;
    plugin.process(in, out, 5);
    EXPECT_EQ(plugin.engine(1).blocks, 1);
    EXPECT_EQ(plugin.getSampleClock(), 5);
    for (const std::int32_t code : {3001, 3007}) {
        SystemMessage request(nullptr, code, 0);
        EXPECT_TRUE(plugin.receive(request));
    }
    plugin.process(in, out, 5);
    EXPECT_TRUE(plugin.isShutDown() && plugin.engine(1).blocks == 1);
}

}  // namespace
}  // namespace tarn
