// The host as its users meet it: with plug-ins that behave, plug-ins that don't, and the product.
#include "host/AudioFile.h"
#include "tools/Tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

namespace tarn::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

ToolResult runHost(const std::vector<std::string>& arguments) {
    return runTool(PROGRAM_brimtide_host, arguments);
}

/// A copy of the fixture in a folder that tells it how to behave.
class FixtureIn {
public:
    explicit FixtureIn(const std::string& behaviour) {
        fs::create_directory(folder_ / behaviour);
        path_ = folder_ / (behaviour + "/" + fs::path(PROGRAM_fixture).filename().string());
        fs::copy_file(PROGRAM_fixture, path_);
    }

    const std::string& path() const { return path_; }

private:
    TemporaryFolder folder_;
    std::string path_;
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
    struct Case {
        const char* fault;
        const char* command;
        int exitStatus;
        const char* words;
    };
    const Case cases[] = {
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
    for (const Case& test : cases) {
        const FixtureIn plugin(test.fault);
        const ToolResult result = runHost({test.command, plugin.path()});
        EXPECT_EQ(result.exitStatus, test.exitStatus) << test.fault << '\n' << result.errors;
        EXPECT_THAT(result.errors, HasSubstr(test.words)) << test.fault;
    }
}

TEST(Host, TellsWhatIsNoPluginFromWrongUse) {
    const FixtureIn plugin("well-behaved");
    EXPECT_EQ(runHost({"info", PROGRAM_fixture_without_entry}).exitStatus, 3);
    EXPECT_EQ(runHost({"info", "nowhere/nothing.dll"}).exitStatus, 3);
    EXPECT_EQ(runHost({}).exitStatus, 2);
    EXPECT_EQ(runHost({"--help"}).exitStatus, 0);
    for (const std::vector<std::string>& options :
         std::vector<std::vector<std::string>>{{"--input", "nowhere.wav"},
                                               {"--input", PROGRAM_fixture},  // no WAV
                                               {"--output", "nowhere/out.wav"},
                                               {"--set", "1=0"},
                                               {"--set", "Loudness=0"},
                                               {"--block", "0"},
                                               {"--channels", "3"},
                                               {"--load-chunk", "nowhere"},
                                               {"--output", "same.wav", "--sent", "same.wav"},
                                               {"--frames", "1", "--seconds", "1"}}) {
        std::vector<std::string> arguments = {"play", plugin.path()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_EQ(runHost(arguments).exitStatus, 2) << options[0] << ' ' << options[1];
    }
}

// The fixture's chunk is its diary.
TEST(Host, LeadsAPluginThroughItsLifeInOrder) {
    const FixtureIn plugin("diary");
    const TemporaryFolder folder;
    const std::string chunk = folder / "chunk";
    const ToolResult result =
        runHost({"play", plugin.path(), "--rate", "1000", "--frames", "250", "--block", "100",
                 "--announce", "64", "--input-latency", "77", "--set", "Gain=0.25", "--set",
                 "gain of all=1@0.05", "--save-chunk", chunk});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(contentOf(chunk),
              "open\nrate 1000\nblock size 64\nchannels 2 2\nset 0.25\nresume\nstart\n"
              "50 frames at 0, level 4, latency 77\nset 1.00\n"
              "100 frames at 50, level 4, latency 77\n"
              "100 frames at 150, level 4, latency 77\nstop\nsuspend\n");

    // And a second life that begins where the first one's chunk ended.
    const std::string second = folder / "second";
    runHost({"play", plugin.path(), "--frames", "3", "--load-chunk", chunk, "--save-chunk", second,
             "--in-place", "--realtime"});
    EXPECT_EQ(contentOf(second), contentOf(chunk) +
                                     "resume\nstart\n3 frames at 0, level 2, latency 0, in place\n"
                                     "stop\nsuspend\n");
}

TEST(Host, SetsParametersAtTheirFrameAndRecordsBothSides) {
    const FixtureIn plugin("gain");
    const TemporaryFolder folder;
    const ToolResult result = runHost({"play",        plugin.path(),
                                       "--signal",    "noise",
                                       "--seed",      "9",
                                       "--rate",      "8000",
                                       "--seconds",   "1",
                                       "--block",     "1:700",
                                       "--set",       "0=0.5@0.25",
                                       "--set",       "0=0@0.75",
                                       "--instances", "3",
                                       "--output",    folder / "out.wav",
                                       "--sent",      folder / "sent.wav"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    const host::Channels sent = audioIn(folder / "sent.wav");
    const host::Channels out = audioIn(folder / "out.wav");
    ASSERT_EQ(sent.size(), 2u);
    ASSERT_EQ(out.size(), 2u);
    ASSERT_EQ(out[0].size(), 8000u);
    for (std::size_t channel = 0; channel < 2; ++channel)
        for (std::size_t i = 0; i < 8000; ++i)
            ASSERT_EQ(out[channel][i], sent[channel][i] * (i < 2000   ? 1.0f
                                                           : i < 6000 ? 0.5f
                                                                      : 0.0f))
                << i;

    // What was sent is a file like any other; it goes on in silence.
    runHost({"play", plugin.path(), "--input", folder / "sent.wav", "--frames", "9000", "--output",
             folder / "again.wav"});
    const host::Channels again = audioIn(folder / "again.wav");
    ASSERT_EQ(again[1].size(), 9000u);
    EXPECT_TRUE(std::equal(sent[1].begin(), sent[1].end(), again[1].begin()));
    EXPECT_EQ(again[1].back(), 0.0f);
}

// Texts of plug-ins come in any encoding; JSON has one, and consoles obey control characters.
TEST(Host, ReportsWhatAPluginSaysOfItself) {
    const FixtureIn plugin("report");
    const ToolResult result = runHost({"info", plugin.path(), "--json"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    const auto facts = nlohmann::json::parse(result.output);
    EXPECT_EQ(facts["name"], "Fixture \"\x01\xef\xbf\xbd\"");
    EXPECT_EQ(facts["uniqueID"], "Fix\xef\xbf\xbd");
    EXPECT_EQ(facts["flags"]["programChunks"], true);
    EXPECT_EQ(facts["parameters"][0]["longName"], "Gain of all");
    EXPECT_EQ(facts["programs"], nlohmann::json({"One", "Two"}));
    EXPECT_EQ(facts["outputPins"][1], nullptr);

    const std::string text = runHost({"info", plugin.path()}).output;
    EXPECT_THAT(text, HasSubstr("name: Fixture \\\"\\u0001"));
    EXPECT_THAT(text, HasSubstr("\n  0:\n    name: Gain\n    value: 1.0\n"));
}

// The product is a wire on the track, whatever the blocks.
TEST(HostWithBrimtide, PassesItsInputOnSampleForSample) {
    const TemporaryFolder folder;
    for (const char* channels : {"1", "2", "1:2"}) {
        for (const char* place : {"--block", "--in-place"}) {
            std::vector<std::string> arguments = {"play",
                                                  PROGRAM_Brimtide,
                                                  "--signal",
                                                  "ramp",
                                                  "--block=1:16384",
                                                  "--seconds",
                                                  "3",
                                                  "--channels",
                                                  channels,
                                                  "--output",
                                                  folder / "out.wav",
                                                  "--sent",
                                                  folder / "sent.wav"};
            if (std::string(place) == "--in-place")
                arguments.emplace_back(place);
            const ToolResult result = runHost(arguments);
            EXPECT_EQ(result.exitStatus, 0) << channels << place << result.errors;
            const host::Channels sent = audioIn(folder / "sent.wav");
            const host::Channels out = audioIn(folder / "out.wav");
            ASSERT_EQ(sent[0].size(), 3u * 44100u);
            for (std::size_t channel = 0; channel < out.size(); ++channel)
                EXPECT_EQ(out[channel], sent[std::min(channel, sent.size() - 1)])
                    << channels << place;
        }
    }
}

TEST(HostWithBrimtide, IsSilentWhenMuted) {
    const TemporaryFolder folder;
    const ToolResult result =
        runHost({"play", PROGRAM_Brimtide, "--set", "0=1", "--set", "0=0@0.5", "--seconds", "1",
                 "--signal", "noise", "--output", folder / "out.wav"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    const host::Channels out = audioIn(folder / "out.wav");
    const auto first = std::find_if(out[1].begin(), out[1].end(), [](float s) { return s != 0; });
    EXPECT_EQ(first - out[1].begin(), 22050);
}

TEST(HostWithBrimtide, IsReportedWithoutAFault) {
    const ToolResult result = runHost({"info", PROGRAM_Brimtide});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.errors, IsEmpty());
    EXPECT_THAT(result.output, HasSubstr("name: Brimtide\n"));
}

}  // namespace
}  // namespace tarn::test
