#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "handles/KTR_DB_factory.h"
#include "recording/KTRStreamRecordSession.h"
#include "runtime/KTRFrameFormat.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/TempDir.h"

/**
 * A recorder named "cam" on the test's server and clock, with the verbs of a host: it builds a
 * video or audio session, sends it frames stamped with the clock and waits until the session has
 * nothing to do.
 */
class RecorderFixture : public testing::Test {
 protected:
  static constexpr long START = 1700000000;  // 22:13:20 UTC
  static constexpr unsigned char STREAM = 3;

  explicit RecorderFixture(streamTypes kind = STREAM_VIDEO);
  ~RecorderFixture() override;

  [[nodiscard]] KTRStreamRecordParams params() const;
  /** Starts a session; a video session gets the time message, both clocks equal. */
  void begin(const KTRStreamRecordParams& params);
  void begin() { begin(params()); }
  /** Starts a session that records by events. */
  void beginByEvents(int preEventKeyFrames);
  /** Commits one message; the answer of commit(). */
  int send(int type, const KTDataBlock& data = KTDataBlock());
  void sendTime(long gatewayTime, long serverTime);
  /** Sends one frame, stamped with the clock unless told otherwise, and waits for the session. */
  void frame(KTRFrameFormat::Kind kind) { frame(kind, stampNow()); }
  void frame(KTRFrameFormat::Kind kind, unsigned int stampMs);
  void key() { frame(KTRFrameFormat::Key); }
  void delta() { frame(KTRFrameFormat::Delta); }
  void audio() { frame(KTRFrameFormat::Audio); }
  /** Moves the clock on by seconds, then sends a frame; so often as told. */
  void every(long seconds, int times, KTRFrameFormat::Kind kind);
  void keyEvery(long seconds, int times) { every(seconds, times, KTRFrameFormat::Key); }
  void audioEvery(long seconds, int times) { every(seconds, times, KTRFrameFormat::Audio); }
  /** Waits until a task has taken every message and waits again, or has ended. */
  void settle(KTRTask& task);
  void settle() { settle(*session_); }
  /** Commits messages while the session's thread is held up in a log line that it comes to. */
  void whileHeldUpBy(const std::string& line, const std::function<void()>& commitAll);
  /** Sends the stop message, waits for the end and destroys the session. */
  void stop();

  /** Milliseconds since 00:00 UTC of the clock. */
  [[nodiscard]] static unsigned int stampNow();
  [[nodiscard]] static long now() { return KTTimeValue::now().tv_sec; }
  /** The bytes of a frame as the fixture makes them. */
  [[nodiscard]] static KTDataBlock makeFrame(KTRFrameFormat::Kind kind, unsigned int stampMs);
  [[nodiscard]] KTR_DB_handle* db() { return factory_->createDB("cam"); }
  /** Changes the recorder's database. */
  void exec(const std::string& sql) { (void)db()->db_do_query(KTString(sql)); }
  /** Rows of a query on the recorder's database, columns joined with ",". */
  [[nodiscard]] std::vector<std::string> rows(const std::string& sql);
  /** One column of the only row; fails the test when there is another number of rows. */
  [[nodiscard]] std::string value(const std::string& sql);
  /** Makes the record session table forget the row that it holds in memory for session 1. */
  void evictFirstRow();
  /** Notes of a session that it has no data. */
  void forgetData(unsigned int session);
  /** What is noted of a session's data: "1" when there is some. */
  [[nodiscard]] std::string dataOf(unsigned int session);
  [[nodiscard]] unsigned int indexRows();
  [[nodiscard]] bool ended() const { return !session_->alive(); }
  /** The storage directory of START's day, with its last "/". */
  [[nodiscard]] std::string dayDirectory() const;
  /** What the paths of all files of a session that was started on START's day begin with. */
  [[nodiscard]] std::string prefix(unsigned int session) const;
  [[nodiscard]] std::string slicePath(unsigned int session, unsigned int slice) const;
  /** Whether a slice of the first session is there. */
  [[nodiscard]] bool sliceExists(unsigned int slice) const;

  const streamTypes kind_;
  TempDir dir_;
  ManualClock clock_{START};
  LogCapture log_;
  std::unique_ptr<KTR_DB_factory> factory_;
  std::unique_ptr<KTRStreamRecordSession> session_;
};
