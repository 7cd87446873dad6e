#include "playback/KTRAudioStreamReadSession.h"

#include <filesystem>
#include <fstream>

#include "runtime/LittleEndian.h"
#include "tests/playback/PlaybackFixture.h"

namespace {

namespace fs = std::filesystem;

using Format = KTRFrameFormat;

class KTRAudioStreamReadSessionTest : public PlaybackFixture {
 protected:
  KTRAudioStreamReadSessionTest() : PlaybackFixture(STREAM_AUDIO) {}

  // The header at START, then count frames, one in each second from START + 1 on.
  void recordAudio(int count) {
    begin();
    audio();
    audioEvery(1, count);
    finish();
  }
  void playAudio(int count) {
    recordAudio(count);
    ASSERT_TRUE(play(START));
  }
  [[nodiscard]] KTRAudioStreamReadSession& player() {
    return dynamic_cast<KTRAudioStreamReadSession&>(*player_);
  }
  [[nodiscard]] bool read(KTDataBlock& frame) {
    unsigned int unused = 0;
    return player_->getFrame(frame, unused) != 0;
  }
  [[nodiscard]] std::string headerPath() const { return prefix(1) + "audioHeader.dat"; }
  void writeHeader(const std::string& content) {
    std::ofstream(headerPath(), std::ios::binary) << content;
  }
  // Puts other records in place of what the session stored.
  void storeInstead(const std::vector<KTDataBlock>& records) {
    fs::remove(slicePath(1, 0));
    KTRFile writer(KTString(prefix(1)), 0, KTRFile::WRITE_FLAGS, 1000000);
    for (const KTDataBlock& record : records) EXPECT_EQ(writer.writeKTRData(record), 0);
    EXPECT_EQ(writer._close(), 0);
  }
  [[nodiscard]] static KTDataBlock frameAt(long second) {
    return makeFrame(Format::Audio, stampAt(second));
  }
  [[nodiscard]] static unsigned int stampAt(long second) {
    return static_cast<unsigned int>((START + second) % 86400 * 1000);
  }
  // What a stored frame becomes with this header.
  [[nodiscard]] static KTDataBlock spliced(const KTDataBlock& frame, const std::string& header) {
    KTDataBlock result = frame.copy(0, 9);
    storeLittleEndian(result.writable() + 5,
                      frame.size - 9 + static_cast<unsigned int>(header.size()));
    return result + KTString(header).dataBlock() + frame.copy(9, frame.size - 9);
  }
};

TEST_F(KTRAudioStreamReadSessionTest, FirstFrameCarriesTheHeaderAndTheOthersDoNot) {
  recordAudio(3);
  writeHeader("codec");
  ASSERT_TRUE(play(START));
  KTDataBlock frame;
  ASSERT_TRUE(read(frame));
  EXPECT_EQ(frame, spliced(frameAt(1), "codec"));
  ASSERT_TRUE(read(frame));
  EXPECT_EQ(frame, frameAt(2));
  ASSERT_TRUE(read(frame));
  EXPECT_EQ(frame, frameAt(3));
  EXPECT_FALSE(read(frame));
}

TEST_F(KTRAudioStreamReadSessionTest, RecordedHeaderIsPlayed) {
  playAudio(2);
  const KTDataBlock payload = frameAt(0).copy(9, frameAt(0).size - 9);
  KTDataBlock frame;
  ASSERT_TRUE(read(frame));
  EXPECT_EQ(frame, spliced(frameAt(1),
                           std::string(reinterpret_cast<const char*>(payload.data), payload.size)));
}

TEST_F(KTRAudioStreamReadSessionTest, SplicedFrameIsASoundFrame) {
  playAudio(2);
  EXPECT_EQ(nextFrame(), 1);
  EXPECT_EQ(nextFrame(), 2);
}

TEST_F(KTRAudioStreamReadSessionTest, SpliceIsLogged) {
  recordAudio(1);
  writeHeader("codec");
  ASSERT_TRUE(play(START));
  EXPECT_EQ(nextFrame(), 1);
  const unsigned int stored = frameAt(1).size;
  EXPECT_TRUE(log_.has(16, "2. Load  result:5 , _streamHeader : 5 bytes file : " + dayDirectory() +
                               "/record_ktr_cam_R1_audioHeader.dat"));
  EXPECT_TRUE(log_.has(16, "Add Header Final Frame size:" + std::to_string(stored + 5) +
                               " bytes original size was: " + std::to_string(stored) + " bytes"));
}

TEST_F(KTRAudioStreamReadSessionTest, LongHeaderFileIsCutTo4096Bytes) {
  recordAudio(2);
  writeHeader(std::string(4096, 'h') + "rest");
  ASSERT_TRUE(play(START));
  KTDataBlock frame;
  ASSERT_TRUE(read(frame));
  EXPECT_EQ(frame, spliced(frameAt(1), std::string(4096, 'h')));
}

TEST_F(KTRAudioStreamReadSessionTest, WithoutItsHeaderFileNothingIsDeliveredAndNothingLost) {
  recordAudio(3);
  fs::remove(headerPath());
  ASSERT_TRUE(play(START));
  KTDataBlock frame = frameAt(7);
  EXPECT_FALSE(read(frame));
  EXPECT_FALSE(read(frame));
  EXPECT_EQ(frame, frameAt(7));
  writeHeader("late");
  ASSERT_TRUE(read(frame));
  EXPECT_EQ(frame, spliced(frameAt(1), "late"));
}

TEST_F(KTRAudioStreamReadSessionTest, EmptyHeaderFileIsAsGoodAsNone) {
  recordAudio(1);
  writeHeader("");
  ASSERT_TRUE(play(START));
  EXPECT_EQ(nextFrame(), -1);
  player().setNeedHeader(false);
  EXPECT_EQ(nextFrame(), 1);
}

TEST_F(KTRAudioStreamReadSessionTest, HeaderThatIsNotWantedIsNotRead) {
  recordAudio(1);
  ASSERT_TRUE(play(START));
  player().setNeedHeader(false);
  KTDataBlock frame;
  ASSERT_TRUE(read(frame));
  EXPECT_EQ(frame, frameAt(1));
  EXPECT_EQ(log_.countContaining("2. Load"), 0U);
}

TEST_F(KTRAudioStreamReadSessionTest, HeaderIsReadAnewWhenItIsWantedAgain) {
  recordAudio(3);
  writeHeader("one");
  ASSERT_TRUE(play(START));
  EXPECT_EQ(nextFrame(), 1);
  writeHeader("second");
  player().setNeedHeader(true);
  KTDataBlock frame;
  ASSERT_TRUE(read(frame));
  EXPECT_EQ(frame, spliced(frameAt(2), "second"));
}

TEST_F(KTRAudioStreamReadSessionTest, HeaderIsThatOfTheSessionBeingPlayed) {
  recordAudio(2);
  clock_.advanceSeconds(100);
  recordAudio(2);
  writeHeader("first session");
  ASSERT_TRUE(play(START));
  EXPECT_EQ(drain(), 2);
  ASSERT_TRUE(player_->loadNextRecordSession());
  player().setNeedHeader(true);
  log_.clear();
  EXPECT_EQ(nextFrame(), 103);
  EXPECT_EQ(log_.countContaining("record_ktr_cam_R2_audioHeader.dat"), 1U);
}

TEST_F(KTRAudioStreamReadSessionTest, HeaderStaysThatOfTheOpenFileWhenALoadFails) {
  recordAudio(2);
  clock_.advanceSeconds(100);
  recordAudio(2);
  writeHeader("first session");
  ASSERT_TRUE(play(START));
  exec("DELETE FROM dataStreams WHERE _id=2");
  EXPECT_FALSE(player_->load(at(START + 102)));
  ASSERT_TRUE(player_->load(Parameters())) << "plays on";
  KTDataBlock frame;
  ASSERT_TRUE(read(frame));
  EXPECT_EQ(frame, spliced(frameAt(1), "first session"));
}

TEST_F(KTRAudioStreamReadSessionTest, PausedSessionReadsNothing) {
  playAudio(2);
  player_->pause();
  log_.clear();
  KTDataBlock frame = frameAt(7);
  EXPECT_FALSE(read(frame));
  EXPECT_EQ(frame, frameAt(7));
  EXPECT_TRUE(log_.lines().empty());
  ASSERT_TRUE(player_->load(Parameters()));
  EXPECT_EQ(nextFrame(), 1);
}

TEST_F(KTRAudioStreamReadSessionTest, FailedReadOfTheSpliceEmptiesTheFrameAndClearsTheFlag) {
  playAudio(1);
  EXPECT_EQ(drain(), 1);
  player().setNeedHeader(true);
  log_.clear();
  KTDataBlock frame = frameAt(7);
  EXPECT_FALSE(read(frame));
  EXPECT_EQ(frame.size, 0U);
  EXPECT_EQ(log_.countContaining("2. Load"), 1U);
  EXPECT_FALSE(read(frame));
  EXPECT_EQ(log_.countContaining("2. Load"), 1U) << "the header is wanted no more";
  EXPECT_EQ(log_.countContaining("Add Header"), 0U);
}

TEST_F(KTRAudioStreamReadSessionTest, RecordWithoutAWholeFrameHeadIsAFailedRead) {
  recordAudio(1);
  storeInstead({KTDataBlock(8), frameAt(2)});
  ASSERT_TRUE(play(START));
  KTDataBlock frame = frameAt(7);
  EXPECT_FALSE(read(frame));
  EXPECT_EQ(frame.size, 0U);
  ASSERT_TRUE(read(frame));
  EXPECT_EQ(frame, frameAt(2));
}

TEST_F(KTRAudioStreamReadSessionTest, HeadWithoutAPayloadCarriesTheHeader) {
  recordAudio(1);
  writeHeader("codec");
  KTDataBlock head = frameAt(1).copy(0, 9);
  storeLittleEndian(head.writable() + 5, 0U);
  storeInstead({head});
  ASSERT_TRUE(play(START));
  KTDataBlock frame;
  ASSERT_TRUE(read(frame));
  EXPECT_EQ(frame, spliced(head, "codec"));
}

TEST_F(KTRAudioStreamReadSessionTest, SessionThatWasNeverLoadedHasNeitherFramesNorAHeader) {
  ASSERT_NE(db(), nullptr);
  player_ = std::make_unique<KTRAudioStreamReadSession>("cam", 0);
  EXPECT_EQ(nextFrame(), -1);
  KTRAudioStreamReadSession& audio = player();
  audio.lockFile();
  EXPECT_FALSE(audio.loadAudioHeader());
  audio.unlockFile();
  EXPECT_STREQ(audio.name(), "KTRAudioStreamReadSession");
}

TEST_F(KTRAudioStreamReadSessionTest, UnknownDatabaseHasNoHeader) {
  KTRAudioStreamReadSession stranger("stranger", 0);
  stranger.lockFile();
  EXPECT_FALSE(stranger.loadAudioHeader());
  stranger.unlockFile();
}

TEST_F(KTRAudioStreamReadSessionTest, LoadBeginsAtTheFirstFrameThatIsNotTooEarly) {
  recordAudio(10);
  ASSERT_TRUE(play(START + 4, 3));
  EXPECT_EQ(nextFrame(), 4);
  EXPECT_EQ(player_->settings().streamType, STREAM_AUDIO);
}

}  // namespace
