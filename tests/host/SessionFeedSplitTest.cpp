#include "host/record/SessionFeed.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "handles/KTR_DB_factory.h"
#include "host/server/ServerLease.h"
#include "runtime/KTRFrameWriter.h"
#include "tests/host/HostTestRoot.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TempDir.h"

namespace {

/** A feed of one stream, every key frame of which fills a slice once it is flushed. */
class SessionFeedSplitTest : public testing::Test {
 protected:
  static constexpr long START = 1700000000;  // 22:13:20 UTC

  SessionFeedSplitTest() : handle_(factory_.createDB("feed")) {
    SessionFeed::Options options;
    options.params.dbName = "feed";
    options.params.sliceSize = 100;
    options.params.storageDir = KTString(dir_.path());
    options.params.streamId = 1;
    feed_ = std::make_unique<SessionFeed>(options);
    feed_->use(StreamSettings(KTRVideoSettingsRow("n", 25, 0, "h264", "1280x720", "")));
  }
  ~SessionFeedSplitTest() override {
    feed_.reset();
    (void)factory_.db_do_query("DROP DATABASE ktr_feed");
    factory_.destroy(handle_);
  }

  /** Feeds a key frame 12 seconds after the last, and waits until its session has taken it. */
  void key() {
    clock_.advanceSeconds(12);
    const long day = 86400;
    const unsigned char bytes[200] = {};
    const long now = KTTimeValue::now().tv_sec;
    const auto stamp = static_cast<std::uint32_t>(now % day * 1000);
    feed_->feed(KTRFrameWriter::build(KTRFrameFormat::Key, stamp, {{bytes, sizeof bytes}}), true,
                now * std::int64_t{1000});
    while (feed_->progress().queue != 0 || clock_.waiters() == 0) std::this_thread::yield();
  }

  LogCapture log_;
  ManualClock clock_{START};
  TempDir dir_;
  ServerLease lease_ = ServerLease::acquire(HostTestRoot::shared().paths());
  KTR_DB_factory factory_;
  KTR_DB_handle* handle_;
  std::unique_ptr<SessionFeed> feed_;
};

}  // namespace

TEST_F(SessionFeedSplitTest, TellsTheSessionThatIsOpen) {
  EXPECT_EQ(0U, feed_->progress().open);
  key();
  EXPECT_EQ(1U, feed_->progress().open);
  feed_->finish();
  EXPECT_EQ(0U, feed_->progress().open);
  EXPECT_EQ(1U, feed_->progress().stored.sessionId);
}

TEST_F(SessionFeedSplitTest, BeginsANewSessionWhenAskedOnceASliceIsComplete) {
  for (int i = 0; i < 3; ++i) key();
  ASSERT_GT(feed_->progress().stored.sliceIndex, 0U);
  feed_->beginNewSession();
  key();
  EXPECT_EQ(2U, feed_->progress().open);
  key();
  EXPECT_EQ(2U, feed_->progress().open);
  EXPECT_EQ(5U, feed_->progress().stored.frames);
  EXPECT_EQ(0U, feed_->progress().lost);
}

TEST_F(SessionFeedSplitTest, GoesOnWithItsFirstSliceWhenAsked) {
  key();
  ASSERT_EQ(0U, feed_->progress().stored.sliceIndex);
  feed_->beginNewSession();
  for (int i = 0; i < 3; ++i) key();
  EXPECT_EQ(1U, feed_->progress().open);
}
