#include "host/record/RecordDisplay.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/ManualClock.h"

namespace {

class RecordDisplayTest : public testing::Test {
 protected:
  static RecordDisplay::Stream stream(unsigned int number, std::uint64_t frames,
                                      std::uint64_t bytes, unsigned int slice = 0,
                                      unsigned int queue = 0, std::uint64_t lost = 0) {
    RecordDisplay::Stream stream{number, {}};
    stream.status.progress.stored.frames = frames;
    stream.status.progress.stored.bytes = bytes;
    stream.status.progress.stored.sliceIndex = slice;
    stream.status.progress.queue = queue;
    stream.status.progress.lost = lost;
    return stream;
  }
  /** What was written since the last call. */
  std::string written() {
    const std::string text = out_.str();
    out_.str("");
    return text;
  }

  ManualClock clock_;
  std::ostringstream out_;
  RecordDisplay plain_{out_, false};
  RecordDisplay terminal_{out_, true};
};

}  // namespace

TEST_F(RecordDisplayTest, DrawsOneLineOverAndOverOnATerminal) {
  clock_.advanceSeconds(2);
  terminal_.update({stream(1, 50, 1'000'000, 3, 1)});
  EXPECT_EQ("\r\033[K0:00:02  50 frames, 976.6 KiB, 4.0 Mbit/s, slice 3, queue 1", written());
  clock_.advanceSeconds(3600);
  terminal_.update({stream(1, 60, 1'000'000, 3, 1, 7)});
  EXPECT_EQ("\r\033[K1:00:02  60 frames, 976.6 KiB, 2 kbit/s, slice 3, queue 1, 7 frames lost",
            written());
}

TEST_F(RecordDisplayTest, AddsStreamsUpOnATerminal) {
  clock_.advanceSeconds(1);
  terminal_.update({stream(1, 5, 1000, 7, 0, 1), stream(2, 6, 2000, 3, 4, 2)});
  EXPECT_EQ(
      "\r\033[K0:00:01  2 streams, 11 frames, 2.9 KiB, 24 kbit/s, slice 7, queue 4, 3 frames "
      "lost",
      written());
}

TEST_F(RecordDisplayTest, PrintsPlainLinesEveryTenSeconds) {
  clock_.advanceSeconds(9);
  plain_.update({stream(1, 5, 1000)});
  EXPECT_EQ("", written());
  clock_.advanceSeconds(1);
  plain_.update({stream(1, 5, 1000), stream(2, 6, 2000)});
  EXPECT_EQ(
      "0:00:10 stream 1: 5 frames, 1.0 KiB, 1 kbit/s, slice 0, queue 0\n"
      "0:00:10 stream 2: 6 frames, 2.0 KiB, 2 kbit/s, slice 0, queue 0\n",
      written());
  plain_.update({stream(1, 5, 1000)});
  EXPECT_EQ("", written());
}

TEST_F(RecordDisplayTest, SumsUpAtTheEnd) {
  clock_.advanceSeconds(65);
  plain_.summary({stream(1, 5, 1000), stream(2, 6, 2000, 0, 0, 3)});
  EXPECT_EQ(
      "stream 1: recorded 5 frames, 1.0 KiB in 0:01:05\n"
      "stream 2: recorded 6 frames, 2.0 KiB in 0:01:05, 3 frames lost\n",
      written());
  terminal_.summary({stream(1, 5, 1000)});
  EXPECT_EQ("\r\033[Kstream 1: recorded 5 frames, 1.0 KiB in 0:01:05\n", written());
}

TEST_F(RecordDisplayTest, DoesNotSumUpWhatNeverBegan) {
  RecordDisplay::Stream failed = stream(1, 0, 0);
  failed.status.failed = true;
  plain_.summary({failed});
  EXPECT_EQ("", written());
}

TEST_F(RecordDisplayTest, PrintsErrorsOverTheProgressLine) {
  plain_.error(7, "cannot open it: check the path");
  EXPECT_EQ("ktr: stream 7: cannot open it: check the path\n", written());
  terminal_.error(7, "cannot open it: check the path");
  EXPECT_EQ("\r\033[Kktr: stream 7: cannot open it: check the path\n", written());
}

TEST_F(RecordDisplayTest, HasNoBitrateBeforeTimeHasPassed) {
  EXPECT_EQ("0 kbit/s", RecordDisplay::bitrateText(1000, KTClock::Span(0)));
  EXPECT_EQ("999 kbit/s", RecordDisplay::bitrateText(124'875, std::chrono::seconds(1)));
  EXPECT_EQ("1.0 Mbit/s", RecordDisplay::bitrateText(125'000, std::chrono::seconds(1)));
}
