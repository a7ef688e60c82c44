#include "foundation/LogFolder.h"

#include <gmock/gmock.h>

using namespace tarn;
using namespace testing;

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
    EXPECT_THAT(folder.lines(),
                ElementsAre(std::string(511, 'f'), "second", std::string(65535, 't')));
}
