// The host as its users meet it: with plug-ins that behave, plug-ins that don't, and the product.
#include "host/AudioFile.h"
#include "tools/Tool.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <nlohmann/json.hpp>

namespace tarn::test {
namespace {

using testing::HasSubstr;

ToolResult runHost(const std::vector<std::string>& arguments) {
    return runTool(PROGRAM_brimtide_host, arguments);
}

/// A copy of the fixture in a folder that tells it how to behave.
struct FixtureIn {
    explicit FixtureIn(const std::string& behaviour)
        : path(folder /
               (behaviour + "/" + std::filesystem::path(PROGRAM_fixture).filename().string())) {
        std::filesystem::create_directory(folder / behaviour);
        std::filesystem::copy_file(PROGRAM_fixture, path);
    }

    ToolFolder folder;
    std::string path;
};

host::Channels audioIn(const std::string& path) {
    host::AudioReader reader(path);
    host::Channels audio(static_cast<std::size_t>(reader.channels()));
    reader.read(audio, static_cast<std::size_t>(reader.frames()));
    return audio;
}

// Each misbehaviour alone, and the words that tell it: a check that finds nothing would let all of
// them through.
TEST(Host, TellsEveryRuleThatAPluginBreaks) {
    const struct {
        const char* fault;
        const char* command;
        int exitStatus;
        const char* words;
    } cases[] = {
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
    for (const auto& test : cases) {
        const FixtureIn plugin(test.fault);
        const ToolResult result = runHost({test.command, plugin.path});
        EXPECT_EQ(result.exitStatus, test.exitStatus) << test.fault << '\n' << result.errors;
        EXPECT_THAT(result.errors, HasSubstr(test.words)) << test.fault;
    }
}

TEST(Host, TellsWhatIsNoPluginFromWrongUse) {
    const FixtureIn plugin("well-behaved");
    const struct {
        std::vector<std::string> arguments;
        int exitStatus;
    } cases[] = {
        {{"info", PROGRAM_fixture_without_entry}, 3},
        {{"info", "nowhere/nothing.dll"}, 3},
        {{}, 2},
        {{"--help"}, 0},
        {{"play", plugin.path, "--input", "nowhere.wav"}, 2},
        {{"play", plugin.path, "--input", PROGRAM_fixture}, 2},  // no WAV
        {{"play", plugin.path, "--output", "nowhere/out.wav"}, 2},
        {{"play", plugin.path, "--set", "1=0"}, 2},
        {{"play", plugin.path, "--set", "Loudness=0"}, 2},
        {{"play", plugin.path, "--block", "0"}, 2},
        {{"play", plugin.path, "--channels", "3"}, 2},
        {{"play", plugin.path, "--load-chunk", "nowhere"}, 2},
        {{"play", plugin.path, "--output", "same.wav", "--sent", "same.wav"}, 2},
        {{"play", plugin.path, "--frames", "1", "--seconds", "1"}, 2},
    };
    for (const auto& c : cases)
        EXPECT_EQ(runHost(c.arguments).exitStatus, c.exitStatus)
            << testing::PrintToString(c.arguments);
}

// The fixture's chunk is its diary.
TEST(Host, LeadsAPluginThroughItsLifeInOrder) {
    const FixtureIn plugin("diary");
    const ToolFolder& folder = plugin.folder;
    const ToolResult result =
        runHost({"play", plugin.path, "--rate", "1000", "--frames", "250", "--block", "100",
                 "--announce", "64", "--input-latency", "77", "--set", "Gain=0.25", "--set",
                 "gain of all=1@0.05", "--save-chunk", folder / "chunk"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(folder.read("chunk"),
              "open\nrate 1000\nblock size 64\nchannels 2 2\nset 0.25\nresume\nstart\n"
              "50 frames at 0, level 4, latency 77\nset 1.00\n"
              "100 frames at 50, level 4, latency 77\n"
              "100 frames at 150, level 4, latency 77\nstop\nsuspend\n");

    // And a second life that begins where the first one's chunk ended.
    runHost({"play", plugin.path, "--frames", "3", "--load-chunk", folder / "chunk", "--save-chunk",
             folder / "second", "--in-place", "--realtime"});
    EXPECT_EQ(folder.read("second"),
              folder.read("chunk") +
                  "resume\nstart\n3 frames at 0, level 2, latency 0, in place\nstop\nsuspend\n");
}

TEST(Host, SetsParametersAtTheirFrameAndRecordsBothSides) {
    const FixtureIn plugin("gain");
    const ToolFolder& folder = plugin.folder;
    const ToolResult result =
        runHost({"play", plugin.path, "--signal=noise", "--seed=9", "--rate=8000", "--seconds=1",
                 "--block=1:700", "--set=0=0.5@0.25", "--set=0=0@0.75", "--instances=3", "--output",
                 folder / "out.wav", "--sent", folder / "sent.wav"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    const host::Channels sent = audioIn(folder / "sent.wav");
    const host::Channels out = audioIn(folder / "out.wav");
    ASSERT_TRUE(sent.size() == 2 && out.size() == 2 && out[0].size() == 8000);
    for (std::size_t channel = 0; channel < 2; ++channel)
        for (std::size_t i = 0; i < 8000; ++i)
            ASSERT_EQ(out[channel][i],
                      i < 2000 ? sent[channel][i] : sent[channel][i] * (i < 6000 ? 0.5f : 0.0f));

    // What was sent is a file like any other; it goes on in silence.
    runHost({"play", plugin.path, "--input", folder / "sent.wav", "--frames", "9000", "--output",
             folder / "again.wav"});
    const host::Channels again = audioIn(folder / "again.wav");
    ASSERT_EQ(again[1].size(), 9000u);
    EXPECT_TRUE(std::equal(sent[1].begin(), sent[1].end(), again[1].begin()));
    EXPECT_EQ(again[1].back(), 0.0f);
}

// Texts of plug-ins come in any encoding; JSON has one, and consoles obey control characters.
TEST(Host, ReportsWhatAPluginSaysOfItself) {
    const FixtureIn plugin("report");
    const ToolResult result = runHost({"info", plugin.path, "--json"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    const auto facts = nlohmann::json::parse(result.output);
    EXPECT_EQ(facts["name"], "Fixture \"\x01\xef\xbf\xbd\"");
    EXPECT_EQ(facts["uniqueID"], "Fix\xef\xbf\xbd");
    EXPECT_EQ(facts["flags"]["programChunks"], true);
    EXPECT_EQ(facts["parameters"][0]["longName"], "Gain of all");
    EXPECT_EQ(facts["programs"], nlohmann::json({"One", "Two"}));
    EXPECT_EQ(facts["outputPins"][1], nullptr);

    const std::string text = runHost({"info", plugin.path}).output;
    EXPECT_THAT(text, HasSubstr("name: Fixture \\\"\\u0001"));
    EXPECT_THAT(text, HasSubstr("\n  0:\n    name: Gain\n    value: 1.0\n"));
}

// On the track the product is a wire, whatever the blocks; muted, it is silent.
TEST(HostWithBrimtide, PassesItsInputOnSampleForSample) {
    const ToolFolder folder;
    for (const char* channels : {"--channels=1", "--channels=2", "--channels=1:2"}) {
        for (const char* place : {"--seed=1", "--in-place"}) {
            const ToolResult result =
                runHost({"play", PROGRAM_Brimtide, "--signal=ramp", "--block=1:16384",
                         "--seconds=3", "--set=0=1@1", "--set=0=0@2", channels, place, "--output",
                         folder / "out.wav", "--sent", folder / "sent.wav"});
            EXPECT_EQ(result.exitStatus, 0) << channels << place << result.errors;
            host::Channels expected = audioIn(folder / "sent.wav");
            const host::Channels out = audioIn(folder / "out.wav");
            ASSERT_EQ(expected[0].size(), 3u * 44100u);
            for (std::vector<float>& channel : expected)
                std::fill_n(channel.begin() + 44100, 44100, 0.0f);
            for (std::size_t channel = 0; channel < out.size(); ++channel)
                EXPECT_EQ(out[channel], expected[std::min(channel, expected.size() - 1)])
                    << channels << place;
        }
    }
    const ToolResult report = runHost({"info", PROGRAM_Brimtide});
    EXPECT_EQ(report.exitStatus, 0);
    EXPECT_EQ(report.errors, "");
    EXPECT_THAT(report.output, HasSubstr("name: Brimtide\n"));
}

}  // namespace
}  // namespace tarn::test
