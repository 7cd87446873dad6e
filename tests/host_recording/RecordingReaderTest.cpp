#include "host/play/RecordingReader.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "tests/host_recording/PlayFixture.h"

using testing::ElementsAreArray;

namespace {

constexpr std::int64_t DAY = 86400;

class RecordingReaderTest : public PlayFixture {
 protected:
  [[nodiscard]] static std::int64_t seconds(const Recorded& frame) { return frame.timeMs / 1000; }

  /** Plays on behind what was played before; a recording in progress may hold more by now. */
  void follow(RecordingReader& reader, std::vector<std::int64_t>& played) {
    if (!reader.resume()) return;
    const std::vector<std::int64_t> more = playedTimes(reader);
    played.insert(played.end(), more.begin(), more.end());
  }
};

}  // namespace

TEST_F(RecordingReaderTest, BeginsAtTheLastKeyFrameAtOrBeforeEveryMoment) {
  pass(300);
  begin();
  record(8, 3, 500);
  end();
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, ManyKeyFramesASecond) {
  pass(600);
  begin();
  record(40, 2, 110);
  end();
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, KeyFramesExactlyOnSeconds) {
  begin();
  record(6, 4, 500);
  end();
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, GroupsOfPicturesThatLastLong) {
  pass(900);
  begin();
  record(3, 20, 1000);
  end();
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, ASessionOfOneGroupOfPictures) {
  pass(250);
  begin();
  record(1, 8, 700);
  end();
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, JpegPictures) {
  pass(400);
  begin();
  record(20, 1, 700, KTRFrameFormat::Jpeg);
  end();
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, GapsBetweenSessions) {
  pass(400);
  for (const long gapMs : {12300L, 2000L, 100L}) {
    begin();
    record(3, 3, 600);
    end();
    pass(gapMs);
  }
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, SessionsThatFollowEachOtherWithinASecond) {
  for (int i = 0; i < 6; ++i) {
    begin();
    record(1, 8, 130);
    end();
  }
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, GoesOnInASessionOfOtherSettings) {
  for (const char* codec : {"h264", "hevc", "h264"}) {
    beginWith(codec, codec);
    record(3, 3, 700);
    end();
    pass(1500);
  }
  expectEverySecondPlays();
  RecordingReader reader("cam", STREAM);
  ASSERT_TRUE(reader.seek(START, DAY));
  RecordingReader::Frame frame;
  std::vector<std::string> codecs;
  while (reader.next(frame)) codecs.emplace_back(frame.codec.c_str());
  ASSERT_EQ(27U, codecs.size());
  for (size_t i = 0; i < codecs.size(); ++i) {
    EXPECT_EQ(i / 9 == 1 ? "hevc" : "h264", codecs[i]) << i;
  }
}

TEST_F(RecordingReaderTest, OverMidnight) {
  clock_.advanceSeconds(DAY - START % DAY - 6);
  pass(350);
  begin();
  record(30, 2, 250);
  end();
  ASSERT_NE(recorded_.front().session, recorded_.back().session);
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, OverSlices) {
  KTRStreamRecordParams small = params();
  small.sliceSize = 300;
  pass(200);
  begin(small);
  record(30, 3, 400);
  end();
  ASSERT_TRUE(std::filesystem::exists(slicePath(1, 2)));
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, WrongIndexRowsAreNotBelieved) {
  KTRStreamRecordParams small = params();
  small.sliceSize = 300;
  pass(200);
  begin(small);
  record(30, 3, 400);
  end();
  exec("UPDATE dataStreams SET _fileIndex=_fileIndex+1 WHERE _time%4=0 AND _offset>0");
  exec("UPDATE dataStreams SET _fileIndex=0 WHERE _time%4=2");
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, TellsWhenNothingBeginsInTheSpan) {
  pass(20000);
  begin();
  record(3, 3, 500);
  end();
  const std::int64_t first = seconds(recorded_.front());
  RecordingReader reader("cam", STREAM);
  EXPECT_FALSE(reader.seek(first - 10, 10));
  EXPECT_TRUE(reader.seek(first - 10, 11));
  EXPECT_EQ(recorded_.front().timeMs, reader.timeMs());
  EXPECT_FALSE(reader.seek(first + 100, DAY));
  EXPECT_FALSE(RecordingReader("cam", STREAM + 1).seek(first, DAY));
}

TEST_F(RecordingReaderTest, PassesOverDeletedSessions) {
  for (int i = 0; i < 4; ++i) {
    begin();
    record(3, 3, 700);
    end();
  }
  exec("UPDATE recordSessions SET dataAvailable=0 WHERE id=2");
  std::filesystem::remove(slicePath(3, 0));
  std::erase_if(recorded_, [](const Recorded& f) { return f.session == 2 || f.session == 3; });
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, AStreamOnItsOwn) {
  KTRStreamRecordParams other = params();
  other.streamId = STREAM + 1;
  begin(other);
  record(3, 3, 500);
  end();
  recorded_.clear();
  begin();
  record(3, 3, 500);
  end();
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, FollowsARecordingWithoutLossOrRepeat) {
  begin();
  record(20, 3, 400);
  RecordingReader reader("cam", STREAM);
  ASSERT_TRUE(reader.seek(START, DAY));
  std::vector<std::int64_t> played = playedTimes(reader);
  EXPECT_FALSE(played.empty());
  EXPECT_LT(played.size(), recorded_.size());
  for (int i = 0; i < 15; ++i) {
    record(3, 3, 400);
    follow(reader, played);
  }
  EXPECT_LT(played.size(), recorded_.size());
  end();
  follow(reader, played);
  EXPECT_THAT(played, ElementsAreArray(timesFrom(0)));
  EXPECT_FALSE(reader.resume());
}

TEST_F(RecordingReaderTest, FollowsOverTheEndOfASession) {
  begin();
  record(20, 3, 400);
  RecordingReader reader("cam", STREAM);
  ASSERT_TRUE(reader.seek(START, DAY));
  std::vector<std::int64_t> played = playedTimes(reader);
  ASSERT_LT(played.size(), recorded_.size());
  end();
  beginWith("other", "hevc");
  record(20, 3, 400);
  end();
  follow(reader, played);
  EXPECT_THAT(played, ElementsAreArray(timesFrom(0)));
}

// The session ends between the look at its files and the look for a later one.
TEST_F(RecordingReaderTest, ReadsASessionToItsEndBeforeItGoesOn) {
  begin();
  record(20, 3, 400);
  RecordingReader reader("cam", STREAM);
  ASSERT_TRUE(reader.seek(START, DAY));
  std::vector<std::int64_t> played = playedTimes(reader);
  ASSERT_LT(played.size(), recorded_.size());
  end();
  pass(1000);
  begin();
  record(20, 3, 400);
  end();
  const std::vector<std::int64_t> rest = playedTimes(reader);
  played.insert(played.end(), rest.begin(), rest.end());
  EXPECT_THAT(played, ElementsAreArray(timesFrom(0)));
}

TEST_F(RecordingReaderTest, ASessionWhoseFirstFramesAreNotIndexed) {
  pass(300);
  begin();
  record(10, 3, 600);
  end();
  exec("DELETE FROM dataStreams ORDER BY _time LIMIT 3");
  expectEverySecondPlays();
}

TEST_F(RecordingReaderTest, BeginsAtTheLastKeyFrameThatIsOnDisk) {
  begin();
  record(20, 3, 400);
  RecordingReader reader("cam", STREAM);
  ASSERT_TRUE(reader.seekLast());
  const std::int64_t first = reader.timeMs();
  EXPECT_GE(first, recorded_.back().timeMs - 16000);
  std::vector<std::int64_t> played = playedTimes(reader);
  ASSERT_FALSE(played.empty());
  end();
  follow(reader, played);
  size_t from = 0;
  while (recorded_[from].timeMs != first) ++from;
  EXPECT_TRUE(recorded_[from].key);
  EXPECT_THAT(played, ElementsAreArray(timesFrom(from)));
  ASSERT_TRUE(reader.seekLast());
  EXPECT_EQ(recorded_[recorded_.size() - 3].timeMs, reader.timeMs());
}

TEST_F(RecordingReaderTest, HasNothingOfAnUnknownRecorder) {
  RecordingReader reader("nobody", STREAM);
  EXPECT_FALSE(reader.seek(START, DAY));
  EXPECT_FALSE(reader.seekLast());
  EXPECT_FALSE(reader.resume());
}
