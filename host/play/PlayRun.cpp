#include "host/play/PlayRun.h"

#include <algorithm>

#include "host/HostError.h"
#include "host/input/TimeText.h"
#include "host/system/StopSignal.h"

namespace {

// How long the last picture may last at least and at most, milliseconds.
constexpr std::int64_t MIN_LENGTH = 0;
constexpr std::int64_t MAX_LENGTH = 1000;

}  // namespace

PlayRun::PlayRun(const Options& options)
    : options_(options), reader_(KTString(options.recorder), options.stream) {}

PlayRun::~PlayRun() = default;

bool PlayRun::find() {
  if (!options_.fromLast) return reader_.seek(options_.at, options_.seconds);
  return reader_.seekLast();
}

HostError PlayRun::nothingFound() const {
  const std::string when = options_.fromLast ? "" : " at " + TimeText::format(options_.at);
  return failure("nothing of stream " + std::to_string(options_.stream) + " is recorded" + when,
                 "see ktr sessions for what there is");
}

void PlayRun::open() {
  endMs_ = (options_.fromLast ? reader_.timeMs() : options_.at * 1000) + options_.seconds * 1000;
  codec_ = reader_.codec();
  const std::optional<MediaCodec> codec = mediaCodecOf(codec_.view());
  if (!codec) {
    throw failure("stream " + std::to_string(options_.stream) +
                      " holds no video that can be written (" + codec_.c_str() + ")",
                  "choose a stream that ktr sessions lists as video");
  }
  MediaOutput::checkName(options_.output, *codec);
  if (!options_.frameLog.empty()) frameLog_ = std::make_unique<FrameLog>(options_.frameLog);
  openAudio();
  output_ = std::make_unique<MediaOutput>(options_.output, *codec,
                                          audio_ == nullptr ? nullptr : &audio_->header());
}

void PlayRun::openAudio() {
  if (!options_.audio || !MediaOutput::holdsAudio(options_.output)) return;
  audio_ = std::make_unique<AudioReader>(KTString(options_.recorder), options_.audioStream);
  if (!audio_->seek(reader_.timeMs() * 1000, endMs_ * 1000)) {
    audio_.reset();
  } else if (const AudioCodec codec = audio_->header().codec;
             !MediaOutput::holdsAudio(options_.output, codec)) {
    result_.audioLeftOut = audioCodecName(codec);
    audio_.reset();
  }
}

// Sound goes into the file up to the picture beside it, so that players find both close together.
void PlayRun::writeAudio(std::int64_t beforeMs) {
  if (audio_ == nullptr) return;
  for (AudioPacket packet; audio_->next(beforeMs * 1000, packet); ++result_.audioPackets) {
    output_->writeAudio(packet);
  }
}

bool PlayRun::hasMore() {
  if (audio_ != nullptr) audio_->resume();
  return reader_.resume();
}

bool PlayRun::writeAll(const StopSignal& stop) {
  RecordingReader::Frame frame;
  while (!stop.requested()) {
    if (!reader_.next(frame)) return false;
    if (!write(frame)) return true;
  }
  return true;
}

bool PlayRun::write(const RecordingReader::Frame& frame) {
  if (frame.timeMs >= endMs_) return false;
  if (frame.codec != codec_) {
    result_.codecChanged = true;
    return false;
  }
  output_->write(frame.timeMs, frame.frame);
  if (frameLog_ != nullptr) frameLog_->add(frame.frame.data());
  if (result_.frames++ == 0) result_.firstMs = result_.lastMs = frame.timeMs;
  const std::int64_t lengthMs = std::clamp(frame.timeMs - result_.lastMs, MIN_LENGTH, MAX_LENGTH);
  shownUntilMs_ =
      std::max(shownUntilMs_, frame.timeMs + frame.frame.compositionOffset() + lengthMs);
  result_.lastMs = frame.timeMs;
  writeAudio(frame.timeMs);
  return true;
}

PlayRun::Result PlayRun::finish() {
  writeAudio(shownUntilMs_);
  if (audio_ != nullptr) result_.audioChanged = audio_->changed();
  output_->finish();
  if (frameLog_ != nullptr) frameLog_->close();
  return result_;
}
