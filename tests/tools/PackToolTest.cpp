#include "samples/WaveBytes.h"
#include "tools/Tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarn {
namespace {

using namespace test;
using testing::HasSubstr;

// Faults: a pack that holds noise, one that is lost to a failure, names that steer the terminal.
TEST(PackTool, MakesAndListsPacksOfWhatLoads) {
    const ToolFolder folder;
    const std::string audio = chunk("data", std::string(600, '\x20'));
    const auto write = [&](const std::string& name, std::string format, char tag) {
        folder.write(name, waveFile(format.replace(8, 1, 1, tag) + audio));
    };
    write("kick.wav", formatChunk(2, 24), 1);
    write("floats.wav", formatChunk(1, 32), 3);
    write("a-law.wav", formatChunk(1, 8), 6);
    write("mu-law.wav", formatChunk(1, 8), 7);
    write("integers.wav", formatChunk(1, 32), 1);
    folder.write("broken.wav", "RIFF");
    const auto run = [](const std::vector<std::string>& arguments) {
        return runTool(PROGRAM_brimtide_pack, arguments);
    };
    const std::string pack = folder / "Drums.pack";
    const std::string kick = folder / "kick.wav";
    EXPECT_EQ(run({"write", pack, kick, "l\x1bw=" + (folder / "floats.wav")}).exitStatus, 0);
    const ToolResult listed = run({"list", pack});
    EXPECT_EQ(listed.exitStatus, 0);
    EXPECT_THAT(listed.output, HasSubstr("kick"));
    EXPECT_THAT(listed.output, HasSubstr("0.002 s  48000 Hz 24 bit  2 ch"));
    EXPECT_THAT(listed.output, HasSubstr("\nl?w"));

    const std::string before = folder.read("Drums.pack");
    EXPECT_EQ(run({"write", pack, kick}).exitStatus, 2);
    for (const char* name : {"broken.wav", "a-law.wav", "mu-law.wav", "integers.wav", "none.wav"})
        EXPECT_EQ(run({"write", "-f", pack, folder / name}).exitStatus, 2) << name;
    const std::string twice = "l\x1bw=" + kick;
    EXPECT_THAT(run({"write", "-f", pack, twice, twice}).errors, HasSubstr("name l?w"));
    EXPECT_EQ(run({"write", "-f", pack, "=" + kick}).exitStatus, 2);
    EXPECT_EQ(run({"pack"}).exitStatus, 2);
    EXPECT_EQ(run({"write", "-f", folder / "./kick.wav", kick}).exitStatus, 2);
    EXPECT_EQ(folder.read("Drums.pack"), before);

    folder.write("Drums.pack", before.substr(0, before.size() - 10));
    EXPECT_EQ(run({"list", pack}).exitStatus, 3);
    EXPECT_EQ(run({"list", kick}).exitStatus, 2);
}

}  // namespace
}  // namespace tarn
