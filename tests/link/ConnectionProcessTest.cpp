#include "link/IOBridge.h"
#include "support/Connections.h"
#include "tools/Tool.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>

namespace tarn {
namespace {

int runPeer(const std::vector<std::string>& task,
            const std::string& peer = PROGRAM_connection_peer) {
    return test::runTool(peer, task).exitStatus;
}

// The fault it would catch: a slot that is lost for ever when its master is killed.
TEST(ConnectionProcess, AKilledMastersBlockVanishesWithItsLastHolder) {
    EXPECT_NE(runPeer({"crash", "1000"}), 0);
    EXPECT_FALSE(inspectConnection(0));
    std::string name = "next *";
    const IOBridge<float> next(name);
    EXPECT_EQ(name, "next 1");
    EXPECT_FALSE(test::RawBlock(0)->audio.writeIndex);
}

TEST(ConnectionProcess, AKilledMastersSlotStaysTakenWhileSomeoneHoldsIt) {
    {
        const auto holder = test::RawBlock::make(0);  // as a receiving program
        EXPECT_NE(runPeer({"crash", "1000"}), 0);
        EXPECT_EQ(connectionStatus(0) & ConnectionInUse, ConnectionInUse);
        EXPECT_EQ(test::RawBlock(0)->audio.ring[999], 1000.0f);
    }
    // This process has probed the slot, and so holds it still: a new master steps over it.
    std::string name = "next *";
    const IOBridge<float> next(name);
    EXPECT_EQ(name, "next 2");
}

void expectTransfer(const std::string& sender, const std::string& receiver) {
    int sent = -1;
    std::thread sending([&] { sent = runPeer({"send", "0", "100000"}, sender); });
    EXPECT_EQ(runPeer({"receive", "0", "100000"}, receiver), 0);
    sending.join();
    EXPECT_EQ(sent, 0);
}

TEST(ConnectionProcess, ASecondProcessReceivesEverySample) {
    expectTransfer(PROGRAM_connection_peer, PROGRAM_connection_peer);
}

#if defined(OTHER_WIDTH_PEER)
TEST(ConnectionProcess, ProcessesOfBothWidthsUnderstandEachOther) {
    if (!std::filesystem::exists(OTHER_WIDTH_PEER))
        GTEST_SKIP() << "the other width is not built";
    expectTransfer(PROGRAM_connection_peer, OTHER_WIDTH_PEER);
    expectTransfer(OTHER_WIDTH_PEER, PROGRAM_connection_peer);
}
#endif

}  // namespace
}  // namespace tarn
