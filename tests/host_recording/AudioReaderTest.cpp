#include "host/play/AudioReader.h"

#include <gmock/gmock.h>

#include "host/media/AudioFrameBuilder.h"
#include "host/record/AudioSettings.h"
#include "host/record/SessionFeed.h"
#include "runtime/KTLogger.h"
#include "runtime/KTRFrameWriter.h"
#include "tests/support/RecorderFixture.h"

namespace {

constexpr std::int64_t SECOND = 1'000'000;
const AudioHeader HEADER{AudioCodec::PcmAlaw, 1, 8000, {}};

/** Records packets of 100 ms, each with a number, and reads them back. */
class AudioReaderTest : public RecorderFixture {
 protected:
  AudioReaderTest() { (void)db(); }

  /** Records some seconds of sound as one session; the clock goes along. */
  void record(int seconds, const AudioHeader& header = HEADER) {
    SessionFeed feed({params(), "", 0, nullptr});
    feed.use(StreamSettings(audioSettingsOf(header), header.encode()));
    AudioFrameBuilder builder;
    for (int i = 0; i < 10 * seconds; ++i) {
      const std::int64_t us = now() * SECOND + i % 10 * SECOND / 10;
      builder.add({KTDataBlock(80), us, SECOND / 10});
      recorded_.push_back(us);
      for (KTDataBlock frame; builder.take(frame);) {
        feed.feed(frame, true, builder.timeMs());
      }
      if (i % 10 == 9) clock_.advanceSeconds(1);
    }
    builder.flush();
    for (KTDataBlock frame; builder.take(frame);) {
      feed.feed(frame, true, builder.timeMs());
    }
    feed.finish();
  }
  [[nodiscard]] bool seek(std::int64_t fromUs, std::int64_t endUs) {
    reader_ = std::make_unique<AudioReader>("cam", STREAM);
    return reader_->seek(START * SECOND + fromUs, START * SECOND + endUs);
  }
  /** Times of the packets before a moment. */
  std::vector<std::int64_t> read(std::int64_t beforeUs) {
    std::vector<std::int64_t> times;
    for (AudioPacket packet; reader_->next(START * SECOND + beforeUs, packet);) {
      times.push_back(packet.timeUs);
    }
    return times;
  }
  [[nodiscard]] std::vector<std::int64_t> recorded(size_t begin, size_t end) const {
    return {recorded_.begin() + static_cast<long>(begin),
            recorded_.begin() + static_cast<long>(end)};
  }

  std::vector<std::int64_t> recorded_;
  std::unique_ptr<AudioReader> reader_;
};

}  // namespace

TEST_F(AudioReaderTest, ReadsEveryPacketWithItsTime) {
  record(5);
  ASSERT_TRUE(seek(0, 100 * SECOND));
  EXPECT_EQ(HEADER, reader_->header());
  EXPECT_EQ(recorded_, read(100 * SECOND));
}

TEST_F(AudioReaderTest, BeginsAtAMomentExactToThePacket) {
  record(30);
  ASSERT_TRUE(seek(20 * SECOND + 350'000, 100 * SECOND));
  EXPECT_EQ(recorded(204, 300), read(100 * SECOND));
}

TEST_F(AudioReaderTest, HandsOutWhatBeginsBeforeAMoment) {
  record(3);
  ASSERT_TRUE(seek(0, 100 * SECOND));
  EXPECT_EQ(recorded(0, 10), read(SECOND));
  EXPECT_EQ(recorded(10, 15), read(SECOND + SECOND / 2));
}

TEST_F(AudioReaderTest, GoesOnInTheNextSession) {
  record(3);
  clock_.advanceSeconds(100);
  record(3);
  ASSERT_TRUE(seek(SECOND, 1000 * SECOND));
  EXPECT_EQ(recorded(10, 60), read(1000 * SECOND));
  EXPECT_FALSE(reader_->changed());
}

TEST_F(AudioReaderTest, FindsSoundThatBeginsWithinTheStretch) {
  clock_.advanceSeconds(50);
  record(3);
  ASSERT_TRUE(seek(0, 100 * SECOND));
  EXPECT_EQ(recorded_, read(100 * SECOND));
  EXPECT_FALSE(seek(0, 50 * SECOND));
}

TEST_F(AudioReaderTest, FindsNothingWhereNothingIs) {
  EXPECT_FALSE(seek(0, 100 * SECOND));
  record(3);
  EXPECT_FALSE(seek(100 * SECOND, 200 * SECOND));
}

TEST_F(AudioReaderTest, RecordingInProgressIsFoundByItsHeader) {
  record(5);
  ASSERT_TRUE(seek(7 * SECOND, 100 * SECOND));
  EXPECT_EQ(HEADER, reader_->header());
  EXPECT_TRUE(read(100 * SECOND).empty());
  clock_.advanceSeconds(2);
  record(2);
  EXPECT_TRUE(read(100 * SECOND).empty());
  reader_->resume();
  EXPECT_EQ(recorded(50, 70), read(100 * SECOND));
}

TEST_F(AudioReaderTest, EndsWhereTheSoundBecomesAnother) {
  record(3);
  AudioHeader other = HEADER;
  other.sampleRate = 16000;
  record(3, other);
  ASSERT_TRUE(seek(0, 100 * SECOND));
  EXPECT_EQ(recorded(0, 30), read(100 * SECOND));
  EXPECT_TRUE(reader_->changed());
  ASSERT_TRUE(seek(3 * SECOND, 100 * SECOND));
  EXPECT_EQ(other, reader_->header());
  EXPECT_EQ(recorded(30, 60), read(100 * SECOND));
}

TEST_F(AudioReaderTest, DamagedFramesAreSilenceWithOneWarning) {
  record(1);
  {
    SessionFeed feed({params(), "", 0, nullptr});
    feed.use(StreamSettings(audioSettingsOf(HEADER), HEADER.encode()));
    for (int i = 0; i < 2; ++i) {
      feed.feed(makeFrame(KTRFrameFormat::Audio, stampNow()), true, now() * std::int64_t{1000});
    }
  }
  clock_.advanceSeconds(1);
  record(1);
  ASSERT_TRUE(seek(0, 100 * SECOND));
  EXPECT_EQ(recorded_, read(100 * SECOND));
  EXPECT_EQ(1U, log_.count(KTLogger::Warning,
                           "[ AudioReader ] a frame of sound is damaged: what is lost of it is "
                           "silence"));
}
