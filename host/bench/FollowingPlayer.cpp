#include "host/bench/FollowingPlayer.h"

#include "host/bench/BenchClip.h"
#include "host/system/MysqlThread.h"
#include "store/KTRFile.h"

namespace {
constexpr std::int64_t DAY_SECONDS = 86400;
}

FollowingPlayer::FollowingPlayer(const std::string& recorder, unsigned char stream, long start,
                                 std::chrono::milliseconds pause)
    : start_(start), pause_(pause), reader_(KTString(recorder), stream) {
  thread_ = std::thread([this] { follow(); });
}

FollowingPlayer::~FollowingPlayer() {
  finish();
}

void FollowingPlayer::follow() {
  const MysqlThread client;
  while (!ended_) {
    playOn();
    std::this_thread::sleep_for(pause_);
  }
  playOn();
}

void FollowingPlayer::finish() {
  ended_ = true;
  if (thread_.joinable()) thread_.join();
}

bool FollowingPlayer::more() {
  if (found_) return reader_.resume();
  return found_ = reader_.seek(start_, DAY_SECONDS);
}

void FollowingPlayer::playOn() {
  if (!more()) return;
  RecordingReader::Frame frame;
  for (auto begin = Latencies::Clock::now(); reader_.next(frame); begin = Latencies::Clock::now()) {
    latencies_.add(Latencies::Clock::now() - begin);
    const std::int64_t expected =
        frames_ == 0 ? start_ * std::int64_t{1000} : lastMs_ + BenchClip::FRAME_MS;
    if (frame.timeMs != expected) ++displaced_;
    lastMs_ = frame.timeMs;
    bytes_ += frame.frame.data().size + KTRFile::RECORD_HEAD_SIZE;
    ++frames_;
  }
}
