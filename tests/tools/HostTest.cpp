// The host as its users meet it: with plug-ins that behave, plug-ins that don't, and the product.
#include "host/AudioFile.h"
#include "tools/Tool.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <tuple>

namespace tarn::test {
namespace {

using namespace testing;

ToolResult run(const std::vector<std::string>& arguments) {
    return runTool(PROGRAM_brimtide_host, arguments);
}

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
        {"fewer-outputs", "play", 1, "changed its channels without audioMasterIOChanged"},
        {"fewer-outputs-told", "play", 0, ""},
        {"long-text", "info", 1, "wrote past the end of the text of a parameter's name"},
        {"no-number", "info", 1, "a parameter outside 0 to 1"},
        {"endless-chunk", "info", 1, "reports a chunk of 2147483647 bytes"},
        {"bad-magic", "info", 1, "'VstP'"},
        {"no-instance", "info", 3, "gave no instance"},
        {"well-behaved", "info", 0, ""},
    };
    for (const auto& [fault, command, exitStatus, words] : cases) {
        const ToolFolder folder;
        std::filesystem::create_directory(folder / fault);
        const std::string plugin = folder / (std::string(fault) + "/fixture.dll");
        std::filesystem::copy_file(PROGRAM_fixture, plugin);
        EXPECT_THAT(run({command, plugin}), FieldsAre(exitStatus, _, HasSubstr(words), _)) << fault;
    }
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
                run({"play", PROGRAM_Brimtide, "--signal=noise", "--rate=8000", "--seconds=3",
                     "--block=1:2000", "--set=Mute=1@1", "--set=mute=0@2", channels, other,
                     "--output", out, "--sent", sent});
            EXPECT_EQ(result.exitStatus, 0) << result.errors;
            host::Channels expected = audioIn(sent);
            ASSERT_EQ(expected[0].size(), 24'000u);
            for (std::vector<float>& channel : expected)
                std::fill_n(channel.begin() + 8000, 8000, 0.0f);
            expected.resize(audioIn(out).size(), expected[0]);
            EXPECT_EQ(audioIn(out), expected);
        }
    run({"play", PROGRAM_Brimtide, "--input", sent, "--frames=24001", "--output", out});
    host::Channels longer = audioIn(sent);
    for (std::vector<float>& channel : longer)
        channel.push_back(0.0f);
    EXPECT_EQ(audioIn(out), longer);
    EXPECT_THAT(run({"info", PROGRAM_Brimtide}), FieldsAre(0, HasSubstr("plugAsSend: yes"), "", _));
}

// Faults: a name that never reaches the plug-in, a project that comes back without it.
TEST(HostWithBrimtide, NamesAConnectionAndKeepsItInAChunk) {
    const ToolFolder folder;
    const std::string first = folder / "first.xml", second = folder / "second.xml";
    const auto play = [](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"play", PROGRAM_Brimtide, "--frames=1"});
        return run(arguments).exitStatus;
    };
    EXPECT_EQ(play({"--text=Name=Lead vocal", "--set=Mute=1", "--save-chunk", first}), 0);
    EXPECT_EQ(play({"--load-chunk", first, "--save-chunk", second}), 0);
    EXPECT_THAT(folder.read("first.xml"), HasSubstr("Lead vocal"));
    EXPECT_EQ(folder.read("second.xml"), folder.read("first.xml"));
    for (const char* wrong : {"--text=Name", "--text==x", "--text=Nobody=x"})
        EXPECT_EQ(play({wrong}), 2);
}

}  // namespace
}  // namespace tarn::test
