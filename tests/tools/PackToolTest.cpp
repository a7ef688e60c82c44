#include "samples/WaveBytes.h"
#include "tools/Tool.h"

#include <gmock/gmock.h>

namespace tarn {
namespace {

using namespace test;

// Faults: a pack that holds noise, one that is lost to a failure.
TEST(PackTool, MakesPacksOfWhatLoadsAndLeavesThemWhereItFails) {
    const ToolFolder folder;
    const std::string audio = chunk("data", std::string(600, '\x20'));
    folder.write("kick.wav", waveFile(formatChunk(2, 24) + audio));
    folder.write("integers.wav", waveFile(formatChunk(1, 32) + audio));
    folder.write("broken.wav", "RIFF");
    const std::string pack = folder / "Drums.pack";
    const auto run = [](const std::vector<std::string>& arguments) {
        return runTool(PROGRAM_brimtide_pack, arguments);
    };
    EXPECT_EQ(run({"write", pack, folder / "kick.wav"}).exitStatus, 0);
    EXPECT_THAT(run({"list", pack}).output, testing::HasSubstr("kick"));
    const std::string before = folder.read("Drums.pack");
    EXPECT_EQ(run({"write", pack, folder / "kick.wav"}).exitStatus, 2);
    for (const char* name : {"broken.wav", "integers.wav", "none.wav"})
        EXPECT_EQ(run({"write", "-f", pack, folder / name}).exitStatus, 2) << name;
    EXPECT_EQ(folder.read("Drums.pack"), before);
}

}  // namespace
}  // namespace tarn
