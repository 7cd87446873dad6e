#include "host/record/StoredFrames.h"

#include "host/media/FrameHash.h"
#include "host/play/RecordingReader.h"

namespace {

constexpr std::int64_t WHOLE_SPAN_SECONDS = 10LL * 365 * 86400;

std::uint64_t identityOf(std::int64_t timeMs, const KTDataBlock& bytes) {
  return frameHash(bytes) ^ static_cast<std::uint64_t>(timeMs);
}

}  // namespace

void StoredFrames::readFrom(const StreamFrame& first) {
  const auto kind = first.settings->isSound() ? RecordingReader::Audio : RecordingReader::Video;
  RecordingReader reader(recorder_, static_cast<unsigned char>(stream_), kind);
  if (!reader.seek(first.timeMs / 1000, WHOLE_SPAN_SECONDS)) return;
  RecordingReader::Frame frame;
  while (reader.next(frame)) known_.insert(identityOf(frame.timeMs, frame.frame.data()));
}

bool StoredFrames::has(const StreamFrame& frame) const {
  return known_.contains(identityOf(frame.timeMs, frame.bytes));
}
