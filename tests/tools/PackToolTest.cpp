#include "samples/WaveBytes.h"
#include "tools/Tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarn {
namespace {

using namespace test;
using testing::HasSubstr;

TEST(PackTool, MakesAndListsPacksOfWhatLoads) {
    const ToolFolder folder;
    folder.write("kick.wav", waveFile(formatChunk(2, 24) + chunk("data", std::string(600, 'k'))));
    folder.write("broken.wav", "RIFF");
    const auto run = [](const std::vector<std::string>& arguments) {
        return runTool(PROGRAM_brimtide_pack, arguments);
    };
    const std::string pack = folder / "Drums.pack";
    const std::string kick = folder / "kick.wav";
    EXPECT_EQ(run({"write", pack, kick, "low=" + kick}).exitStatus, 0);
    const ToolResult listed = run({"list", pack});
    EXPECT_EQ(listed.exitStatus, 0);
    EXPECT_THAT(listed.output, HasSubstr("kick"));
    EXPECT_THAT(listed.output, HasSubstr("0.002 s  48000 Hz 24 bit  2 ch"));
    EXPECT_THAT(listed.output, HasSubstr("\nlow"));

    const std::string before = folder.read("Drums.pack");
    EXPECT_EQ(run({"write", pack, kick}).exitStatus, 2);
    EXPECT_EQ(run({"write", "-f", pack, folder / "broken.wav"}).exitStatus, 2);
    EXPECT_THAT(run({"write", "-f", pack, kick, kick}).errors, HasSubstr("name kick"));
    EXPECT_EQ(run({"pack"}).exitStatus, 2);
    EXPECT_EQ(run({"write", "-f", folder / "./kick.wav", kick}).exitStatus, 2);
    EXPECT_EQ(folder.read("Drums.pack"), before);

    folder.write("Drums.pack", before.substr(0, before.size() - 10));
    EXPECT_EQ(run({"list", pack}).exitStatus, 3);
    EXPECT_EQ(run({"list", kick}).exitStatus, 2);
}

}  // namespace
}  // namespace tarn
