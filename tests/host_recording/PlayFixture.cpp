#include "tests/host_recording/PlayFixture.h"

#include <gmock/gmock.h>

std::int64_t PlayFixture::nowMs() {
  const KTTimeValue now = KTTimeValue::now();
  return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_usec / 1000;
}

void PlayFixture::record(int groups, int framesInGroup, long frameMs, KTRFrameFormat::Kind first) {
  for (int i = 0; i < groups * framesInGroup; ++i) {
    const bool starts = i % framesInGroup == 0;
    frame(starts ? first : KTRFrameFormat::Delta);
    ASSERT_TRUE(session_->alive());
    recorded_.push_back({nowMs(), session_->progress().sessionId, starts});
    pass(frameMs);
  }
}

void PlayFixture::beginWith(const char* settingsName, const char* codec) {
  KTRStreamRecordParams other = params();
  other.videoSettings = KTRVideoSettingsRow(settingsName, 25, 0, codec, "640x360", "");
  begin(other);
}

void PlayFixture::end() {
  stop();
  db()->recordSessionTable()->updateDataBase(true);
}

std::optional<size_t> PlayFixture::expectedAt(std::int64_t seconds) const {
  size_t at = 0;
  while (at < recorded_.size() && recorded_[at].timeMs < seconds * 1000) ++at;
  if (at == recorded_.size()) return std::nullopt;
  const bool inside = at > 0 && recorded_[at - 1].session == recorded_[at].session;
  if (recorded_[at].timeMs > seconds * 1000 && inside) --at;
  while (!recorded_[at].key) --at;
  return at;
}

std::vector<std::int64_t> PlayFixture::timesFrom(size_t index) const {
  std::vector<std::int64_t> times;
  for (size_t i = index; i < recorded_.size(); ++i) times.push_back(recorded_[i].timeMs);
  return times;
}

std::vector<std::int64_t> PlayFixture::playedTimes(RecordingReader& reader) {
  std::vector<std::int64_t> times;
  RecordingReader::Frame frame;
  while (reader.next(frame)) times.push_back(frame.timeMs);
  return times;
}

void PlayFixture::expectEverySecondPlays() {
  constexpr std::int64_t day = 86400;
  for (std::int64_t s = recorded_.front().timeMs / 1000 - 8; s <= nowMs() / 1000 + 8; ++s) {
    SCOPED_TRACE(s);
    const std::optional<size_t> expected = expectedAt(s);
    RecordingReader reader("cam", STREAM);
    ASSERT_EQ(expected.has_value(), reader.seek(s, day));
    if (!expected) continue;
    ASSERT_EQ(recorded_[*expected].timeMs, reader.timeMs());
    ASSERT_THAT(playedTimes(reader), testing::ElementsAreArray(timesFrom(*expected)));
  }
}
