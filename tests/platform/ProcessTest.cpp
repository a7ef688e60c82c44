#include "platform/Process.h"
#include "tools/Tool.h"

#include <gtest/gtest.h>

#include <string>

namespace tarn::platform {
namespace {

// Faults: a master that is taken for a dead one, and a dead one that is taken for alive because its
// id belongs to another process now.
TEST(Process, OnlyTheOneOfThisIdAndStartRuns) {
    const ProcessName here = currentProcess();
    EXPECT_EQ(lifeOf(here, processSpace()), ProcessLife::Running);
    EXPECT_EQ(lifeOf(here, processSpace() + 1), ProcessLife::Unknown);
    EXPECT_EQ(lifeOf(here & 0xFFFFFFFF, processSpace()), ProcessLife::Unknown);
    const ProcessName others[] = {here ^ 1ULL << 32, here ^ 1ULL << 63, 0,
                                  here >> 32 << 32,  here | 0xFFFFFFFF, here | 0x7FFFFFF0};
    for (const ProcessName gone : others)
        EXPECT_EQ(lifeOf(gone, processSpace()), ProcessLife::Gone) << gone;
}

// Of either width, if it was built.
TEST(Process, OthersSeeTheSameNameAndAreSeenToEnd) {
    for (const char* peer : {PROGRAM_process_peer, OTHER_WIDTH_PEER})
        if (std::filesystem::exists(peer)) {
            const test::ToolResult seen = test::runTool(peer, {std::to_string(currentProcess())});
            EXPECT_EQ(seen.exitStatus, 0) << peer;
            EXPECT_EQ(lifeOf(std::stoull(seen.output), processSpace()), ProcessLife::Gone) << peer;
        }
}

}  // namespace
}  // namespace tarn::platform
