// The receiving program as its users meet it, with senders of this process and of the host's.
#include "host/AudioFile.h"
#include "support/Connections.h"
#include "tools/Tool.h"

#include <gmock/gmock.h>

#include <memory>
#include <sstream>

namespace tarn::test {
namespace {

using testing::_;
using testing::AllOf;
using testing::EndsWith;
using testing::FieldsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

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
std::uint64_t silenceWhatIsListed(const std::string& list, std::vector<float>& samples) {
    std::istringstream lines(list);
    std::string line;
    std::getline(lines, line);
    std::uint64_t all = 0;
    for (std::uint64_t at = 0, count = 0; lines >> at >> count; all += count) {
        std::getline(lines, line);
        EXPECT_THAT(line, HasSubstr("silence"));
        EXPECT_LE(at + count, samples.size());
        std::fill_n(samples.begin() + static_cast<std::ptrdiff_t>(at), count, 0.0f);
    }
    return all;
}

// The faults it would catch: a sample that is lost and not told, told and not lost, or wrong.
TEST(Receive, DeliversOrTellsEverySampleOfASenderThatHurries) {
    for (const char* way : {"--block=480", "--block=40000", "--block=1:30000"}) {
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
        const std::uint64_t missing =
            silenceWhatIsListed(folder.read("take.wav.missed.txt"), sent.samples);
        EXPECT_EQ(received.exitStatus, missing > 0 ? 4 : 0) << way << received.errors;
        EXPECT_TRUE(audioIn(folder / "take.wav") == sent) << way << received.errors;
    }
}

// The faults it would catch: one file with two rates, another take overwritten.
TEST(Receive, BeginsAnotherFileOrEndsWhenTheRateChanges) {
    const Audio first{44100.0, ramp(1000)}, second{96000.0, ramp(500, 1001)};
    const auto record = [&](const std::vector<std::string>& more) {
        std::unique_ptr<IOBridge<float>> sender = makeSender("vocal");
        sender->owner().setRate(44100.0);
        std::vector<std::string> arguments{"record", "vocal", "--wait=30", "--until-end"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        RunningTool receiver(Receive, arguments);
        while (receiver.isRunning() && sender->owner().listeners() == 0)
            std::this_thread::yield();
        sender->write(first.samples.data(), 1000);
        receiver.awaitWords("44100 Hz");
        sender->owner().setRate(96000.0);
        sender->write(second.samples.data(), 500);
        sender.reset();
        return receiver.result();
    };
    const ToolFolder folder;
    folder.write("take 2.wav", "another take");
    folder.write("take 3.wav.missed.txt", "another take's list");
    EXPECT_THAT(record({"-o", folder / "take.wav"}),
                FieldsAre(0, "", HasSubstr("nothing is missing"), ""));
    EXPECT_EQ(folder.read("take 2.wav"), "another take");
    EXPECT_EQ(audioIn(folder / "take.wav"), first);
    EXPECT_EQ(audioIn(folder / "take 4.wav"), second);

    EXPECT_THAT(record({"-f", "-o", folder / "take.wav", "--rate=8000"}).errors,
                HasSubstr("warning: the sender's rate counts, and not --rate 8000\n"));
    EXPECT_EQ(audioIn(folder / "take 2.wav"), second);

    record({"-o", folder / "one.wav", "--stop-at-rate-change"});
    EXPECT_EQ(audioIn(folder / "one.wav"), first);
    record({"-o", folder / "short.wav", "--seconds=0.01"});
    EXPECT_EQ(audioIn(folder / "short.wav"), (Audio{44100.0, ramp(441)}));
    EXPECT_EQ(folder.entries(), 6);

    const std::string bytes(reinterpret_cast<const char*>(first.samples.data()), 4000);
    EXPECT_EQ(record({"-o", "-", "--raw"}).bytes, bytes);
    EXPECT_THAT(record({"-o", "-"}), FieldsAre(0, _, HasSubstr("so the recording ends"),
                                               AllOf(StartsWith("RIFF"), EndsWith(bytes))));
}

// The fault it would catch: the word that nothing is missing when nobody can know. The sender knows
// the connection's block alone, as senders did before.
TEST(Receive, ClaimsNothingForASenderThatCantTell) {
    const std::pair<const char*, double> cases[] = {{"--rate=32000", 32000.0},
                                                    {"--wait=30", 48000.0}};
    for (const auto& [option, rate] : cases) {
        const RawBlock sender = RawBlock::make(0);
        sender->masterInUse = 1;
        sender->name[0] = 'x';
        sender->audio.put(ramp(2000).data(), 2000);
        const ToolFolder folder;
        RunningTool receiver(Receive, {"record", "-o", folder / "take.wav", "--idle=0.2", option});
        while (receiver.isRunning())
            sender->lastWriteTime[0] = static_cast<std::uint32_t>(platform::calendarSeconds());
        EXPECT_THAT(receiver.result(),
                    FieldsAre(5, "",
                              AllOf(HasSubstr("doesn't tell its position"), HasSubstr("--rate"),
                                    Not(HasSubstr("nothing is missing"))),
                              ""));
        EXPECT_EQ(audioIn(folder / "take.wav"), (Audio{rate, ramp(2000)}));
    }
}

TEST(Receive, LeavesNothingBehindWhenNothingCame) {
    const ToolFolder folder;
    folder.write("old.wav", "an old take");
    EXPECT_EQ(runTool(Receive, {"record", "-o", folder / "new.wav", "--wait=0.1"}).exitStatus, 3);
    EXPECT_EQ(runTool(Receive, {"record", "1", "-fo", folder / "old.wav", "--wait=0.1"}).exitStatus,
              3);
    EXPECT_THAT(runTool(Receive, {"record", "-o", "-", "--wait=0.1"}), FieldsAre(3, "", _, ""));
    EXPECT_EQ(folder.read("old.wav"), "an old take");
    EXPECT_EQ(folder.entries(), 1);
}

// The fault it would catch: a wait without end, or a file, for what can't succeed.
TEST(Receive, RefusesWrongUseAtOnce) {
    const ToolFolder folder;
    const std::string take = folder / "take.wav";
    folder.write("old.wav", "an old take");
    folder.write("take 2.wav.missed.txt", "a list that would seem to be a new take's");
    const auto twins = {makeSender("twin"), makeSender("twin")};
    const auto expectRefusal = [](const std::vector<std::string>& use) {
        EXPECT_EQ(runTool(Receive, use).exitStatus, 2) << testing::PrintToString(use);
    };
    expectRefusal({});
    expectRefusal({"record"});
    expectRefusal({"listen"});
    expectRefusal({"list", "--json", "--watch"});
    for (const char* connection : {"0", "33", "99999999999999999999", "twin"})
        expectRefusal({"record", connection, "-o", take});
    for (const char* file : {"old.wav", "take 2.wav", "nowhere/take.wav", ""})
        expectRefusal({"record", "1", "-o", folder / file});
    for (const char* option : {"--raw", "--rate=nan", "--wait=inf", "--seconds=0"})
        expectRefusal({"record", "1", "-o", take, option});

    RunningTool unnamed(Receive, {"record", "-o", take, "--wait=30"});
    while (unnamed.isRunning())
        for (const auto& twin : twins)
            twin->write(nullptr, 0);  // a sign of life
    EXPECT_THAT(unnamed.result(), FieldsAre(2, "", HasSubstr("\n  2  twin"), ""));
    EXPECT_EQ(folder.entries(), 2);
}

}  // namespace
}  // namespace tarn::test
