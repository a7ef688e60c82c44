// The receiving program as its users meet it, with senders of this process and of the host's.
#include "host/AudioFile.h"
#include "support/Connections.h"
#include "tools/Tool.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

namespace tarn::test {
namespace {

constexpr const char* Receive = PROGRAM_brimtide_receive;

struct Audio {
    double rate;
    std::vector<float> samples;
    bool operator==(const Audio&) const = default;
};

Audio audioIn(const std::string& path) {
    host::AudioReader reader(path);
    host::Channels audio(1);
    reader.read(audio, static_cast<std::size_t>(reader.frames()));
    return {reader.rate(), audio[0]};
}

/// Puts silence where a list tells that something is missing; returns how much that is.
std::uint64_t silenceListed(const std::string& list, std::vector<float>& samples) {
    std::istringstream lines(list);
    std::string line;
    std::getline(lines, line);
    std::uint64_t all = 0;
    for (std::uint64_t at = 0, count = 0; lines >> at >> count; all += count) {
        std::getline(lines, line);
        EXPECT_NE(line.find("silence"), std::string::npos);
        EXPECT_LE(at + count, samples.size());
        std::fill_n(samples.begin() + static_cast<std::ptrdiff_t>(at), count, 0.0f);
    }
    return all;
}

// The faults it would catch: a sample that is lost and not told, told and not lost, or wrong.
TEST(Receive, DeliversOrTellsEverySampleOfASenderThatHurries) {
    for (const char* way : {"--block=40000", "--block=1:30000"}) {
        const ToolFolder folder;
        RunningTool receiver(
            Receive, {"record", "1", "-o", folder / "take.wav", "--wait=30", "--until-end"});
        receiver.awaitWords("waiting for connection 1");
        const ToolResult host =
            runTool(PROGRAM_brimtide_host,
                    {"play", PROGRAM_Brimtide, "--signal=noise", "--seconds=60", "--channels=1",
                     "--linger=0.5", "--sent", folder / "sent.wav", way});
        ASSERT_EQ(host.exitStatus, 0) << host.errors;
        const ToolResult received = receiver.result();
        Audio sent = audioIn(folder / "sent.wav");
        const std::uint64_t lost = silenceListed(folder.read("take.wav.missed.txt"), sent.samples);
        EXPECT_EQ(received.exitStatus, lost > 0 ? 4 : 0) << way << received.errors;
        EXPECT_TRUE(audioIn(folder / "take.wav") == sent) << way << received.errors;
    }
}

// The faults it would catch: one file with two rates, another take overwritten.
TEST(Receive, BeginsAnotherFileOrEndsWhenTheRateChanges) {
    const Audio first{44100.0, ramp(1000)}, second{96000.0, ramp(500, 1001)};
    std::unique_ptr<IOBridge<float>> sender = makeSender("vocal");
    sender->owner().setRate(44100.0);
    const ToolFolder folder;
    folder.write("take 2.wav", "another take");
    RunningTool receiver(
        Receive, {"record", "vocal", "--wait=30", "--until-end", "-o", folder / "take.wav"});
    while (receiver.isRunning() && sender->owner().listeners() == 0)
        std::this_thread::yield();
    sender->write(first.samples.data(), 1000);
    receiver.awaitWords("44100 Hz");
    sender->owner().setRate(96000.0);
    sender->write(second.samples.data(), 500);
    sender.reset();
    EXPECT_EQ(receiver.result().exitStatus, 0);
    EXPECT_EQ(folder.read("take 2.wav"), "another take");
    EXPECT_EQ(audioIn(folder / "take.wav"), first);
    EXPECT_EQ(audioIn(folder / "take 3.wav"), second);
}

// The fault it would catch: an old take that is gone for nothing.
TEST(Receive, LeavesAnOldTakeUnlessItIsToReplaceIt) {
    const ToolFolder folder;
    const std::string take = folder / "old.wav";
    folder.write("old.wav", "an old take");
    EXPECT_EQ(runTool(Receive, {"record", "1", "-o", take, "--wait=0.1"}).exitStatus, 2);
    EXPECT_EQ(runTool(Receive, {"record", "1", "-fo", take, "--wait=0.1"}).exitStatus, 3);
    EXPECT_EQ(folder.read("old.wav"), "an old take");
}

}  // namespace
}  // namespace tarn::test
