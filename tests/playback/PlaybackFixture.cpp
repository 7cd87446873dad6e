#include "tests/playback/PlaybackFixture.h"

#include "playback/KTRAudioStreamReadSession.h"
#include "playback/KTRVideoStreamReadSession.h"
#include "runtime/KTRVideoFrame.h"

PlaybackFixture::PlaybackFixture(streamTypes kind) : RecorderFixture(kind) {}

void PlaybackFixture::recordSeconds(int count) {
  begin();
  key();
  keyEvery(1, count - 1);
  finish();
}

void PlaybackFixture::finish() {
  stop();
  db()->recordSessionTable()->updateDataBase(true);
}

PlaybackFixture::Parameters PlaybackFixture::at(long startTime, unsigned int duration) {
  Parameters params;
  params["streamid"] = KTString(std::to_string(STREAM));
  params["starttime"] = KTString(std::to_string(startTime));
  if (duration != 0) params["duration"] = KTString(std::to_string(duration));
  return params;
}

int PlaybackFixture::play(const Parameters& params) {
  if (player_ == nullptr && kind_ == STREAM_AUDIO) {
    player_ = std::make_unique<KTRAudioStreamReadSession>("cam", 0);
  } else if (player_ == nullptr) {
    player_ = std::make_unique<KTRVideoStreamReadSession>("cam", 0);
  }
  return player_->load(params);
}

long PlaybackFixture::nextFrame() {
  KTDataBlock data;
  unsigned int untouched = 77;
  if (player_->getFrame(data, untouched) == 0) return -1;
  EXPECT_EQ(untouched, 77U);
  KTRVideoFrame parsed;
  EXPECT_TRUE(parsed.parse(data));
  return KTRStreamReadSession::getRealTimeWithBaseTime(player_->startTime(),
                                                       static_cast<long>(parsed.timeStamp())) -
         START;
}

int PlaybackFixture::drain() {
  int frames = 0;
  while (nextFrame() >= 0) ++frames;
  return frames;
}
