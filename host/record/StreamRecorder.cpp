#include "host/record/StreamRecorder.h"

#include <mysql.h>

#include <algorithm>
#include <utility>

#include "host/media/FrameSource.h"
#include "host/media/MediaError.h"
#include "host/record/VideoSettings.h"
#include "runtime/KTLogger.h"
#include "runtime/KTTask.h"

using std::chrono::seconds;

namespace {

constexpr KTClock::Span FIRST_PAUSE = seconds(1);
constexpr KTClock::Span LONGEST_PAUSE = seconds(30);
constexpr long PAUSE_STEP_USEC = 20000;

// Rows are written from the stream's thread, so the client library is told of it.
class MysqlThread {
 public:
  MysqlThread() { mysql_thread_init(); }
  MysqlThread(const MysqlThread&) = delete;
  MysqlThread& operator=(const MysqlThread&) = delete;
  ~MysqlThread() { mysql_thread_end(); }
};

}  // namespace

StreamRecorder::StreamRecorder(const Options& options) : options_(options) {
  if (!options.frameLog.empty()) frameLog_ = std::make_unique<FrameLog>(options.frameLog);
}

StreamRecorder::~StreamRecorder() {
  stop();
  join();
}

void StreamRecorder::beginNewSession() {
  const std::lock_guard guard(mutex_);
  if (feed_ != nullptr) feed_->beginNewSession();
}

void StreamRecorder::start() {
  thread_ = std::thread([this] { run(); });
}

void StreamRecorder::join() {
  if (thread_.joinable()) thread_.join();
}

void StreamRecorder::run() {
  const MysqlThread mysql;
  try {
    while (!stop_ && recordSource()) {
    }
    if (frameLog_ != nullptr) frameLog_->close();
  } catch (const std::exception& flaw) {
    fail(flaw.what());
  }
  const std::lock_guard guard(mutex_);
  done_ = true;
}

// Records the source once; true when it is to be tried again.
bool StreamRecorder::recordSource() {
  std::string reason;
  try {
    MediaInput::Options options;
    options.realtime = options_.realtime;
    options.stop = &stop_;
    MediaInput input(options_.url, options);
    recordFrames(input);
    if (!input.info().live) return false;
    reason = input.name() + " ended";
  } catch (const MediaError& flaw) {
    if (stop_) return false;
    if (!MediaInput::isNetwork(options_.url)) throw;
    reason = flaw.what();
  }
  pauseBeforeRetry(reason);
  return true;
}

void StreamRecorder::recordFrames(MediaInput& input) {
  {
    const std::lock_guard guard(mutex_);
    feed_ = std::make_unique<SessionFeed>(paramsFor(input));
  }
  // Whatever ends the reading, what was received is stored.
  struct Ending {
    StreamRecorder& recorder;
    ~Ending() {
      recorder.feed_->finish();
      const std::lock_guard guard(recorder.mutex_);
      recorder.past_ += recorder.feed_->progress();
      recorder.feed_.reset();
    }
  } const ending{*this};

  FrameSource source(input);
  KTDataBlock frame;
  while (source.next(frame)) {
    const unsigned char kind = frame.data[0] & ~KTRFrameFormat::COMPOSITION_FLAG;
    feed_->feed(frame, kind != KTRFrameFormat::Delta);
    log(frame);
    pause_ = KTClock::Span(0);
  }
}

// A log that cannot be written is no reason to stop recording.
void StreamRecorder::log(const KTDataBlock& frame) {
  if (frameLog_ == nullptr) return;
  try {
    frameLog_->add(frame);
  } catch (const MediaError& flaw) {
    fail(flaw.what());
    frameLog_.reset();
  }
}

KTRStreamRecordParams StreamRecorder::paramsFor(const MediaInput& input) const {
  KTRStreamRecordParams params;
  params.dbName = KTString(options_.recorder);
  params.videoSettings = videoSettingsOf(input.info());
  params.sliceSize = options_.sliceSize;
  params.storageDir = KTString(options_.storageDirectory);
  params.streamId = options_.stream;
  return params;
}

void StreamRecorder::pauseBeforeRetry(const std::string& reason) {
  if (stop_) return;
  pause_ = std::clamp(2 * pause_, FIRST_PAUSE, LONGEST_PAUSE);
  KTLogger::instance()->log(KTLogger::Warning, "stream %d: %s; trying again in %d s",
                            options_.stream, reason.c_str(),
                            static_cast<int>(std::chrono::duration_cast<seconds>(pause_).count()));
  const KTClock::Span end = KTClock::instance()->elapsed() + pause_;
  while (!stop_ && KTClock::instance()->elapsed() < end) {
    KTTask::Sleep(KTTimeValue(0, PAUSE_STEP_USEC));
  }
}

void StreamRecorder::fail(const std::string& error) {
  const std::lock_guard guard(mutex_);
  error_ = error;
  failed_ = true;
}

std::string StreamRecorder::takeError() {
  const std::lock_guard guard(mutex_);
  return std::exchange(error_, std::string());
}

StreamRecorder::Status StreamRecorder::status() const {
  const std::lock_guard guard(mutex_);
  Status status{past_, failed_, done_};
  if (feed_ != nullptr) status.progress += feed_->progress();
  return status;
}
