#include "tests/load/LoadPlayer.h"

#include <mysql.h>

#include <chrono>

#include "handles/KTR_DB_factory.h"

namespace {
constexpr auto PAUSE = std::chrono::milliseconds(500);
constexpr long LONGEST_STEP_BACK = 4;  // seconds
}  // namespace

void LoadPlayer::start() {
  thread_ = std::thread([this] {
    mysql_thread_init();
    while (!stop_) {
      playOn();
      std::this_thread::sleep_for(PAUSE);
    }
    mysql_thread_end();
  });
}

void LoadPlayer::stop() {
  if (!thread_.joinable()) return;
  stop_ = true;
  thread_.join();
}

// A reader at the end of what was flushed stays there, so each turn has one of its own. The index
// row of a key frame at a change of slice leads into the next slice: the turn is then repeated from
// a little earlier.
void LoadPlayer::playOn() {
  KTRVideoStreamReadSession session("load", 0);
  if (!load(session)) return;
  const unsigned int before = played_;
  KTDataBlock frame;
  unsigned int unused = 0;
  while (session.getFrame(frame, unused) && take(frame)) {
  }
  stepBack_ = played_ != before || stepBack_ == LONGEST_STEP_BACK ? 0 : stepBack_ + 1;
}

bool LoadPlayer::load(KTRStreamReadSession& session) const {
  KTRStreamReadSession::Parameters params;
  params["streamid"] = KTString(std::to_string(stream_));
  params["starttime"] = KTString(std::to_string(timeOf(next_) - stepBack_));
  if (session.load(params)) return true;
  params["duration"] = "1000";  // the beginning was deleted
  return session.load(params);
}

bool LoadPlayer::take(const KTDataBlock& frame) {
  const auto number = clip_.numberOf(stream_, frame);
  if (!number && flaw_.empty()) flaw_ = "a frame is not what was sent";
  if (!number || *number < next_) return true;
  if (*number > next_ && !isDeleted(*number - 1)) {
    if (stepBack_ != LONGEST_STEP_BACK) return false;
    if (flaw_.empty()) flaw_ = std::to_string(*number - next_) + " frames are lost";
  }
  next_ = *number + 1;
  ++played_;
  return true;
}

// Retention moves a session's start to its first frame that can be found.
bool LoadPlayer::isDeleted(unsigned int number) const {
  KTR_DB_handle* db = KTR_DB_factory::instance()->db_instance("load");
  KTRRecorderSessionRow row;
  return db->recordSessionTable()->getNextRecordSessionRow(static_cast<unsigned char>(stream_), 0,
                                                           0, row) &&
         timeOf(number) <= static_cast<long>(db->streamInstance(row.id)->getOlderKFrameTime());
}
