#include "host/record/StreamRecorder.h"

#include <mysql.h>

#include <algorithm>

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

bool isNetwork(const std::string& url) {
  return url.find("://") != std::string::npos;
}

}  // namespace

StreamRecorder::StreamRecorder(const Options& options) : options_(options) {
  if (!options.frameLog.empty()) frameLog_ = std::make_unique<FrameLog>(options.frameLog);
  thread_ = std::thread([this] { run(); });
}

StreamRecorder::~StreamRecorder() {
  join();
}

void StreamRecorder::beginNewSession() {
  const std::lock_guard guard(mutex_);
  if (feed_ != nullptr) feed_->beginNewSession();
}

void StreamRecorder::join() {
  if (thread_.joinable()) thread_.join();
}

bool StreamRecorder::stopRequested() const {
  return options_.stop != nullptr && options_.stop->load();
}

void StreamRecorder::run() {
  const MysqlThread mysql;
  try {
    while (recordSource()) {
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
  if (stopRequested()) return false;
  std::string reason = options_.url + " ended";
  try {
    MediaInput::Options options;
    options.realtime = options_.realtime;
    options.stop = options_.stop;
    MediaInput input(options_.url, options);
    reason = input.name() + " ended";
    recordFrames(input);
  } catch (const MediaError& flaw) {
    if (!isNetwork(options_.url)) throw;
    reason = flaw.what();
  }
  if (!isNetwork(options_.url) || stopRequested()) return false;
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
    if (frameLog_ != nullptr) frameLog_->add(frame);
    pause_ = KTClock::Span(0);
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
  pause_ = std::clamp(2 * pause_, FIRST_PAUSE, LONGEST_PAUSE);
  KTLogger::instance()->log(KTLogger::Warning, "stream %d: %s; trying again in %d s",
                            options_.stream, reason.c_str(),
                            static_cast<int>(std::chrono::duration_cast<seconds>(pause_).count()));
  const KTClock::Span end = KTClock::instance()->elapsed() + pause_;
  while (!stopRequested() && KTClock::instance()->elapsed() < end) {
    KTTask::Sleep(KTTimeValue(0, PAUSE_STEP_USEC));
  }
}

void StreamRecorder::fail(const std::string& error) {
  const std::lock_guard guard(mutex_);
  error_ = error;
}

StreamRecorder::Status StreamRecorder::status() const {
  const std::lock_guard guard(mutex_);
  Status status{past_, error_, done_};
  if (feed_ != nullptr) status.progress += feed_->progress();
  return status;
}
