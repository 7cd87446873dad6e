#include "host/play/PlayRun.h"

#include "host/HostError.h"
#include "host/input/TimeText.h"
#include "host/system/StopSignal.h"

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
  output_ = std::make_unique<MediaOutput>(options_.output, *codec);
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
  if (result_.frames++ == 0) result_.firstMs = frame.timeMs;
  result_.lastMs = frame.timeMs;
  return true;
}

PlayRun::Result PlayRun::finish() {
  output_->finish();
  if (frameLog_ != nullptr) frameLog_->close();
  return result_;
}
