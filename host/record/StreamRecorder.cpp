#include "host/record/StreamRecorder.h"

#include <mysql.h>

#include <algorithm>
#include <utility>

#include "host/media/FrameSource.h"
#include "host/media/MediaError.h"
#include "host/record/AudioSettings.h"
#include "host/record/VideoSettings.h"
#include "runtime/KTLogger.h"
#include "runtime/KTTask.h"

using std::chrono::seconds;

namespace {

constexpr KTClock::Span FIRST_PAUSE = seconds(1);
constexpr KTClock::Span LONGEST_PAUSE = seconds(30);
constexpr long PAUSE_STEP_USEC = 20000;
// A window gives up one slice for each that it is cut into: nothing else may begin a new one.
constexpr int WINDOW_SLICE = 1 << 30;
// Frames of sound, of a quarter of a second or more, that go with a key frame in a window.
constexpr int SOUND_FRAMES = 8;

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
  if (options.byEvents) gate_.emplace(options.byEvents->afterEvent);
  if (!options.frameLog.empty()) video_.log = std::make_unique<FrameLog>(options.frameLog);
}

StreamRecorder::~StreamRecorder() {
  stop();
  join();
}

void StreamRecorder::beginNewSession() {
  const std::lock_guard guard(mutex_);
  for (const Track* track : {&video_, &audio_}) {
    if (track->feed != nullptr) track->feed->beginNewSession();
  }
}

void StreamRecorder::confirmEvent() {
  if (!gate_) return;
  gate_->confirm();
  const std::lock_guard guard(mutex_);
  for (const Track* track : {&video_, &audio_}) {
    if (track->feed != nullptr) track->feed->passConfirmation();
  }
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
    for (Track* track : {&video_, &audio_}) {
      if (track->log != nullptr) track->log->close();
    }
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
    options.audio = options_.audio;
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
  KTRStreamRecordParams params = paramsFor(options_.stream);
  params.videoSettings = videoSettingsOf(input.info());
  begin(video_, std::make_unique<SessionFeed>(params, KTDataBlock(), gate()));
  // Whatever ends the reading, what was received is stored.
  struct Ending {
    StreamRecorder& recorder;
    ~Ending() {
      recorder.end(recorder.video_);
      recorder.end(recorder.audio_);
    }
  } const ending{*this};

  FrameSource source(input);
  KTDataBlock frame;
  while (source.next(frame)) {
    store(frame, input);
    pause_ = KTClock::Span(0);
  }
}

void StreamRecorder::store(const KTDataBlock& frame, const MediaInput& input) {
  const unsigned char kind = frame.data[0] & ~KTRFrameFormat::COMPOSITION_FLAG;
  Track& track = kind == KTRFrameFormat::Audio ? audio_ : video_;
  if (track.feed == nullptr) beginAudio(*input.audioHeader());
  log(track, frame);  // first, so that the log of a killed process lacks nothing that is stored
  track.feed->feed(frame, kind != KTRFrameFormat::Delta);
}

void StreamRecorder::begin(Track& track, std::unique_ptr<SessionFeed> feed) {
  const std::lock_guard guard(mutex_);
  track.feed = std::move(feed);
  track.used = true;
}

void StreamRecorder::end(Track& track) {
  if (track.feed == nullptr) return;
  track.feed->finish();
  const std::lock_guard guard(mutex_);
  track.past += track.feed->progress();
  track.feed.reset();
}

// With the first frame of sound, for only then its header is known for sure.
void StreamRecorder::beginAudio(const AudioHeader& header) {
  if (!audio_.used && !options_.audioLog.empty()) try {
      audio_.log = std::make_unique<FrameLog>(options_.audioLog);
    } catch (const MediaError& flaw) {
      fail(flaw.what());
    }
  KTRStreamRecordParams params = paramsFor(options_.audioStream);
  params.audioSettings = audioSettingsOf(header);
  params.preEventKeyFrames *= SOUND_FRAMES;
  begin(audio_, std::make_unique<SessionFeed>(params, header.encode(), gate()));
}

// A log that cannot be written is no reason to stop recording.
void StreamRecorder::log(Track& track, const KTDataBlock& frame) {
  if (track.log == nullptr) return;
  try {
    track.log->add(frame);
  } catch (const MediaError& flaw) {
    fail(flaw.what());
    track.log.reset();
  }
}

KTRStreamRecordParams StreamRecorder::paramsFor(unsigned char stream) const {
  KTRStreamRecordParams params;
  params.dbName = KTString(options_.recorder);
  params.sliceSize = options_.sliceSize;
  params.storageDir = KTString(options_.storageDirectory);
  params.streamId = stream;
  if (options_.byEvents) {
    params.preEventKeyFrames = options_.byEvents->keyFrames;
    params.sliceSize = WINDOW_SLICE;
  }
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

SessionFeed::Progress StreamRecorder::progressOf(const Track& track) {
  SessionFeed::Progress progress = track.past;
  if (track.feed != nullptr) progress += track.feed->progress();
  return progress;
}

StreamRecorder::Status StreamRecorder::status() const {
  const std::lock_guard guard(mutex_);
  Status status{progressOf(video_), failed_, done_, {}};
  if (audio_.used) status.audio = progressOf(audio_);
  return status;
}
