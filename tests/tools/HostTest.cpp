// The host as its users meet it: with plug-ins that behave, plug-ins that don't, and the product.
#include "host/AudioFile.h"
#include "tools/Tool.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <tuple>

namespace tarn::test {
namespace {

using testing::_;
using testing::AllOf;
using testing::FieldsAre;
using testing::HasSubstr;

ToolResult runHost(const std::vector<std::string>& arguments) {
    return runTool(PROGRAM_brimtide_host, arguments);
}

/// A copy of the fixture in a folder that tells it how to behave.
struct FixtureIn : ToolFolder {
    explicit FixtureIn(const std::string& behaviour)
        : plugin(*this /
                 (behaviour + "/" + std::filesystem::path(PROGRAM_fixture).filename().string())) {
        std::filesystem::create_directory(*this / behaviour);
        std::filesystem::copy_file(PROGRAM_fixture, plugin);
    }

    ToolResult play(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"play", plugin});
        return runHost(arguments);
    }

    std::string plugin;
};

host::Channels audioIn(const std::string& path) {
    host::AudioReader reader(path);
    host::Channels audio(static_cast<std::size_t>(reader.channels()));
    reader.read(audio, static_cast<std::size_t>(reader.frames()));
    return audio;
}

// The fault it would catch: a check that finds nothing.
TEST(Host, TellsEveryRuleThatAPluginBreaks) {
    const std::tuple<const char*, const char*, int, const char*> cases[] = {
        {"past-end", "play", 1, "wrote past the end of a buffer, output 2"},
        {"before-start", "play", 1, "wrote before the start of a buffer, input 1"},
        {"unwritten", "play", 1, "left frames of an output unwritten, output 1, frame 511"},
        {"changed-input", "play", 1, "changed its input, input 1"},
        {"changed-pointers", "play", 1, "changed the pointers"},
        {"unknown-parameter", "play", 1, "a parameter that it doesn't have"},
        {"fewer-outputs", "play", 1, "changed its channels without audioMasterIOChanged"},
        {"fewer-outputs-told", "play", 0, ""},
        {"no-replacing", "play", 1, "lacks processReplacing"},
        {"long-text", "info", 1, "wrote past the end of the text of a parameter's name"},
        {"endless-text", "info", 1, "gave no end to the text of a parameter's name"},
        {"long-record", "info", 1, "wrote past the end of the record of a pin"},
        {"no-number", "info", 1, "a parameter outside 0 to 1"},
        {"null-chunk", "info", 1, "reports a chunk, but gives none"},
        {"endless-chunk", "info", 1, "reports a chunk of 2147483647 bytes"},
        {"bad-magic", "info", 1, "'VstP'"},
        {"no-dispatcher", "info", 1, "no dispatcher"},
        {"negative-count", "info", 1, "reports -1 parameters"},
        {"endless-inputs", "info", 1, "reports 1073741824 inputs"},
        {"no-instance", "info", 3, "gave no instance"},
        {"well-behaved", "info", 0, ""},
    };
    for (const auto& [fault, command, exitStatus, words] : cases)
        EXPECT_THAT(runHost({command, FixtureIn(fault).plugin}),
                    FieldsAre(exitStatus, _, HasSubstr(words), _))
            << fault;
}

TEST(Host, TellsWhatIsNoPluginFromWrongUse) {
    for (const char* file : {PROGRAM_fixture_without_entry, "nowhere/nothing.dll"})
        EXPECT_EQ(runHost({"info", file}).exitStatus, 3) << file;
    EXPECT_EQ(runHost({}).exitStatus, 2);
    EXPECT_EQ(runHost({"--help"}).exitStatus, 0);
    const FixtureIn fixture("well-behaved");
    for (const char* use : {"--input=nowhere.wav", "--input=" PROGRAM_fixture, "--set=1=0",
                            "--output=nowhere/out.wav", "--set=Loudness=0", "--block=0",
                            "--channels=3", "--load-chunk=nowhere", "--level=nan", "--seconds=inf"})
        EXPECT_EQ(fixture.play({use}).exitStatus, 2) << use;
    const std::string file = fixture / "same.wav", spelledOtherwise = fixture / "./same.wav";
    for (const char* other : {"--sent", "--save-chunk"})
        EXPECT_EQ(fixture.play({"--output", file, other, spelledOtherwise}).exitStatus, 2) << other;
    EXPECT_EQ(fixture.play({"--frames=1", "--seconds=1"}).exitStatus, 2);
}

// The fixture's chunk is its diary.
TEST(Host, LeadsAPluginThroughItsLifeInOrder) {
    const FixtureIn fixture("diary");
    const ToolResult result =
        fixture.play({"--rate", "1000", "--frames", "250", "--block", "100", "--announce", "64",
                      "--input-latency", "77", "--set", "Gain=0.25", "--set", "gain of all=1@0.05",
                      "--save-chunk", fixture / "chunk"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(fixture.read("chunk"),
              "open 0\nrate 1000\nblock size 64\nchannels 2 2\nset 0.25\nmains 1\nstart 0\n"
              "50 frames at 0, level 4, latency 77\nset 1.00\n"
              "100 frames at 50, level 4, latency 77\n"
              "100 frames at 150, level 4, latency 77\nstop 0\nmains 0\n");

    // And a second life that begins where the first one's chunk ended.
    fixture.play({"--frames", "3", "--load-chunk", fixture / "chunk", "--save-chunk",
                  fixture / "second", "--in-place", "--realtime"});
    EXPECT_EQ(fixture.read("second"),
              fixture.read("chunk") +
                  "mains 1\nstart 0\n3 frames at 0, level 2, latency 0, in place\n"
                  "stop 0\nmains 0\n");
}

// Texts of plug-ins come in any encoding; JSON has one, and consoles obey control characters.
TEST(Host, ReportsWhatAPluginSaysOfItself) {
    const FixtureIn fixture("report");
    const ToolResult result = runHost({"info", fixture.plugin, "--json"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    const auto facts = nlohmann::json::parse(result.output);
    EXPECT_EQ(facts["name"], "Fixture \"\x01\xef\xbf\xbd\"");
    EXPECT_EQ(facts["uniqueID"], "Fix\xef\xbf\xbd");
    EXPECT_EQ(facts["flags"]["programChunks"], true);
    EXPECT_EQ(facts["parameters"][0]["longName"], "Gain of all");
    EXPECT_EQ(facts["programs"], nlohmann::json({"One", "Two"}));
    EXPECT_EQ(facts["outputPins"][1], nullptr);
    EXPECT_THAT(runHost({"info", fixture.plugin}).output,
                AllOf(HasSubstr("name: Fixture \\\"\\u0001"),
                      HasSubstr("\n  0:\n    name: Gain\n    value: 1.0\n")));
}

// Faults: samples that the product changes, a parameter set at another frame, a block lost, one
// instance too many for the connections there are, a text of the product's that overruns.
TEST(HostWithBrimtide, PassesItsInputOnSampleForSample) {
    const ToolFolder folder;
    const std::string sent = folder / "sent.wav", out = folder / "out.wav";
    for (const char* channels : {"--channels=1", "--channels=2", "--channels=1:2"})
        for (const char* other : {"--seed=9", "--in-place", "--instances=40"}) {
            SCOPED_TRACE(std::string(channels) + other);
            const ToolResult result =
                runHost({"play", PROGRAM_Brimtide, "--signal=noise", "--rate=8000", "--seconds=3",
                         "--block=1:2000", "--set=0=1@1", "--set=0=0@2", channels, other,
                         "--output", out, "--sent", sent});
            EXPECT_EQ(result.exitStatus, 0) << result.errors;
            host::Channels expected = audioIn(sent);
            ASSERT_EQ(expected[0].size(), 24'000u);
            for (std::vector<float>& channel : expected)
                std::fill_n(channel.begin() + 8000, 8000, 0.0f);
            expected.resize(audioIn(out).size(), expected[0]);
            EXPECT_EQ(audioIn(out), expected);
        }
    runHost({"play", PROGRAM_Brimtide, "--input", sent, "--frames=24001", "--output", out});
    host::Channels longer = audioIn(sent);
    for (std::vector<float>& channel : longer)
        channel.push_back(0.0f);
    EXPECT_EQ(audioIn(out), longer);
    EXPECT_THAT(runHost({"info", PROGRAM_Brimtide}),
                FieldsAre(0, HasSubstr("plugAsSend: yes"), "", _));
}

}  // namespace
}  // namespace tarn::test
