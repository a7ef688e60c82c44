#include "foundation/LogFolder.h"
#include "support/TestClock.h"

#include <gmock/gmock.h>

using namespace tarn;
using namespace testing;

// Faults: lines below the threshold, a time that overflows after 24 days.
TEST(Logger, KeepsWhatReachesTheThresholdWithTheTimeSinceItsStart) {
    LogFolder folder;
    const test::TestClock clock(1000.0);
    Logger& logger = folder.open(LogProgress);
    clock.pass(3600.0 + 2 * 60.0 + 3.0 + 0.0045);
    logger.log(LogWarning, "hidden %d", 1);
    logger.log(LogProgress, "host sent %d frames", 64);
    clock.pass(700.0 * 3600.0);
    logger.logError(LogError, ErrorPrefsKeyNotFound("Preferences::get", "LogLevel"));
    logger.log(LogProgress, std::string_view("100 % whole, cut", 11));
    folder.close();
    EXPECT_THAT(folder.lines(true),
                ElementsAre("00:00:00:000 |Wellengang 1.2.0 for the test",
                            "01:02:03:004 |host sent 64 frames",
                            "701:02:03:004 |!! Preferences key 'LogLevel' not "
                            "found [EPKNF] at Preferences::get",
                            "701:02:03:004 |100 % whole", "701:02:03:004 |log closed"));
}

// Faults: a long format let through, a short one that brings a long text cut or overflowing; a
// second process that writes over what the first one goes on to write.
TEST(Logger, CutsLongTextsAndAddsToWhatAnotherLogWrites) {
    LogFolder folder;
    Logger& logger = folder.open(LogProgress);
    Logger second(LogProgress);
    logger.log(LogError, static_cast<const char*>(nullptr));
    for (std::size_t length : {511U, 512U, 70000U})
        logger.log(LogError, std::string(length, 'f').c_str(), 0);
    second.log(LogProgress, "second");
    logger.log(LogError, std::string_view(std::string(70000, 't')));
    const std::string f(511, 'f'), t(65535, 't');
    EXPECT_THAT(folder.lines(), ElementsAre(f, "second", t));
}
