#include "host/record/StreamRecorder.h"

#include <algorithm>
#include <filesystem>
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
  makeFeed(video_, options_.stream);
  if (options_.audio && hasSpool(options_.audioStream)) makeFeed(audio_, options_.audioStream);
  try {
    while (!stop_ && recordSource()) {
    }
  } catch (const std::exception& flaw) {
    fail(flaw.what());
  }
  for (Track* track : {&video_, &audio_}) finish(*track);
  const std::lock_guard guard(mutex_);
  done_ = true;
}

// Whatever has ended the reading, what was received is stored.
void StreamRecorder::finish(Track& track) try {
  if (track.feed != nullptr) track.feed->finish();
  if (track.log != nullptr) track.log->close();
} catch (const MediaError& flaw) {
  fail(flaw.what());
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
  video_.feed->use(StreamSettings(videoSettingsOf(input.info())));
  struct Ending {
    StreamRecorder& recorder;
    ~Ending() {
      for (const Track* track : {&recorder.video_, &recorder.audio_}) {
        if (track->feed != nullptr) track->feed->endSession();
      }
    }
  } const ending{*this};

  FrameSource source(input);
  KTDataBlock frame;
  headerKnown_ = false;
  while (source.next(frame)) {
    store(frame, source, input);
    pause_ = KTClock::Span(0);
  }
}

void StreamRecorder::store(const KTDataBlock& frame, const FrameSource& source,
                           const MediaInput& input) {
  const unsigned char kind = frame.data[0] & ~KTRFrameFormat::COMPOSITION_FLAG;
  const bool isSound = kind == KTRFrameFormat::Audio;
  if (isSound && !std::exchange(headerKnown_, true)) useAudio(*input.audioHeader());
  Track& track = isSound ? audio_ : video_;
  log(track, frame);  // first, so that the log of a killed process lacks nothing that is stored
  track.feed->feed(frame, kind != KTRFrameFormat::Delta, source.timeMs());
}

SessionFeed::Options StreamRecorder::feedOptions(const Options& options, unsigned char stream) {
  SessionFeed::Options feed;
  feed.params.dbName = KTString(options.recorder);
  feed.params.sliceSize = options.sliceSize;
  feed.params.storageDir = KTString(options.storageDirectory);
  feed.params.streamId = stream;
  if (options.byEvents) {
    const bool isSound = stream != options.stream;
    feed.params.preEventKeyFrames = options.byEvents->keyFrames * (isSound ? SOUND_FRAMES : 1);
    feed.params.sliceSize = WINDOW_SLICE;
  }
  if (options.spoolDirectory.empty()) return feed;
  feed.spoolDirectory = options.spoolDirectory + "/" + std::to_string(stream);
  feed.spoolBytes = options.spoolBytes;
  return feed;
}

bool StreamRecorder::hasSpool(unsigned char stream) const {
  const std::string directory = feedOptions(options_, stream).spoolDirectory;
  std::error_code error;
  return !directory.empty() && std::filesystem::exists(directory, error);
}

void StreamRecorder::makeFeed(Track& track, unsigned char stream) {
  SessionFeed::Options options = feedOptions(options_, stream);
  options.events = gate_ ? &*gate_ : nullptr;
  auto feed = std::make_unique<SessionFeed>(options);
  const std::lock_guard guard(mutex_);
  track.feed = std::move(feed);
}

// With the first frame of sound, for only then its header is known for sure.
void StreamRecorder::useAudio(const AudioHeader& header) {
  if (audio_.feed == nullptr) makeFeed(audio_, options_.audioStream);
  if (!options_.audioLog.empty() && !std::exchange(audioLogged_, true)) try {
      audio_.log = std::make_unique<FrameLog>(options_.audioLog);
    } catch (const MediaError& flaw) {
      fail(flaw.what());
    }
  audio_.feed->use(StreamSettings(audioSettingsOf(header), header.encode()));
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
  Status status{{}, failed_, done_, {}};
  if (video_.feed != nullptr) status.progress = video_.feed->progress();
  if (audio_.feed != nullptr) status.audio = audio_.feed->progress();
  return status;
}
