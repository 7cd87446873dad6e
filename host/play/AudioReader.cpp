#include "host/play/AudioReader.h"

#include <utility>

#include "runtime/KTLogger.h"

namespace {

constexpr std::int64_t SECOND_US = 1'000'000;

}  // namespace

// Begins early, for the header of a recording in progress may be all that is on disk by now.
bool AudioReader::seek(std::int64_t fromUs, std::int64_t endUs) {
  fromUs_ = fromUs;
  const std::int64_t begin = fromUs / SECOND_US - LOOK_BACK_SECONDS;
  const std::int64_t end = (endUs + SECOND_US - 1) / SECOND_US;
  if (!reader_.seek(begin, end - begin)) return false;
  const bool found = fill() && packets_.front().timeUs < endUs;
  const bool mayGoOn = packets_.empty() && lastEndUs_ >= fromUs - LOOK_BACK_SECONDS * SECOND_US;
  return header_ != nullptr && (found || mayGoOn);
}

// Reads on until there is a packet; false when there is none for now.
bool AudioReader::fill() {
  RecordingReader::Frame frame;
  while (packets_.empty() && !atEnd_ && !changed_) {
    atEnd_ = !reader_.next(frame);
    if (!atEnd_) take(frame);
  }
  return !packets_.empty();
}

void AudioReader::take(const RecordingReader::Frame& frame) {
  const bool sound = parser_.parse(frame.frame.payload(), frame.timeMs);
  if ((!sound || frame.audioHeader == nullptr) && !std::exchange(warned_, true)) {
    KTLogger::instance()->log(KTLogger::Warning,
                              "[ AudioReader ] a frame of sound is damaged: what is lost of it is "
                              "silence");
  }
  if (frame.audioHeader == nullptr || parser_.packets().empty()) return;
  const AudioPacket& last = parser_.packets().back();
  const bool wanted = last.timeUs >= fromUs_;
  lastEndUs_ = last.endUs();
  if (wanted && header_ != nullptr && begun_ && *header_ != *frame.audioHeader) {
    changed_ = true;
    return;
  }
  header_ = frame.audioHeader;
  begun_ = begun_ || wanted;
  for (const AudioPacket& packet : parser_.packets()) {
    if (packet.timeUs >= fromUs_) packets_.push_back(packet);
  }
}

bool AudioReader::next(std::int64_t beforeUs, AudioPacket& packet) {
  if (!fill() || packets_.front().timeUs >= beforeUs) return false;
  packet = packets_.front();
  packets_.pop_front();
  return true;
}

void AudioReader::resume() {
  if (atEnd_) atEnd_ = !reader_.resume();
}
