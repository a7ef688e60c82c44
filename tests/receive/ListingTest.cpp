#include "Listing.h"
#include "common/Text.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace tarn::receive {
namespace {

TEST(Listing, NamesCantSteerATerminal) {
    const std::pair<const char*, const char*> cases[] = {
        {"Zo\u00eb \u5c71\u7530", "Zo\u00eb \u5c71\u7530"},
        {"a\x1b[2Jb\n", "a?[2Jb?"},
        {"\xff\xc0\x80\xe2\x82", "?????"},
        {"\xed\xa0\x80\xc2\x9b", "????"},
        {"\u202egnp.exe", "?gnp.exe"},
    };
    for (const auto& [name, shown] : cases)
        EXPECT_EQ(tools::printable(name), shown);
}

std::vector<ConnectionInfo> someConnections() {
    SenderFacts facts{};
    facts.rate = 44100.0;
    facts.host = "Studio\x07";
    facts.listeners = 2;
    facts.isOffline = facts.isMuted = true;
    return {{0, SenderState::Sending, "Zo\u00eb \u5c71\u7530", 0, 64, false, 0.5f, facts},
            {10, SenderState::Waiting, "bass", {}, {}, true, 0.0f, {}}};
}

// The faults it would catch: columns that letters of several bytes push apart, and a sender that
// doesn't tell something shown as if it told it.
TEST(Listing, LinesUpWhatAUserAsks) {
    EXPECT_EQ(listingText({}), "There is no connection.\n");
    EXPECT_EQ(listingText(someConnections()),
              "No.  Name      State                Rate  Receivers  Host     Remarks\n"
              "  1  Zo\u00eb \u5c71\u7530  sending          44100 Hz          2  Studio?  "
              "rendering offline, "
              "output muted\n"
              " 11  bass      not started yet  not told          1\n");
    EXPECT_NE(listingText(someConnections(), LevelColumn::Shown)
                  .find("[##################  ]   -6.0 dBFS"),
              std::string::npos);
}

TEST(Listing, TellsProgramsWhatIsKnownAndNullForTheRest) {
    using nlohmann::json;
    json list = json::parse(listingJson(someConnections()));
    EXPECT_NEAR(list[0]["levelDbfs"].get<double>(), -6.02, 0.01);
    list[0].erase("levelDbfs");
    EXPECT_EQ(list[0], json::parse(R"({"number": 1, "name": "Zoë 山田", "state": "sending",
        "lastWriteAge": 0, "inputLatency": 64, "receivers": 2, "rate": 44100.0, "samplesSent": 0,
        "offline": true, "muted": true, "host": "Studio?", "product": ""})"));
    EXPECT_EQ(list[1], json::parse(R"({"number": 11, "name": "bass", "state": "waiting",
        "lastWriteAge": null, "inputLatency": null, "levelDbfs": null, "receivers": 1, "rate": null,
        "samplesSent": null, "offline": null, "muted": null, "host": null, "product": null})"));
}

}  // namespace
}  // namespace tarn::receive
