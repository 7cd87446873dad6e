#include "host/play/AudioSessionPlayer.h"

#include <gtest/gtest.h>

#include "host/record/AudioSettings.h"
#include "host/record/SessionFeed.h"
#include "tests/support/RecorderFixture.h"

namespace {

const AudioHeader HEADER{AudioCodec::Opus, 2, 48000, {1, 2, 3}};

class AudioSessionPlayerTest : public RecorderFixture {
 protected:
  AudioSessionPlayerTest() { (void)db(); }

  // Records three frames, one a second, behind a header.
  void record(const KTDataBlock& header) {
    SessionFeed feed({params(), "", 0, nullptr});
    feed.use(StreamSettings(audioSettingsOf(HEADER), header));
    for (int i = 0; i < 3; ++i) {
      frames_.push_back(makeFrame(KTRFrameFormat::Audio, stampNow()));
      feed.feed(frames_.back(), true, now() * std::int64_t{1000});
      clock_.advanceSeconds(1);
    }
  }
  [[nodiscard]] bool load(long seconds) {
    KTRStreamReadSession::Parameters where;
    where["streamid"] = std::to_string(STREAM).c_str();
    where["starttime"] = std::to_string(seconds).c_str();
    return player_.load(where) != 0;
  }
  KTDataBlock read() {
    KTDataBlock frame;
    unsigned int unused = 0;
    EXPECT_NE(player_.getFrame(frame, unused), 0);
    return frame;
  }

  std::vector<KTDataBlock> frames_;
  AudioSessionPlayer player_{"cam", 0};
};

}  // namespace

TEST_F(AudioSessionPlayerTest, FramesComeAsTheyWereAndTheHeaderBesideThem) {
  record(HEADER.encode());
  ASSERT_TRUE(load(START));
  EXPECT_EQ(player_.header(), nullptr);
  for (const KTDataBlock& frame : frames_) {
    EXPECT_EQ(frame, read());
    ASSERT_NE(player_.header(), nullptr);
    EXPECT_EQ(HEADER, *player_.header());
  }
}

TEST_F(AudioSessionPlayerTest, EveryLoadBringsTheHeader) {
  record(HEADER.encode());
  AudioHeader other = HEADER;
  other.channels = 1;
  record(other.encode());
  ASSERT_TRUE(load(START));
  (void)read();
  ASSERT_TRUE(load(START + 4));
  EXPECT_EQ(frames_.at(4), read());
  EXPECT_EQ(other, *player_.header());
  KTRRecorderSessionRow row;
  ASSERT_TRUE(db()->recordSessionTable()->getRecordSessionRow(1, row));
  ASSERT_TRUE(player_.loadStart(row));
  EXPECT_EQ(frames_.at(0), read());
  EXPECT_EQ(HEADER, *player_.header());
}

TEST_F(AudioSessionPlayerTest, DamagedHeaderIsNone) {
  KTDataBlock damaged = HEADER.encode();
  damaged.writable()[1] = 0;
  record(damaged);
  ASSERT_TRUE(load(START));
  (void)read();
  EXPECT_EQ(player_.header(), nullptr);
  EXPECT_EQ(frames_.at(1), read());
}
