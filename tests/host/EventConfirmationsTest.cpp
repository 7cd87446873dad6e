#include "host/byevents/EventConfirmations.h"

#include <gmock/gmock.h>

#include "tests/support/LogCapture.h"
#include "tests/support/TempDir.h"

namespace {

class EventConfirmationsTest : public testing::Test {
 protected:
  TempDir dir_;
  LogCapture log_;
  EventConfirmations confirmations_;
};

TEST_F(EventConfirmationsTest, ASignalConfirmsForEveryStream) {
  confirmations_.listen(dir_.path());
  raise(SIGUSR1);
  EXPECT_THAT(confirmations_.take(), testing::ElementsAre(EventConfirmations::Confirmation()));
}

TEST_F(EventConfirmationsTest, OtherProcessesConfirmForWhatTheyName) {
  confirmations_.listen(dir_.path());
  const EventConfirmations::Confirmation three = static_cast<unsigned char>(3);
  ASSERT_TRUE(ConfirmPipe::send(dir_.path(), three));
  EXPECT_THAT(confirmations_.take(), testing::ElementsAre(three));
}

TEST_F(EventConfirmationsTest, ARecordingThatIsNotByEventsWarnsAndGoesOn) {
  raise(SIGUSR1);
  EXPECT_THAT(confirmations_.take(), testing::IsEmpty());
  EXPECT_TRUE(log_.has(64, "SIGUSR1 confirms an event, but nothing is recorded by events"));
  EXPECT_FALSE(ConfirmPipe::send(dir_.path(), {}));
}

}  // namespace
