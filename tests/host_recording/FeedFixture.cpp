#include "tests/host_recording/FeedFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <thread>

#include "host/media/AudioHeader.h"
#include "host/play/RecordingReader.h"
#include "runtime/KTRFrameWriter.h"
#include "runtime/LittleEndian.h"

namespace {
const AudioHeader HEADER{AudioCodec::PcmAlaw, 1, 8000, {}};
}

FeedFixture::FeedFixture() {
  (void)db();
  make(options());
}

SessionFeed::Options FeedFixture::options() const {
  SessionFeed::Options options;
  options.params = params();
  return options;
}

void FeedFixture::make(const SessionFeed::Options& options) {
  feed_.reset();
  feed_ = std::make_unique<SessionFeed>(options);
  feed_->use(StreamSettings(params().videoSettings));
}

void FeedFixture::makeWithSpool(std::uint64_t bytes) {
  SessionFeed::Options spooled = options();
  spooled.spoolDirectory = spoolDirectory();
  spooled.spoolBytes = bytes;
  make(spooled);
}

void FeedFixture::makeSound(std::uint64_t spoolBytes) {
  makeWithSpool(spoolBytes);
  sound_ = true;
  feed_->use(StreamSettings(params().audioSettings, HEADER.encode()));
}

std::string FeedFixture::soundHeader() {
  const KTDataBlock bytes = HEADER.encode();
  return {reinterpret_cast<const char*>(bytes.data), bytes.size};
}

void FeedFixture::feed(KTRFrameFormat::Kind kind, unsigned int bytes) {
  const KTTimeValue wall = SteadyClock::wall();
  const std::int64_t timeMs = static_cast<std::int64_t>(wall.tv_sec) * 1000 + wall.tv_usec / 1000;
  std::vector<unsigned char> media(std::max(bytes, 4U));
  storeLittleEndian(media.data(), ++number_);
  const KTDataBlock frame =
      KTRFrameWriter::build(kind, static_cast<std::uint32_t>(timeMs % 86'400'000),
                            {{media.data(), static_cast<unsigned int>(media.size())}});
  fed_.push_back(nameOf(timeMs, frame));
  feed_->feed(frame, kind != KTRFrameFormat::Delta, timeMs);
}

void FeedFixture::feedGroups(int groups, unsigned int bytes) {
  for (int i = 0; i < 4 * groups; ++i) {
    feed(i % 4 == 0 ? KTRFrameFormat::Key : KTRFrameFormat::Delta, bytes);
    pass(1);
  }
}

void FeedFixture::settleFeed() {
  while (feed_->progress().queue != 0 || clock_.waiters() == 0) std::this_thread::yield();
}

void FeedFixture::awaitStored(std::uint64_t frames) const {
  while (stored() + lost() < frames) std::this_thread::yield();
}

void FeedFixture::awaitNoSession() const {
  while (feed_->progress().open != 0) std::this_thread::yield();
}

void FeedFixture::endSource() {
  settleFeed();
  feed_->endSession();
  awaitNoSession();
}

void FeedFixture::starve() {
  settleFeed();
  pass(16);
  awaitNoSession();
}

void FeedFixture::obstruct(std::uint64_t spoolBytes) {
  SessionFeed::Options blocked = options();
  blocked.spoolDirectory = spoolDirectory();
  blocked.spoolBytes = spoolBytes;
  blocked.params.storageDir = dir_.entry("disk");
  std::ofstream(dir_.path() + "/disk") << "no directory";
  make(blocked);
}

void FeedFixture::clearTheWay() {
  std::filesystem::remove(dir_.path() + "/disk");
}

unsigned int FeedFixture::sessions() {
  return static_cast<unsigned int>(rows("SELECT id FROM recordSessions").size());
}

unsigned int FeedFixture::closings() const {
  return log_.countContaining("CLOSING") + log_.countContaining("closing session") +
         log_.countContaining("begin new session");
}

std::string FeedFixture::nameOf(std::int64_t timeMs, const KTDataBlock& frame) {
  const std::uint32_t number = loadLittleEndian(frame.data + KTRFrameFormat::HEAD_SIZE);
  return std::to_string(timeMs) + " " + std::to_string(number);
}

std::vector<std::string> FeedFixture::played() const {
  const auto kind = sound_ ? RecordingReader::Audio : RecordingReader::Video;
  RecordingReader reader("cam", STREAM, kind);
  std::vector<std::string> names;
  RecordingReader::Frame frame;
  if (!reader.seek(1000, 0x7FFFFFFF)) return names;
  while (reader.next(frame)) names.push_back(nameOf(frame.timeMs, frame.frame.data()));
  return names;
}

void FeedFixture::expectAllPlayed() {
  finish();
  EXPECT_EQ(0U, lost());
  EXPECT_EQ(fed().size(), stored());
  EXPECT_THAT(played(), testing::ElementsAreArray(fed()));
}

void FeedFixture::expectAllPlayedByTime() {
  finish();
  EXPECT_EQ(0U, lost());
  EXPECT_EQ(fed().size(), stored());
  EXPECT_THAT(played(), testing::UnorderedElementsAreArray(fed()))
      << testing::PrintToString(rows("SELECT id,start_time,end_time FROM recordSessions"))
      << testing::PrintToString(log_.lines());
}
