#include "host/bench/LogWatch.h"

#include <gmock/gmock.h>

#include "runtime/KTLogger.h"
#include "tests/support/LogCapture.h"

TEST(LogWatchTest, CountsLinesThatTellOfDelayAndPassesThemOn) {
  LogCapture log;
  {
    const LogWatch watch;
    KTLogger::instance()->log(KTLogger::Warning, "TOO SLOW !!! One turn have took : %d sec %d usec",
                              4, 0);
    KTLogger::instance()->log(KTLogger::Warning, "[%u]QUEUE SIZE IS GROWING  !! size:%d", 1U, 21);
    KTLogger::instance()->log(KTLogger::Information, "something else");
    EXPECT_EQ(1U, watch.slowTurns());
    EXPECT_EQ(1U, watch.longQueues());
  }
  EXPECT_EQ(3U, log.lines().size());
  KTLogger::instance()->log(KTLogger::Information, "afterwards");
  EXPECT_EQ(4U, log.lines().size());
}
