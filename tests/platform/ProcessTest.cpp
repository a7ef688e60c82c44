#include "platform/Process.h"
#include "tools/Tool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace tarn::platform {
namespace {

int lifeSeenBy(const std::string& peer, ProcessName process) {
    return test::runTool(peer, {"life", std::to_string(process)}).exitStatus;
}

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

TEST(Process, OthersSeeTheSameNameAndSeeItEnd) {
    EXPECT_EQ(lifeSeenBy(PROGRAM_process_peer, currentProcess()), 0);
    EXPECT_EQ(lifeSeenBy(PROGRAM_process_peer, currentProcess() ^ 1ULL << 40), 1);
    const ProcessName ended = std::stoull(test::runTool(PROGRAM_process_peer, {"name"}).output);
    EXPECT_EQ(lifeOf(ended, processSpace()), ProcessLife::Gone);
}

#if defined(OTHER_WIDTH_PEER)
TEST(Process, BothWidthsSeeTheSameName) {
    if (!std::filesystem::exists(OTHER_WIDTH_PEER))
        GTEST_SKIP() << "the other width is not built";
    EXPECT_EQ(lifeSeenBy(OTHER_WIDTH_PEER, currentProcess()), 0);
    EXPECT_EQ(lifeSeenBy(OTHER_WIDTH_PEER, currentProcess() ^ 1ULL << 40), 1);
}
#endif

// Fault: numbers of which half the bits stay the same.
TEST(Process, UniqueNumbersDifferInEveryHalf) {
    std::set<std::uint64_t> high, low;
    for (int i = 0; i < 1000; ++i) {
        const std::uint64_t number = uniqueNumber();
        high.insert(number >> 32);
        low.insert(number & 0xFFFFFFFF);
    }
    EXPECT_GT(std::min(high.size(), low.size()), 990u);
}

}  // namespace
}  // namespace tarn::platform
